#include "app/skin_workspace.h"

#include "app/skin/skin_icons.h"

#include <QPainter>

namespace tavik {

SkinWorkspace::SkinWorkspace(QWidget* parent)
    : QWidget(parent), background(loadSkinPixmap(QStringLiteral("keyboard_bkg.png")))
{
    // The keyboard views look this name up to draw the ground behind themselves.
    setObjectName(QStringLiteral("workspace"));
}

void SkinWorkspace::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (background.isNull()) {
        painter.fillRect(rect(), QColor(0x0A, 0x0A, 0x0A));
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(rect(), background);
}

} // namespace tavik
