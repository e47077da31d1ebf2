// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/light_field.h"

#include "virtual_keyboard/demo/board_picture.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tavik::virtual_keyboard {

namespace {

// In layout units.
constexpr double cellSize = 9;
constexpr double nearReach = 10; // of the light between the caps
constexpr double farReach = 45;  // and of the shine that it leaves on the desk

constexpr float shineOfAll = 0.4F;
constexpr float leastShare = 0.01F;

double distanceTo(const QRectF& rect, QPointF point)
{
    const double x = std::max({rect.left() - point.x(), 0.0, point.x() - rect.right()});
    const double y = std::max({rect.top() - point.y(), 0.0, point.y() - rect.bottom()});
    return std::hypot(x, y);
}

// How much of a light is left at a distance from its cap.
float fading(double distance, double reach)
{
    return static_cast<float>(std::exp(-(distance / reach) * (distance / reach)));
}

// Adds to each byte the light between two lines, of which the second counts so many 256ths. No
// step needs more than 16 bits, in which the processor takes many bytes at once.
void addLight(const uchar* first, const uchar* second, std::uint16_t part,
              const uchar* transparency, const uchar* unlit, uchar* lit, int bytes)
{
    using Word = std::uint16_t;
    const auto rest = static_cast<Word>(256 - part);
    for (int byte = 0; byte < bytes; ++byte) {
        const auto light =
            static_cast<Word>(static_cast<Word>(first[byte] * rest + second[byte] * part) >> 8);
        const auto shining = static_cast<Word>(light * static_cast<Word>(transparency[byte] + 1));
        const auto sum = static_cast<Word>(unlit[byte] + static_cast<Word>(shining >> 8));
        lit[byte] = static_cast<uchar>(sum < 255 ? sum : 255);
    }
}

} // namespace

LightField::LightField(const KeyboardLayout& layout, QSize view, qreal pixelRatio)
{
    const QTransform units = toView(layout, view);
    const double cell = cellSize * units.m11();
    cellPixels = cell * pixelRatio;
    const QSize size(static_cast<int>(std::ceil(view.width() / cell)),
                     static_cast<int>(std::ceil(view.height() / cell)));
    const QTransform toUnits = units.inverted();
    cells = QImage(size.expandedTo({1, 1}), QImage::Format_RGB32);
    for (int row = 0; row < cells.height(); ++row) {
        for (int column = 0; column < cells.width(); ++column)
            addShares(layout, static_cast<std::size_t>(row * cells.width() + column),
                      toUnits.map(QPointF((column + 0.5) * cell, (row + 0.5) * cell)));
    }
}

// Near the caps each key has its own light; where there is none, the shine of all is left.
void LightField::addShares(const KeyboardLayout& layout, std::size_t cell, QPointF point)
{
    struct Part
    {
        int light = 0;
        float nearby = 0;
        float far = 0;
    };
    std::vector<Part> parts;
    float nearSum = 0;
    float farSum = 0;
    for (const KeyRecord& key : layout.keys) {
        const double distance = distanceTo(key.rect, point);
        if (distance > 3 * farReach)
            continue;
        parts.push_back({key.lightIndex, fading(distance, nearReach), fading(distance, farReach)});
        nearSum += parts.back().nearby;
        farSum += parts.back().far;
    }
    const float nearFactor = 1 / std::max(1.0F, nearSum * 0.8F);
    const float farFactor = shineOfAll * std::max(0.0F, 1 - nearSum) / std::max(1.0F, farSum);
    for (const Part& each : parts) {
        const float part = nearFactor * each.nearby + farFactor * each.far;
        const bool hasLight = each.light >= 0 && each.light < static_cast<int>(keyCount);
        if (hasLight && part > leastShare)
            shares.push_back({cell, static_cast<std::size_t>(each.light), part});
    }
}

void LightField::spread(const std::vector<KeyColor>& lights)
{
    std::vector<std::array<float, 3>> sums(static_cast<std::size_t>(cells.width()) *
                                           static_cast<std::size_t>(cells.height()));
    for (const Share& share : shares) {
        for (std::size_t channel = 0; channel < 3; ++channel)
            sums[share.cell][channel] +=
                share.part * static_cast<float>(lights[share.light][channel]);
    }
    const auto byte = [](float value) { return static_cast<int>(std::min(value, 255.0F)); };
    auto sum = sums.begin();
    for (int row = 0; row < cells.height(); ++row) {
        auto* line = reinterpret_cast<QRgb*>(cells.scanLine(row));
        for (int column = 0; column < cells.width(); ++column, ++sum)
            line[column] = qRgb(byte((*sum)[0]), byte((*sum)[1]), byte((*sum)[2]));
    }
}

const QImage& LightField::shine(const std::vector<KeyColor>& lights, const QImage& unlit,
                                const QImage& transparency)
{
    spread(lights);
    if (lit.size() != unlit.size()) {
        lit = QImage(unlit.size(), QImage::Format_RGB32);
        lit.setDevicePixelRatio(unlit.devicePixelRatio());
        lines = QImage(unlit.width(), cells.height(), QImage::Format_RGB32);
    }
    lines.fill(Qt::black);
    QPainter painter(&lines);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(0, 0, cells.width() * cellPixels, cells.height()), cells);
    painter.end();

    const int last = lines.height() - 1;
    for (int row = 0; row < lit.height(); ++row) {
        const double place = std::clamp((row + 0.5) / cellPixels - 0.5, 0.0, last * 1.0);
        const int above = static_cast<int>(place);
        addLight(lines.constScanLine(above), lines.constScanLine(std::min(above + 1, last)),
                 static_cast<std::uint16_t>((place - above) * 256), transparency.constScanLine(row),
                 unlit.constScanLine(row), lit.scanLine(row), 4 * lit.width());
    }
    return lit;
}

} // namespace tavik::virtual_keyboard
