#include "resources/skin_generator/keyboard_picture.h"

#include "resources/skin_generator/legends.h"
#include "resources/skin_generator/shape.h"

#include <QFont>
#include <QFontDatabase>
#include <QPainter>
#include <QPainterPath>

namespace tavik {

namespace {

// Pixels per layout unit: sharp still when the drawing fills a large screen.
constexpr int scale = 3;

// All measures below are layout units.
constexpr QRectF caseRect(6, 0, 788, 300);
constexpr double caseRadius = 11.0;
constexpr QRectF screenModule(694, 15, 85, 94);
constexpr QRectF screenGlass(700, 25.5, 73, 73);

// Light enough that black captions stand on them, dark enough that white light shows.
constexpr QColor faceTop(0xcb, 0xce, 0xd4);
constexpr QColor faceBottom(0xbc, 0xc0, 0xc7);
constexpr QColor faceEdge(0xdf, 0xe1, 0xe5);
constexpr QColor sideTop(0xa9, 0xad, 0xb5);
constexpr QColor sideBottom(0x80, 0x84, 0x8d);
constexpr QColor legendColor(0x1f, 0x21, 0x26);
constexpr QColor shiftedColor(0x45, 0x49, 0x51);
constexpr QColor fnColor(0x66, 0x26, 0x00);

constexpr double capRadius = 5.0;
constexpr double faceRadius = 4.0;
constexpr QMarginsF faceMargins(2.5, 1.2, 2.5, 5.0);

// Legends stand in the upper corners: the middle of the cap belongs to the caption that the
// program writes there.
constexpr double legendInset = 5.6;
constexpr double legendBaseline = 9.9;
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
    path.addRoundedRect(rect, radius, radius);
    return path;
}

// Text as an outline, so that its size is free and the same on every machine.
QPainterPath textPath(const QString& text, const QString& family, double size)
{
    constexpr int outlineSize = 100;
    QFont font(family);
    font.setPixelSize(outlineSize);
    font.setWeight(QFont::DemiBold);
    font.setHintingPreference(QFont::PreferNoHinting);
    QPainterPath path;
    path.addText(0, 0, font, text);
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

void paintCase(QPainter& painter)
{
    painter.fillPath(roundedPath(caseRect, caseRadius), QColor(0x3c, 0x3d, 0x42));
    const QRectF body = caseRect.adjusted(1, 1, -1, -1);
    painter.fillPath(roundedPath(body, caseRadius - 1),
                     verticalGradient(body, QColor(0x2b, 0x2c, 0x30), QColor(0x22, 0x23, 0x26)));
}

void paintScreen(QPainter& painter)
{
    painter.fillPath(roundedPath(screenModule, 7), QColor(0x3a, 0x3b, 0x40));
    painter.fillPath(roundedPath(screenModule.adjusted(0.8, 0.8, -0.8, -0.8), 6.2),
                     QColor(0x0b, 0x0b, 0x0c));
    drawShape(painter, QStringLiteral("clock"), screenGlass);
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

void paintLegend(QPainter& painter, const QRectF& cap, const Legend& legend, const QString& family)
{
    const QColor color = legend.fn ? fnColor : legendColor;
    if (!legend.text.isEmpty()) {
        const double size = legend.text.size() == 1 ? characterSize : wordSize;
        painter.fillPath(textPath(legend.text, family, size)
                             .translated(cap.left() + legendInset, cap.top() + legendBaseline),
                         color);
    }
    if (!legend.shifted.isEmpty()) {
        const QPainterPath path = textPath(legend.shifted, family, characterSize);
        painter.fillPath(path.translated(cap.right() - legendInset - path.boundingRect().right(),
                                         cap.top() + legendBaseline),
                         shiftedColor);
    }
    if (legend.arrow >= 0)
        paintTinted(painter, QStringLiteral("arrow_up"), arrowRect.translated(cap.topLeft()), color,
                    legend.arrow);
    if (!legend.fnShape.isEmpty()) {
        const QRectF target(QPointF(), fnHintSize);
        paintTinted(painter, legend.fnShape,
                    target.translated(cap.right() - fnHintInset - target.width(),
                                      cap.bottom() - fnHintInset - 1.0 - target.height()),
                    fnColor, 0);
    }
}

} // namespace

QImage paintKeyboard(const LayoutFile& layout, const QString& fontPath)
{
    const QString family = loadFamily(fontPath);
    QImage picture = emptyPicture(layout.size * scale);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.scale(scale, scale);

    paintCase(painter);
    paintScreen(painter);
    for (const DrawnKey& key : layout.keys) {
        if (screenModule.intersects(key.rect))
            qFatal("The key with usage 0x%02x lies under the screen", key.usage);
        paintCap(painter, key.rect);
        paintLegend(painter, key.rect, legendOf(key.usage), family);
    }
    return picture;
}

} // namespace tavik
