// SPDX-License-Identifier: MIT
#include "model/app_state.h"

#include "files/whole_file.h"
#include "model/state_copies.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QStandardPaths>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <malloc.h>
#include <numeric>
#include <optional>
#include <sys/stat.h>
#include <tuple>

namespace tavik {

namespace {

// Writes what QJsonDocument::toJson() would, but straight into the text: with a thousand macros, a
// document of objects takes a quarter of a second to build, and every edit is saved.
class JsonText
{
public:
    void open(char bracket)
    {
        startElement();
        text += bracket;
        ++depth;
    }

    void close(char bracket)
    {
        --depth;
        startLine();
        text += bracket;
    }

    void key(const char* name)
    {
        startElement();
        text += '"';
        text += name;
        text += "\": ";
    }

    void number(const char* name, int value)
    {
        key(name);
        number(value);
    }

    void number(int value)
    {
        startElement();
        std::array<char, 12> digits{};
        const char* end = std::to_chars(digits.begin(), digits.end(), value).ptr;
        text.append(digits.data(), end - digits.data());
    }

    // In the document's own escaping.
    void string(const QString& value)
    {
        startElement();
        const QByteArray inBrackets =
            QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
        text += inBrackets.sliced(1, inBrackets.size() - 2);
    }

    [[nodiscard]] QByteArray finished() const { return text + '\n'; }

private:
    void startLine()
    {
        text += '\n';
        text.append(4 * depth, ' ');
    }

    // Only a key ends in a space, and only what has just been opened in a bracket of these.
    void startElement()
    {
        if (text.isEmpty() || text.endsWith(' '))
            return;
        if (!text.endsWith('[') && !text.endsWith('{'))
            text += ',';
        startLine();
    }

