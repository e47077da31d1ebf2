#pragma once

#include <QPixmap>
#include <QSize>
#include <QString>

#include <memory>

namespace tavik {

// A picture of the skin that is shown at changing sizes. It names a file and holds no pixels: these
// are read and scaled when a size is asked for, and belong to those who show them.
class SkinPicture
{
public:
    // Averaging keeps what is small crisp when a large picture shrinks; stretching is the painter's
    // own interpolation.
    enum class Scaling { Averaged, Stretched };

    // Looks the file up. A missing one is a picture that is null at every size.
    SkinPicture(const QString& name, Scaling pictureScaling);

    // The picture at exactly this many pixels, shared by all who hold the same file at that size;
    // null when the file is missing or broken, or the size empty.
    [[nodiscard]] std::shared_ptr<const QPixmap> scaled(QSize pixels) const;

private:
    QString path;
    Scaling scaling;
};

// The size of a widget in the pixels of its screen, which is what a picture over it is asked for.
[[nodiscard]] inline QSize devicePixels(QSize size, qreal pixelRatio)
{
    return (QSizeF(size) * pixelRatio).toSize();
}

} // namespace tavik
