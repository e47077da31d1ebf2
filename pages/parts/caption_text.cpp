// SPDX-License-Identifier: MIT
#include "pages/parts/caption_text.h"

#include "pages/parts/shown_text.h"

#include <QFontInfo>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace tavik {

namespace {

constexpr qsizetype drawnCharacters = 200; // more than a cap can show

// A line below another one leaves no more room than its letters need: on a key of one unit, two
// lines then stand below the printed legend.
constexpr double linePitch = 1.125; // times the size of the font

constexpr double widthStep = 0.05; // by which a caption that does not fit is set narrower

// Lets a combination like "Ctrl+Shift+B" break behind each plus.
QString withBreaksAtPlus(QString text)
{
    constexpr QChar zeroWidthSpace(0x200B);
    return text.replace(u'+', QString(u'+') + zeroWidthSpace);
}

struct CaptionLines
{
    QStringList lines;
    bool isWhole = true; // nothing of the caption is cut
};

// The caption broken between its words, at most so many lines. What does not fit ends in an
// ellipsis.
CaptionLines linesOf(const QString& text, const QPainter& painter, double width,
                     qsizetype lineLimit)
{
    const QFontMetricsF metrics(painter.font(), painter.device());
    QTextLayout layout(text, painter.font(), painter.device());
    QTextOption option;
    option.setWrapMode(QTextOption::WordWrap);
    layout.setTextOption(option);
    CaptionLines result;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        const bool isLast = result.lines.size() + 1 == lineLimit;
        const QString rest = text.mid(line.textStart());
        const QString shown = (isLast ? rest : rest.left(line.textLength())).trimmed();
        const QString elided = metrics.elidedText(shown, Qt::ElideRight, width);
        result.isWhole = result.isWhole && elided == shown;
        result.lines += elided;
        if (isLast)
            break;
    }
    layout.endLayout();
    return result;
}

void drawWrapped(QPainter& painter, const QRect& area, const QString& text)
{
    const QFontMetrics metrics = painter.fontMetrics();
    const double pitch = linePitch * QFontInfo(painter.font()).pixelSize();
    const int lineLimit =
        1 + std::max(0, static_cast<int>((area.height() - metrics.height()) / pitch));
    double narrowing = 1.0;
    CaptionLines caption = linesOf(text, painter, area.width(), lineLimit);
    while (!caption.isWhole && narrowing > narrowestCaption) {
        narrowing = std::max(narrowing - widthStep, narrowestCaption);
        caption = linesOf(text, painter, area.width() / narrowing, lineLimit);
    }

    const double width = area.width() / narrowing;
    const double height = metrics.height() + pitch * static_cast<double>(caption.lines.size() - 1);
    painter.translate(QRectF(area).center());
    painter.scale(narrowing, 1.0);
    double top = -height / 2;
    for (const QString& line : caption.lines) {
        painter.drawText(QRectF(-width / 2, top, width, metrics.height()), Qt::AlignCenter, line);
        top += pitch;
    }
}

} // namespace

int captionFontSize(double scale)
{
    return std::max(qRound(7.0 * scale), 6);
}

void drawCaption(QPainter& painter, const QRect& area, const QString& caption)
{
    const QString text = beginningOf(caption, drawnCharacters).replace(u'\n', u' ');
    painter.save();
    // Accents may pile up far above their line.
    painter.setClipRect(area, Qt::IntersectClip);
    if (painter.fontMetrics().horizontalAdvance(text) <= area.width())
        painter.drawText(area, Qt::AlignCenter, text);
    else
        drawWrapped(painter, area, withBreaksAtPlus(text));
    painter.restore();
}

} // namespace tavik
