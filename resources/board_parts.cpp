// SPDX-License-Identifier: MIT
#include "resources/board_parts.h"

#include "model/keyboard_layout.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace tavik {

namespace {

constexpr double screenFrame = 6.0; // between the edge of the screen and its glass
constexpr double capRadius = 5.0;
constexpr QMarginsF faceMargins(2.5, 1.2, 2.5, 5.0);

constexpr double legendInset = 5.6;
constexpr double leastInset = 2.6;
constexpr double narrowestLegend = 0.75; // of its usual width
constexpr double legendBaseline = 10.0;  // on a whole pixel, so that thin strokes keep their color
constexpr QPointF arrowCorner(4.4, 1.9);
constexpr double arrowSize = 1.08; // of a character's

constexpr int outlineSize = 100;

QLinearGradient verticalGradient(const QRectF& rect, const QColor& top, const QColor& bottom)
{
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0.0, top);
    gradient.setColorAt(1.0, bottom);
    return gradient;
}

QFont outlineFont(const QString& family)
{
    QFont font(family);
    font.setPixelSize(outlineSize);
    font.setWeight(QFont::DemiBold);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QPainterPath textPath(const QString& text, const QFont& font, double size, double widest)
{
    const QFontMetricsF metrics(font);
    const double scale = size / outlineSize;
    const double narrowing =
        std::clamp(widest / (metrics.horizontalAdvance(text) * scale + 1e-9), narrowestLegend, 1.0);
    QPainterPath path;
    path.addText(0, 0, font,
                 metrics.elidedText(text, Qt::ElideRight, widest / scale / narrowing + 1e-6));
    return QTransform::fromScale(scale * narrowing, scale).map(path);
}

// Fonts draw arrows of all sizes, and Open Sans none. The corner is the upper left one.
void paintArrow(QPainter& painter, const QPointF& corner, double size, const QColor& color,
                int quarterTurns)
{
    painter.save();
    painter.translate(corner + QPointF(size / 2, size / 2));
    painter.rotate(90 * quarterTurns);
    painter.scale(size / 24, size / 24);
    painter.setPen(QPen(color, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLine(QPointF(0, 7), QPointF(0, -7));
    painter.drawPolyline(QPolygonF({{-6, -1}, {0, -7}, {6, -1}}));
    painter.restore();
}

} // namespace

QRectF faceOf(const QRectF& cap)
{
    return cap.marginsRemoved(faceMargins);
}

QRectF glassOf(const QRectF& screen)
{
    const double side = std::min(screen.width(), screen.height()) - 2 * screenFrame;
    QRectF glass(0, 0, side, side);
    glass.moveCenter(screen.center());
    return glass;
}

void fillRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& brush)
{
    QPainterPath path;
    if (rect.isValid())
        path.addRoundedRect(rect, radius, radius);
    painter.fillPath(path, brush);
}

void paintCase(QPainter& painter, const QRectF& rect, const BoardColors& colors)
{
    fillRounded(painter, rect, caseRadius, colors.caseEdge);
    const QRectF body = rect.adjusted(1, 1, -1, -1);
    fillRounded(painter, body, caseRadius - 1,
                verticalGradient(body, colors.caseTop, colors.caseBottom));
}

void paintScreenFrame(QPainter& painter, const QRectF& rect, const BoardColors& colors)
{
    fillRounded(painter, rect, 7, colors.screenEdge);
    fillRounded(painter, rect.adjusted(0.8, 0.8, -0.8, -0.8), 6.2, colors.glass);
}

void paintCap(QPainter& painter, const QRectF& cap, const BoardColors& colors)
{
    fillRounded(painter, cap, capRadius, verticalGradient(cap, colors.sideTop, colors.sideBottom));
    const QRectF face = faceOf(cap);
    fillRounded(painter, face, faceRadius, colors.faceEdge);
    const QRectF top = face.adjusted(0, 0.7, 0, 0);
    fillRounded(painter, top, faceRadius, verticalGradient(top, colors.faceTop, colors.faceBottom));
}

void paintLegends(QPainter& painter, const KeyRecord& key, const QRectF& cap,
                  const QString& fontFamily, const LegendSizes& sizes, const BoardColors& colors)
{
    constexpr QStringView arrows = u"↑→↓←"; // a quarter turn from one to the next
    const QFont font = outlineFont(fontFamily);
    const bool isCharacter = key.legend.size() == 1;
    const double size = isCharacter ? sizes.character : sizes.word;
    const double baseline = cap.top() + legendBaseline + sizes.word - LegendSizes().word;
    if (isCharacter && arrows.contains(key.legend)) {
        paintArrow(painter, cap.topLeft() + arrowCorner, arrowSize * size, colors.legend,
                   static_cast<int>(arrows.indexOf(key.legend)));
    } else {
        const double whole = QFontMetricsF(font).horizontalAdvance(key.legend) * size / outlineSize;
        const double inset = std::clamp((cap.width() - whole) / 2, leastInset, legendInset);
        const QPainterPath path = textPath(key.legend, font, size, cap.width() - 2 * inset);
        painter.fillPath(path.translated(cap.left() + inset, baseline), colors.legend);
    }
    const QPainterPath shifted = textPath(key.shifted, font, sizes.character, cap.width() / 2);
    painter.fillPath(
        shifted.translated(cap.right() - legendInset - shifted.boundingRect().right(), baseline),
        colors.shifted);
}

} // namespace tavik
