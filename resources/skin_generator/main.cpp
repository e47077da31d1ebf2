// SPDX-License-Identifier: MIT
// Builds the pictures of the program from the shapes and the layout file beside it. It runs on the
// machine that builds the program and needs no display.

#include "model/keyboard_layout.h"
#include "resources/skin_generator/backdrop.h"
#include "resources/skin_generator/color_wheel.h"
#include "resources/skin_generator/keyboard_picture.h"
#include "resources/skin_generator/picture_file.h"
#include "resources/skin_generator/shape.h"
#include "resources/skin_generator/strips.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QSize>
#include <QTextStream>

namespace {

// In layout units. The program can load no picture of more than 256 MB.
constexpr int largestSide = 2500;

// What the program shows first: the ground of its window at the size with which it opens, and the
// board above the lighting controls, on a common and on a dense screen.
constexpr QSize firstGround(1198, 670);
constexpr QSizeF firstView(800, 300);

QList<QSize> firstBoards(const tavik::KeyboardLayout& layout)
{
    const QSizeF board = QSizeF(layout.width, layout.height).scaled(firstView, Qt::KeepAspectRatio);
    return {board.toSize(), (board * 2).toSize()};
}

// Unlike the program, which must start with any file, the generator ends with a broken one.
tavik::KeyboardLayout readLayout(const QString& path)
{
    QFile file(path);
    tavik::KeyboardLayout layout;
    QString reason;
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Cannot open the layout file %s: %s", qPrintable(path),
               qPrintable(file.errorString()));
    if (!layout.read(file, &reason))
        qFatal("The layout file %s is broken: %s", qPrintable(path), qPrintable(reason));
    const QSize size(layout.width, layout.height);
    if (size.isEmpty() || size.boundedTo({largestSide, largestSide}) != size)
        qFatal("The layout file %s names a picture of %d x %d; both must lie between 1 and %d",
               qPrintable(path), size.width(), size.height(), largestSide);
    return layout;
}

} // namespace

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
    const tavik::KeyboardLayout layout = readLayout(arguments.at(2));
    const QDir skin(arguments.at(4));
    tavik::writeIcons(skin.path());
    tavik::savePicture(tavik::paintColorWheel(), skin.filePath("img_circlepalette.png"));
    tavik::savePrepared(tavik::paintBackdrop(), skin.filePath("keyboard_bkg.png"),
                        tavik::SkinPicture::Scaling::Stretched, {firstGround});
    tavik::savePrepared(tavik::paintKeyboard(layout, arguments.at(3)),
                        skin.filePath("img_keyboard_brix9.png"),
                        tavik::SkinPicture::Scaling::Averaged, firstBoards(layout));
    return 0;
}
