// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "app/single_window.h"
#include "app/window_place.h"
#include "model/app_state.h"

#include <QApplication>
#include <QScreen>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
    QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
    // By this the desktop finds the entry, and with it the icon, of a window.
    QGuiApplication::setDesktopFileName(QStringLiteral(TAVIK_ID));
    tavik::applyApplicationStyle(application);

    tavik::SingleWindow onlyWindow(tavik::stateFilePath());
    if (const std::optional<int> exitCode = onlyWindow.endsWith())
        return *exitCode;
    tavik::MainWindow window;
    onlyWindow.bringForward(&window);
    tavik::showOnScreen(window, window.screen()->availableGeometry());
    return QApplication::exec();
}
