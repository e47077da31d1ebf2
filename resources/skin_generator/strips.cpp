#include "resources/skin_generator/strips.h"

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
        {"img_direction_top.png", "arrow_up", button, buttonTarget, 0, directionFrames},
        {"img_direction_right.png", "arrow_up", button, buttonTarget, 90, directionFrames},
        {"img_direction_bottom.png", "arrow_up", button, buttonTarget, 180, directionFrames},
        {"img_direction_left.png", "arrow_up", button, buttonTarget, 270, directionFrames},
    };
}

// Every frame is painted on a picture of its own, so that nothing of it reaches its neighbor.
QImage paintStrip(const Strip& strip)
{
    const int width = strip.frameSize.width();
    QImage picture = emptyPicture(
        QSize(width * static_cast<int>(strip.frames.size()), strip.frameSize.height()));
    QPainter painter(&picture);
    int left = 0;
    for (const QColor& color : strip.frames) {
        painter.drawImage(left, 0,
                          tintedShape(QLatin1String(strip.shape), strip.frameSize, strip.target,
                                      color, strip.degrees));
        left += width;
    }
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
    for (const Strip& strip : strips())
        savePicture(paintStrip(strip), skin.filePath(QLatin1String(strip.fileName)));

    // Twice the size they are shown in, so that they stay sharp at a pixel ratio of 2.
    const QSize tinted(48, 48);
    savePicture(tintedShape("star", tinted, QRectF(QPointF(), tinted), normalColor),
                skin.filePath("icons/icon_favorites.png"));
    savePicture(tintedShape("music", tinted, QRectF(QPointF(), tinted), normalColor),
                skin.filePath("icons/icon_music.png"));

    // The marks of combo boxes, spin boxes and check boxes are shown 10 to 18 units wide.
    savePicture(tintedShape("chevron_up", tinted, QRectF(QPointF(), tinted), normalColor),
                skin.filePath("control_up.png"));
    savePicture(tintedShape("chevron_up", tinted, QRectF(QPointF(), tinted), normalColor, 180),
                skin.filePath("control_down.png"));
    savePicture(tintedShape("check", tinted, QRectF(QPointF(), tinted), checkColor),
                skin.filePath("control_check.png"));

    // The signs of message boxes are shown 32 to 48 units wide.
    const QSize sign(96, 96);
    savePicture(tintedShape("question", sign, QRectF(QPointF(), sign), selectedColor),
                skin.filePath("dialog_question.png"));
    savePicture(tintedShape("information", sign, QRectF(QPointF(), sign), selectedColor),
                skin.filePath("dialog_information.png"));

    savePicture(paintShape("switch_on", QSize(44, 26)), skin.filePath("img_switch_on.png"));
    savePicture(paintShape("switch_off", QSize(44, 26)), skin.filePath("img_switch_off.png"));
    savePicture(paintShape("logo", QSize(248, 104)), skin.filePath("zerolt-logo.png"));
}

} // namespace tavik
