// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tavik {

// Writes the icons that are one shape in several colors (sidebar, window buttons, direction pad),
// the two icons the program tints itself, the marks of its controls, the signs of its message
// boxes, the switch and the logo into `skinDirectory`.
void writeIcons(const QString& skinDirectory);

} // namespace tavik
