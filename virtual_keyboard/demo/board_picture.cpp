#include "virtual_keyboard/demo/board_picture.h"

#include "pages/parts/caption_text.h"
#include "pages/parts/keyboard_geometry.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>

namespace tavik::virtual_keyboard {

namespace {

// All measures are layout units, but for the least sizes of texts.
constexpr QMargins deskAround(16, 26, 16, 22);
constexpr QMarginsF faceMargins(2.6, 1.6, 2.6, 5.4);
constexpr double caseRadius = 11;
constexpr double faceRadius = 4;
constexpr double glassFrame = 6;
constexpr double cableLength = 2000; // beyond the edge of any window
constexpr double sinking = 2.2;      // of a pressed key

constexpr double legendSize = 11;
constexpr double leastCharacter = 10; // pixels
constexpr double leastWord = 8;       // does not fit otherwise

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

// Fonts draw arrows of all sizes, and Open Sans none.
void drawArrow(QPainter& painter, const QPointF& center, int quarterTurns, double size)
{
    painter.save();
    painter.translate(center);
    painter.rotate(90 * quarterTurns);
    painter.scale(size, size);
    painter.setPen(QPen(painter.pen().color(), 0.15, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF({{0, 0.4}, {0, -0.4}}));
    painter.drawPolyline(QPolygonF({{-0.32, -0.08}, {0, -0.4}, {0.32, -0.08}}));
    painter.restore();
}

// The parts of a board, by a painter that is scaled to layout units.
class BoardPainter
{
public:
    BoardPainter(QPainter& scaledPainter, const BoardContent& boardContent,
                 const BoardColors& boardColors, double pixelsPerUnit)
        : painter(scaledPainter), content(boardContent), colors(boardColors), scale(pixelsPerUnit)
    {
    }

    void paintCase(const QRectF& body) const
    {
        for (int step = 9; step > 0; --step) {
            const double spread = step * 1.4;
            fillRounded(painter, body.adjusted(-spread, -spread / 2, spread, spread + 3),
                        caseRadius + spread, colors.shadow);
        }
        // The cable comes over the far edge of the desk; pulled out, its plug lies before the case.
        const double socket = body.left() + body.width() * 0.3;
        const double end = body.top() - (content.isPlugged ? 0 : 11);
        painter.fillRect(QRectF(socket - 2.2, end - cableLength, 4.4, cableLength), colors.cable);
        fillRounded(painter, QRectF(socket - 6, end - 9, 12, 9), 2, colors.cable);

        fillRounded(painter, body, caseRadius, colors.caseEdge);
        const QRectF inside = body.adjusted(1, 1, -1, -1);
        fillRounded(painter, inside, caseRadius - 0.5,
                    downward(inside, colors.caseTop, colors.caseBottom));
        fillRounded(painter, body.adjusted(9, 9, -9, -9), 6, colors.plate);
    }

    void paintScreen(const QRectF& screen) const
    {
        fillRounded(painter, screen, 7, colors.caseEdge);
        fillRounded(painter, screen.adjusted(1, 1, -1, -1), 6.5, colors.glass);
    }

    void paintKey(const KeyRecord& key) const
    {
        const bool isPressed = content.pressed.contains(key.lightIndex);
        const double sink = isPressed ? sinking : 0;
        const QRectF cap = QRectF(key.rect).adjusted(0.8, 0.8, -0.8, -0.8);
        fillRounded(painter, cap.adjusted(sink / 2, sink, -sink / 2, 0), 5,
                    downward(cap, colors.sideTop, colors.sideBottom));
        const QRectF face = cap.marginsRemoved(faceMargins).translated(0, sink);
        fillRounded(
            painter, face, faceRadius,
            downward(face, isPressed ? colors.faceBottom : colors.faceTop, colors.faceBottom));

        const QString caption = content.captions.value(key.lightIndex);
        if (!caption.isEmpty()) {
            painter.setPen(QPen(colors.captionFrame, 1 / scale));
            painter.setBrush(colors.caption);
            painter.drawRoundedRect(face, faceRadius, faceRadius);
        }
        // A caption says what the key does, so the legend gives way where both have no room.
        const bool bothFit = caption.isEmpty() || fitsUnderLegend(caption, face);
        if (bothFit)
            paintLegend(key, face);
        if (!caption.isEmpty())
            paintCaption(face.adjusted(1, bothFit ? face.height() * 0.4 : 0, -1, 0), caption);
    }

private:
    // As large as the program writes it.
    QFont captionFont() const
    {
        QFont font = painter.font();
        font.setPointSizeF(captionFontSize(scale) / scale);
        font.setWeight(QFont::DemiBold);
        return font;
    }

    bool fitsUnderLegend(const QString& caption, const QRectF& face) const
    {
        const double width = QFontMetricsF(captionFont()).horizontalAdvance(caption);
        return face.height() * scale > 2.4 * leastCharacter &&
               width * narrowestCaption <= face.width() - 2;
    }

    void paintCaption(const QRectF& area, const QString& caption) const
    {
        painter.setFont(captionFont());
        painter.setPen(colors.captionText);
        drawCaption(painter, area.toRect(), caption);
    }

    void paintLegend(const KeyRecord& key, const QRectF& face) const
    {
        constexpr QStringView arrows = u"↑→↓←"; // a quarter turn from one to the next
        const bool isCharacter = key.legend.size() == 1;
        const double size =
            std::max((isCharacter ? leastCharacter : leastWord) / scale, legendSize);
        QFont font = painter.font();
        font.setPixelSize(qRound(size));
        font.setWeight(QFont::DemiBold);
        painter.setFont(font);
        painter.setPen(colors.legend);
        if (isCharacter && arrows.contains(key.legend)) {
            drawArrow(painter, face.topLeft() + QPointF(0.75, 0.75) * size,
                      static_cast<int>(arrows.indexOf(key.legend)), size);
            return;
        }
        // Long ones reach from edge to edge.
        const QFontMetrics metrics(font);
        const int whole = metrics.horizontalAdvance(key.legend);
        const double margin = std::clamp((face.width() - whole) / 2, 0.5, 2.4);
        const QRect inside = face.adjusted(margin, 0.6, -margin, 0).toRect();
        QRect area(inside.topLeft(), QSize(std::min(inside.width(), whole), metrics.height()));
        drawCaption(painter, area, key.legend);
        area.setWidth(metrics.horizontalAdvance(key.shifted));
        area.moveRight(inside.right());
        painter.setPen(colors.shifted);
        drawCaption(painter, area, key.shifted);
    }

    QPainter& painter;
    const BoardContent& content;
    const BoardColors& colors;
    double scale;
};

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

KeyboardLayout onDesk(KeyboardLayout layout)
{
    const QPoint corner(deskAround.left(), deskAround.top());
    if (layout.caseRect.isEmpty())
        layout.caseRect = QRect(0, 0, layout.width, layout.height);
    layout.caseRect.translate(corner);
    layout.screenRect.translate(corner);
    for (KeyRecord& key : layout.keys)
        key.rect.translate(corner);
    layout.width = std::max(1, layout.width) + deskAround.left() + deskAround.right();
    layout.height = std::max(1, layout.height) + deskAround.top() + deskAround.bottom();
    return layout;
}

QTransform toView(const KeyboardLayout& layout, QSize view)
{
    const KeyboardGeometry geometry(&layout, view);
    const QPointF corner = geometry.boardRectangle().topLeft();
    return QTransform::fromTranslate(corner.x(), corner.y())
        .scale(geometry.scale(), geometry.scale());
}

QRectF glassOf(const KeyboardLayout& layout)
{
    const QRectF screen = layout.screenRect;
    const double side = std::max(0.0, std::min(screen.width(), screen.height()) - 2 * glassFrame);
    QRectF square(0, 0, side, side);
    square.moveCenter(screen.center());
    return square;
}

void paintBoard(QPainter& painter, QSize view, const KeyboardLayout& layout,
                const BoardContent& content, const BoardColors& colors)
{
    QRadialGradient desk(QPointF(view.width() / 2.0, view.height() * 0.45), view.width() * 0.62);
    desk.setColorAt(0, colors.desk);
    desk.setColorAt(1, colors.deskFar);
    painter.fillRect(QRect(QPoint(), view), desk);

    const QTransform units = toView(layout, view);
    painter.setTransform(units, true);
    const BoardPainter board(painter, content, colors, units.m11());
    board.paintCase(layout.caseRect);
    for (const KeyRecord& key : layout.keys)
        board.paintKey(key);
    if (!layout.screenRect.isEmpty())
        board.paintScreen(layout.screenRect);
    if (!content.isPlugged)
        fillRounded(painter, layout.caseRect, caseRadius, colors.lifeless);
}

} // namespace tavik::virtual_keyboard
