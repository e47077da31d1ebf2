// SPDX-License-Identifier: MIT
#include "model/state_copies.h"

#include "files/regular_file.h"
#include "files/whole_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <algorithm>
#include <array>

namespace tavik {

namespace {

constexpr qsizetype statesKept = 30;
constexpr qsizetype mostMemory = qsizetype{256} << 20;
constexpr qsizetype mostBytesInQuotes = qsizetype{16} << 20;
constexpr qsizetype perValue = 24;
constexpr qsizetype perContainer = 400; // a macro among them, with its row in the list

// About how many bytes the values of a text take once they are read, brackets and commas wherever
// they stand.
qsizetype memoryOf(const QByteArray& json)
{
    return json.count(',') * perValue + (json.count('[') + json.count('{')) * perContainer;
}

// Names, and what the members are called. Names take twice their bytes and more, several times
// over.
qsizetype bytesInQuotes(const QByteArray& json)
{
    qsizetype bytes = 0;
    bool isInside = false;
    for (qsizetype place = 0; place < json.size(); ++place) {
        if (json.at(place) == '"')
            isInside = !isInside;
        else if (json.at(place) == '\\')
            ++place;
        bytes += isInside ? 1 : 0;
    }
    return bytes;
}

// Never more than memoryOf() the text as which they are written, so that what is saved can be read
// again. Whatever stands in the place of a macro or of an action is read as one.
qsizetype memoryOfMacros(const QJsonArray& macros)
{
    qsizetype memory = 0;
    for (const auto& macro : macros) {
        const qsizetype actions = macro[QLatin1String("actions")].toArray().size();
        memory += 2 * perContainer + perValue + actions * (perContainer + 2 * perValue);
    }
    return memory;
}

QString directoryPath()
{
    return QFileInfo(stateFilePath()).path() + QStringLiteral("/earlier");
}

// Sorted as text, such names are sorted by time. Not every file system takes a colon.
QString nameOf(const QDateTime& time)
{
    return time.toString(Qt::ISODateWithMs).replace(u':', u'-') + QStringLiteral(".json");
}

// The time in a name that nameOf() has made, else an invalid one. After the last time of all there
// would be none for the next state, so the last thousand years are no names of ours.
QDateTime timeOf(const QString& name)
{
    const QTime clock = QTime::fromString(name.mid(11, 12), QStringLiteral("HH-mm-ss.zzz"));
    const QDateTime time =
        QDateTime(QDate::fromString(name, Qt::ISODate), clock, QTimeZone::utc()).toUTC();
    return nameOf(time) == name && time.date().year() < 9000 ? time : QDateTime();
}

QList<EarlierState> keptStates()
{
    QList<EarlierState> states;
    const QDir directory(directoryPath());
    const QStringList names =
        directory.entryList(QDir::Files | QDir::NoSymLinks, QDir::Name | QDir::Reversed);
    for (const QString& name : names) {
        if (const QDateTime time = timeOf(name); time.isValid())
            states.append({directory.filePath(name), time});
    }
    return states;
}

} // namespace

std::optional<QByteArray> readStateContent(const QString& path)
{
    std::optional<QByteArray> content = readRegularFile(path, stateFileLimit);
    if (content && !isReadableState(*content))
        content.reset();
    return content;
}

bool isReadableState(const QByteArray& content)
{
    return content.size() <= stateFileLimit && memoryOf(content) <= mostMemory &&
           bytesInQuotes(content) <= mostBytesInQuotes;
}

std::optional<QJsonObject> stateObjectIn(const QByteArray& content)
{
    const QJsonDocument document = QJsonDocument::fromJson(content);
    if (!document.isObject() ||
        memoryOfMacros(document[QLatin1String("macros")].toArray()) > mostMemory)
        return {};
    return document.object();
}

bool canBeSaved(const SavedState& state)
{
    return isReadableState(stateToJson(state));
}

QList<EarlierState> earlierStates()
{
    return keptStates().mid(0, statesKept);
}

bool keepEarlier(const QByteArray& content)
{
    const QList<EarlierState> kept = keptStates();
    QDateTime time = QDateTime::currentDateTimeUtc();
    if (!kept.isEmpty()) {
        if (readStateContent(kept.first().path) == content)
            return true;
        // After a clock was set back, the state kept last must still be the newest.
        time = std::max(time, kept.first().keptAt.addMSecs(1));
    }
    const QString directory = directoryPath();
    if (!QDir().mkpath(directory) || !writeWholeFile(directory + u'/' + nameOf(time), content))
        return false;
    for (const EarlierState& state : kept.mid(statesKept - 1))
        QFile::remove(state.path);
    return true;
}

std::optional<SavedState> readStateFile(const QString& path, QString* reason,
                                        const SavedState& present)
{
    const std::optional<QByteArray> content = readStateContent(path);
    if (!content) {
        *reason = QStringLiteral("The file cannot be read, or it is too large.");
        return {};
    }
    const std::optional<QJsonObject> object = stateObjectIn(*content);
    if (!object) {
        *reason = QStringLiteral("The file is damaged, or it is no settings file.");
        return {};
    }
    const std::array members{"customRgb", "layerBase", "layerFn", "macros"};
    if (std::ranges::none_of(members, [&object](const char* member) {
            return object->value(QLatin1String(member)).isArray();
        })) {
        *reason = QStringLiteral("The file holds no settings of this program.");
        return {};
    }
    std::optional<SavedState> state = stateFromJson(*object, present);
    if (!canBeSaved(*state)) {
        *reason = QStringLiteral("The file holds more macros than can be saved.");
        state.reset();
    }
    return state;
}

} // namespace tavik
