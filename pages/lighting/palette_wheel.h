#pragma once

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QWidget>

#include <functional>
#include <optional>
#include <utility>

namespace tavik {

// Finds the ring pixel of a wheel picture that lies nearest to the color's hue, for a wheel widget
// of the given size. Nothing is found for a gray, which has no hue, or in a picture without a ring.
[[nodiscard]] std::optional<QPoint> findMarker(const QImage& picture, QSize wheelSize,
                                               const QColor& color);

// A hue ring on which the user picks a color; the middle shows the current one.
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

    [[nodiscard]] QColor color() const { return currentColor; }
    [[nodiscard]] QPoint markerPosition() const { return marker; }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void turnHue(int degrees);

    QImage picture;
    QPixmap picturePixmap;
    QColor currentColor;
    QPoint marker; // in widget coordinates
    ColorPicked colorPicked;
};

} // namespace tavik
