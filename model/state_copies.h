// SPDX-License-Identifier: MIT
#pragma once

#include "model/app_state.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace tavik {

// No file of more bytes is read as a state. Both layers and all colors take less than 0.1 MB.
constexpr qint64 stateFileLimit = qint64{64} << 20;

// The content of a state file. Nothing where it cannot be read, is no regular file or larger than
// the limit, or has more values than any state of that size: read, they would fill the memory.
[[nodiscard]] std::optional<QByteArray> readStateContent(const QString& path);

// Whether a state of this content would be read again.
[[nodiscard]] bool isReadableState(const QByteArray& content);

// The object in the content of a state file. Nothing where it holds none, or where the macros, or
// whatever stands in their place, would fill the memory as macros.
[[nodiscard]] std::optional<QJsonObject> stateObjectIn(const QByteArray& content);

// Whether the state could be read again once it is saved.
[[nodiscard]] bool canBeSaved(const SavedState& state);

// A state that was kept beside the state file, in "earlier/", named after the time of that.
struct EarlierState
{
    QString path;
    QDateTime keptAt; // in UTC
};

// The states kept so far, the newest first, at most 30. Files of other names are passed over.
[[nodiscard]] QList<EarlierState> earlierStates();

// Keeps the content of a state file as the newest earlier state, whole or not at all and for its
// owner alone, and then removes all but the newest 30. The newest one is not kept twice. False
// means that the content could not be kept; nothing is removed then.
[[nodiscard]] bool keepEarlier(const QByteArray& content);

// The state in a file that the user has chosen; what the file lacks keeps its value in `present`.
// Nothing where it is no file that can be read, is larger than the limit, or holds none of a
// state's four members, or more than can be saved; the reason is then a sentence for a message box.
[[nodiscard]] std::optional<SavedState> readStateFile(const QString& path, QString* reason,
                                                      const SavedState& present = {});

} // namespace tavik
