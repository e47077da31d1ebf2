// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace tavik {

// Blocks the calling thread for the given time (0 or more). The only function of the program that
// sleeps: the keyboard needs pauses between reports, and tests replace this one symbol by a
// virtual clock.
void pause(std::chrono::milliseconds duration);

} // namespace tavik
