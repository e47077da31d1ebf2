// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavik {

// The kernel refuses anything longer.
inline constexpr std::size_t largestReportDescriptor = 4096;

enum class InterfaceKind { Other, Configuration, Screen };

// What the interface with this HID report descriptor is for. Every usage page that the descriptor
// names must be vendor-defined (FF00 and above): an interface that could also carry keys, mouse or
// media buttons is Other, whatever else it has. So is one whose descriptor is damaged, truncated,
// empty or too long.
[[nodiscard]] InterfaceKind interfaceKind(std::span<const std::uint8_t> descriptor);

} // namespace tavik
