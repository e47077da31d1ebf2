// SPDX-License-Identifier: MIT
#include "pages/parts/keyboard_view.h"

#include "model/keyboard_layout.h"
#include "pages/parts/caption_text.h"
#include "pages/parts/color_names.h"
#include "pages/parts/focus_ring.h"
#include "pages/parts/keyboard_accessible.h"
#include "pages/parts/shown_text.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavik {

namespace {

constexpr QColor frameColor(231, 122, 25);
constexpr QColor captionFill(231, 122, 25, 72);
constexpr QColor captionText(30, 30, 30);

constexpr int rainbowSaturation = 220;
constexpr int rainbowAlpha = 78;
constexpr int keyColorAlpha = 112;

int rainbowHue(int left)
{
    const int hue = static_cast<int>(std::fmod(std::round(45.0 - left * 0.43), 360.0));
    return hue < 0 ? hue + 360 : hue;
}

// How far the focus mark and the pens reach beyond a key's decoration.
constexpr int reachOfMarks = focusRingWidth + 1;

QRect paintedRectangle(const QRect& inner)
{
    return inner.adjusted(-reachOfMarks, -reachOfMarks, reachOfMarks, reachOfMarks);
}

} // namespace

double keyboardBaseFontSize(double scale)
{
    return std::clamp(scale * 8.5, 7.0, 13.0);
}

KeyboardView::KeyboardView(QWidget* parent)
    : QWidget(parent),
      keyboardPicture(QStringLiteral("img_keyboard_brix9.png"), SkinPicture::Scaling::Averaged),
      backgroundPicture(QStringLiteral("keyboard_bkg.png"), SkinPicture::Scaling::Stretched)
{
    QAccessible::installFactory(keyboardInterface); // before anything is told of this view
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
    captions.clear();
    keyColors.clear();
    update();
}

void KeyboardView::setMode(KeyboardViewMode newMode)
{
    mode = newMode;
    update();
}

void KeyboardView::setCaption(int lightIndex, const QString& caption)
{
    const QString shown = beginningOf(caption, shownNameLimit);
    if (captions.value(lightIndex) == shown)
        return;
    if (shown.isEmpty())
        captions.remove(lightIndex);
    else
        captions.insert(lightIndex, shown);
    repaintKey(lightIndex);
    tellOfKey(lightIndex, QAccessibleEvent(this, QAccessible::DescriptionChanged));
}

void KeyboardView::setKeyColor(int lightIndex, const QColor& color)
{
    if (keyColors.value(lightIndex) == color)
        return;
    if (color.isValid())
        keyColors.insert(lightIndex, color);
    else
        keyColors.remove(lightIndex);
    repaintKey(lightIndex);
    tellOfKey(lightIndex, QAccessibleEvent(this, QAccessible::DescriptionChanged));
}

// A hand-edited layout may draw several keys for one index.
void KeyboardView::repaintKey(int lightIndex)
{
    const KeyboardGeometry geometry = geometryNow();
    if (!isVisible() || !geometry.hasBoard())
        return;
    for (const KeyRecord& key : keyboardLayout->keys) {
        if (key.lightIndex == lightIndex)
            update(paintedRectangle(geometry.innerRectangle(key)));
    }
}

void KeyboardView::selectKey(int lightIndex)
{
    const int before = std::exchange(selected, lightIndex);
    for (const int key : {before, lightIndex}) {
        repaintKey(key);
        QAccessible::State changed;
        changed.selected = true;
        if (before != lightIndex)
            tellOfKey(key, QAccessibleStateChangeEvent(this, changed));
    }
    setMark(lightIndex);
}

void KeyboardView::setMark(int lightIndex)
{
    const int before = std::exchange(marked, lightIndex);
    repaintKey(before);
    repaintKey(marked);
    if (before != marked && hasFocus())
        tellOfKey(marked, QAccessibleEvent(this, QAccessible::Focus));
}

void KeyboardView::tellOfKey(int lightIndex, QAccessibleEvent&& event)
{
    if (!QAccessible::isActive())
        return;
    event.setChild(static_cast<int>(keys().indexOf(lightIndex)));
    if (event.child() >= 0)
        QAccessible::updateAccessibility(&event);
}

QString KeyboardView::wordsOnKey(int lightIndex) const
{
    switch (mode) {
    case KeyboardViewMode::RainbowGlow:
        break;
    case KeyboardViewMode::Captions: {
        const QString caption = captions.value(lightIndex).simplified();
        return caption.isEmpty() ? tr("factory function") : beginningOf(caption, toolTipNameLimit);
    }
    case KeyboardViewMode::KeyColors:
        if (const QColor color = keyColors.value(lightIndex); color.isValid())
            return colorWords(color);
        break;
    }
    return {};
}

