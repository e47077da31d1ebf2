// SPDX-License-Identifier: MIT
#include "app/skin/skin_files.h"

#include "files/picture_chunks.h"
#include "files/regular_file.h"
#include "files/shared_place.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QStringList>

namespace tavik {

namespace {

constexpr qint64 largestFile = 32 * 1024 * 1024;
constexpr qint64 mostPixels = 10'000'000;
constexpr qint64 mostDeepPixels = mostPixels / 2; // 16 bits for each color

QStringList skinDirectories()
{
    const QString applicationDirectory = QCoreApplication::applicationDirPath();
    const QString currentDirectory = QDir::currentPath();
    return {
        sharedPlace + QStringLiteral("/official-skin"),
        applicationDirectory + QStringLiteral("/../share/tavik-center/official-skin"),
        applicationDirectory + QStringLiteral("/official-skin"),
        currentDirectory + QStringLiteral("/native/tavik-center/resources/official-skin"),
        currentDirectory + QStringLiteral("/resources/official-skin"),
    };
}

} // namespace

QString resolveSkinFile(const QString& relativeName)
{
    for (const QString& directory : skinDirectories()) {
        const QString candidate = QDir(directory).filePath(relativeName);
        if (QFileInfo::exists(candidate) && isTrustedPath(candidate))
            return candidate;
    }
    return {};
}

QByteArray readSkinFile(const QString& path)
{
    return readRegularFile(path, largestFile).value_or(QByteArray());
}

QImage decodeSkinImage(const QByteArray& content)
{
    // The decoder would complain on standard error.
    if (!content.startsWith("\x89PNG\r\n\x1a\n"))
        return {};
    QBuffer file;
    file.setData(content);
    file.open(QIODevice::ReadOnly);
    QBuffer picture;
    picture.setData(readPictureChunks(file));
    QImageReader reader(&picture, "png");
    const QSize size = reader.size();
    const bool isDeep = QImage::toPixelFormat(reader.imageFormat()).redSize() > 8;
    if (size.isEmpty() ||
        qint64{size.width()} * size.height() > (isDeep ? mostDeepPixels : mostPixels))
        return {};
    return reader.read();
}

QString densePictureName(const QString& name, int density)
{
    const QString mark = QStringLiteral("@%1x").arg(density);
    return QString(name).insert(name.lastIndexOf(u'.'), mark);
}

} // namespace tavik
