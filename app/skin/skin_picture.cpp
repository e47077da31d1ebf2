#include "app/skin/skin_picture.h"

#include "app/skin/skin_files.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImage>
#include <QPainter>

#include <map>
#include <tuple>

namespace tavik {

struct SkinPicture::File
{
    QByteArray content; // empty when there is no picture
    std::map<std::tuple<Scaling, int, int>, std::weak_ptr<const QPixmap>> shown;
};

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QPixmap stretched(const QPixmap& original, QSize pixels)
{
    QPixmap result(pixels);
    result.fill(Qt::transparent);
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
        file->content = contentOf(path);
    read.insert(identity, file);
}

std::shared_ptr<const QPixmap> SkinPicture::scaled(QSize pixels) const
{
    if (file->content.isEmpty() || pixels.isEmpty())
        return nullptr;
    const auto form = std::make_tuple(scaling, pixels.width(), pixels.height());
    if (auto known = file->shown[form].lock())
        return known;

    const QPixmap original = QPixmap::fromImage(QImage::fromData(file->content));
    if (original.isNull()) {
        file->content.clear(); // and never tried again
        return nullptr;
    }
    auto picture = std::make_shared<const QPixmap>(
        scaling == Scaling::Stretched
            ? stretched(original, pixels)
            : original.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    std::erase_if(file->shown, [](const auto& entry) { return entry.second.expired(); });
    file->shown[form] = picture;
    return picture;
}

} // namespace tavik
