// SPDX-License-Identifier: MIT
#include "app/skin/skin_picture.h"

#include "app/skin/skin_files.h"

#include <QDateTime>
#include <QFileInfo>
#include <QHash>
#include <QImage>
#include <QPainter>
#include <QtEndian>

#include <map>
#include <tuple>

namespace tavik {

struct SkinPicture::File
{
    QByteArray content; // empty when there is no picture
    std::map<std::tuple<Scaling, int, int>, std::weak_ptr<const QPixmap>> shown;
};

namespace {

// The picture as its PNG brings it along at this size, or null.
QImage preparedImage(const QByteArray& png, const QByteArray& type, QSize pixels)
{
    constexpr qsizetype signatureSize = 8;
    constexpr qsizetype typeSize = 4;
    constexpr qsizetype headSize = 4 + typeSize; // the length comes first
    constexpr qsizetype checksumSize = 4;
    constexpr qsizetype widthAt = signatureSize + headSize; // in any PNG; the height follows
    qsizetype size = 0;
    for (qsizetype head = signatureSize; head + headSize <= png.size();
         head += headSize + size + checksumSize) {
        size = qsizetype{qFromBigEndian<quint32>(png.constData() + head)};
        if (size > png.size() - head - headSize)
            break;
        const char* const data = png.constData() + head + headSize;
        if (QByteArrayView(data - typeSize, typeSize) != type)
            continue;
        if (size >= widthAt + 8 && QSize(qFromBigEndian<qint32>(data + widthAt),
                                         qFromBigEndian<qint32>(data + widthAt + 4)) == pixels)
            return decodeSkinImage(QByteArray::fromRawData(data, size));
    }
    return {};
}

QPixmap stretched(const QPixmap& original, QSize pixels)
{
    QPixmap result(pixels);
    result.fill(original.hasAlpha() ? Qt::transparent : Qt::black);
    QPainter painter(&result);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(result.rect(), original);
    return result;
}

} // namespace

SkinPicture::SkinPicture(const QString& name, Scaling pictureScaling) : scaling(pictureScaling)
{
    static QHash<QString, std::weak_ptr<File>> read;
    const QString path = resolveSkinFile(name);
    const QFileInfo info(path);
    const QString identity = path + u'|' + QString::number(info.size()) + u'|' +
                             info.lastModified().toString(Qt::ISODateWithMs);
    file = read.value(identity).lock();
    if (file)
        return;
    file = std::make_shared<File>();
    if (!path.isEmpty())
        file->content = readSkinFile(path);
    read.insert(identity, file);
}

std::shared_ptr<const QPixmap> SkinPicture::scaled(QSize pixels) const
{
    if (file->content.isEmpty() || pixels.isEmpty())
        return nullptr;
    const auto form = std::make_tuple(scaling, pixels.width(), pixels.height());
    if (auto known = file->shown[form].lock())
        return known;

    QPixmap made = QPixmap::fromImage(preparedImage(file->content, preparedChunk(scaling), pixels));
    if (made.isNull())
        made = scaled(QPixmap::fromImage(decodeSkinImage(file->content)), pixels, scaling);
    if (made.isNull()) {
        file->content.clear(); // and never tried again
        return nullptr;
    }
    auto picture = std::make_shared<const QPixmap>(std::move(made));
    std::erase_if(file->shown, [](const auto& entry) { return entry.second.expired(); });
    file->shown[form] = picture;
    return picture;
}

QPixmap SkinPicture::scaled(const QPixmap& original, QSize pixels, Scaling scaling)
{
    if (original.isNull())
        return {};
    return scaling == Scaling::Stretched
               ? stretched(original, pixels)
               : original.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QByteArray SkinPicture::preparedChunk(Scaling scaling)
{
    return scaling == Scaling::Stretched ? "shST" : "shAV";
}

} // namespace tavik
