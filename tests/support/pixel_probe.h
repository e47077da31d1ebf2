// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QWidget>

#include <functional>

namespace tavik::tests {

// Sizes and places are in units; pictures have the pixels of the screen.

// A picture of one color.
[[nodiscard]] QImage filledPicture(QSize size, const QColor& ground);

// The color of the pixel in the middle of that unit.
[[nodiscard]] QColor colorAt(const QImage& picture, QPoint place);

// What the widget and its children paint, without the background of the window. The picture is
// filled with the ground first.
[[nodiscard]] QImage pictureOf(QWidget& widget, const QColor& ground = Qt::transparent);

// A picture painted by the test itself, with antialiasing on.
[[nodiscard]] QImage paintedPicture(QSize size, const QColor& ground,
                                    const std::function<void(QPainter& painter)>& paint);

// The translucent color laid over an opaque ground.
[[nodiscard]] QColor laidOver(const QColor& ground, const QColor& color);

// The largest difference in any channel of any pixel; 256 for pictures of different sizes.
[[nodiscard]] int largestDifference(const QImage& first, const QImage& second);
[[nodiscard]] int largestDifference(const QColor& first, const QColor& second);

// The smallest rectangle of whole units that holds every pixel for which the function says yes.
[[nodiscard]] QRect areaWhere(const QImage& picture,
                              const std::function<bool(const QColor& pixel)>& matches);

// The smallest rectangle of whole units that holds every pixel in which two pictures of one size
// differ.
[[nodiscard]] QRect changedArea(const QImage& before, const QImage& after);

} // namespace tavik::tests
