#include "app/application_style.h"
#include "app/main_window.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
    QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
    tavik::applyApplicationStyle(application);

    tavik::MainWindow window;
    window.show();
    return QApplication::exec();
}
