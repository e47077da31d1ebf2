// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QWidget>

class QLabel;

namespace tavik {

// The window's own title bar: logo, page title, and the two window buttons. Dragging it with the
// left button moves the window, out of being maximized too; a double click maximizes and restores.
class SkinTitleBar : public QWidget
{
    Q_OBJECT

public:
    explicit SkinTitleBar(QWidget* parent = nullptr);

    void setTitle(const QString& title);

signals:
    void minimizeRequested();
    void closeRequested();
    void maximizeToggled();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void restoreUnder(QPoint pointer);

    QLabel* title;
    QPoint dragOffset;        // from the window's frame origin to the pointer
    QPoint pressedAt;         // of the pointer on the screen
    bool isHeldStill = false; // until the next press
};

} // namespace tavik