bool KeyboardView::hasKeyMenu() const
{
    return isSignalConnected(QMetaMethod::fromSignal(&KeyboardView::slotContextMenu));
}

QRect KeyboardView::hitRectangle(int lightIndex) const
{
    const KeyRecord* key = geometryNow().find(lightIndex);
    return key == nullptr ? QRect() : hitRectangle(*key);
}

void KeyboardView::focusKey(int lightIndex)
{
    setMark(lightIndex);
    setFocus(Qt::TabFocusReason);
    showMark(true);
}

void KeyboardView::pressKey(int lightIndex)
{
    selectKey(lightIndex);
    emit slotActivated(lightIndex);
}

void KeyboardView::openKeyMenu(int lightIndex)
{
    selectKey(lightIndex);
    emit slotContextMenu(lightIndex, mapToGlobal(hitRectangle(lightIndex).center()));
}

void KeyboardView::showMark(bool visible)
{
    if (markVisible == visible)
        return;
    markVisible = visible;
    repaintKey(marked);
}

void KeyboardView::setKeyToolTip(std::function<QString(int lightIndex)> textOfKey)
{
    toolTipOfKey = std::move(textOfKey);
}

// A cap has room for a few letters only; the tool tip says the rest.
bool KeyboardView::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip || !toolTipOfKey)
        return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const int key = keyAt(help->pos());
    // An empty one hides what is there.
    QToolTip::showText(help->globalPos(), key >= 0 ? toolTipOfKey(key) : QString(), this);
    return true;
}

