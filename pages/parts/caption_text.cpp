#include "pages/parts/caption_text.h"

#include "pages/parts/shown_text.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace tavik {

namespace {

constexpr qsizetype drawnCharacters = 200; // more than a cap can show

constexpr int captionFlags = Qt::AlignCenter | Qt::TextWordWrap;

// Lets a combination like "Ctrl+Shift+B" break behind each plus.
QString withBreaksAtPlus(QString text)
{
    constexpr QChar zeroWidthSpace(0x200B);
    return text.replace(u'+', QString(u'+') + zeroWidthSpace);
}

// The lines of a text that has to be wrapped anywhere, at most so many.
QStringList linesOf(const QString& text, const QPainter& painter, int width, qsizetype lineLimit)
{
    QTextLayout layout(text, painter.font(), painter.device());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    QStringList lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        if (lines.size() + 1 == lineLimit) {
            const QString rest = text.mid(line.textStart());
            lines += painter.fontMetrics().elidedText(rest, Qt::ElideRight, width);
            break;
        }
        lines += text.mid(line.textStart(), line.textLength()).trimmed();
    }
    layout.endLayout();
    return lines;
}

void drawWrapped(QPainter& painter, const QRect& area, const QString& text)
{
    const int lineHeight = painter.fontMetrics().lineSpacing();
    const int lineLimit = std::max(1, area.height() / lineHeight);
    const QStringList lines = linesOf(text, painter, area.width(), lineLimit);
    int top = area.top() + (area.height() - static_cast<int>(lines.size()) * lineHeight) / 2;
    for (const QString& line : lines) {
        painter.drawText(QRect(area.left(), top, area.width(), lineHeight), Qt::AlignCenter, line);
        top += lineHeight;
    }
}

} // namespace

int captionFontSize(double scale)
{
    return std::max(qRound(7.0 * scale), 6);
}

void drawCaption(QPainter& painter, const QRect& area, const QString& caption)
{
    const QString text = beginningOf(caption, drawnCharacters);
    const QString breakable = withBreaksAtPlus(text);
    painter.save();
    // Accents may pile up far above their line.
    painter.setClipRect(area, Qt::IntersectClip);
    if (area.contains(painter.fontMetrics().boundingRect(area, captionFlags, breakable)))
        painter.drawText(area, captionFlags, breakable);
    else
        drawWrapped(painter, area, QString(text).replace(u'\n', u' '));
    painter.restore();
}

} // namespace tavik
