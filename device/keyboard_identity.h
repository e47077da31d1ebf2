// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

namespace tavik {

// How the keyboard names itself on USB. The udev rule and the metainfo file are made from these
// lines while configuring; every list is in the order in which its entries are tried.
inline constexpr std::uint16_t keyboardVendorId = 0x0C45;
inline constexpr std::array<std::uint16_t, 2> keyboardProductIds{0x8009, 0x800A};

// HID usage pages: the interface that takes commands, and the one that takes pictures.
inline constexpr std::uint16_t configurationUsagePage = 0xFF13;
inline constexpr std::array<std::uint16_t, 2> screenUsagePages{0xFF68, 0xFF67};

} // namespace tavik
