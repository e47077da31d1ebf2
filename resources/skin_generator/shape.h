// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QString>

class QPainter;

namespace tavik {

// The directory of the SVG shapes; set once before the first shape is drawn.
void setShapeDirectory(const QString& directory);

// A transparent picture to paint on, in the format all pictures are saved in.
[[nodiscard]] QImage emptyPicture(QSize size);

// Draws the shape `name` (without ".svg") into `target` in its own colors. A shape that cannot be
// read ends the generator: a build must not go on with a hole in the skin.
void drawShape(QPainter& painter, const QString& name, const QRectF& target);

// The shape in one color on a transparent picture of `size` pixels, drawn into `target` and turned
// clockwise by `degrees` about the middle of it.
[[nodiscard]] QImage tintedShape(const QString& name, QSize size, const QRectF& target,
                                 const QColor& color, int degrees = 0);

} // namespace tavik
