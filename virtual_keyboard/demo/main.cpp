// SPDX-License-Identifier: MIT
#include "app/main_window.h"
#include "app/single_window.h"
#include "app/window_place.h"
#include "model/app_state.h"
#include "virtual_keyboard/demo/demo_program.h"
#include "virtual_keyboard/demo/keyboard_window.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QApplication>
#include <QScreen>
#include <QThread>

#include <chrono>
#include <cstdio>

using namespace tavik;
using namespace tavik::virtual_keyboard;

namespace {

VirtualBus::Milliseconds realNow()
{
    return std::chrono::duration_cast<VirtualBus::Milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
}

void realWait(VirtualBus::Milliseconds duration)
{
    QThread::msleep(static_cast<unsigned long>(duration.count()));
}

} // namespace

// The same program on the virtual keyboard, beside a window that shows what that keyboard does.
int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    setUpProgram(application);

    SingleWindow onlyWindow(stateFilePath());
    if (const std::optional<int> exitCode = onlyWindow.endsWith()) {
        if (*exitCode == 0)
            std::fputs("A window is open already, and has come to the front.\n", stderr);
        return *exitCode;
    }

    VirtualBus& bus = VirtualBus::instance();
    bus.setClock(realNow, realWait);
    lightUpKeyboard();

    MainWindow window;
    onlyWindow.bringForward(&window);
    showOnScreen(window, window.screen()->availableGeometry());
    KeyboardWindow keyboardWindow;
    // An onlooker: the program ends with its own window.
    keyboardWindow.setAttribute(Qt::WA_QuitOnClose, false);
    keyboardWindow.showBeside(window);
    return QApplication::exec();
}
