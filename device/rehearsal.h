// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace tavik {

// Gets what would be sent: a report of 64 bytes, or a block of the screen.
using ReportViewer = std::function<void(std::span<const std::uint8_t> bytes)>;

// From now on nothing is opened, locked or sent in this process: whatever a sequence sends goes to
// the viewer instead and counts as accepted. An empty viewer ends that.
void rehearse(ReportViewer viewer);

// The viewer; empty when reports go to the keyboard.
[[nodiscard]] const ReportViewer& rehearsal();

} // namespace tavik
