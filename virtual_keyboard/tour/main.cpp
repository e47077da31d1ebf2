#include "app/application_style.h"
#include "app/main_window.h"
#include "virtual_keyboard/demo/keyboard_window.h"
#include "virtual_keyboard/tour/tour.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>

using namespace tavik;
using namespace tavik::virtual_keyboard;

// Drives the real program on the virtual keyboard and virtual time. The only argument is the
// directory for the pictures. Ends with 0 when the keyboard held what it should at every step.
int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s PICTURE-DIRECTORY\n", argv[0]);
        return 2;
    }
    // The tour must neither see nor change what the user has saved.
    const QTemporaryDir configuration;
    qputenv("XDG_CONFIG_HOME", configuration.path().toUtf8());

    const QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
    QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
    applyApplicationStyle(*qApp);

    VirtualBus::instance().unplug(); // plugged in by the tour
    MainWindow window;
    window.move(0, 0);
    window.show();
    KeyboardWindow keyboardWindow;
    keyboardWindow.move(0, window.height());
    keyboardWindow.show();
    window.activateWindow();

    bool passed = false;
    TourDriver driver(QString::fromLocal8Bit(argv[1]));
    Tour tour(driver);
    const std::unique_ptr<QThread> guide(QThread::create([&] { passed = tour.run(); }));
    QObject::connect(guide.get(), &QThread::finished, qApp, &QCoreApplication::quit);
    guide->start();
    QApplication::exec();
    guide->wait();
    return passed ? 0 : 1;
}
