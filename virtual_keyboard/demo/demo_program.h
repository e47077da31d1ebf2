// SPDX-License-Identifier: MIT
#pragma once

class QApplication;

namespace tavik::virtual_keyboard {

// Gives the application the names and the style of the program.
void setUpProgram(QApplication& application);

// Lights the keyboard on the bus, as one is that comes out of its box.
void lightUpKeyboard();

} // namespace tavik::virtual_keyboard
