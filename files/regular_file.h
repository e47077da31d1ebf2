// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tavik {

// The whole content of a regular file of at most limit bytes. Nothing where it cannot be opened or
// read to its end, where it is larger, and where it is no regular file: a pipe would keep the
// program waiting for ever, and a device may never end.
[[nodiscard]] std::optional<QByteArray> readRegularFile(const QString& path, qint64 limit);

} // namespace tavik
