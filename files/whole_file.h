// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFileDevice>
#include <QString>

namespace tavik {

// Replaces a file by other content, whole or not at all. False leaves it as it was: where no file
// can be made beside it, and where the disk did not take every byte. The new file has the given
// permissions; by default only its owner may read it.
[[nodiscard]] bool writeWholeFile(const QString& path, const QByteArray& content,
                                  QFileDevice::Permissions permissions = QFileDevice::ReadOwner |
                                                                         QFileDevice::WriteOwner);

} // namespace tavik
