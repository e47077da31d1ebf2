// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

namespace tavik {

// The desktop entry that starts a program at log-in, in UTF-8. programPath is the absolute path of
// the program; blanks in it need no care, double quotes are escaped.
[[nodiscard]] QByteArray autostartEntry(const QString& programPath);

// Where the desktop environment looks for the entry, in the user's configuration directory.
[[nodiscard]] QString autostartFilePath();

// True when the entry exists. Nothing else records that the program starts at log-in.
[[nodiscard]] bool isAutostartEnabled();

// Writes the entry for the running program over whatever is there. False when the file cannot be
// written.
[[nodiscard]] bool enableAutostart();

// Removes the entry; a missing one is as good. False when it is still there.
[[nodiscard]] bool disableAutostart();

} // namespace tavik
