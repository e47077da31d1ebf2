// SPDX-License-Identifier: MIT
#include "resources/skin_generator/strips.h"

#include "app/skin/skin_files.h"
#include "resources/skin_generator/picture_file.h"
#include "resources/skin_generator/shape.h"

#include <QDir>
#include <QList>
#include <QPainter>

namespace tavik {

namespace {

// What the program shows for each state. The accent is kept for what is chosen; hovering only
// brightens.
constexpr QColor normalColor(0xb4, 0xb5, 0xba);
constexpr QColor hoverColor(0xf4, 0xf4, 0xf5);
constexpr QColor selectedColor(0xe7, 0x7a, 0x19);
constexpr QColor pressedColor(0xda, 0x52, 0x00);
constexpr QColor disabledColor(0x5c, 0x5d, 0x61);
constexpr QColor checkColor(0xff, 0xff, 0xff);

struct Strip
{
    const char* fileName;
    const char* shape;
    QSize frameSize;
    QRectF target; // where in the frame the shape stands
    int degrees;
    QList<QColor> frames;
    int filledFrame = -1; // a disc with the shape cut out
};

// The sidebar shows its frames scaled to 24 units wide. Both frame sizes are drawn so that a shape
// drawn on a grid of 24 keeps its stroke of 2 there: the wide screen frame shows only the middle
// of the grid.
constexpr QRectF sidebarTarget(0, 0, 36, 36);
constexpr QRectF screenTarget(0, 0, 32, 22);

// The 30-unit buttons are shown as they are, so the grid of 24 stands in them unscaled.
constexpr QRectF buttonTarget(3, 3, 24, 24);

QList<Strip> strips()
{
    const QSize sidebar(36, 36);
    const QSize button(30, 30);
    const QList<QColor> stateFrames{normalColor, hoverColor, selectedColor, disabledColor};
    const QList<QColor> directionFrames{normalColor, hoverColor, pressedColor, disabledColor,
                                        selectedColor};
    constexpr int chosenDirection = 4; // told by shape, too: its color alone is not for everybody
    return {
        {"icons/tab_home.png", "home", sidebar, sidebarTarget, 0, stateFrames},
        {"icons/tab_customkey.png", "keys", sidebar, sidebarTarget, 0, stateFrames},
        {"icons/tab_macro.png", "macro", sidebar, sidebarTarget, 0, stateFrames},
        {"icons/tab_light.png", "light", sidebar, sidebarTarget, 0, stateFrames},
        {"icons/tab_lcd.png", "screen", {32, 22}, screenTarget, 0, stateFrames},
        {"icons/tab_customlight.png", "palette", sidebar, sidebarTarget, 0, stateFrames},
        {"icons/tab_config.png", "settings", sidebar, sidebarTarget, 0, stateFrames},
        {"main_sysbtn_min.png", "minimize", button, buttonTarget, 0, stateFrames},
        {"main_sysbtn_close.png", "close", button, buttonTarget, 0, stateFrames},
        {"img_direction_top.png", "arrow_up", button, buttonTarget, 0, directionFrames,
         chosenDirection},
        {"img_direction_right.png", "arrow_up", button, buttonTarget, 90, directionFrames,
         chosenDirection},
        {"img_direction_bottom.png", "arrow_up", button, buttonTarget, 180, directionFrames,
         chosenDirection},
        {"img_direction_left.png", "arrow_up", button, buttonTarget, 270, directionFrames,
         chosenDirection},
    };
}

// At so many pixels per unit.
QImage paintFrame(const Strip& strip, int frame, int density)
{
    const QColor& color = strip.frames.at(frame);
    const QRectF target(strip.target.topLeft() * density, strip.target.size() * density);
    const QImage shape = tintedShape(QLatin1String(strip.shape), strip.frameSize * density, target,
                                     color, strip.degrees);
    if (frame != strip.filledFrame)
        return shape;
    QImage filled = emptyPicture(shape.size());
    QPainter painter(&filled);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    const double radius = filled.height() / 2.0 - density;
    painter.drawEllipse(QRectF(filled.rect()).center(), radius, radius);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.drawImage(0, 0, shape);
    return filled;
}

// Every frame is painted on a picture of its own, so that nothing of it reaches its neighbor.
QImage paintStrip(const Strip& strip, int density)
{
    const QSize frameSize = strip.frameSize * density;
    const auto frames = static_cast<int>(strip.frames.size());
    QImage picture = emptyPicture(QSize(frameSize.width() * frames, frameSize.height()));
    QPainter painter(&picture);
    for (int frame = 0; frame < frames; ++frame)
        painter.drawImage(frame * frameSize.width(), 0, paintFrame(strip, frame, density));
    return picture;
}

QImage paintShape(const QString& shape, QSize size)
{
    QImage picture = emptyPicture(size);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    drawShape(painter, shape, picture.rect());
    return picture;
}

} // namespace

void writeIcons(const QString& skinDirectory)
{
    const QDir skin(skinDirectory);
    for (const int density : {1, 2, 3}) {
        const auto path = [&](const QString& name) {
            return skin.filePath(density == 1 ? name : densePictureName(name, density));
        };
        for (const Strip& strip : strips())
            savePicture(paintStrip(strip, density), path(QLatin1String(strip.fileName)));
        for (const char* state : {"on", "off"}) {
            const QString shape = QStringLiteral("switch_") + QLatin1String(state);
            savePicture(paintShape(shape, QSize(44, 26) * density),
                        path(QStringLiteral("img_%1.png").arg(shape)));
        }
    }

    // Three times the size they are shown in, so that they stay sharp at a pixel ratio of 3.
    const QSize tinted(72, 72);
    savePicture(tintedShape("star", tinted, QRectF(QPointF(), tinted), normalColor),
                skin.filePath("icons/icon_favorites.png"));
    savePicture(tintedShape("music", tinted, QRectF(QPointF(), tinted), normalColor),
                skin.filePath("icons/icon_music.png"));

    // The marks of combo boxes, spin boxes and check boxes are shown 10 to 18 units wide.
    const QSize mark(48, 48);
    savePicture(tintedShape("chevron_up", mark, QRectF(QPointF(), mark), normalColor),
                skin.filePath("control_up.png"));
    savePicture(tintedShape("chevron_up", mark, QRectF(QPointF(), mark), normalColor, 180),
                skin.filePath("control_down.png"));
    savePicture(tintedShape("check", mark, QRectF(QPointF(), mark), checkColor),
                skin.filePath("control_check.png"));

    // The signs of message boxes are shown 32 to 48 units wide.
    const QSize sign(96, 96);
    savePicture(tintedShape("question", sign, QRectF(QPointF(), sign), selectedColor),
                skin.filePath("dialog_question.png"));
    savePicture(tintedShape("information", sign, QRectF(QPointF(), sign), selectedColor),
                skin.filePath("dialog_information.png"));

    savePicture(paintShape("tavik-center", QSize(128, 128)),
                skin.filePath("icons/tavik-center.png"));
    savePicture(paintShape("logo", QSize(248, 104)), skin.filePath("zerolt-logo.png"));
}

} // namespace tavik
