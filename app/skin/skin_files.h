// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

namespace tavik {

// Returns the path of an image or font of the skin, taken from the first directory that has it, or
// a null string when none has. The name may contain a subdirectory ("fonts/OpenSans-Regular.ttf").
// Searched afresh on every call, relative to the current directory of that moment.
[[nodiscard]] QString resolveSkinFile(const QString& relativeName);

// The content of a file that was found. Empty when it is no regular file of at most 32 MB.
[[nodiscard]] QByteArray readSkinFile(const QString& path);

// The picture in the content of a file. Null when it is no PNG, which all pictures of the skin are,
// and when it has more than ten million pixels, or five million of 16 bits a color: a few bytes can
// stand for more than the memory holds, above all for a reader of another format.
[[nodiscard]] QImage decodeSkinImage(const QByteArray& content);

// The name of the same picture at so many pixels per unit, as it stands beside the plain one:
// "icons/tab_home@2x.png".
[[nodiscard]] QString densePictureName(const QString& name, int density);

} // namespace tavik
