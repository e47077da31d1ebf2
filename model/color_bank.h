// SPDX-License-Identifier: MIT
#pragma once

#include "model/key_action.h"

#include <array>
#include <cstddef>

namespace tavik {

inline constexpr std::size_t bytesPerColor = 3;
inline constexpr std::size_t colorBankSize = bytesPerColor * layerSize;

// The per-key colors: red, green and blue of the key with light index k at 3k, 3k + 1, 3k + 2.
using ColorBank = std::array<unsigned char, colorBankSize>;

struct KeyColor
{
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;

    friend bool operator==(const KeyColor&, const KeyColor&) = default;
};

// Light indexes are 0 to 143; another one is a programming error and aborts.
[[nodiscard]] KeyColor colorOf(const ColorBank& bank, std::size_t lightIndex);
void setColor(ColorBank& bank, std::size_t lightIndex, KeyColor color);

} // namespace tavik
