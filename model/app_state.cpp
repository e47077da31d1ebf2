#include "model/app_state.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <cstdint>

namespace tavik {

namespace {

QJsonArray layerToJson(const KeyLayer& layer)
{
    QJsonArray array;
    for (const KeyAction& action : layer) {
        array.append(QJsonObject{{QStringLiteral("page"), action.page},
                                 {QStringLiteral("p1"), action.p1},
                                 {QStringLiteral("p2"), action.p2},
                                 {QStringLiteral("p3"), action.p3}});
    }
    return array;
}

QJsonArray macrosToJson(const QList<MacroRecord>& macros)
{
    QJsonArray array;
    for (const MacroRecord& macro : macros) {
        QJsonArray actions;
        for (const MacroAction& action : macro.actions) {
            actions.append(QJsonObject{{QStringLiteral("delay"), action.delay},
                                       {QStringLiteral("key"), action.code},
                                       {QStringLiteral("flags"), action.flags}});
        }
        array.append(QJsonObject{{QStringLiteral("name"), macro.name},
                                 {QStringLiteral("actions"), actions}});
    }
    return array;
}

QJsonArray colorsToJson(const ColorBank& colors)
{
    QJsonArray array;
    for (const unsigned char byte : colors)
        array.append(byte);
    return array;
}

// A number that is no whole number of the int range counts as 0; a larger field value is cut.
std::uint8_t byteFrom(const QJsonValue& value)
{
    return static_cast<std::uint8_t>(value.toInt(0));
}

std::uint16_t wordFrom(const QJsonValue& value)
{
    return static_cast<std::uint16_t>(value.toInt(0));
}

KeyLayer layerFromJson(const QJsonArray& array)
{
    KeyLayer layer{};
    const qsizetype count = std::min(array.size(), static_cast<qsizetype>(layer.size()));
    for (qsizetype i = 0; i < count; ++i) {
        const QJsonObject action = array.at(i).toObject();
        layer.at(static_cast<std::size_t>(i)) = {byteFrom(action.value(QLatin1String("page"))),
                                                 byteFrom(action.value(QLatin1String("p1"))),
                                                 byteFrom(action.value(QLatin1String("p2"))),
                                                 byteFrom(action.value(QLatin1String("p3")))};
    }
    return layer;
}

MacroRecord macroFromJson(const QJsonObject& object)
{
    MacroRecord macro;
    macro.name = object.value(QLatin1String("name")).toString();
    const QJsonArray actions = object.value(QLatin1String("actions")).toArray();
    for (const auto& element : actions) {
        const QJsonObject action = element.toObject();
        macro.actions.append({wordFrom(action.value(QLatin1String("delay"))),
                              byteFrom(action.value(QLatin1String("key"))),
                              byteFrom(action.value(QLatin1String("flags")))});
    }
    return macro;
}

QList<MacroRecord> macrosFromJson(const QJsonArray& array)
{
    QList<MacroRecord> macros;
    for (const auto& element : array)
        macros.append(macroFromJson(element.toObject()));
    return macros;
}

ColorBank colorsFromJson(const QJsonArray& array)
{
    ColorBank colors{};
    const qsizetype count = std::min(array.size(), static_cast<qsizetype>(colors.size()));
    for (qsizetype i = 0; i < count; ++i)
        colors.at(static_cast<std::size_t>(i)) = byteFrom(array.at(i));
    return colors;
}

// Leaves a copy beside the state file, whole or not at all: a program that dies here must not take
// an earlier copy with it. Macros may spell out what nobody else should read, so the copy is no
// more open than the file; it stays writable, or it could not be replaced at the next start. A copy
// that cannot be made must not keep the program from starting.
void keepCopy(const QFile& stateFile, const QByteArray& content, const QString& suffix)
{
    QSaveFile copy(stateFile.fileName() + suffix);
    if (!copy.open(QIODevice::WriteOnly))
        return;
    copy.setPermissions(stateFile.permissions() | QFileDevice::WriteOwner);
    copy.write(content);
    copy.commit();
}

} // namespace

QJsonObject stateToJson(const SavedState& state)
{
    return {{QStringLiteral("layerBase"), layerToJson(state.layerBase)},
            {QStringLiteral("layerFn"), layerToJson(state.layerFn)},
            {QStringLiteral("macros"), macrosToJson(state.macros)},
            {QStringLiteral("customRgb"), colorsToJson(state.customRgb)}};
}

SavedState stateFromJson(const QJsonObject& object)
{
    SavedState state;
    state.layerBase = layerFromJson(object.value(QLatin1String("layerBase")).toArray());
    state.layerFn = layerFromJson(object.value(QLatin1String("layerFn")).toArray());
    state.macros = macrosFromJson(object.value(QLatin1String("macros")).toArray());
    state.customRgb = colorsFromJson(object.value(QLatin1String("customRgb")).toArray());
    return state;
}

QString stateFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
           QStringLiteral("/state.json");
}

AppState& AppState::instance()
{
    static AppState state;
    return state;
}

AppState::AppState()
{
    load();
}

void AppState::load()
{
    QFile file(stateFilePath());
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QByteArray content = file.readAll();
    // Half a file is not a damaged one: a disk that fails to read says nothing about its content.
    if (file.error() != QFileDevice::NoError)
        return;
    const QJsonDocument document = QJsonDocument::fromJson(content);
    if (!document.isObject()) {
        keepCopy(file, content, QStringLiteral(".damaged"));
        return;
    }
    keepCopy(file, content, QStringLiteral(".bak"));
    static_cast<SavedState&>(*this) = stateFromJson(document.object());
}

void AppState::save() const
{
    // Opening empties the file, so the bytes are made first: it stays empty as briefly as can be.
    const QByteArray content = QJsonDocument(stateToJson(*this)).toJson(QJsonDocument::Indented);
    QFile file(stateFilePath());
    QDir().mkpath(QFileInfo(file).path());
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(content);
}

void AppState::replace(const SavedState& state)
{
    static_cast<SavedState&>(*this) = state;
    save();
    emit layersChanged();
    emit macrosChanged();
    emit rgbChanged();
}

} // namespace tavik
