// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/virtual_bus.h"

namespace tavik::virtual_keyboard {

inline VirtualBus& bus()
{
    return VirtualBus::instance();
}

// What the virtual keyboard holds now.
inline const KeyboardState& held()
{
    return bus().keyboard().state();
}

} // namespace tavik::virtual_keyboard
