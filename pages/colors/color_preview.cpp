// SPDX-License-Identifier: MIT
#include "pages/colors/color_preview.h"

#include <QPainter>
#include <QPen>

namespace tavik {

ColorPreview::ColorPreview(const QColor& shownColor, QWidget* parent)
    : QWidget(parent), color(shownColor)
{
}

void ColorPreview::paintEvent(QPaintEvent*)
{
    constexpr double cornerRadius = 4;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(QLatin1String("#50505a")), 1.0));
    painter.setBrush(color);
    painter.drawRoundedRect(QRect(1, 1, width() - 3, height() - 3), cornerRadius, cornerRadius);
}

} // namespace tavik
