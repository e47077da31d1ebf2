#include "app/skin/skin_picture.h"

#include "app/skin/skin_files.h"

#include <QDateTime>
#include <QFileInfo>
#include <QHash>
#include <QPainter>

namespace tavik {

namespace {

// What tells two scaled pictures apart. A file that another one has replaced is another picture.
QString identityOf(const QString& path, SkinPicture::Scaling scaling, QSize pixels)
{
    const QFileInfo file(path);
    const QList<qint64> numbers{file.size(), file.lastModified().toMSecsSinceEpoch(),
                                pixels.width(), pixels.height(), qint64(scaling)};
    QString identity = path;
    for (const qint64 number : numbers)
        identity += u'|' + QString::number(number);
    return identity;
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

SkinPicture::SkinPicture(const QString& name, Scaling pictureScaling)
    : path(resolveSkinFile(name)), scaling(pictureScaling)
{
}

std::shared_ptr<const QPixmap> SkinPicture::scaled(QSize pixels) const
{
    static QHash<QString, std::weak_ptr<const QPixmap>> shared;
    if (path.isEmpty() || pixels.isEmpty())
        return nullptr;
    const QString identity = identityOf(path, scaling, pixels);
    if (auto known = shared.value(identity).lock())
        return known;

    // By way of an image: pixmaps read from files stay in a cache of their own.
    const QPixmap original = QPixmap::fromImage(QImage(path));
    if (original.isNull())
        return nullptr;
    auto picture = std::make_shared<const QPixmap>(
        scaling == Scaling::Stretched
            ? stretched(original, pixels)
            : original.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    shared.removeIf([](const auto& entry) { return entry.value().expired(); });
    shared.insert(identity, picture);
    return picture;
}

} // namespace tavik
