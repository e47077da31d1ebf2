// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QFile;

namespace tavik {

// Opens a regular file of at most limit bytes for reading. False where it cannot be opened, where
// it is larger, and where it is no regular file: a pipe would keep the program waiting for ever,
// and a device may never end.
[[nodiscard]] bool openRegularFile(QFile& file, const QString& path, qint64 limit);

// The whole content of such a file; nothing also where it cannot be read to its end.
[[nodiscard]] std::optional<QByteArray> readRegularFile(const QString& path, qint64 limit);

} // namespace tavik
