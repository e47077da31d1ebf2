#include "pages/parts/keyboard_view.h"

#include "app/skin/skin_icons.h"
#include "pages/parts/shown_text.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTextLayout>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavik {

namespace {

constexpr int keyCount = 144;

constexpr qsizetype drawnCharacters = 200; // more than a cap can show

constexpr QColor frameColor(231, 122, 25);
constexpr QColor captionFill(231, 122, 25, 72);
constexpr QColor captionText(30, 30, 30);
constexpr QColor markColor(255, 255, 255);

constexpr int rainbowSaturation = 220;
constexpr int rainbowAlpha = 78;
constexpr int keyColorAlpha = 112;

// Layout files are edited by hand; a number beyond any screen must not overflow.
double bounded(double value)
{
    constexpr double farAway = 1 << 20;
    return std::clamp(value, -farAway, farAway);
}

// QRect itself adds up in int, which the numbers of a hand-edited file may overflow.
QPointF centerOf(const QRect& rect)
{
    return {(rect.left() * 1.0 + rect.right()) / 2, (rect.top() * 1.0 + rect.bottom()) / 2};
}

bool isReportable(int lightIndex)
{
    return lightIndex >= 0 && lightIndex < keyCount;
}

int rainbowHue(int left)
{
    const int hue = static_cast<int>(std::fmod(std::round(45.0 - left * 0.43), 360.0));
    return hue < 0 ? hue + 360 : hue;
}

// Lets a combination like "Ctrl+Shift+B" break behind each plus.
QString withBreaksAtPlus(QString text)
{
    constexpr QChar zeroWidthSpace(0x200B);
    return text.replace(u'+', QString(u'+') + zeroWidthSpace);
}

// Draws the text centered in the rectangle, wrapped at words where that is enough; text that does
// not fit is wrapped anywhere, and its last line ends in an ellipsis. The painter is left clipped
// to the rectangle, because accents may pile up far above their line.
void drawFittingText(QPainter& painter, const QRect& area, const QString& text)
{
    painter.setClipRect(area);
    constexpr int flags = Qt::AlignCenter | Qt::TextWordWrap;
    const QFontMetrics metrics = painter.fontMetrics();
    const QString breakable = withBreaksAtPlus(text);
    const QRect needed = metrics.boundingRect(area, flags, breakable);
    if (area.contains(needed)) {
        painter.drawText(area, flags, breakable);
        return;
    }

    const int lineHeight = metrics.lineSpacing();
    const int lineLimit = std::max(1, area.height() / lineHeight);
    const QString flowing = QString(text).replace(u'\n', u' ');
    QTextLayout layout(flowing, painter.font(), painter.device());
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    QStringList lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(area.width());
        if (lines.size() + 1 == lineLimit) {
            lines +=
                metrics.elidedText(flowing.mid(line.textStart()), Qt::ElideRight, area.width());
            break;
        }
        lines += flowing.mid(line.textStart(), line.textLength()).trimmed();
    }
    layout.endLayout();

    int top = area.top() + (area.height() - static_cast<int>(lines.size()) * lineHeight) / 2;
    for (const QString& line : lines) {
        painter.drawText(QRect(area.left(), top, area.width(), lineHeight), Qt::AlignCenter, line);
        top += lineHeight;
    }
}

} // namespace

double keyboardBaseFontSize(double scale)
{
    return std::clamp(scale * 8.5, 7.0, 13.0);
}

int keyCaptionFontSize(double scale)
{
    return std::max(qRound(7.0 * scale), 6);
}

KeyboardView::KeyboardView(QWidget* parent)
    : QWidget(parent),
      keyboardPicture(loadSkinPixmap(QStringLiteral("img_keyboard_brix9.png"))),
      backgroundPicture(loadSkinPixmap(QStringLiteral("keyboard_bkg.png")))
{
    setMinimumSize(880, 360);
    setMouseTracking(true);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Keyboard"));
}

