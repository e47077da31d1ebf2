// SPDX-License-Identifier: MIT
#pragma once

#include <QPixmap>
#include <QSize>
#include <QString>

#include <memory>

namespace tavik {

// A picture of the skin that is shown at changing sizes. It holds the file as it was read, which
// takes little room; pixels are made when a size is asked for, and belong to those who show them.
class SkinPicture
{
public:
    // Averaging keeps what is small crisp when a large picture shrinks; stretching is the painter's
    // own interpolation.
    enum class Scaling { Averaged, Stretched };

    // Looks the file up and reads it, unless somebody holds the same one. A missing or broken one
    // is a picture that is null at every size; one that comes later in its place is another
    // picture.
    SkinPicture(const QString& name, Scaling pictureScaling);

    // The picture at exactly this many pixels, shared by all who hold the same file at that size;
    // null when there is no picture, or the size is empty.
    [[nodiscard]] std::shared_ptr<const QPixmap> scaled(QSize pixels) const;

    // What scaled() does with a picture that is read.
    [[nodiscard]] static QPixmap scaled(const QPixmap& original, QSize pixels, Scaling scaling);

    // A picture may bring itself along at sizes that are often asked for: each a whole PNG in a
    // chunk of this type. A program that knows no such chunk and changes the picture drops them,
    // since the type ends in a capital letter.
    [[nodiscard]] static QByteArray preparedChunk(Scaling scaling);

private:
    struct File;

    std::shared_ptr<File> file; // never null
    Scaling scaling;
};

// The size of a widget in the pixels of its screen, which is what a picture over it is asked for.
[[nodiscard]] inline QSize devicePixels(QSize size, qreal pixelRatio)
{
    return (QSizeF(size) * pixelRatio).toSize();
}

} // namespace tavik
