// SPDX-License-Identifier: MIT
#include "files/picture_chunks.h"

#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <cctype>

namespace tavik {

// The names of what makes up the picture begin with a capital letter, but for that of transparency.
QByteArray readPictureChunks(QIODevice& png)
{
    constexpr qint64 signatureSize = 8;
    constexpr qint64 headSize = 8;
    constexpr qint64 checksumSize = 4;
    QByteArray chunks = png.read(signatureSize);
    QByteArray name;
    for (QByteArray head; name != "IEND" && (head = png.read(headSize)).size() == headSize;) {
        const qint64 size = qint64{qFromBigEndian<quint32>(head.constData())} + checksumSize;
        name = head.sliced(4);
        if (std::isupper(static_cast<unsigned char>(name.front())) != 0 || name == "tRNS")
            chunks += head + png.read(std::min(size, png.bytesAvailable()));
        else
            png.skip(size);
    }
    return chunks;
}

} // namespace tavik
