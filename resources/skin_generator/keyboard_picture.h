// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>

namespace tavik {

class KeyboardLayout;

// The keyboard as the program shows it: one light cap for every key of the layout, case and screen
// where it has them, at 3 pixels a layout unit. What does not lie inside the picture is left out
// with a warning. `fontPath` is the font of the legends.
[[nodiscard]] QImage paintKeyboard(const KeyboardLayout& layout, const QString& fontPath);

} // namespace tavik
