// SPDX-License-Identifier: MIT
#pragma once

#include "device/screen_link.h"
#include "pages/screen/image_import.h"

#include <cstdint>

namespace tavik {

// A frame's time as the keyboard takes it: units of 2 ms, at least 20 ms, and 510 ms for anything
// longer.
[[nodiscard]] std::uint8_t screenTimeByte(int delayMs);

// The animation as the keyboard takes it: how many frames, their times, then their pixels as RGB
// 5-6-5. Expects 1 to 30 frames with images of screenSize.
[[nodiscard]] ScreenStream buildScreenStream(const QList<ScreenFrame>& frames);

} // namespace tavik
