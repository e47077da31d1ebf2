// SPDX-License-Identifier: MIT
#include "resources/skin_generator/backdrop.h"

#include <QColor>

#include <algorithm>
#include <cmath>

namespace tavik {

namespace {

constexpr int width = 1440;
constexpr int height = 810;

// Gray levels of the darkest and the lightest place.
constexpr double darkest = 11.0;
constexpr double lightest = 24.0;

// The few gray levels would stand as visible rings. Each pixel is therefore rounded up or down by
// an 8 by 8 ordered pattern, which the eye takes for the level in between.
double threshold(int x, int y)
{
    int value = 0;
    const int mixed = x ^ y;
    for (int bit = 0; bit < 3; ++bit)
        value = (value << 2) | (((mixed >> bit) & 1) << 1) | ((y >> bit) & 1);
    return (value + 0.5) / 64.0;
}

double grayLevel(int x, int y)
{
    const double dx = (x - width * 0.5) / (width * 0.68);
    const double dy = (y - height * 0.18) / (height * 0.9);
    const double distance = std::min(std::hypot(dx, dy), 1.0);
    const double light = 0.5 + 0.5 * std::cos(distance * 3.14159265358979);
    return darkest + (lightest - darkest) * light;
}

} // namespace

QImage paintBackdrop()
{
    QImage backdrop(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int gray = static_cast<int>(std::floor(grayLevel(x, y) + threshold(x, y)));
            backdrop.setPixel(x, y, qRgb(gray, gray, gray + 1));
        }
    }
    return backdrop;
}

} // namespace tavik
