// SPDX-License-Identifier: MIT
#pragma once

#include "device/command_report.h"
#include "model/color_bank.h"

#include <array>
#include <optional>

namespace tavik {

// The bank as the keyboard takes it: light index, red, green and blue of each key in index order.
// The end marker replaces green and blue of key 143, which therefore never reach the keyboard.
[[nodiscard]] TransferImage colorBankImage(const ColorBank& bank);

// The nine answers of a bank read, in the order in which they came.
using ColorBankAnswers = std::array<Report, slicesPerTransfer>;

// The bank as the keyboard gives it back: packed, from the second byte of the first answer on.
// Nothing else in the answers is looked at.
[[nodiscard]] ColorBank colorBankFromAnswers(const ColorBankAnswers& answers);

// Makes the keyboard show the colors of its bank, opening it when needed; brightness is 0 to 5.
// False leaves the reason in the device's last error. Locks the device itself.
[[nodiscard]] bool enableCustomColors(int brightness);

// Writes the bank to the keyboard, opening it when needed; takes more than a second. False leaves
// the reason in the device's last error; a FINISH that fails on the way out replaces it. Locks the
// device itself for the whole sequence.
[[nodiscard]] bool writeColorBank(const ColorBank& bank);

// Reads the bank back from the keyboard, opening it when needed; takes nearly a second. Nothing is
// returned when a report fails; the reason is then in the device's last error. Locks the device
// itself for the whole sequence.
[[nodiscard]] std::optional<ColorBank> readColorBank();

} // namespace tavik
