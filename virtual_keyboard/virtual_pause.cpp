// SPDX-License-Identifier: MIT
#include "device/pause.h"
#include "virtual_keyboard/virtual_bus.h"

namespace tavik {

void pause(std::chrono::milliseconds duration)
{
    virtual_keyboard::VirtualBus::instance().wait(duration);
}

} // namespace tavik
