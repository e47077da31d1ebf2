// SPDX-License-Identifier: MIT
#pragma once

#include "doctor/diagnosis.h"
#include "tavikctl/failure.h"

namespace tavik {

// What a command ends with that cannot reach the keyboard for this reason; Done where it can.
[[nodiscard]] ExitCode exitCodeOf(const doctor::Findings& findings);

// Opens the keyboard. Throws with what the doctor says of it.
void connectKeyboard();

// Why the sequence that has just failed did so.
[[nodiscard]] Failure keyboardFailure();

// Throws that when something was not sent.
void requireSent(bool isSent);

} // namespace tavik
