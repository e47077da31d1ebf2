// SPDX-License-Identifier: MIT
#include "resources/skin_generator/color_wheel.h"

#include <QColor>
#include <QtMath>

#include <algorithm>
#include <cmath>

namespace tavik {

namespace {

constexpr int size = 240;

// Distances are counted from pixel (120, 120), as the program counts them when it looks a color
// up. A press counts from 67 on and the marker stands on full colors from 103 to 119, so the ring
// reaches half a pixel further on both sides before its edge fades.
constexpr int center = 120;
constexpr double innerRadius = 65.8;
constexpr double outerRadius = 119.8;
constexpr double fullColorRadius = 102.0;

// A little paler inside, yet well above what counts as a color there.
constexpr double innerSaturation = 0.64;

// How much of a pixel lies inside the ring, for an edge that fades over one pixel.
double coverage(double distance)
{
    const double inner = distance - innerRadius + 0.5;
    const double outer = outerRadius - distance + 0.5;
    return std::clamp(std::min(inner, outer), 0.0, 1.0);
}

double saturation(double distance)
{
    const double share = (distance - innerRadius) / (fullColorRadius - innerRadius);
    return innerSaturation + (1.0 - innerSaturation) * std::clamp(share, 0.0, 1.0);
}

double hue(double dx, double dy)
{
    const double turn = std::atan2(dx, -dy) / (2.0 * M_PI);
    return turn < 0.0 ? turn + 1.0 : turn;
}

} // namespace

QImage paintColorWheel()
{
    // Not premultiplied, so that the pixels of the fading edge keep their exact color.
    QImage wheel(size, size, QImage::Format_ARGB32);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const double dx = x - center;
            const double dy = y - center;
            const double distance = std::hypot(dx, dy);
            const QColor color = QColor::fromHsvF(static_cast<float>(hue(dx, dy)),
                                                  static_cast<float>(saturation(distance)), 1.0F,
                                                  static_cast<float>(coverage(distance)));
            wheel.setPixel(x, y, color.alpha() == 0 ? qRgba(0, 0, 0, 0) : color.rgba());
        }
    }
    return wheel;
}

} // namespace tavik