void KeyboardView::mousePressEvent(QMouseEvent* event)
{
    showMark(false);
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

void KeyboardView::moveMark(QPoint direction)
{
    const KeyboardGeometry geometry = geometryNow();
    const KeyRecord* next = geometry.neighbor(geometry.find(marked), direction);
    if (next != nullptr)
        setMark(next->lightIndex);
    showMark(true);
}

// To the end of a row or column, or to the key on which stands what was typed. What is typed with
// Ctrl or Alt is meant for something else.
bool KeyboardView::takesMarkFar(const QKeyEvent& event)
{
    if ((event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0)
        return false;
    const KeyboardGeometry geometry = geometryNow();
    const KeyRecord* from = geometry.find(marked);
    const KeyRecord* to = nullptr;
    switch (event.key()) {
    case Qt::Key_Home:
        to = geometry.lastNeighbor(from, {-1, 0});
        break;
    case Qt::Key_End:
        to = geometry.lastNeighbor(from, {1, 0});
        break;
    case Qt::Key_PageUp:
        to = geometry.lastNeighbor(from, {0, -1});
        break;
    case Qt::Key_PageDown:
        to = geometry.lastNeighbor(from, {0, 1});
        break;
    default:
        to = geometry.nextTyped(from, event.text().trimmed());
    }
    if (to == nullptr)
        return false;
    setMark(to->lightIndex);
    showMark(true);
    return true;
}

void KeyboardView::keyPressEvent(QKeyEvent* event)
{
    if (!geometryNow().hasBoard()) {
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
        if (geometryNow().find(marked) != nullptr)
            pressKey(marked);
        return;
    default:
        if (!takesMarkFar(*event))
            QWidget::keyPressEvent(event);
    }
}

void KeyboardView::contextMenuEvent(QContextMenuEvent* event)
{
    // With the mouse the press itself has asked for the menu already.
    if (event->reason() == QContextMenuEvent::Keyboard && geometryNow().find(marked) != nullptr)
        openKeyMenu(marked);
}

// Without the base class, which would repaint everything.
void KeyboardView::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    const bool isGivenBack =
        reason == Qt::PopupFocusReason || reason == Qt::ActiveWindowFocusReason;
    if (!isGivenBack)
        showMark(reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason);
    if (const KeyRecord* first = geometryNow().neighbor(nullptr, {1, 0});
        markVisible && first != nullptr && geometryNow().find(marked) == nullptr)
        marked = first->lightIndex; // of which is told below
    repaintKey(marked);
    // Qt tells of the view's own focus after this, and the key is the last to be heard.
    const auto tell = [this] {
        if (hasFocus())
            tellOfKey(marked, QAccessibleEvent(this, QAccessible::Focus));
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

void KeyboardView::focusOutEvent(QFocusEvent* event)
{
    // A menu or dialog that the mark opened gives the focus back; leaving for good hides the mark.
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason)
        showMark(false);
    repaintKey(marked);
}

void KeyboardView::paintEvent(QPaintEvent* event)
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
    const KeyboardGeometry geometry = geometryNow();
    if (!geometry.hasBoard())
        return;

    paintKeyboardPicture(painter, geometry);
    QFont baseFont = font();
    baseFont.setPointSizeF(keyboardBaseFontSize(geometry.scale()));
    painter.setFont(baseFont);
    for (const KeyRecord& key : keyboardLayout->keys) {
        const QRect inner = geometry.innerRectangle(key);
        if (!inner.intersects(rect()) || !event->region().intersects(paintedRectangle(inner)))
            continue;
        paintKey(painter, key, inner, geometry.scale());
        paintFrames(painter, key.lightIndex, inner, geometry.scale());
    }
}

// Makes the view look transparent although it clears itself: it repeats what the workspace shows
// behind it.
void KeyboardView::paintWorkspaceBehind(QPainter& painter)
{
    const QWidget* workspace = parentWidget();
    while (workspace != nullptr && workspace->objectName() != QLatin1String("workspace"))
        workspace = workspace->parentWidget();
    if (workspace == nullptr)
        return;
    const QSize pixels = devicePixels(workspace->size(), devicePixelRatioF());
    if (!drawnGround || drawnGround->size() != pixels)
        drawnGround = backgroundPicture.scaled(pixels);
    if (!drawnGround)
        return;

    const QPoint origin = mapTo(workspace, QPoint(0, 0));
    const double scaleX = static_cast<double>(drawnGround->width()) / workspace->width();
    const double scaleY = static_cast<double>(drawnGround->height()) / workspace->height();
    const QRectF source(origin.x() * scaleX, origin.y() * scaleY, width() * scaleX,
                        height() * scaleY);
    painter.drawPixmap(QRectF(rect()), *drawnGround, source);
}

// The picture is much larger than the view. Averaging it down once per size keeps the legends
// crisp where the painter's own interpolation would skip pixels.
void KeyboardView::paintKeyboardPicture(QPainter& painter, const KeyboardGeometry& geometry)
{
    const QRectF target = geometry.boardRectangle();
    const QSize pixels = (target.size() * devicePixelRatioF()).toSize().expandedTo(QSize(1, 1));
    if (!drawnPicture || drawnPicture->size() != pixels)
        drawnPicture = keyboardPicture.scaled(pixels);
    if (drawnPicture)
        painter.drawPixmap(target, *drawnPicture, QRectF(drawnPicture->rect()));
}

void KeyboardView::paintKey(QPainter& painter, const KeyRecord& key, const QRect& inner,
                            double scale) const
{
    switch (mode) {
    case KeyboardViewMode::RainbowGlow:
        paintGlow(
            painter, inner,
            QColor::fromHsv(rainbowHue(key.rect.left()), rainbowSaturation, 255, rainbowAlpha),
            0.82, 6 * scale);
        break;
    case KeyboardViewMode::KeyColors:
        if (QColor color = keyColors.value(key.lightIndex); color.isValid()) {
            color.setAlpha(keyColorAlpha);
            paintGlow(painter, inner, color, 0.8, 5 * scale);
        }
        break;
    case KeyboardViewMode::Captions:
        if (const QString caption = captions.value(key.lightIndex); !caption.isEmpty())
            paintCaption(painter, inner, caption, scale);
        break;
    }
}

void KeyboardView::paintFrames(QPainter& painter, int lightIndex, const QRect& inner,
                               double scale) const
{
    if (lightIndex < 0)
        return;
    painter.setBrush(Qt::NoBrush);
    if (lightIndex == selected) {
        painter.setPen(QPen(frameColor, 2.0));
        drawBox(painter, inner, 5 * scale);
    }
    if (lightIndex == marked && markVisible && hasFocus()) {
        drawFocusRing(painter, visiblePart(inner, 5 * scale), 5 * scale);
    }
}

// What lies far beyond the view is cut off, because painting it takes long and shows nothing. The
// cut stays so far away that neither its edge nor its rounding can be seen.
QRect KeyboardView::visiblePart(const QRect& box, double corner) const
{
    const int margin = static_cast<int>(2 * corner) + 4;
    const QRect around = rect().adjusted(-margin, -margin, margin, margin);
    return around.contains(box) ? box : box & around;
}

void KeyboardView::drawBox(QPainter& painter, const QRect& box, double corner) const
{
    painter.drawRoundedRect(visiblePart(box, corner), corner, corner);
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

void KeyboardView::paintCaption(QPainter& painter, const QRect& inner, const QString& caption,
                                double scale) const
{
    painter.setPen(QPen(frameColor, 1.5));
    painter.setBrush(captionFill);
    drawBox(painter, inner, 5 * scale);

    QFont captionFont(font().family());
    captionFont.setPointSize(captionFontSize(scale));
    captionFont.setWeight(QFont::DemiBold);
    painter.save();
    painter.setFont(captionFont);
    painter.setPen(captionText);
    drawCaption(painter, inner.adjusted(2, 1, -2, -1), caption);
    painter.restore();
}

} // namespace tavik
