// SPDX-License-Identifier: MIT
#include "pages/parts/focus_ring.h"

#include "pages/parts/keyboard_view.h"

#include <QApplication>
#include <QFocusEvent>
#include <QPainter>

namespace tavik {

namespace {

constexpr QColor lightTone(0xff, 0xff, 0xff);
constexpr QColor darkTone(0x10, 0x10, 0x10);

// Lies over everything else in its window and lets the pointer through.
class Ring : public QWidget
{
public:
    explicit Ring(QWidget* window) : QWidget(window)
    {
        setObjectName(QStringLiteral("focusRing"));
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

    void standRound(const QRect& place)
    {
        constexpr int width = focusRingWidth;
        setGeometry(place.adjusted(-width, -width, width, width));
        setMask(QRegion(rect()) - rect().adjusted(width, width, -width, -width));
        raise();
        QWidget::show();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        constexpr int width = focusRingWidth;
        QPainter painter(this);
        drawFocusRing(painter, rect().adjusted(width, width, -width, -width), 0);
    }
};

// In its window; empty when it lies outside. At the edge of the window, the mark lies over what it
// marks.
QRect placeOf(const QWidget& marked)
{
    constexpr int width = focusRingWidth;
    const QRect inside = marked.window()->rect().adjusted(width, width, -width, -width);
    return QRect(marked.mapTo(marked.window(), QPoint()), marked.size()) & inside;
}

} // namespace

void drawFocusRing(QPainter& painter, const QRect& marked, double corner)
{
    constexpr int toneWidth = focusRingWidth / 2;
    int reach = 0;
    for (const QColor& tone : {darkTone, lightTone}) {
        const double middle = reach + toneWidth / 2.0;
        QPen pen(tone, toneWidth);
        pen.setJoinStyle(Qt::MiterJoin);
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        const double radius = corner > 0 ? corner + middle : 0;
        painter.drawRoundedRect(QRectF(marked).adjusted(-middle, -middle, middle, middle), radius,
                                radius);
        reach += toneWidth;
    }
}

FocusRing::FocusRing(QObject* parent) : QObject(parent)
{
    qApp->installEventFilter(this);
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event)
{
    auto* widget = qobject_cast<QWidget*>(watched);
    switch (event->type()) {
    case QEvent::FocusIn:
        if (widget != nullptr)
            takeFocus(widget, static_cast<QFocusEvent*>(event)->reason());
        break;
    case QEvent::FocusOut:
        // While a menu is open, the mark tells whose menu it is.
        if (widget == marked &&
            static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason) {
            marked = nullptr;
            show();
        }
        break;
    case QEvent::MouseButtonPress:
        isUsingKeys = false;
        isUsingMouse = true;
        show();
        break;
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
        isUsingMouse = false;
        break;
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::Hide:
        if (marked && widget != nullptr && widget->isAncestorOf(marked)) // of itself, too
            show();
        break;
    default:
        break;
    }
    return false;
}

// A window or a menu that comes or goes, and a page that the program turns to, keep to what the
// user worked with before. A control that vanishes under the mouse passes the focus on as if by
// Tab, which is not the user's doing.
void FocusRing::takeFocus(QWidget* widget, Qt::FocusReason reason)
{
    if (widget->window()->windowType() == Qt::Popup)
        return;
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
        reason == Qt::ShortcutFocusReason)
        isUsingKeys = !isUsingMouse;
    else if (reason == Qt::MouseFocusReason)
        isUsingKeys = false;
    marked = qobject_cast<KeyboardView*>(widget) == nullptr ? widget : nullptr;
    show();
}

void FocusRing::show()
{
    const QRect place = isUsingKeys && marked && marked->isVisible() ? placeOf(*marked) : QRect();
    if (place.isEmpty()) {
        if (ring)
            ring->hide();
        return;
    }
    QWidget* window = marked->window();
    if (!ring || ring->parentWidget() != window) {
        delete ring;
        ring = new Ring(window);
    }
    static_cast<Ring*>(ring.data())->standRound(place);
}

} // namespace tavik
