#include "resources/skin_generator/keyboard_picture.h"

#include "model/keyboard_layout.h"
#include "resources/skin_generator/shape.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace tavik {

namespace {

// Pixels per layout unit: sharp still when the drawing fills a large screen.
constexpr int scale = 3;

constexpr unsigned long usageDelete = 0x4C;
constexpr unsigned long usageFn = 0xAF;

// All measures below are layout units.
constexpr double caseRadius = 11.0;
constexpr double screenFrame = 6.0; // between the edge of the screen and its square glass

// Light enough that black captions stand on them, dark enough that white light shows.
constexpr QColor faceTop(0xcb, 0xce, 0xd4);
constexpr QColor faceBottom(0xbc, 0xc0, 0xc7);
constexpr QColor faceEdge(0xdf, 0xe1, 0xe5);
constexpr QColor sideTop(0xa9, 0xad, 0xb5);
constexpr QColor sideBottom(0x80, 0x84, 0x8d);
constexpr QColor legendColor(0x1f, 0x21, 0x26);
// Both stay readable under the translucent box of a caption, too.
constexpr QColor shiftedColor(0x2a, 0x2d, 0x33);
constexpr QColor fnColor(0x42, 0x17, 0x00);

constexpr double capRadius = 5.0;
constexpr double faceRadius = 4.0;
constexpr QMarginsF faceMargins(2.5, 1.2, 2.5, 5.0);

// Legends stand in the upper corners: the middle of the cap belongs to the caption that the
// program writes there.
constexpr double legendInset = 5.6;
constexpr double legendBaseline = 10.0; // on a whole pixel, so that thin strokes keep their color
constexpr double characterSize = 8.9;
constexpr double wordSize = 8.1;
constexpr QRectF arrowRect(4.4, 1.9, 9.6, 9.6);

// What a key does with Fn is shown in the lower right corner of its face.
constexpr QSizeF fnHintSize(11.0, 7.5625);
constexpr double fnHintInset = 5.0;

QLinearGradient verticalGradient(const QRectF& rect, const QColor& top, const QColor& bottom)
{
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0.0, top);
    gradient.setColorAt(1.0, bottom);
    return gradient;
}

QPainterPath roundedPath(const QRectF& rect, double radius)
{
    QPainterPath path;
    if (rect.isValid())
        path.addRoundedRect(rect, radius, radius);
    return path;
}

// Text as an outline, so that its size is free and the same on every machine. What would be wider
// than `widest` ends in an ellipsis.
QPainterPath textPath(const QString& text, const QString& family, double size, double widest)
{
    constexpr int outlineSize = 100;
    QFont font(family);
    font.setPixelSize(outlineSize);
    font.setWeight(QFont::DemiBold);
    font.setHintingPreference(QFont::PreferNoHinting);
    QPainterPath path;
    path.addText(0, 0, font,
                 QFontMetricsF(font).elidedText(text, Qt::ElideRight, widest * outlineSize / size));
    return QTransform::fromScale(size / outlineSize, size / outlineSize).map(path);
}

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

void paintCase(QPainter& painter, const QRectF& caseRect)
{
    painter.fillPath(roundedPath(caseRect, caseRadius), QColor(0x3c, 0x3d, 0x42));
    const QRectF body = caseRect.adjusted(1, 1, -1, -1);
    painter.fillPath(roundedPath(body, caseRadius - 1),
                     verticalGradient(body, QColor(0x2b, 0x2c, 0x30), QColor(0x22, 0x23, 0x26)));
}

void paintScreen(QPainter& painter, const QRectF& screen)
{
    painter.fillPath(roundedPath(screen, 7), QColor(0x3a, 0x3b, 0x40));
    painter.fillPath(roundedPath(screen.adjusted(0.8, 0.8, -0.8, -0.8), 6.2),
                     QColor(0x0b, 0x0b, 0x0c));
    const double side = std::min(screen.width(), screen.height()) - 2 * screenFrame;
    QRectF glass(0, 0, side, side);
    glass.moveCenter(screen.center());
    if (glass.isValid())
        drawShape(painter, QStringLiteral("clock"), glass);
}

void paintCap(QPainter& painter, const QRectF& cap)
{
    painter.fillPath(roundedPath(cap, capRadius), verticalGradient(cap, sideTop, sideBottom));
    const QRectF face = cap.marginsRemoved(faceMargins);
    painter.fillPath(roundedPath(face, faceRadius), faceEdge);
    const QRectF top = face.adjusted(0, 0.7, 0, 0);
    painter.fillPath(roundedPath(top, faceRadius), verticalGradient(top, faceTop, faceBottom));
}

void paintTinted(QPainter& painter, const QString& shape, const QRectF& target, const QColor& color,
                 int degrees)
{
    const QSize size = (target.size() * scale).toSize();
    painter.drawImage(target, tintedShape(shape, size, QRectF(QPointF(), size), color, degrees));
}

void paintLegend(QPainter& painter, const KeyRecord& key, const QString& family)
{
    constexpr QStringView arrows = u"↑→↓←"; // a quarter turn from one to the next
    const QRectF cap = key.rect;
    const QColor color = key.code == usageFn ? fnColor : legendColor;
    const bool isCharacter = key.legend.size() == 1;
    if (isCharacter && arrows.contains(key.legend)) {
        paintTinted(painter, QStringLiteral("arrow_up"), arrowRect.translated(cap.topLeft()), color,
                    90 * static_cast<int>(arrows.indexOf(key.legend)));
    } else {
        painter.fillPath(textPath(key.legend, family, isCharacter ? characterSize : wordSize,
                                  cap.width() - 2 * legendInset)
                             .translated(cap.left() + legendInset, cap.top() + legendBaseline),
                         color);
    }
    const QPainterPath shifted = textPath(key.shifted, family, characterSize, cap.width() / 2);
    painter.fillPath(shifted.translated(cap.right() - legendInset - shifted.boundingRect().right(),
                                        cap.top() + legendBaseline),
                     shiftedColor);
}

// Fn + Delete changes what the screen shows.
void paintScreenHint(QPainter& painter, const QRectF& cap)
{
    const QRectF target(QPointF(), fnHintSize);
    paintTinted(painter, QStringLiteral("screen_hint"),
                target.translated(cap.right() - fnHintInset - target.width(),
                                  cap.bottom() - fnHintInset - 1.0 - target.height()),
                fnColor, 0);
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
        paintCase(painter, layout.caseRect);
    const bool hasScreen = isDrawable(layout, layout.screenRect, QStringLiteral("the screen"));
    if (hasScreen)
        paintScreen(painter, layout.screenRect);
    for (const KeyRecord& key : layout.keys) {
        if (!isDrawable(layout, key.rect, QStringLiteral("the key ") + key.desc))
            continue;
        paintCap(painter, key.rect);
        paintLegend(painter, key, family);
        if (hasScreen && key.code == usageDelete)
            paintScreenHint(painter, key.rect);
    }
    return picture;
}

} // namespace tavik
