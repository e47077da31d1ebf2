// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/keyboard_state.h"

#include <string>

namespace tavik::tests {

// Everything a keyboard holds, whole, one line for each kind of memory and one for each picture of
// its screen: "sleep: 2", "base layer: 02000400…". Two states are equal when their texts are.
[[nodiscard]] std::string stateText(const virtual_keyboard::KeyboardState& state);

} // namespace tavik::tests
