// SPDX-License-Identifier: MIT
#include "pages/parts/busy_wait.h"

#include "pages/parts/status_label.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWindow>

namespace tavik {

namespace {

bool isWaiting = false; // in the one GUI thread

bool isInTitleBar(const QWidget* widget)
{
    while (widget != nullptr && widget->objectName() != QLatin1String("titleBar"))
        widget = widget->parentWidget();
    return widget != nullptr;
}

// The key or the button of an event; keys and buttons have no number in common.
int pressedThing(const QEvent* event)
{
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease)
        return static_cast<const QKeyEvent*>(event)->key();
    return event->isSinglePointEvent()
               ? -static_cast<int>(static_cast<const QSinglePointEvent*>(event)->button())
               : 0;
}

// Who gets an event that reaches the native window first.
const QWidget* receiverIn(const QWidget* window, const QEvent* event)
{
    if (!event->isPointerEvent())
        return window->focusWidget();
    const auto* pointer = static_cast<const QPointerEvent*>(event);
    return pointer->pointCount() == 0
               ? nullptr
               : window->childAt(pointer->points().constFirst().position().toPoint());
}

} // namespace

BusyWait::BusyWait(QWidget* page, StatusLabel* status)
    : window(page->window()), begun(!std::exchange(isWaiting, true))
{
    if (!begun)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    qApp->installEventFilter(this);
    if (status != nullptr)
        status->showStatus(StatusLook::Plain, {});
    QCoreApplication::processEvents(); // paints
}

bool BusyWait::isRunning()
{
    return isWaiting;
}

// What came while the thread was busy lies in the connection to the display and in the queues of
// the toolkit. It is fetched until nothing comes any more.
BusyWait::~BusyWait()
{
    if (!begun)
        return;
    do {
        hasSwallowed = false;
        QGuiApplication::sync();
    } while (hasSwallowed);
    qApp->removeEventFilter(this);
    QApplication::restoreOverrideCursor();
    isWaiting = false;
    for (auto& [receiver, release] : lateReleases) {
        if (receiver)
            QCoreApplication::postEvent(receiver, release.release());
    }
}

bool BusyWait::isInput(const QObject* watched, const QEvent* event) const
{
    // A shortcut goes to an action, which belongs to a widget.
    const QObject* owner = event->type() == QEvent::Shortcut ? watched->parent() : watched;
    const auto* widget = qobject_cast<const QWidget*>(owner);
    if (widget != nullptr)
        return widget->window() == window && !isInTitleBar(widget);
    return watched == window->windowHandle() && !isInTitleBar(receiverIn(window, event));
}

bool BusyWait::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TabletPress:
    case QEvent::KeyPress:
    case QEvent::InputMethod:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::Drop:
    case QEvent::Shortcut:
        if (!isInput(watched, event))
            return false;
        hasSwallowed = true;
        swallowedPresses.insert(pressedThing(event));
        return true;
    case QEvent::MouseButtonRelease:
    case QEvent::KeyRelease:
        // The native window has to hear of it at once, to know what is pressed.
        if (!watched->isWidgetType() || !isInput(watched, event))
            return false;
        if (!swallowedPresses.contains(pressedThing(event)))
            lateReleases.emplace_back(watched, event->clone());
        return true;
    default:
        return false;
    }
}

} // namespace tavik
