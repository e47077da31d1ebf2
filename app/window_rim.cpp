// SPDX-License-Identifier: MIT
#include "app/window_rim.h"

#include <QEvent>
#include <QMouseEvent>
#include <QWindow>

#include <algorithm>

namespace tavik {

namespace {

constexpr int rimWidth = 6;
constexpr int cornerReach = 18; // a corner of six pixels would be hard to hit

Qt::CursorShape cursorFor(Qt::Edges edges)
{
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge))
        return Qt::SizeFDiagCursor;
    if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge))
        return Qt::SizeBDiagCursor;
    return (edges & (Qt::LeftEdge | Qt::RightEdge)) != 0 ? Qt::SizeHorCursor : Qt::SizeVerCursor;
}

} // namespace

WindowRim::WindowRim(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("windowRim"));
    setMouseTracking(true);
    parent->installEventFilter(this);
    window()->installEventFilter(this);
    coverParent();
}

Qt::Edges WindowRim::edgesAt(QPoint place) const
{
    const int right = width() - 1 - place.x();
    const int bottom = height() - 1 - place.y();
    const bool onRim = std::min({place.x(), place.y(), right, bottom}) < rimWidth;
    if (!onRim || !rect().contains(place))
        return {};
    Qt::Edges edges;
    edges.setFlag(Qt::LeftEdge, place.x() < rimWidth);
    edges.setFlag(Qt::RightEdge, right < rimWidth);
    edges.setFlag(Qt::TopEdge, place.y() < rimWidth);
    edges.setFlag(Qt::BottomEdge, bottom < rimWidth);
    if ((edges & (Qt::TopEdge | Qt::BottomEdge)) != 0) {
        edges.setFlag(Qt::LeftEdge, place.x() < cornerReach);
        edges.setFlag(Qt::RightEdge, right < cornerReach);
    } else {
        edges.setFlag(Qt::TopEdge, place.y() < cornerReach);
        edges.setFlag(Qt::BottomEdge, bottom < cornerReach);
    }
    return edges;
}

void WindowRim::coverParent()
{
    setGeometry(parentWidget()->rect());
    const QRect inside = rect().adjusted(rimWidth, rimWidth, -rimWidth, -rimWidth);
    setMask(QRegion(rect()) - inside);
    setVisible(!window()->isMaximized() && !window()->isFullScreen());
    raise();
}

bool WindowRim::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::WindowStateChange)
        coverParent();
    return QWidget::eventFilter(watched, event);
}

void WindowRim::mouseMoveEvent(QMouseEvent* event)
{
    setCursor(cursorFor(edgesAt(event->position().toPoint())));
}

void WindowRim::mousePressEvent(QMouseEvent* event)
{
    const Qt::Edges edges = edgesAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && edges != 0 && window()->windowHandle() != nullptr)
        window()->windowHandle()->startSystemResize(edges);
}

} // namespace tavik
