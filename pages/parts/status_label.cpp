// SPDX-License-Identifier: MIT
#include "pages/parts/status_label.h"

#include "device/device.h"
#include "pages/parts/announcement.h"
#include "pages/parts/keyboard_advice.h"
#include "pages/parts/shown_text.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QToolTip>

namespace tavik {

namespace {

constexpr QColor toolTipColor(0xf1, 0xf1, 0xf1); // as in the sheet of the window

QString styleSheetFor(StatusLook look)
{
    switch (look) {
    case StatusLook::Plain:
        return {};
    case StatusLook::Success:
        return QStringLiteral("color:#7ec97e;");
    case StatusLook::Warning:
        return QStringLiteral("color:#e0a050;");
    case StatusLook::Error:
        return QStringLiteral("color:#e07070;");
    }
    return {};
}

} // namespace

StatusLabel::StatusLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    connect(&EditHistory::instance(), &EditHistory::changed, this, &StatusLabel::clearAfterEdit);
}

void StatusLabel::showStatus(StatusLook look, const QString& text, std::optional<StatePart> subject)
{
    setStyleSheet(styleSheetFor(look));
    if (text.isEmpty())
        clear(); // an empty text would take no room
    else
        setText(text);
    shownSubject = subject;
    disconnect(clearing);
    setAdvice({}, look == StatusLook::Error);
    announce(this, text);
}

void StatusLabel::showOutcome(bool succeeded, const QString& successText,
                              std::optional<StatePart> subject)
{
    if (succeeded)
        showStatus(StatusLook::Success, successText, subject);
    else
        showStatus(StatusLook::Error, QStringLiteral("Error: %1").arg(Device::instance().lastError),
                   subject);
}

void StatusLabel::showRefusal(const QString& text, const QString& whatToDo,
                              std::optional<StatePart> subject)
{
    showStatus(StatusLook::Error, text, subject);
    setAdvice(whatToDo);
}

void StatusLabel::setAdvice(const QString& text, bool keyboardFailed)
{
    hasKeyboardFailed = keyboardFailed;
    advice = text;
    setToolTip(text);
    setAccessibleDescription(text);
    if (!keyboardFailed || !QAccessible::isActive())
        return;
    // Later: looking at the keyboard takes a moment.
    QMetaObject::invokeMethod(
        this, [this] { setAccessibleDescription(adviceNow()); }, Qt::QueuedConnection);
}

QString StatusLabel::adviceNow() const
{
    QStringList lines;
    if (!advice.isEmpty())
        lines += advice;
    if (hasKeyboardFailed)
        lines += keyboardAdvice();
    return lines.join(u'\n');
}

void StatusLabel::clearAfterEdit(StatePart part)
{
    if (shownSubject && (part == *shownSubject || part == StatePart::Everything))
        showStatus(StatusLook::Plain, {});
}

int StatusLabel::heightForWidth(int width) const
{
    return text().isEmpty() ? sizeHint().height() : QLabel::heightForWidth(width);
}

bool StatusLabel::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip || !(hasKeyboardFailed || !advice.isEmpty()))
        return QLabel::event(event);
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       wrappedToolTip(adviceNow(), toolTipColor), this);
    return true;
}

} // namespace tavik
