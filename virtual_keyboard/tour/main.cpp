// SPDX-License-Identifier: MIT
#include "app/main_window.h"
#include "virtual_keyboard/demo/demo_program.h"
#include "virtual_keyboard/demo/keyboard_window.h"
#include "virtual_keyboard/tour/gallery.h"
#include "virtual_keyboard/tour/tour.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <string_view>

using namespace tavik;
using namespace tavik::virtual_keyboard;

// Drives the real program on the virtual keyboard and virtual time and leaves pictures in the
// directory. Ends with 0 when the keyboard held what it should at every step, or when the gallery
// is complete.
int main(int argc, char* argv[])
{
    const bool wantsGallery = argc == 3 && std::string_view(argv[1]) == "--gallery";
    if (argc != 2 && !wantsGallery) {
        std::fprintf(stderr, "usage: %s [--gallery] PICTURE-DIRECTORY\n", argv[0]);
        return 2;
    }
    const QString directory = QString::fromLocal8Bit(argv[argc - 1]);
    // The tour must neither see nor change what the user has saved.
    const QTemporaryDir configuration;
    qputenv("XDG_CONFIG_HOME", configuration.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", configuration.path().toUtf8());
    const QString pictures = configuration.filePath("Pictures");
    QFile places(configuration.filePath("user-dirs.dirs"));
    if (!QDir().mkpath(pictures) || !places.open(QIODevice::WriteOnly) ||
        places.write("XDG_PICTURES_DIR=\"" + pictures.toUtf8() + "\"\n") < 0)
        return 1;
    places.close();

    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    setUpProgram(application);

    lightUpKeyboard();
    if (!wantsGallery)
        VirtualBus::instance().unplug(); // plugged in by the tour
    MainWindow window;
    window.move(0, 0);
    window.show();
    KeyboardWindow keyboardWindow;
    keyboardWindow.showBeside(window);
    if (wantsGallery)
        return takeGallery(window, keyboardWindow, directory) ? 0 : 1;

    bool passed = false;
    TourDriver driver(directory);
    Tour tour(driver);
    const std::unique_ptr<QThread> guide(QThread::create([&] { passed = tour.run(); }));
    QObject::connect(guide.get(), &QThread::finished, qApp, &QCoreApplication::quit);
    guide->start();
    QApplication::exec();
    guide->wait();
    return passed ? 0 : 1;
}
