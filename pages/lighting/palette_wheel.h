// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QWidget>

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <utility>

namespace tavik {

// Where the marker of a wheel stands for every hue: on the ring pixel that lies nearest to it.
class WheelMarkers
{
public:
    // For a picture and the size of the widget that shows it; looks at every pixel once.
    WheelMarkers(const QImage& picture, QSize size);

    // Nothing for a gray, which has no hue, and nothing in a picture without a ring.
    [[nodiscard]] std::optional<QPoint> find(const QColor& color) const;

private:
    struct Place
    {
        int offRing = 0; // pixels between it and the middle of the ring
        QPoint position;
    };

    std::array<std::optional<Place>, 360> bestOfHue;
};

// A hue ring on which the user picks a color; the middle shows the current one. To assistive tools
// it is a dial whose value is the hue in degrees.
class PaletteWheel : public QWidget
{
    Q_OBJECT

public:
    using ColorPicked = std::function<void(const QColor&)>;

    explicit PaletteWheel(QWidget* parent = nullptr);

    // Called with each color the user picks on the wheel, never by setColor().
    void onColorPicked(ColorPicked callback) { colorPicked = std::move(callback); }

    // Shows the color and moves the marker to its hue; a gray leaves the marker where it is.
    void setColor(const QColor& color);
    [[nodiscard]] const QColor& color() const { return currentColor; }

    // The hue in degrees, 0 to 359; 0 for a gray.
    [[nodiscard]] int hue() const { return std::max(currentColor.hue(), 0); }

    // The user picks another hue of the current color; a gray becomes a clear color.
    void pickHue(int degrees);
    // The user picks the clear color so many degrees away.
    void turnHue(int degrees);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void showColor(const QColor& color);
    void pick(const QColor& color);

    QImage picture;
    QPixmap picturePixmap;
    WheelMarkers markers;
    QColor currentColor;
    QPoint marker; // in widget coordinates
    ColorPicked colorPicked;
};

} // namespace tavik
