// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>

namespace tavik {

// The wheel in which a color is picked: 240 by 240 pixels, red at the top, hues clockwise, pale
// inside and full outside.
[[nodiscard]] QImage paintColorWheel();

} // namespace tavik
