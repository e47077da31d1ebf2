// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>

namespace tavik {

// The ground behind all pages: nearly black, a breath of light from above. It is stretched over
// the window, carries text everywhere and must never draw the eye.
[[nodiscard]] QImage paintBackdrop();

} // namespace tavik
