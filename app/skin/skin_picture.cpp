#include "app/skin/skin_picture.h"

#include "app/skin/skin_files.h"

#include <QDateTime>
#include <QFileInfo>
#include <QHash>
#include <QImageReader>

namespace tavik {

namespace {

// What tells two scaled pictures apart. A file that another one has replaced is another picture.
QString identityOf(const QString& path, QSize pixels)
{
    const QFileInfo file(path);
    const QList<qint64> numbers{file.size(), file.lastModified().toMSecsSinceEpoch(),
                                pixels.width(), pixels.height()};
    QString identity = path;
    for (const qint64 number : numbers)
        identity += u'|' + QString::number(number);
    return identity;
}

} // namespace

SkinPicture::SkinPicture(const QString& name) : path(resolveSkinFile(name)) {}

std::shared_ptr<const QPixmap> SkinPicture::scaled(QSize pixels) const
{
    static QHash<QString, std::weak_ptr<const QPixmap>> shared;
    if (path.isEmpty() || pixels.isEmpty())
        return nullptr;
    const QString identity = identityOf(path, pixels);
    if (auto known = shared.value(identity).lock())
        return known;

    QImageReader reader(path);
    reader.setScaledSize(pixels);
    QImage image = reader.read();
    if (image.isNull())
        return nullptr;
    auto picture = std::make_shared<const QPixmap>(QPixmap::fromImage(std::move(image)));
    shared.removeIf([](const auto& entry) { return entry.value().expired(); });
    shared.insert(identity, picture);
    return picture;
}

} // namespace tavik
