// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/board_picture.h"

#include "pages/parts/caption_text.h"
#include "pages/parts/keyboard_geometry.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>

namespace tavik::virtual_keyboard {

namespace {

// All measures are layout units, but for the least sizes of texts.
constexpr QMargins deskAround(16, 26, 16, 22);
constexpr double cableLength = 2000; // beyond the edge of any window
constexpr double sinking = 2.2;      // of a pressed key

// In pixels; smaller ones cannot be read.
constexpr double leastCharacter = 10;
constexpr double leastWord = 8;

// The parts of a board, by a painter that is scaled to layout units.
class BoardPainter
{
public:
    BoardPainter(QPainter& scaledPainter, const BoardContent& boardContent,
                 const DeskColors& deskColors, double pixelsPerUnit)
        : painter(scaledPainter), content(boardContent), colors(deskColors), scale(pixelsPerUnit)
    {
    }

    void paintBody(const QRectF& body) const
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

        paintCase(painter, body, colors.board);
        fillRounded(painter, body.adjusted(9, 9, -9, -9), 6, colors.plate);
    }

    void paintKey(const KeyRecord& key) const
    {
        const bool isPressed = content.pressed.contains(key.lightIndex);
        const double sink = isPressed ? sinking : 0;
        // Light comes out between the caps.
        const QRectF cap =
            QRectF(key.rect).adjusted(0.8 + sink / 2, 0.8 + sink, -0.8 - sink / 2, -0.8);
        BoardColors capColors = colors.board;
        if (isPressed)
            capColors.faceTop = capColors.faceBottom;
        paintCap(painter, cap, capColors);
        const QRectF face = faceOf(cap);

        const QString caption = content.captions.value(key.lightIndex);
        if (!caption.isEmpty()) {
            painter.setPen(QPen(colors.captionFrame, 1 / scale));
            painter.setBrush(colors.caption);
            painter.drawRoundedRect(face, faceRadius, faceRadius);
        }
        // A caption says what the key does, so the legend gives way where both have no room. Cut
        // to a few letters it says nothing; then the frame tells that the key has one.
        const bool bothFit = fitsUnderLegend(caption, face);
        const bool isReadable = bothFit || fitsAlone(caption, face);
        if (bothFit || !isReadable)
            paintLegends(painter, key, cap, painter.font().family(), legendSizes(), capColors);
        if (!caption.isEmpty() && isReadable)
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

    // Whether a face is wide enough for each of the lines.
    bool areHeld(const QStringList& lines, const QRectF& face) const
    {
        const QFontMetricsF metrics(captionFont());
        return std::ranges::all_of(lines, [&](const QString& line) {
            return metrics.horizontalAdvance(line) * narrowestCaption <= face.width() - 2;
        });
    }

    bool fitsUnderLegend(const QString& caption, const QRectF& face) const
    {
        return caption.isEmpty() ||
               (face.height() * scale > 2.4 * leastCharacter && areHeld({caption}, face));
    }

    // In two lines where there is room for them, broken as captions are.
    bool fitsAlone(const QString& caption, const QRectF& face) const
    {
        static const QRegularExpression breaks(QStringLiteral(" |(?<=\\+)"));
        const bool holdsTwo = face.height() > 1.6 * QFontMetricsF(captionFont()).height();
        return areHeld({caption}, face) || (holdsTwo && areHeld(caption.split(breaks), face));
    }

    void paintCaption(const QRectF& area, const QString& caption) const
    {
        painter.setFont(captionFont());
        painter.setPen(colors.captionText);
        drawCaption(painter, area.toRect(), caption);
    }

    LegendSizes legendSizes() const
    {
        const LegendSizes usual;
        return {std::max(usual.character, leastCharacter / scale),
                std::max(usual.word, leastWord / scale)};
    }

    QPainter& painter;
    const BoardContent& content;
    const DeskColors& colors;
    double scale;
};

} // namespace

const DeskColors& darkDesk()
{
    static const DeskColors colors{
        .board = {.caseEdge = QColor(0x4a, 0x4b, 0x50),
                  .caseTop = QColor(0x25, 0x26, 0x29),
                  .caseBottom = QColor(0x1a, 0x1b, 0x1d),
                  .screenEdge = QColor(0x4a, 0x4b, 0x50),
                  .glass = QColor(0x07, 0x07, 0x08),
                  .sideTop = QColor(0x26, 0x27, 0x2a),
                  .sideBottom = QColor(0x12, 0x13, 0x15),
                  .faceEdge = QColor(0x38, 0x39, 0x3d),
                  .faceTop = QColor(0x2f, 0x30, 0x34),
                  .faceBottom = QColor(0x22, 0x23, 0x26),
                  .legend = QColor(0x8a, 0x8c, 0x92),
                  .shifted = QColor(0x74, 0x76, 0x7c)},
        .desk = QColor(0x2c, 0x27, 0x23),
        .deskFar = QColor(0x17, 0x15, 0x14),
        .shadow = QColor(0, 0, 0, 26),
        .cable = QColor(0x0c, 0x0c, 0x0d),
        .plate = QColor(0x0c, 0x0c, 0x0e),
        .caption = QColor(231, 122, 25, 60),
        .captionFrame = QColor(231, 122, 25),
        .captionText = QColor(0xff, 0xe2, 0xc6),
        .lifeless = QColor(0, 0, 0, 120),
    };
    return colors;
}

const DeskColors& deskTransparency()
{
    const auto share = [](int percent) {
        const int channel = percent * 255 / 100;
        return QColor(channel, channel, channel);
    };
    static const DeskColors colors{
        .board = {.caseEdge = share(45),
                  .caseTop = share(16),
                  .caseBottom = share(16),
                  .screenEdge = share(45),
                  .glass = share(0),
                  .sideTop = share(34),
                  .sideBottom = share(52),
                  .faceEdge = share(10),
                  .faceTop = share(7),
                  .faceBottom = share(13),
                  .legend = share(100),
                  .shifted = share(80)},
        .desk = share(70),
        .deskFar = share(25),
        .shadow = QColor(0, 0, 0, 4),
        .cable = share(10),
        .plate = share(95),
        .caption = QColor(0, 0, 0, 60),
        .captionFrame = share(10),
        .captionText = share(10),
        .lifeless = QColor(0, 0, 0, 120),
    };
    return colors;
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

void paintBoard(QPainter& painter, QSize view, const KeyboardLayout& layout,
                const BoardContent& content, const DeskColors& colors)
{
    QRadialGradient desk(QPointF(view.width() / 2.0, view.height() * 0.45), view.width() * 0.62);
    desk.setColorAt(0, colors.desk);
    desk.setColorAt(1, colors.deskFar);
    painter.fillRect(QRect(QPoint(), view), desk);

    const QTransform units = toView(layout, view);
    painter.setTransform(units, true);
    const BoardPainter board(painter, content, colors, units.m11());
    board.paintBody(layout.caseRect);
    for (const KeyRecord& key : layout.keys)
        board.paintKey(key);
    if (!layout.screenRect.isEmpty())
        paintScreenFrame(painter, layout.screenRect, colors.board);
    if (!content.isPlugged)
        fillRounded(painter, layout.caseRect, caseRadius, colors.lifeless);
}

} // namespace tavik::virtual_keyboard
