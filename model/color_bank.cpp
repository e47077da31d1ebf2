// SPDX-License-Identifier: MIT
#include "model/color_bank.h"

namespace tavik {

KeyColor colorOf(const ColorBank& bank, std::size_t lightIndex)
{
    const std::size_t first = bytesPerColor * lightIndex;
    return {bank.at(first), bank.at(first + 1), bank.at(first + 2)};
}

void setColor(ColorBank& bank, std::size_t lightIndex, KeyColor color)
{
    const std::size_t first = bytesPerColor * lightIndex;
    bank.at(first) = color.red;
    bank.at(first + 1) = color.green;
    bank.at(first + 2) = color.blue;
}

} // namespace tavik
