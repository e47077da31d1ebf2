// SPDX-License-Identifier: MIT
#include "pages/parts/accent_button.h"

#include <QPainter>

namespace tavik {

namespace {

// In the upper corner behind the text, where it is not taken for a full stop.
constexpr double dotDiameter = 5.0;
constexpr double dotFromEdge = 3.5;

} // namespace

AccentButton::AccentButton(const QString& text, QWidget* parent) : QPushButton(text, parent)
{
    setObjectName(QStringLiteral("accent"));
}

void AccentButton::setMarked(bool marked)
{
    if (isMarked == marked)
        return;
    isMarked = marked;
    showToolTip();
    update();
}

void AccentButton::setNote(const QString& text)
{
    note = text;
    showToolTip();
}

void AccentButton::showToolTip()
{
    QStringList lines;
    if (isMarked)
        lines += tr("Changed since it was last written");
    if (!note.isEmpty())
        lines += note;
    const QString words = lines.join(u'\n');
    if (words == toolTip())
        return;
    setToolTip(words);
    setAccessibleDescription(words); // which tells assistive tools that it is another one
}

void AccentButton::paintEvent(QPaintEvent* event)
{
    QPushButton::paintEvent(event);
    if (!isMarked)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawEllipse(
        QRectF(width() - dotFromEdge - dotDiameter, dotFromEdge, dotDiameter, dotDiameter));
}

} // namespace tavik
