// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

class QPainter;

namespace tavik {

// How far the focus mark reaches beyond what has the focus.
inline constexpr int focusRingWidth = 4;

// Draws the mark round a rectangle: light outside and dark inside, so that one of the two stands
// out from any ground. The corners are those of what is marked.
void drawFocusRing(QPainter& painter, const QRect& marked, double corner);

// Marks what has the focus, in every window of the program, while the user works with the keys. A
// press of the mouse takes the mark away. What draws a mark of its own, a drawn keyboard, is left
// alone. One of these is enough for the program.
class FocusRing : public QObject
{
    Q_OBJECT

public:
    explicit FocusRing(QObject* parent);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void takeFocus(QWidget* widget, Qt::FocusReason reason);
    void show();

    QPointer<QWidget> marked;  // what has the focus, unless it marks itself
    QPointer<QWidget> ring;    // in the window of what was marked last
    bool isUsingKeys = false;  // since keys gave the focus
    bool isUsingMouse = false; // since its last press
};

} // namespace tavik