void KeyboardView::setKeyboardLayout(const KeyboardLayout* newLayout)
{
    keyboardLayout = newLayout;
    clearCaptions();
    clearKeyColors();
    update();
}

void KeyboardView::setCaption(int lightIndex, const QString& caption)
{
    if (caption.isEmpty())
        captions.remove(lightIndex);
    else
        captions.insert(lightIndex, beginningOf(caption, shownNameLimit));
}

bool KeyboardView::hasBoard() const
{
    return keyboardLayout != nullptr && keyboardLayout->width > 0 && keyboardLayout->height > 0;
}

KeyboardView::Scaling KeyboardView::scaling() const
{
    const double designWidth = keyboardLayout->width;
    const double designHeight = keyboardLayout->height;
    Scaling result;
    result.factor = std::min(width() / designWidth, height() / designHeight);
    result.left = (width() - designWidth * result.factor) / 2;
    result.top = (height() - designHeight * result.factor) / 2;
    return result;
}

QRect KeyboardView::hitRectangle(const KeyRecord& key) const
{
    if (!hasBoard())
        return {};
    const Scaling s = scaling();
    const double keyWidth = key.rect.right() + 1.0 - key.rect.left();
    const double keyHeight = key.rect.bottom() + 1.0 - key.rect.top();
    return {qRound(bounded(key.rect.left() * s.factor + s.left)),
            qRound(bounded(key.rect.top() * s.factor + s.top)),
            static_cast<int>(bounded(keyWidth * s.factor)),
            static_cast<int>(bounded(keyHeight * s.factor))};
}

// Smaller than where the key answers, so that neighbouring decorations stay apart.
QRect KeyboardView::innerRectangle(const KeyRecord& key) const
{
    const QRect hit = hitRectangle(key);
    const int right = hit.left() + hit.width();
    const int bottom = hit.top() + hit.height();
    return {QPoint(hit.left() + 1, hit.top() + 1), QPoint(right - 3, bottom - 3)};
}

int KeyboardView::keyAt(QPoint point) const
{
    if (!hasBoard())
        return -1;
    for (const KeyRecord& key : keyboardLayout->keys) {
        if (isReportable(key.lightIndex) && hitRectangle(key).contains(point))
            return key.lightIndex;
    }
    return -1;
}

void KeyboardView::selectKey(int lightIndex)
{
    selected = lightIndex;
    marked = lightIndex;
    update();
}

// A cap has room for a few letters only; the tool tip says the rest.
bool KeyboardView::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip || mode != KeyboardViewMode::Captions)
        return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const QString caption = captions.value(keyAt(help->pos()));
    if (caption.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(help->globalPos(),
                           QStringLiteral("<qt>%1</qt>").arg(caption.toHtmlEscaped()), this);
    return true;
}

void KeyboardView::mousePressEvent(QMouseEvent* event)
{
    if (markVisible) {
        markVisible = false;
        update();
    }
    const int lightIndex = keyAt(event->position().toPoint());
    if (lightIndex < 0)
        return;
    selectKey(lightIndex);
    if (event->button() == Qt::LeftButton)
        emit slotActivated(lightIndex);
    else if (event->button() == Qt::RightButton)
        emit slotContextMenu(lightIndex, event->globalPosition().toPoint());
}

