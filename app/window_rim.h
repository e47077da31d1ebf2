// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace tavik {

// The edges and corners by which a window without a frame is resized: a rim over its parent, which
// lets everything inside through. It is out of the way while the window fills the screen.
class WindowRim : public QWidget
{
    Q_OBJECT

public:
    explicit WindowRim(QWidget* parent);

    // The edges that a press at this place takes hold of; corners have two.
    [[nodiscard]] Qt::Edges edgesAt(QPoint place) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void coverParent();
};

} // namespace tavik
