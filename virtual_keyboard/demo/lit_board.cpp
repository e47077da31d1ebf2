// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/lit_board.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTime>
#include <QToolTip>

#include <algorithm>

namespace tavik::virtual_keyboard {

namespace {

void drawHand(QPainter& painter, const QColor& color, double degrees, double length, double width)
{
    painter.save();
    painter.rotate(degrees);
    painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(0, 0), QPointF(0, -length));
    painter.restore();
}

// Like the dial in the program's picture of the keyboard, without its second hand: that would have
// to move.
void drawClock(QPainter& painter, const QRectF& area, QTime time)
{
    constexpr QColor marks(0x8b, 0x8d, 0x93);
    constexpr QColor hands(0xf1, 0xf1, 0xf1);
    constexpr QColor accent(0xe7, 0x7a, 0x19);
    painter.save();
    painter.translate(area.center());
    painter.scale(area.width() / 128, area.width() / 128);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0x3b, 0x3c, 0x41), 4));
    painter.drawEllipse(QPointF(0, 0), 57, 57);
    for (int quarter = 0; quarter < 4; ++quarter) {
        painter.setPen(QPen(marks, 5, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -49), QPointF(0, -41));
        painter.rotate(90);
    }
    drawHand(painter, hands, 30 * (time.hour() % 12) + time.minute() / 2.0, 26, 8);
    drawHand(painter, hands, 6 * time.minute(), 40, 6);
    painter.setPen(Qt::NoPen);
    painter.setBrush(accent);
    painter.drawEllipse(QPointF(0, 0), 6, 6);
    painter.restore();
}

} // namespace

LitBoard::LitBoard(const KeyboardLayout& keyboardLayout, QWidget* parent)
    : QWidget(parent), layout(onDesk(keyboardLayout)), lights(keyCount)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(320, 120);
    setAccessibleName(tr("Virtual keyboard"));
}

int LitBoard::heightForWidth(int width) const
{
    return qRound(1.0 * width * layout.height / layout.width);
}

QRect LitBoard::keyRectangle(int lightIndex) const
{
    const KeyRecord* key = geometry().find(lightIndex);
    return key == nullptr ? QRect()
                          : toView(layout, size()).mapRect(QRectF(key->rect)).toAlignedRect();
}

QRectF LitBoard::glass() const
{
    return toView(layout, size()).mapRect(glassOf(layout.screenRect));
}

void LitBoard::setContent(const BoardContent& newContent)
{
    if (content == newContent)
        return;
    content = newContent;
    unlit = {};
    update();
}

void LitBoard::setLights(const std::vector<KeyColor>& newLights)
{
    lights = newLights;
}

void LitBoard::setScreen(Screen kind, const ScreenFrame* picture)
{
    screen = kind;
    if (picture != nullptr)
        screenPicture = QImage(reinterpret_cast<const uchar*>(picture->pixels.data()),
                               static_cast<int>(screenWidth), static_cast<int>(screenHeight),
                               QImage::Format_RGB16)
                            .copy();
}

// A cap has room for a few letters only; the tool tip says the rest.
bool LitBoard::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const QString caption = content.captions.value(geometry().keyAt(help->pos()));
    // An empty one hides what is there.
    QToolTip::showText(help->globalPos(), caption, this);
    return true;
}

// Nothing has to be painted behind the board. A style sheet has taken this away by now.
void LitBoard::showEvent(QShowEvent*)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void LitBoard::mousePressEvent(QMouseEvent* event)
{
    const int lightIndex = geometry().keyAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && lightIndex >= 0)
        emit keyPressed(lightIndex);
}

void LitBoard::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        emit keyReleased();
}

// The board is painted twice: without light, and as the shape through which the light shines.
void LitBoard::preparePictures()
{
    const qreal ratio = devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * ratio).toSize();
    const QSize padded((pixels.width() + 3) / 4 * 4, pixels.height()); // as LightField wants it
    if (unlit.size() == padded && paintedSize == size())
        return;
    if (transparency.size() != padded || paintedSize != size())
        field = LightField(layout, size(), ratio);
    paintedSize = size();
    const auto paintIn = [&](QImage& picture, const DeskColors& colors) {
        picture = QImage(padded, QImage::Format_RGB32);
        picture.setDevicePixelRatio(ratio);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setFont(font());
        paintBoard(painter, size(), layout, content, colors);
    };
    paintIn(unlit, darkDesk());
    paintIn(transparency, deskTransparency());
}

void LitBoard::paintEvent(QPaintEvent*)
{
    emit aboutToPaint();
    preparePictures();
    const bool isDark =
        std::ranges::all_of(lights, [](const KeyColor& color) { return color == KeyColor{}; });
    QPainter painter(this);
    painter.drawImage(0, 0, isDark ? unlit : field.shine(lights, unlit, transparency));
    if (glassOf(layout.screenRect).isValid())
        paintScreen(painter);
}

void LitBoard::paintScreen(QPainter& painter) const
{
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (screen == Screen::Clock)
        drawClock(painter, glass(), QTime::currentTime());
    else if (screen == Screen::Picture)
        painter.drawImage(glass(), screenPicture);
}

} // namespace tavik::virtual_keyboard