void KeyboardView::mouseMoveEvent(QMouseEvent* event)
{
    const bool overKey = keyAt(event->position().toPoint()) >= 0;
    setCursor(overKey ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

const KeyRecord* KeyboardView::markedKey() const
{
    if (!hasBoard())
        return nullptr;
    for (const KeyRecord& key : keyboardLayout->keys) {
        if (key.lightIndex == marked && isReportable(marked))
            return &key;
    }
    return nullptr;
}

// Steps to the nearest key in the direction; a step sideways counts double, so that the mark stays
// in its row or column where it can.
void KeyboardView::moveMark(QPoint direction)
{
    const KeyRecord* from = markedKey();
    const KeyRecord* nearest = nullptr;
    double bestScore = std::numeric_limits<double>::max();
    for (const KeyRecord& key : keyboardLayout->keys) {
        if (!isReportable(key.lightIndex) || &key == from)
            continue;
        if (from == nullptr) {
            nearest = &key;
            break;
        }
        const QPointF step = centerOf(key.rect) - centerOf(from->rect);
        const double forward = step.x() * direction.x() + step.y() * direction.y();
        const double sideways =
            std::abs(step.x() * direction.y()) + std::abs(step.y() * direction.x());
        const double score = forward + 2 * sideways;
        if (forward > 1.0 && score < bestScore) {
            bestScore = score;
            nearest = &key;
        }
    }
    if (nearest != nullptr)
        marked = nearest->lightIndex;
    markVisible = true;
    update();
}

void KeyboardView::keyPressEvent(QKeyEvent* event)
{
    if (!hasBoard()) {
        QWidget::keyPressEvent(event);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Left:
        moveMark({-1, 0});
        return;
    case Qt::Key_Right:
        moveMark({1, 0});
        return;
    case Qt::Key_Up:
        moveMark({0, -1});
        return;
    case Qt::Key_Down:
        moveMark({0, 1});
        return;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (markedKey() != nullptr) {
            selectKey(marked);
            emit slotActivated(marked);
        }
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void KeyboardView::contextMenuEvent(QContextMenuEvent* event)
{
    // With the mouse the press itself has asked for the menu already.
    const KeyRecord* key = markedKey();
    if (event->reason() != QContextMenuEvent::Keyboard || key == nullptr)
        return;
    const QPoint center = hitRectangle(*key).center();
    selectKey(marked);
    emit slotContextMenu(marked, mapToGlobal(center));
}

void KeyboardView::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    const bool isGivenBack =
        reason == Qt::PopupFocusReason || reason == Qt::ActiveWindowFocusReason;
    if (!isGivenBack)
        markVisible = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason;
    if (markVisible && markedKey() == nullptr && hasBoard())
        moveMark({1, 0});
    QWidget::focusInEvent(event);
}

void KeyboardView::focusOutEvent(QFocusEvent* event)
{
    // A menu or dialog that the mark opened gives the focus back; leaving for good hides the mark.
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason)
        markVisible = false;
    QWidget::focusOutEvent(event);
}

void KeyboardView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    paintWorkspaceBehind(painter);

    if (keyboardLayout == nullptr) {
        painter.setPen(Qt::gray);
        painter.drawText(rect(), Qt::AlignCenter, tr("Loading layout…"));
        return;
    }
    if (!hasBoard())
        return;

    paintKeyboardPicture(painter);
    QFont baseFont = font();
    baseFont.setPointSizeF(keyboardBaseFontSize(scaling().factor));
    painter.setFont(baseFont);
    for (const KeyRecord& key : keyboardLayout->keys)
        paintKey(painter, key);
}

// Makes the view look transparent although it clears itself: it repeats what the workspace shows
// behind it.
void KeyboardView::paintWorkspaceBehind(QPainter& painter) const
{
    const QWidget* workspace = parentWidget();
    while (workspace != nullptr && workspace->objectName() != QLatin1String("workspace"))
        workspace = workspace->parentWidget();
    if (workspace == nullptr || backgroundPicture.isNull() || workspace->size().isEmpty())
        return;

    const QPoint origin = mapTo(workspace, QPoint(0, 0));
    const double scaleX = static_cast<double>(backgroundPicture.width()) / workspace->width();
    const double scaleY = static_cast<double>(backgroundPicture.height()) / workspace->height();
    const QRectF source(origin.x() * scaleX, origin.y() * scaleY, width() * scaleX,
                        height() * scaleY);
    painter.drawPixmap(QRectF(rect()), backgroundPicture, source);
}

// The picture is much larger than the view. Averaging it down once per size keeps the legends
// crisp where the painter's own interpolation would skip pixels.
void KeyboardView::paintKeyboardPicture(QPainter& painter)
{
    if (keyboardPicture.isNull())
        return;
    const Scaling s = scaling();
    const QSizeF size(keyboardLayout->width * s.factor, keyboardLayout->height * s.factor);
    const QSize pixels = (size * devicePixelRatioF()).toSize().expandedTo(QSize(1, 1));
    if (scaledPicture.size() != pixels)
        scaledPicture =
            keyboardPicture.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const QRectF target(QPointF(qRound(s.left), qRound(s.top)), size);
    painter.drawPixmap(target, scaledPicture, QRectF(scaledPicture.rect()));
}

void KeyboardView::paintKey(QPainter& painter, const KeyRecord& key) const
{
    const QRect inner = innerRectangle(key);
    if (!inner.intersects(rect()))
        return;
    const double scale = scaling().factor;
    const int lightIndex = key.lightIndex;

    switch (mode) {
    case KeyboardViewMode::RainbowGlow:
        paintGlow(
            painter, inner,
            QColor::fromHsv(rainbowHue(key.rect.left()), rainbowSaturation, 255, rainbowAlpha),
            0.82, 6 * scale);
        break;
    case KeyboardViewMode::KeyColors:
        if (keyColors.contains(lightIndex)) {
            QColor color = keyColors.value(lightIndex);
            color.setAlpha(keyColorAlpha);
            paintGlow(painter, inner, color, 0.8, 5 * scale);
        }
        break;
    case KeyboardViewMode::Captions:
        if (captions.contains(lightIndex))
            paintCaption(painter, inner, captions.value(lightIndex));
        break;
    }

    painter.setBrush(Qt::NoBrush);
    if (lightIndex == selected && isReportable(selected)) {
        painter.setPen(QPen(frameColor, 2.0));
        drawBox(painter, inner, 5 * scale);
    }
    if (lightIndex == marked && markVisible && hasFocus() && isReportable(marked)) {
        painter.setPen(QPen(markColor, 2.0));
        drawBox(painter, inner.adjusted(-2, -2, 2, 2), 6 * scale);
    }
}

// What lies far beyond the view is cut off, because painting it takes long and shows nothing. The
// cut stays so far away that neither its edge nor its rounding can be seen.
void KeyboardView::drawBox(QPainter& painter, const QRect& box, double corner) const
{
    const int margin = static_cast<int>(2 * corner) + 4;
    const QRect around = rect().adjusted(-margin, -margin, margin, margin);
    painter.drawRoundedRect(around.contains(box) ? box : box & around, corner, corner);
}

void KeyboardView::paintGlow(QPainter& painter, const QRect& inner, QColor color,
                             double radiusFactor, double corner) const
{
    QRadialGradient gradient(QRectF(inner).center(),
                             std::max(inner.width(), inner.height()) * radiusFactor);
    gradient.setColorAt(0, color);
    color.setAlpha(0);
    gradient.setColorAt(1, color);
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    drawBox(painter, inner, corner);
}

void KeyboardView::paintCaption(QPainter& painter, const QRect& inner, const QString& caption) const
{
    const double scale = scaling().factor;
    painter.setPen(QPen(frameColor, 1.5));
    painter.setBrush(captionFill);
    drawBox(painter, inner, 5 * scale);

    QFont captionFont(font().family());
    captionFont.setPointSize(keyCaptionFontSize(scale));
    captionFont.setWeight(QFont::DemiBold);
    painter.save();
    painter.setFont(captionFont);
    painter.setPen(captionText);
    drawFittingText(painter, inner.adjusted(2, 1, -2, -1), beginningOf(caption, drawnCharacters));
    painter.restore();
}

} // namespace tavik
