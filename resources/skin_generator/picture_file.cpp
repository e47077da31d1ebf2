// SPDX-License-Identifier: MIT
#include "resources/skin_generator/picture_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QtEndian>

namespace tavik {

namespace {

QByteArray bigEndian(quint32 value)
{
    QByteArray bytes(sizeof value, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray pngChunk(const QByteArray& typeAndData)
{
    quint32 checksum = ~0U;
    for (const char byte : typeAndData) {
        checksum ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            checksum = (checksum >> 1) ^ (0xEDB88320U & (0U - (checksum & 1U)));
    }
    return bigEndian(static_cast<quint32>(typeAndData.size() - 4)) + typeAndData +
           bigEndian(~checksum);
}

// The picture with a number for each of its colors; null when there are more than a byte can
// number.
QImage numberedColors(const QImage& picture)
{
    QHash<QRgb, uchar> numbers;
    QList<QRgb> colors;
    QImage numbered(picture.size(), QImage::Format_Indexed8);
    for (int y = 0; y < picture.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            if (!numbers.contains(row[x])) {
                if (colors.size() == 256)
                    return {};
                numbers.insert(row[x], static_cast<uchar>(colors.size()));
                colors += row[x];
            }
            numbered.scanLine(y)[x] = numbers.value(row[x]);
        }
    }
    numbered.setColorTable(colors);
    return numbered;
}

// The rows of the picture as they stand in the file, and in front of them the size and the meaning
// of a pixel.
struct PngRows
{
    QByteArray form;    // eight bits for each channel or number of a color
    QByteArray palette; // empty without numbered colors
    QImage pixels;
};

// Few colors are numbered: one byte a pixel is read sooner than three.
PngRows rowsOf(const QImage& picture)
{
    if (picture.hasAlphaChannel()) {
        const QImage plain = picture.convertToFormat(QImage::Format_ARGB32);
        return {"080600", {}, plain.convertToFormat(QImage::Format_RGBA8888)};
    }
    const QImage plain = picture.convertToFormat(QImage::Format_RGB32);
    const QImage numbered = numberedColors(plain);
    if (numbered.isNull())
        return {"080200", {}, plain.convertToFormat(QImage::Format_RGB888)};
    QByteArray palette;
    for (const QRgb color : numbered.colorTable())
        palette += bigEndian(color).sliced(1);
    // The reader looks for numbers beyond the palette, unless it is full.
    palette.resize(qsizetype{3} * 256, '\0');
    return {"080300", palette, numbered};
}

// The image writer filters every row, which makes the files smaller. Undoing that takes the program
// half of its start.
QByteArray unfilteredPng(const QImage& picture, const QByteArray& extraChunks = {})
{
    const PngRows rows = rowsOf(picture);
    QByteArray bytes;
    for (int y = 0; y < picture.height(); ++y) {
        bytes += '\0'; // no filter
        bytes.append(reinterpret_cast<const char*>(rows.pixels.constScanLine(y)),
                     picture.width() * rows.pixels.depth() / 8);
    }
    const auto width = static_cast<quint32>(picture.width());
    const auto height = static_cast<quint32>(picture.height());
    return QByteArray::fromHex("89504e470d0a1a0a") +
           pngChunk("IHDR" + bigEndian(width) + bigEndian(height) +
                    QByteArray::fromHex(rows.form + "0000")) +
           (rows.palette.isEmpty() ? QByteArray() : pngChunk("PLTE" + rows.palette)) + extraChunks +
           pngChunk("IDAT" + qCompress(bytes, 9).sliced(4)) + pngChunk("IEND");
}

void saveFile(const QByteArray& content, const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush())
        qFatal("Cannot write the picture %s", qPrintable(path));
}

} // namespace

void savePicture(const QImage& picture, const QString& path)
{
    saveFile(unfilteredPng(picture), path);
}

void savePrepared(const QImage& picture, const QString& path, SkinPicture::Scaling scaling,
                  const QList<QSize>& sizes)
{
    const QPixmap original = QPixmap::fromImage(picture);
    QByteArray chunks;
    for (const QSize size : sizes)
        chunks += pngChunk(SkinPicture::preparedChunk(scaling) +
                           unfilteredPng(SkinPicture::scaled(original, size, scaling).toImage()));
    saveFile(unfilteredPng(picture, chunks), path);
}

} // namespace tavik