    QByteArray text;
    qsizetype depth = 0;
};

void writeLayer(JsonText& json, const char* name, const KeyLayer& layer)
{
    json.key(name);
    json.open('[');
    for (const KeyAction& action : layer) {
        json.open('{');
        json.number("p1", action.p1);
        json.number("p2", action.p2);
        json.number("p3", action.p3);
        json.number("page", action.page);
        json.close('}');
    }
    json.close(']');
}

void writeMacro(JsonText& json, const MacroRecord& macro)
{
    json.open('{');
    json.key("actions");
    json.open('[');
    for (const MacroAction& action : macro.actions) {
        json.open('{');
        json.number("delay", action.delay);
        json.number("flags", action.flags);
        json.number("key", action.code);
        json.close('}');
    }
    json.close(']');
    json.key("name");
    json.string(macro.name);
    json.close('}');
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

QString copyPath()
{
    return stateFilePath() + QStringLiteral(".bak");
}

QString damagedPath()
{
    return stateFilePath() + QStringLiteral(".damaged");
}

std::optional<SavedState> stateFrom(const QByteArray& content)
{
    std::optional<SavedState> state;
    if (const std::optional<QJsonObject> object = stateObjectIn(content))
        state = stateFromJson(*object);
    if (state && !canBeSaved(*state))
        state.reset();
    return state;
}

bool isMoved(const QString& from, const QString& to)
{
    return ::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

// To a name that there has not been.
bool isMovedAside(const QString& path)
{
    const QString time =
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz"));
    return isMoved(path, path + u'.' + time + QStringLiteral(".damaged"));
}

// Whether the state file may hold the only whole state: writing it without a copy could cost that.
bool isOnlyWholeState(const QString& path)
{
    const std::optional<QByteArray> content = readStateContent(path);
    if (!content)
        return QFileInfo::exists(path);
    return stateObjectIn(*content) && readStateContent(copyPath()) != content;
}

} // namespace

void moveMacro(SavedState& state, qsizetype from, qsizetype to)
{
    QList<qsizetype> placesBefore(state.macros.size());
    std::iota(placesBefore.begin(), placesBefore.end(), 0);
    placesBefore.move(from, to);
    state.macros.move(from, to);
    for (KeyLayer* layer : {&state.layerBase, &state.layerFn}) {
        for (KeyAction& key : *layer) {
            const qsizetype place = placesBefore.indexOf(key.p1);
            if (key.page == static_cast<std::uint8_t>(KeyActionPage::Macro) && place >= 0 &&
                place <= UINT8_MAX)
                key.p1 = static_cast<std::uint8_t>(place);
        }
    }
}

QByteArray stateToJson(const SavedState& state)
{
    JsonText json;
    json.open('{');
    json.key("customRgb");
    json.open('[');
    for (const unsigned char byte : state.customRgb)
        json.number(byte);
    json.close(']');
    writeLayer(json, "layerBase", state.layerBase);
    writeLayer(json, "layerFn", state.layerFn);
    json.key("macros");
    json.open('[');
    for (const MacroRecord& macro : state.macros)
        writeMacro(json, macro);
    json.close(']');
    json.close('}');
    return json.finished();
}

SavedState stateFromJson(const QJsonObject& object, const SavedState& present)
{
    SavedState state = present;
    const auto read = [&object](const char* member, auto& field, const auto& fromJson) {
        if (const QJsonValue value = object.value(QLatin1String(member)); value.isArray())
            field = fromJson(value.toArray());
    };
    read("layerBase", state.layerBase, layerFromJson);
    read("layerFn", state.layerFn, layerFromJson);
    read("macros", state.macros, macrosFromJson);
    read("customRgb", state.customRgb, colorsFromJson);
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

// A copy that cannot be made must not keep the program from starting.
void AppState::load()
{
    const std::optional<QByteArray> content = readStateContent(stateFilePath());
    const bool copyIsPresent = content && readStateContent(copyPath()) == content;
    foundCopyIsKept = copyIsPresent;
    std::ignore = keepFoundCopy();
    foundFileIsKept = content || !QFileInfo(stateFilePath()).isFile();
    if (!content)
        return;
    const std::optional<SavedState> state = stateFrom(*content);
    if (!state) {
        foundFileIsKept = writeWholeFile(damagedPath(), *content);
        return;
    }
    static_cast<SavedState&>(*this) = *state;
#ifdef __GLIBC__
    // What a large state took while it was read would otherwise stay with the program.
    ::malloc_trim(0);
#endif
    std::ignore = keepEarlier(*content);
    if (!copyIsPresent)
        std::ignore = writeWholeFile(copyPath(), *content);
    // The user goes on from what has loaded; an older copy must not stop him.
    foundCopyIsKept = true;
}

void AppState::save() const
{
    const QString path = stateFilePath();
    struct stat present = {};
    // Opening a pipe would wait for somebody who reads it.
    if (::stat(QFile::encodeName(path).constData(), &present) == 0 && !S_ISREG(present.st_mode))
        return;
    // Opening empties the file, so the bytes are made first: it stays empty as briefly as can be.
    const QByteArray content = stateToJson(*this);
    if (!isReadableState(content))
        return;
    QDir().mkpath(QFileInfo(path).path());
    // What could not be read, or not be copied, is moved aside rather than overwritten.
    if (!foundFileIsKept && ::access(QFile::encodeName(path).constData(), W_OK) == 0)
        foundFileIsKept = isMoved(path, damagedPath()) || isMovedAside(path);
    if (!keepFoundCopy() && !readStateContent(copyPath()))
        foundCopyIsKept = isMovedAside(copyPath());
    if (!foundCopyIsKept || (!writeWholeFile(copyPath(), content) && isOnlyWholeState(path)))
        return;
    QFile file(path);
    if (file.open(QIODevice::WriteOnly, QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        file.write(content);
}

bool AppState::keepFoundCopy() const
{
    if (!foundCopyIsKept) {
        const std::optional<QByteArray> copy = readStateContent(copyPath());
        foundCopyIsKept =
            copy ? !stateObjectIn(*copy) || keepEarlier(*copy) : !QFileInfo(copyPath()).isFile();
    }
    return foundCopyIsKept;
}

} // namespace tavik
