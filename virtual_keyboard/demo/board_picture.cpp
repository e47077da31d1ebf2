#include "virtual_keyboard/demo/board_picture.h"

#include "pages/parts/caption_text.h"
#include "pages/parts/keyboard_geometry.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace tavik::virtual_keyboard {

namespace {

// In layout units.
constexpr QMarginsF deskAround(16, 26, 16, 22);
constexpr QMarginsF faceMargins(2.6, 1.6, 2.6, 5.4);
constexpr double glassFrame = 6;

constexpr double readableSize = 10; // pixels
constexpr double smallestCaption = 8;
constexpr double smallestSize = 6;

// How far a text may be pressed together, by its width.
constexpr double narrowest = 0.72;

QSizeF sizeWithDesk(const KeyboardLayout& layout)
{
    return QSizeF(std::max(1, layout.width), std::max(1, layout.height)).grownBy(deskAround);
}

QLinearGradient downward(const QRectF& rect, const QColor& top, const QColor& bottom)
{
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    return gradient;
}

void fillRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& brush)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(brush);
    painter.drawRoundedRect(rect, radius, radius);
}

QFont legendFont(const QFont& base, double pixels)
{
    QFont font = base;
    font.setPixelSize(std::max(1, qRound(pixels)));
    font.setWeight(QFont::DemiBold);
    return font;
}

// The font in which the text is as wide as the room at most: pressed together, then smaller.
// Without success it has the least size.
QFont fittingFont(const QFont& base, const QString& text, double room, double wantedSize,
                  double leastSize)
{
    double size = wantedSize;
    QFont font = legendFont(base, size);
    const auto share = [&] {
        return room / std::max(1.0, QFontMetricsF(font).horizontalAdvance(text));
    };
    while (share() < narrowest && size > leastSize)
        font = legendFont(base, --size);
    if (share() < 1)
        font.setStretch(static_cast<int>(100 * std::max(narrowest, share())));
    return font;
}

void drawFitting(QPainter& painter, const QRectF& area, Qt::Alignment alignment,
                 const QString& text, double wantedSize)
{
    const QFont font = fittingFont(painter.font(), text, area.width(), wantedSize, smallestSize);
    painter.setFont(font);
    painter.drawText(area, static_cast<int>(alignment) | Qt::TextSingleLine,
                     QFontMetricsF(font).elidedText(text, Qt::ElideRight, area.width() + 1));
}

// Fonts draw arrows of all sizes, and Open Sans none.
void drawArrow(QPainter& painter, const QRectF& area, int quarterTurns, const QColor& color)
{
    QPainterPath arrow;
    arrow.moveTo(0, 0.4);
    arrow.lineTo(0, -0.4);
    arrow.moveTo(-0.32, -0.08);
    arrow.lineTo(0, -0.4);
    arrow.lineTo(0.32, -0.08);
    painter.save();
    painter.translate(area.center());
    painter.rotate(90 * quarterTurns);
    painter.scale(area.width(), area.width());
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(color, 0.15, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(arrow);
    painter.restore();
}

} // namespace

BoardColors boardTransparency()
{
    const auto share = [](int percent) {
        const int channel = percent * 255 / 100;
        return QColor(channel, channel, channel);
    };
    return {
        .desk = share(70),
        .deskFar = share(25),
        .shadow = QColor(0, 0, 0, 4),
        .cable = share(10),
        .caseEdge = share(45),
        .caseTop = share(16),
        .caseBottom = share(16),
        .plate = share(95),
        .sideTop = share(34),
        .sideBottom = share(52),
        .faceTop = share(7),
        .faceBottom = share(13),
        .legend = share(100),
        .shifted = share(80),
        .caption = QColor(0, 0, 0, 60),
        .captionFrame = share(10),
        .captionText = share(10),
        .glass = share(0),
    };
}

double BoardPlan::heightFor(const KeyboardLayout& keyboardLayout, double width)
{
    const QSizeF all = sizeWithDesk(keyboardLayout);
    return width * all.height() / all.width();
}

BoardPlan::BoardPlan(const KeyboardLayout& keyboardLayout, QSizeF viewSize)
    : layout(keyboardLayout), view(viewSize)
{
    const QSizeF all = sizeWithDesk(layout);
    factor = std::max(0.01, std::min(view.width() / all.width(), view.height() / all.height()));
    origin = QPointF((view.width() - all.width() * factor) / 2 + deskAround.left() * factor,
                     (view.height() - all.height() * factor) / 2 + deskAround.top() * factor);
}

QRectF BoardPlan::place(const QRectF& rect) const
{
    return {origin + rect.topLeft() * factor, rect.size() * factor};
}

QRectF BoardPlan::glass() const
{
    const QRectF screen = layout.screenRect;
    const double side = std::max(0.0, std::min(screen.width(), screen.height()) - 2 * glassFrame);
    QRectF square(0, 0, side, side);
    square.moveCenter(screen.center());
    return place(square);
}

int BoardPlan::keyAt(QPointF point) const
{
    const KeyboardGeometry geometry(&layout, QSize(layout.width, layout.height));
    const QPointF inLayout = toLayout(point);
    return geometry.keyAt(
        {static_cast<int>(std::floor(inLayout.x())), static_cast<int>(std::floor(inLayout.y()))});
}

void BoardPlan::paint(QPainter& painter, const BoardContent& content,
                      const BoardColors& colors) const
{
    paintDesk(painter, content, colors);
    for (const KeyRecord& key : layout.keys)
        paintKey(painter, key, content, colors);
    if (!layout.screenRect.isEmpty()) {
        const QRectF screen = place(layout.screenRect);
        fillRounded(painter, screen, 7 * factor, colors.caseEdge);
        fillRounded(painter, screen.adjusted(1, 1, -1, -1), 6.5 * factor, colors.glass);
    }
}

