// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/keyboard_model.h"

#include <QString>

namespace tavik {
struct KeyRecord;
}

namespace tavik::virtual_keyboard {

// What the keyboard sends to the computer when this key is pressed, in words, from what it holds
// for the key on that layer: "Ctrl+B", "Volume up", "macro 0: H↓ 40 ms H↑".
[[nodiscard]] QString sentText(const KeyboardModel& keyboard, const KeyRecord& key, LayerId layer);

} // namespace tavik::virtual_keyboard
