// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

class QIODevice;

namespace tavik {

// A PNG, read from where the device stands, without its texts and other remarks: a decoder would
// inflate those by a factor of a thousand and keep them all. Bytes that are no PNG give others that
// are none.
[[nodiscard]] QByteArray readPictureChunks(QIODevice& png);

} // namespace tavik
