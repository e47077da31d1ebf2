#pragma once

#include "virtual_keyboard/demo/board_picture.h"
#include "virtual_keyboard/demo/light_field.h"

#include <QWidget>

namespace tavik::virtual_keyboard {

// A keyboard on a desk, with its light. Shows what it is told and tells which key is clicked. The
// layout is not owned.
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

    [[nodiscard]] BoardPlan plan() const { return {layout, size()}; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;

signals:
    void keyPressed(int lightIndex);
    void keyReleased();
    // Comes before each painting, so that nothing is computed that nobody sees.
    void aboutToPaint();

protected:
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void preparePictures();
    void paintScreen(QPainter& painter, const QRectF& glass) const;

    const KeyboardLayout& layout;
    BoardContent content;
    std::vector<KeyColor> lights;
    Screen screen = Screen::Clock;
    QImage screenPicture;

    // Made anew when size or content change.
    QImage unlit;
    QImage transparency;
    LightField field;
};

} // namespace tavik::virtual_keyboard
