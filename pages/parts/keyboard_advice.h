// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tavik {

// What the user can do about a keyboard that has not done what it was asked, in plain words. Looks
// at the keyboard and at the computer's processes, which takes a few hundredths of a second; sends
// nothing. For the GUI thread, outside command sequences.
[[nodiscard]] QString keyboardAdvice();

} // namespace tavik
