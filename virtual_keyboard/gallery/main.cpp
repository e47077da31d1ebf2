#include "app/application_style.h"
#include "app/main_window.h"
#include "virtual_keyboard/gallery/gallery.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

using namespace tavik;
using namespace tavik::virtual_keyboard;

namespace {

// "1200x720"; invalid when the text is none.
QSize sizeFrom(const QString& text)
{
    const QStringList parts = text.split(u'x');
    return parts.size() == 2 ? QSize(parts.at(0).toInt(), parts.at(1).toInt()) : QSize();
}

} // namespace

// Pictures the program with the virtual keyboard on it. Arguments are the directory for the
// pictures and, if wanted, the size of the window.
int main(int argc, char* argv[])
{
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s PICTURE-DIRECTORY [WIDTHxHEIGHT]\n", argv[0]);
        return 2;
    }
    // Must neither see nor change what the user has saved.
    const QTemporaryDir configuration;
    qputenv("XDG_CONFIG_HOME", configuration.path().toUtf8());

    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
    QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
    applyApplicationStyle(*qApp);

    MainWindow window;
    if (argc == 3)
        window.resize(sizeFrom(QString::fromLocal8Bit(argv[2])));
    window.show();
    Gallery gallery(window, QString::fromLocal8Bit(argv[1]));
    QTimer::singleShot(0, &window, [&] {
        gallery.takeAll();
        QCoreApplication::quit();
    });
    QApplication::exec();
    return gallery.isComplete() ? 0 : 1;
}
