// Builds the pictures of the program from the shapes and the layout file beside it. It runs on the
// machine that builds the program and needs no display.

#include "resources/skin_generator/backdrop.h"
#include "resources/skin_generator/color_wheel.h"
#include "resources/skin_generator/keyboard_picture.h"
#include "resources/skin_generator/shape.h"
#include "resources/skin_generator/strips.h"

#include <QDir>
#include <QGuiApplication>
#include <QTextStream>

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 5) {
        QTextStream(stderr) << "usage: skin_generator <shapes> <layout file> <font> <skin>\n";
        return 2;
    }

    tavik::setShapeDirectory(arguments.at(1));
    const tavik::LayoutFile layout = tavik::readLayoutFile(arguments.at(2));
    const QDir skin(arguments.at(4));
    tavik::writeIcons(skin.path());
    tavik::savePicture(tavik::paintColorWheel(), skin.filePath("img_circlepalette.png"));
    tavik::savePicture(tavik::paintBackdrop(), skin.filePath("keyboard_bkg.png"));
    tavik::savePicture(tavik::paintKeyboard(layout, arguments.at(3)),
                       skin.filePath("img_keyboard_brix9.png"));
    return 0;
}
