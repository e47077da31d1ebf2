// SPDX-License-Identifier: MIT
#include "virtual_keyboard/tour/evening_picture.h"

#include <QPainter>

namespace tavik::virtual_keyboard {

QImage eveningPicture(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.scale(size.width() / 128.0, size.height() / 128.0);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 84);
    sky.setColorAt(0.0, QColor(0x2a, 0x1a, 0x4a));
    sky.setColorAt(0.6, QColor(0xda, 0x52, 0x00));
    sky.setColorAt(1.0, QColor(0xff, 0xb3, 0x5c));
    painter.fillRect(0, 0, 128, 128, sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xff, 0xe2, 0xa8));
    painter.drawEllipse(QPointF(64, 76), 22, 22);
    painter.fillRect(0, 84, 128, 44, QColor(0x1b, 0x22, 0x3d));
    for (int line = 0; line < 4; ++line)
        painter.fillRect(52 - 6 * line, 89 + 9 * line, 24 + 12 * line, 3,
                         QColor(0xff, 0xb3, 0x5c, 190 - 40 * line));
    return image;
}

} // namespace tavik::virtual_keyboard
