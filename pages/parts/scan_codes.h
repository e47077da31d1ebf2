// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <chrono>
#include <cstdint>
#include <optional>

namespace tavik {

// The HID keyboard usage of a key of the computer's keyboard, by the scan code that the display
// server gives with its events (QKeyEvent::nativeScanCode()). It tells where a key lies, whatever
// the desktop's layout makes of it. Nothing for a key that has none of offeredKeyUsages().
[[nodiscard]] std::optional<std::uint8_t> usageOfScanCode(quint32 scanCode);

// Where every key may be meant, Esc leaves when it is held for so long.
constexpr std::uint8_t escapeUsage = 0x29;
constexpr std::chrono::milliseconds escapeHold(1000);

} // namespace tavik
