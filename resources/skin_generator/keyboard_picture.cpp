// SPDX-License-Identifier: MIT
#include "resources/skin_generator/keyboard_picture.h"

#include "model/keyboard_layout.h"
#include "resources/board_parts.h"
#include "resources/skin_generator/shape.h"

#include <QFontDatabase>
#include <QPainter>

namespace tavik {

namespace {

// Pixels per layout unit: sharp still when the drawing fills a large screen.
constexpr int scale = 3;

constexpr unsigned long usageDelete = 0x4C;
constexpr unsigned long usageFn = 0xAF;

// Light enough that black captions stand on them, dark enough that white light shows. Legends stay
// readable under the translucent box of a caption, too.
const BoardColors light{
    .caseEdge = QColor(0x3c, 0x3d, 0x42),
    .caseTop = QColor(0x2b, 0x2c, 0x30),
    .caseBottom = QColor(0x22, 0x23, 0x26),
    .screenEdge = QColor(0x3a, 0x3b, 0x40),
    .glass = QColor(0x0b, 0x0b, 0x0c),
    .sideTop = QColor(0xa9, 0xad, 0xb5),
    .sideBottom = QColor(0x80, 0x84, 0x8d),
    .faceEdge = QColor(0xdf, 0xe1, 0xe5),
    .faceTop = QColor(0xcb, 0xce, 0xd4),
    .faceBottom = QColor(0xbc, 0xc0, 0xc7),
    .legend = QColor(0x1f, 0x21, 0x26),
    .shifted = QColor(0x2a, 0x2d, 0x33),
};
constexpr QColor fnColor(0x42, 0x17, 0x00);

// What a key does with Fn is shown in the lower right corner of its face, in layout units.
constexpr QSizeF fnHintSize(11.0, 7.5625);
constexpr double fnHintInset = 5.0;

QString loadFamily(const QString& fontPath)
{
    const int id = QFontDatabase::addApplicationFont(fontPath);
    const QStringList families = QFontDatabase::applicationFontFamilies(id);
    if (families.isEmpty())
        qFatal("Cannot read the font %s", qPrintable(fontPath));
    return families.first();
}

// A hand-edited file may name any numbers. A null rectangle stands for what the file leaves out.
bool isDrawable(const KeyboardLayout& layout, const QRect& rect, const QString& name)
{
    const bool isInside =
        !rect.isEmpty() && QRect(0, 0, layout.width, layout.height).contains(rect);
    if (!isInside && !rect.isNull())
        qWarning("Left out of the picture, because it does not lie inside: %s", qPrintable(name));
    return isInside;
}

// Fn + Delete changes what the screen shows.
void paintScreenHint(QPainter& painter, const QRectF& cap)
{
    const QRectF target(QPointF(), fnHintSize);
    const QSize size = (fnHintSize * scale).toSize();
    painter.drawImage(
        target.translated(cap.right() - fnHintInset - target.width(),
                          cap.bottom() - fnHintInset - 1.0 - target.height()),
        tintedShape(QStringLiteral("screen_hint"), size, QRectF(QPointF(), size), fnColor));
}

} // namespace

QImage paintKeyboard(const KeyboardLayout& layout, const QString& fontPath)
{
    const QString family = loadFamily(fontPath);
    QImage picture = emptyPicture(QSize(layout.width, layout.height) * scale);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.scale(scale, scale);

    if (isDrawable(layout, layout.caseRect, QStringLiteral("the case")))
        paintCase(painter, layout.caseRect, light);
    const bool hasScreen = isDrawable(layout, layout.screenRect, QStringLiteral("the screen"));
    if (hasScreen) {
        paintScreenFrame(painter, layout.screenRect, light);
        if (const QRectF glass = glassOf(layout.screenRect); glass.isValid())
            drawShape(painter, QStringLiteral("clock"), glass);
    }
    for (const KeyRecord& key : layout.keys) {
        if (!isDrawable(layout, key.rect, QStringLiteral("the key ") + key.desc))
            continue;
        paintCap(painter, key.rect, light);
        BoardColors colors = light;
        if (key.code == usageFn)
            colors.legend = fnColor;
        paintLegends(painter, key, key.rect, family, {}, colors);
        if (hasScreen && key.code == usageDelete)
            paintScreenHint(painter, key.rect);
    }
    return picture;
}

} // namespace tavik
