// SPDX-License-Identifier: MIT
#pragma once

#include "pages/parts/keyboard_geometry.h"
#include "virtual_keyboard/demo/board_picture.h"
#include "virtual_keyboard/demo/light_field.h"

#include <QWidget>

namespace tavik::virtual_keyboard {

// A keyboard on a desk, with its light. Shows what it is told and tells which key is clicked.
class LitBoard : public QWidget
{
    Q_OBJECT

public:
    explicit LitBoard(const KeyboardLayout& keyboardLayout, QWidget* parent = nullptr);

    // What the screen shows: nothing, the time of day, or a picture.
    enum class Screen { Dark, Clock, Picture };

    void setContent(const BoardContent& newContent);
    // By light index.
    void setLights(const std::vector<KeyColor>& newLights);
    void setScreen(Screen kind, const ScreenFrame* picture = nullptr);

    // Where the key with this light index is seen; empty when there is none.
    [[nodiscard]] QRect keyRectangle(int lightIndex) const;
    // The square in which the screen shows its pictures.
    [[nodiscard]] QRectF glass() const;
    // The height at which nothing is left over. In a lower one it is drawn smaller.
    [[nodiscard]] int heightForWidth(int width) const override;

signals:
    void keyPressed(int lightIndex);
    void keyReleased();
    // Comes before each painting, so that nothing is computed that nobody sees.
    void aboutToPaint();

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void preparePictures();
    void paintScreen(QPainter& painter) const;
    [[nodiscard]] KeyboardGeometry geometry() const { return {&layout, size()}; }

    const KeyboardLayout layout; // with its desk
    BoardContent content;
    std::vector<KeyColor> lights;
    Screen screen = Screen::Clock;
    QImage screenPicture;

    // Made anew when size or content change.
    QSize paintedSize; // of the board in them; the pictures are wider
    QImage unlit;
    QImage transparency;
    LightField field;
};

} // namespace tavik::virtual_keyboard
