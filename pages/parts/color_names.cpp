// SPDX-License-Identifier: MIT
#include "pages/parts/color_names.h"

#include <QCoreApplication>
#include <QVector3D>
#include <QtMath>

#include <cmath>
#include <limits>

namespace tavik {

namespace {

// What lies too far from all swatches to be called like one of them.
constexpr std::array<NamedColor, 9> otherColors{{
    {0x808080, QT_TRANSLATE_NOOP("tavik::ColorNames", "Gray")},
    {0xff96b4, QT_TRANSLATE_NOOP("tavik::ColorNames", "Pink")},
    {0x8c4614, QT_TRANSLATE_NOOP("tavik::ColorNames", "Brown")},
    {0x800000, QT_TRANSLATE_NOOP("tavik::ColorNames", "Dark red")},
    {0x000080, QT_TRANSLATE_NOOP("tavik::ColorNames", "Dark blue")},
    {0x600080, QT_TRANSLATE_NOOP("tavik::ColorNames", "Purple")},
    {0x008080, QT_TRANSLATE_NOOP("tavik::ColorNames", "Teal")},
    {0xa0c8ff, QT_TRANSLATE_NOOP("tavik::ColorNames", "Light blue")},
    {0xa0f0a0, QT_TRANSLATE_NOOP("tavik::ColorNames", "Light green")},
}};

// Its place in the cone of hue, saturation and brightness: there a pale red is next to red, and all
// dark colors are next to black.
QVector3D placeOf(const QColor& color)
{
    const float angle = qDegreesToRadians(std::max(color.hsvHueF(), 0.0F) * 360);
    const float radius = color.hsvSaturationF() * color.valueF();
    return {radius * std::cos(angle), radius * std::sin(angle), color.valueF()};
}

} // namespace

QString nameOf(const NamedColor& color)
{
    return QCoreApplication::translate("tavik::ColorNames", color.name);
}

KeyColor keyColorOf(const QColor& color)
{
    return {static_cast<unsigned char>(color.red()), static_cast<unsigned char>(color.green()),
            static_cast<unsigned char>(color.blue())};
}

QColor shownColor(const KeyColor& color)
{
    return {color.red, color.green, color.blue};
}

QString colorWords(const QColor& color)
{
    const QVector3D place = placeOf(color);
    const NamedColor* nearest = nullptr;
    float least = std::numeric_limits<float>::max();
    const auto look = [&](const NamedColor& candidate) {
        const float distance = place.distanceToPoint(placeOf(QColor(candidate.color)));
        if (distance < least) {
            least = distance;
            nearest = &candidate;
        }
    };
    for (const NamedColor& candidate : swatchColors)
        look(candidate);
    for (const NamedColor& candidate : otherColors)
        look(candidate);
    return QStringLiteral("%1, %2").arg(nameOf(*nearest).toLower(), color.name());
}

} // namespace tavik
