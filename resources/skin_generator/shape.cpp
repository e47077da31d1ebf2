#include "resources/skin_generator/shape.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QSvgRenderer>
#include <QtEndian>

namespace tavik {

namespace {

QString& shapeDirectory()
{
    static QString directory;
    return directory;
}

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

// The image writer filters every row, which makes the files smaller. Undoing that takes the program
// half of its start.
QByteArray unfilteredPng(const QImage& picture)
{
    const bool isOpaque = !picture.hasAlphaChannel();
    const QImage pixels =
        picture.convertToFormat(isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32)
            .convertToFormat(isOpaque ? QImage::Format_RGB888 : QImage::Format_RGBA8888);
    QByteArray rows;
    for (int y = 0; y < pixels.height(); ++y) {
        rows += '\0'; // no filter
        rows.append(reinterpret_cast<const char*>(pixels.constScanLine(y)),
                    pixels.width() * (isOpaque ? 3 : 4));
    }
    const auto width = static_cast<quint32>(pixels.width());
    const auto height = static_cast<quint32>(pixels.height());
    const QByteArray form = isOpaque ? "080200" : "080600"; // 8 bits for each of three or four
    return QByteArray::fromHex("89504e470d0a1a0a") +
           pngChunk("IHDR" + bigEndian(width) + bigEndian(height) +
                    QByteArray::fromHex(form + "0000")) +
           pngChunk("IDAT" + qCompress(rows, 9).sliced(4)) + pngChunk("IEND");
}

} // namespace

void setShapeDirectory(const QString& directory)
{
    shapeDirectory() = directory;
}

QImage emptyPicture(QSize size)
{
    QImage picture(size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    return picture;
}

void drawShape(QPainter& painter, const QString& name, const QRectF& target)
{
    const QString path = QDir(shapeDirectory()).filePath(name + QStringLiteral(".svg"));
    QSvgRenderer renderer(path);
    if (!renderer.isValid())
        qFatal("Cannot read the shape %s", qPrintable(path));
    renderer.render(&painter, target);
}

QImage tintedShape(const QString& name, QSize size, const QRectF& target, const QColor& color,
                   int degrees)
{
    QImage picture = emptyPicture(size);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.save();
    painter.translate(target.center());
    painter.rotate(degrees);
    painter.translate(-target.center());
    drawShape(painter, name, target);
    painter.restore();

    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(picture.rect(), color);
    return picture;
}

void savePicture(const QImage& picture, const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    const QByteArray png = unfilteredPng(picture);
    if (!file.open(QIODevice::WriteOnly) || file.write(png) != png.size() || !file.flush())
        qFatal("Cannot write the picture %s", qPrintable(path));
}

} // namespace tavik
