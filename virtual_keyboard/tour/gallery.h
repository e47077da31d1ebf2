// SPDX-License-Identifier: MIT
#pragma once

#include "app/main_window.h"
#include "virtual_keyboard/demo/keyboard_window.h"

namespace tavik::virtual_keyboard {

// Takes pictures of every page, dialog, menu and list of the program, each in a state that users
// meet: keys assigned, macros recorded, colors painted; and one of the virtual keyboard. Every
// picture shows one window alone. The windows must be shown; the directory is created. False when a
// picture is missing.
[[nodiscard]] bool takeGallery(MainWindow& window, KeyboardWindow& keyboardWindow,
                               const QString& directory);

} // namespace tavik::virtual_keyboard
