// SPDX-License-Identifier: MIT
#include "device/command_session.h"
#include "files/regular_file.h"
#include "model/state_copies.h"
#include "pages/colors/color_transfer.h"
#include "pages/macros/macro_upload.h"
#include "tavikctl/commands.h"
#include "tavikctl/keyboard.h"
#include "tavikctl/user_state.h"

#include <QFileInfo>
#include <QJsonObject>

#include <functional>

namespace tavik {

namespace {

// One sequence, and how a failure of it is called.
struct Step
{
    QString name;
    std::function<bool()> send;
};

QString sleepWord(const QJsonValue& value)
{
    return value.isDouble() ? QString::number(value.toInt(-1)) : value.toString();
}

Step lightingStep(const QJsonValue& lighting)
{
    if (!lighting.isObject())
        throw Failure{ExitCode::Failed,
                      QStringLiteral("\"lighting\" in the file has to be an object.")};
    const LightWords words = lightWordsFrom(lighting.toObject());
    const QString name = QStringLiteral("Lighting");
    if (typedName(words.effect) == QLatin1String("custom")) {
        const int brightness = words.brightness.value_or(usualLighting.brightness);
        LightWords checked = words;
        checked.effect = effectNames().first().name;
        std::ignore = lightingFromWords(checked); // for its numbers
        return {name, [brightness] { return enableCustomColors(brightness); }};
    }
    return {name, [settings = lightingFromWords(words)] { return sendLightingMode(settings); }};
}

// Everything is made out before anything is sent.
QList<Step> stepsFor(const QJsonObject& object)
{
    const SavedState state = stateFromJson(object);
    const auto holds = [&](const char* member) {
        return object.value(QLatin1String(member)).isArray();
    };
    QList<Step> steps;
    if (holds("layerBase"))
        steps.append({QStringLiteral("Base layer"),
                      [state] { return writeLayer(LayerId::Base, state.layerBase); }});
    if (holds("layerFn"))
        steps.append({QStringLiteral("Fn layer"),
                      [state] { return writeLayer(LayerId::Fn, state.layerFn); }});
    if (holds("macros")) {
        const std::optional<QByteArray> image = encodeMacroSpace(state.macros);
        if (!image)
            throw Failure{ExitCode::Failed,
                          macroSpaceExceededText.toString() + QStringLiteral(" Nothing was sent.")};
        steps.append({QStringLiteral("Macros"), [image] { return writeMacroSpace(*image); }});
    }
    if (holds("customRgb"))
        steps.append(
            {QStringLiteral("Colors"), [state] { return writeColorBank(state.customRgb); }});
    if (const QJsonValue lighting = object.value(QLatin1String("lighting"));
        !lighting.isUndefined())
        steps.append(lightingStep(lighting));
    if (const QJsonValue sleep = object.value(QLatin1String("sleep")); !sleep.isUndefined()) {
        const int code = findNamed(QStringLiteral("sleep time"), sleepWord(sleep), sleepNames());
        steps.append({QStringLiteral("Sleep"), [code] { return sendLightingSleep(code); }});
    }
    return steps;
}

QJsonObject objectIn(const QString& path)
{
    const std::optional<QByteArray> content = readStateContent(path);
    const std::optional<QJsonObject> object = stateObjectIn(content.value_or(QByteArray()));
    if (!object)
        throw Failure{ExitCode::Failed,
                      QStringLiteral("\"%1\" is no settings file that can be read.").arg(path)};
    return *object;
}

QList<Step> stepsIn(const QString& path)
{
    const QJsonObject object = objectIn(path);
    try {
        if (QList<Step> steps = stepsFor(object); !steps.isEmpty())
            return steps;
    } catch (const Failure& failure) {
        throw Failure{ExitCode::Failed, QStringLiteral("\"%1\": ").arg(path) + failure.text};
    }
    throw Failure{ExitCode::Failed,
                  QStringLiteral("\"%1\" holds no settings of this program.").arg(path)};
}

} // namespace

void applyState(const QString& path)
{
    const QString file = path.isEmpty() ? stateFilePath() : path;
    if (path.isEmpty() && !QFileInfo::exists(file))
        throw Failure{ExitCode::Failed,
                      QStringLiteral("Nothing has been saved yet: there is no \"%1\".").arg(file)};
    const QList<Step> steps = stepsIn(file);
    connectKeyboard();
    for (const Step& step : steps) {
        if (step.send() && !Device::isInterrupted())
            continue;
        Failure failure = keyboardFailure();
        failure.text.prepend(step.name + QStringLiteral(": "));
        throw failure;
    }
}

} // namespace tavik
