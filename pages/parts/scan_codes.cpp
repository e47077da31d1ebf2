// SPDX-License-Identifier: MIT
#include "pages/parts/scan_codes.h"

#include "model/key_names.h"

#include <algorithm>
#include <array>

namespace tavik {

namespace {

// X11 has counted from 8 ever since, and Wayland's clients do so too.
constexpr quint32 firstScanCode = 8;

// The kernel's key codes in the order of offeredKeyUsages(). The key beside Enter has one code on
// boards with and without a second one (0x31, 0x32).
constexpr std::array<std::uint8_t, offeredKeyUsageCount> kernelCodes{
    30,  48,  46,  32,  18,  33,  34,  35,  23,  36,  37,  38,  50,  49, 24, // A to O
    25,  16,  19,  31,  20,  22,  47,  17,  45,  21,  44,                    // P to Z
    2,   3,   4,   5,   6,   7,   8,   9,   10,  11,                         // digits
    28,  1,   14,  15,  57,                                                  // Enter to Space
    12,  13,  26,  27,  43,  43,  39,  40,  41,  51,  52,  53,  58,          // to Caps Lock
    59,  60,  61,  62,  63,  64,  65,  66,  67,  68,  87,  88,               // F1 to F12
    99,  70,  119, 110, 102, 104, 111, 107, 109, 106, 105, 108, 103,         // to the arrows
    69,  98,  55,  74,  78,  96,  79,  80,  81,  75,  76,  77,  71,  72, 73, // keypad
    82,  83,  86,  127, 116, 117,                                            // to keypad =
    183, 184, 185, 186, 187, 188, 189, 190, 191, 192, 193, 194,              // F13 to F24
    29,  42,  56,  125, 97,  54,  100, 126,                                  // modifiers
};
static_assert(kernelCodes.back() == 126);

} // namespace

std::optional<std::uint8_t> usageOfScanCode(quint32 scanCode)
{
    const auto code = std::find(kernelCodes.begin(), kernelCodes.end(), scanCode - firstScanCode);
    if (code == kernelCodes.end())
        return {};
    return offeredKeyUsages().at(static_cast<std::size_t>(code - kernelCodes.begin()));
}

} // namespace tavik
