// SPDX-License-Identifier: MIT
#pragma once

#include "device/command_report.h"

#include <QString>

#include <span>

namespace tavik {

// Says in words what is sent, report by report in their order.
class ReportWords
{
public:
    // What a report of 64 bytes, or a block of the screen, tells the keyboard.
    [[nodiscard]] QString next(std::span<const std::uint8_t> bytes);

private:
    [[nodiscard]] QString commandWords(const Report& report);
    [[nodiscard]] QString dataWords(const Report& report) const;

    CommandCode code{};
    int announced = 0; // reports or blocks that belong to the command
    int arrived = 0;
};

// The bytes as two digits each, without the zeros at their end.
[[nodiscard]] QString bytesText(std::span<const std::uint8_t> bytes);

} // namespace tavik
