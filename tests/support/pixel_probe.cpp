// SPDX-License-Identifier: MIT
#include "tests/support/pixel_probe.h"

#include <QGuiApplication>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tavik::tests {

namespace {

QRect areaOfPixels(const QImage& picture, const std::function<bool(int x, int y)>& matches)
{
    QRect area;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (matches(x, y))
                area |= QRect(x, y, 1, 1);
        }
    }
    const qreal ratio = picture.devicePixelRatio();
    return QRectF(QPointF(area.topLeft()) / ratio, QSizeF(area.size()) / ratio).toAlignedRect();
}

} // namespace

QImage filledPicture(QSize size, const QColor& ground)
{
    const qreal ratio = qGuiApp->devicePixelRatio();
    QImage picture((QSizeF(size) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(ratio);
    picture.fill(ground);
    return picture;
}

QColor colorAt(const QImage& picture, QPoint place)
{
    const QPointF pixel = (QPointF(place) + QPointF(0.5, 0.5)) * picture.devicePixelRatio();
    return picture.pixelColor(static_cast<int>(pixel.x()), static_cast<int>(pixel.y()));
}

QImage pictureOf(QWidget& widget, const QColor& ground)
{
    QImage picture = filledPicture(widget.size(), ground);
    QPainter painter(&picture);
    widget.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    return picture;
}

QImage paintedPicture(QSize size, const QColor& ground,
                      const std::function<void(QPainter& painter)>& paint)
{
    QImage picture = filledPicture(size, ground);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    paint(painter);
    return picture;
}

QColor laidOver(const QColor& ground, const QColor& color)
{
    const double share = color.alpha() / 255.0;
    const auto mixed = [share](int below, int above) {
        return static_cast<int>(std::lround(above * share + below * (1.0 - share)));
    };
    return {mixed(ground.red(), color.red()), mixed(ground.green(), color.green()),
            mixed(ground.blue(), color.blue())};
}

int largestDifference(const QColor& first, const QColor& second)
{
    return std::max({std::abs(first.red() - second.red()), std::abs(first.green() - second.green()),
                     std::abs(first.blue() - second.blue()),
                     std::abs(first.alpha() - second.alpha())});
}

int largestDifference(const QImage& first, const QImage& second)
{
    if (first.size() != second.size())
        return 256;
    int largest = 0;
    for (int y = 0; y < first.height(); ++y) {
        for (int x = 0; x < first.width(); ++x)
            largest = std::max(largest,
                               largestDifference(first.pixelColor(x, y), second.pixelColor(x, y)));
    }
    return largest;
}

QRect areaWhere(const QImage& picture, const std::function<bool(const QColor& pixel)>& matches)
{
    return areaOfPixels(picture, [&](int x, int y) { return matches(picture.pixelColor(x, y)); });
}

QRect changedArea(const QImage& before, const QImage& after)
{
    return areaOfPixels(before,
                        [&](int x, int y) { return before.pixel(x, y) != after.pixel(x, y); });
}

} // namespace tavik::tests
