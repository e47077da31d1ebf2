// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace tavik::tests {

using Bytes = std::vector<std::uint8_t>;

// The interface that types: modifier bits and six key codes, as every boot keyboard has them.
[[nodiscard]] inline Bytes typingDescriptor()
{
    return {0x05, 0x01, 0x09, 0x06, 0xA1, 0x01,             // a keyboard
            0x05, 0x07, 0x19, 0xE0, 0x29, 0xE7, 0x15, 0x00, // eight modifiers
            0x25, 0x01, 0x75, 0x01, 0x95, 0x08, 0x81, 0x02, //
            0x75, 0x08, 0x95, 0x01, 0x81, 0x01,             // one reserved byte
            0x19, 0x00, 0x29, 0x65, 0x25, 0x65, 0x95, 0x06, // six keys
            0x81, 0x00, 0xC0};
}

// Media keys.
[[nodiscard]] inline Bytes mediaDescriptor()
{
    return {0x05, 0x0C, 0x09, 0x01, 0xA1, 0x01, 0x19, 0x00, 0x2A, 0x3C, 0x02, 0x15,
            0x00, 0x26, 0x3C, 0x02, 0x75, 0x10, 0x95, 0x01, 0x81, 0x00, 0xC0};
}

[[nodiscard]] inline Bytes joined(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The start of a collection on a vendor page; its first report has 64 bytes.
[[nodiscard]] inline Bytes vendorCollection(std::uint16_t page, std::uint8_t usage)
{
    const auto low = static_cast<std::uint8_t>(page & 0xFF);
    const auto high = static_cast<std::uint8_t>(page >> 8);
    return {0x06, low,  high, 0x09, usage, 0xA1, 0x01, 0x15,
            0x00, 0x26, 0xFF, 0x00, 0x75,  0x08, 0x95, 0x40};
}

// One feature report of 64 bytes on a vendor page.
[[nodiscard]] inline Bytes featureDescriptor(std::uint16_t page)
{
    return joined(vendorCollection(page, 0x01), {0x09, 0x02, 0xB1, 0x02, 0xC0});
}

// Blocks of 4096 bytes out, acknowledgements of 64 bytes in, on a vendor page.
[[nodiscard]] inline Bytes screenDescriptor(std::uint16_t page)
{
    return joined(vendorCollection(page, 0x61),
                  {0x09, 0x62, 0x81, 0x02, 0x96, 0x00, 0x10, 0x09, 0x63, 0x91, 0x02, 0xC0});
}

} // namespace tavik::tests
