// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/demo_program.h"

#include "app/application_style.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QApplication>

namespace tavik::virtual_keyboard {

void setUpProgram(QApplication& application)
{
    QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
    QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
    applyApplicationStyle(application);
}

void lightUpKeyboard()
{
    constexpr std::uint8_t rolling = 0x0B;
    KeyboardState state;
    state.lighting[0] = rolling;
    state.lighting[8] = 1;  // random color
    state.lighting[9] = 5;  // brightness
    state.lighting[10] = 3; // speed
    state.lighting[11] = 3; // direction: left
    VirtualBus::instance().keyboard().setState(state);
}

} // namespace tavik::virtual_keyboard
