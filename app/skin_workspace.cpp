// SPDX-License-Identifier: MIT
#include "app/skin_workspace.h"

#include <QPainter>

namespace tavik {

SkinWorkspace::SkinWorkspace(QWidget* parent)
    : QWidget(parent),
      background(QStringLiteral("keyboard_bkg.png"), SkinPicture::Scaling::Stretched)
{
    // The keyboard views look this name up to draw the ground behind themselves.
    setObjectName(QStringLiteral("workspace"));
}

void SkinWorkspace::paintEvent(QPaintEvent*)
{
    const QSize pixels = devicePixels(size(), devicePixelRatioF());
    if (!ground || ground->size() != pixels)
        ground = background.scaled(pixels);
    QPainter painter(this);
    if (ground)
        painter.drawPixmap(rect(), *ground);
    else
        painter.fillRect(rect(), QColor(0x0A, 0x0A, 0x0A));
}

} // namespace tavik