void BoardPlan::paintDesk(QPainter& painter, const BoardContent& content,
                          const BoardColors& colors) const
{
    QRadialGradient desk(QPointF(view.width() / 2, view.height() * 0.45), view.width() * 0.62);
    desk.setColorAt(0, colors.desk);
    desk.setColorAt(1, colors.deskFar);
    painter.fillRect(QRectF(QPointF(), view), desk);

    const QRectF body = place(layout.caseRect.isEmpty() ? QRect(0, 0, layout.width, layout.height)
                                                        : layout.caseRect);
    for (int step = 9; step > 0; --step) {
        const double spread = step * 1.4 * factor;
        fillRounded(painter, body.adjusted(-spread, -spread / 2, spread, spread + 3 * factor),
                    11 * factor + spread, colors.shadow);
    }
    // The cable comes over the far edge of the desk; pulled out, its plug lies before the case.
    const double socket = body.left() + body.width() * 0.3;
    const double end = content.isPlugged ? body.top() : body.top() - 11 * factor;
    const QRectF cable(socket - 2.2 * factor, -5, 4.4 * factor, std::max(0.0, end) + 5);
    painter.fillRect(cable, colors.cable);
    fillRounded(painter, QRectF(socket - 6 * factor, end - 9 * factor, 12 * factor, 9 * factor),
                2 * factor, colors.cable);

    fillRounded(painter, body, 11 * factor, colors.caseEdge);
    const QRectF inside = body.adjusted(1, 1, -1, -1);
    fillRounded(painter, inside, 10.5 * factor,
                downward(inside, colors.caseTop, colors.caseBottom));
    const QRectF plate = body.adjusted(9 * factor, 9 * factor, -9 * factor, -9 * factor);
    fillRounded(painter, plate, 6 * factor, colors.plate);
}

void BoardPlan::paintKey(QPainter& painter, const KeyRecord& key, const BoardContent& content,
                         const BoardColors& colors) const
{
    const bool isPressed = content.pressed.contains(key.lightIndex);
    const double sink = isPressed ? 2.2 * factor : 0;
    const QRectF cap = place(QRectF(key.rect).adjusted(0.8, 0.8, -0.8, -0.8));
    fillRounded(painter, cap.adjusted(sink / 2, sink, -sink / 2, 0), 5 * factor,
                downward(cap, colors.sideTop, colors.sideBottom));
    const QMarginsF rim = faceMargins * factor;
    const QRectF face = cap.marginsRemoved(rim).adjusted(0, sink, 0, sink);
    fillRounded(painter, face, 4 * factor,
                isPressed ? downward(face, colors.faceBottom, colors.faceBottom)
                          : downward(face, colors.faceTop, colors.faceBottom));

    painter.save();
    const QString caption = content.captions.value(key.lightIndex);
    if (!caption.isEmpty()) {
        fillRounded(painter, face, 4 * factor, colors.caption);
        painter.setPen(QPen(colors.captionFrame, 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(face, 4 * factor, 4 * factor);
    }
    // A caption says what the key does, so the legend gives way where both have no room.
    const bool bothFit = face.height() > 2.4 * readableSize;
    if (caption.isEmpty() || bothFit)
        paintLegend(painter, key, face, colors);
    if (!caption.isEmpty())
        paintCaption(painter, face.adjusted(1, bothFit ? face.height() * 0.4 : 0, -1, 0), caption,
                     colors);
    painter.restore();
}

// In one line if it can be read so, or else wrapped and cut as the program does it.
void BoardPlan::paintCaption(QPainter& painter, const QRectF& area, const QString& caption,
                             const BoardColors& colors) const
{
    const double size = std::max(readableSize, 9.5 * factor);
    const QFont oneLine =
        fittingFont(painter.font(), caption, area.width() - 3, size, smallestCaption);
    const bool fits = QFontMetricsF(oneLine).horizontalAdvance(caption) <= area.width();
    painter.setFont(fits ? oneLine : legendFont(painter.font(), size));
    painter.setPen(colors.captionText);
    drawCaption(painter, area.toAlignedRect(), caption);
}

void BoardPlan::paintLegend(QPainter& painter, const KeyRecord& key, const QRectF& face,
                            const BoardColors& colors) const
{
    constexpr QStringView arrows = u"↑→↓←"; // a quarter turn from one to the next
    const double size = std::max(readableSize, 11 * factor);
    const QRectF area(face.left() + 2 * factor, face.top() + 0.5 * factor,
                      face.width() - 4 * factor, size * 1.3);
    if (key.legend.size() == 1 && arrows.contains(key.legend)) {
        drawArrow(painter, QRectF(area.left(), area.top() + size * 0.15, size, size),
                  static_cast<int>(arrows.indexOf(key.legend)), colors.legend);
        return;
    }
    painter.setPen(colors.legend);
    const double half = key.shifted.isEmpty() ? 0 : area.width() / 2;
    drawFitting(painter, area.adjusted(0, 0, -half, 0), Qt::AlignLeft | Qt::AlignVCenter,
                key.legend, size);
    painter.setPen(colors.shifted);
    drawFitting(painter, area.adjusted(half, 0, 0, 0), Qt::AlignRight | Qt::AlignVCenter,
                key.shifted, size);
}

} // namespace tavik::virtual_keyboard
