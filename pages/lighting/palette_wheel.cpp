// SPDX-License-Identifier: MIT
#include "pages/lighting/palette_wheel.h"

#include "app/skin/skin_icons.h"
#include "pages/parts/color_names.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <tuple>
#include <utility>

namespace tavik {

namespace {

constexpr QSize wheelSize(240, 240);

// The marker settles in the middle of the outer part of the ring, on clear colors only.
constexpr int markerInnerRadius = 103;
constexpr int markerOuterRadius = 119;
constexpr int markerIdealRadius = 111;
constexpr int markerLeastSaturation = 190;
constexpr int markerLeastValue = 190;
constexpr int hueWeight = 8;

// A click is taken more generously than the marker search would.
constexpr double clickInnerRadius = 67;
constexpr double clickOuterRadius = 122;
constexpr int clickLeastSaturation = 150;

constexpr int leastAlpha = 200;
constexpr int hueStep = 5; // degrees per arrow key

int squared(int value)
{
    return value * value;
}

int hueDistance(int first, int second)
{
    const int distance = std::abs(first - second);
    return std::min(distance, 360 - distance);
}

class WheelInterface : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    explicit WheelInterface(PaletteWheel* wheel) : QAccessibleWidget(wheel, QAccessible::Dial) {}

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Value || kind == QAccessible::Description
                   ? colorWords(wheel().color())
                   : QAccessibleWidget::text(kind);
    }

    QVariant currentValue() const override { return wheel().hue(); }
    void setCurrentValue(const QVariant& value) override { wheel().pickHue(value.toInt()); }
    QVariant minimumValue() const override { return 0; }
    QVariant maximumValue() const override { return 359; }
    QVariant minimumStepSize() const override { return hueStep; }

    QStringList actionNames() const override
    {
        return QStringList{increaseAction(), decreaseAction()} + QAccessibleWidget::actionNames();
    }
    void doAction(const QString& name) override
    {
        if (name == increaseAction())
            wheel().turnHue(hueStep);
        else if (name == decreaseAction())
            wheel().turnHue(-hueStep);
        else
            QAccessibleWidget::doAction(name);
    }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }

private:
    PaletteWheel& wheel() const { return *static_cast<PaletteWheel*>(object()); }
};

QAccessibleInterface* wheelInterface(const QString&, QObject* object)
{
    auto* wheel = qobject_cast<PaletteWheel*>(object);
    return wheel == nullptr ? nullptr : new WheelInterface(wheel);
}

} // namespace

WheelMarkers::WheelMarkers(const QImage& picture, QSize size)
{
    const int centerX = size.width() / 2;
    const int centerY = size.height() / 2;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const int radius = qRound(std::sqrt(squared(x - centerX) + squared(y - centerY)));
            if (radius < markerInnerRadius || radius > markerOuterRadius)
                continue;
            const QColor pixel = picture.pixelColor(x, y).toHsv();
            if (pixel.alpha() < leastAlpha || pixel.saturation() < markerLeastSaturation ||
                pixel.value() < markerLeastValue)
                continue;
            const Place place{std::abs(markerIdealRadius - radius), {x, y}};
            std::optional<Place>& best = bestOfHue.at(static_cast<std::size_t>(pixel.hue()));
            if (!best || place.offRing < best->offRing)
                best = place;
        }
    }
}

std::optional<QPoint> WheelMarkers::find(const QColor& color) const
{
    if (color.hue() < 0)
        return std::nullopt;
    const Place* best = nullptr;
    // Among equally good places the uppermost and leftmost counts.
    auto bestScore = std::make_tuple(std::numeric_limits<int>::max(), 0, 0);
    for (std::size_t hue = 0; hue < bestOfHue.size(); ++hue) {
        const std::optional<Place>& place = bestOfHue.at(hue);
        if (!place)
            continue;
        const int distance = hueDistance(static_cast<int>(hue), color.hue());
        const auto score = std::make_tuple(place->offRing + hueWeight * distance,
                                           place->position.y(), place->position.x());
        if (score < bestScore) {
            bestScore = score;
            best = &*place;
        }
    }
    return best == nullptr ? std::nullopt : std::optional(best->position);
}

PaletteWheel::PaletteWheel(QWidget* parent)
    : QWidget(parent),
      picture(loadSkinImage(QStringLiteral("img_circlepalette.png"))),
      picturePixmap(QPixmap::fromImage(picture)),
      markers(picture, wheelSize)
{
    QAccessible::installFactory(wheelInterface); // before anything is told of this wheel
    setFixedSize(wheelSize);
    setCursor(Qt::CrossCursor);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(tr("Color wheel"));
}

void PaletteWheel::setColor(const QColor& color)
{
    marker = markers.find(color).value_or(marker);
    showColor(color);
}

void PaletteWheel::showColor(const QColor& color)
{
    update();
    if (std::exchange(currentColor, color) == color || !QAccessible::isActive())
        return;
    QAccessibleValueChangeEvent turned(this, hue());
    QAccessible::updateAccessibility(&turned);
    QAccessibleEvent described(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&described);
}

void PaletteWheel::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QPointF fromCenter = event->position() - QPointF(width() * 0.5, height() * 0.5);
    const double distance = std::hypot(fromCenter.x(), fromCenter.y());
    if (distance < clickInnerRadius || distance > clickOuterRadius)
        return;
    const QPoint position = event->position().toPoint();
    // Near the edge, rounding may leave the picture.
    if (!picture.rect().contains(position))
        return;
    const QColor picked = picture.pixelColor(position);
    if (picked.alpha() < leastAlpha || picked.saturation() < clickLeastSaturation)
        return;
    marker = position;
    showColor(picked);
    if (colorPicked)
        colorPicked(picked);
}

void PaletteWheel::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Down:
        turnHue(-hueStep);
        return;
    case Qt::Key_Right:
    case Qt::Key_Up:
        turnHue(hueStep);
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void PaletteWheel::turnHue(int degrees)
{
    pick(QColor::fromHsv((hue() + degrees + 360) % 360, 255, 255)); // a gray starts at red
}

void PaletteWheel::pickHue(int degrees)
{
    const int hue = std::clamp(degrees, 0, 359);
    pick(currentColor.hue() < 0
             ? QColor::fromHsv(hue, 255, 255)
             : QColor::fromHsv(hue, currentColor.hsvSaturation(), currentColor.value()));
}

void PaletteWheel::pick(const QColor& color)
{
    setColor(color);
    if (colorPicked)
        colorPicked(currentColor);
}

void PaletteWheel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (!picturePixmap.isNull())
        painter.drawPixmap(rect(), picturePixmap);

    const QPointF center(width() / 2.0, height() / 2.0);
    painter.setPen(QPen(QColor(0x58, 0x58, 0x58), 1.0));
    painter.setBrush(QColor(0x41, 0x41, 0x41));
    painter.drawEllipse(center, 63, 63);

    painter.setPen(Qt::NoPen);
    painter.setBrush(currentColor);
    painter.drawEllipse(center, 30, 30);

    painter.setPen(QPen(Qt::white, 1.5));
    painter.drawEllipse(
        QRect(QPoint(marker.x() - 4, marker.y() - 4), QPoint(marker.x() + 3, marker.y() + 3)));
}

} // namespace tavik
