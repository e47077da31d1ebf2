// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/keyboard_state.h"

#include <chrono>
#include <vector>

namespace tavik::virtual_keyboard {

// A light of the board and the middle of its key: 0 to 1 from left to right and from top to bottom.
struct LightSpot
{
    std::size_t index = 0; // 0 to 143
    double x = 0;
    double y = 0;
};

struct KeyPress
{
    LightSpot spot;
    std::chrono::milliseconds time{0};
};

// All that the light of a board depends on. What the real keyboard does is not known; the effects
// are made after their names.
struct LightScene
{
    const KeyboardState& held;
    const std::vector<LightSpot>& spots;
    double aspect = 1; // the board's width by its height
    const std::vector<KeyPress>& presses;
    std::chrono::milliseconds now{0}; // of the same clock as the presses
};

// The light of one key: by its effect, or the key's own color in custom mode, both dimmed to the
// brightness. Depends on nothing but its arguments.
[[nodiscard]] KeyColor keyLight(const LightScene& scene, const LightSpot& spot);

// True while lights change by themselves.
[[nodiscard]] bool lightMoves(const LightScene& scene);

// No effect remembers a press for longer.
inline constexpr std::chrono::milliseconds longestPressEffect{8000};

} // namespace tavik::virtual_keyboard
