// SPDX-License-Identifier: MIT
#pragma once

#include "doctor/diagnosis.h"

#include <filesystem>

namespace tavik::doctor {

// Looks at the keyboard without disturbing it: nodes are opened and closed again as the program
// itself does, but nothing is sent to the keyboard and nothing is read from it. Takes a few
// hundredths of a second. Leaves hidapi initialized: the caller may have a keyboard open.
[[nodiscard]] Findings examine();

// Where udev reads its rules. Tests link directories of their own.
[[nodiscard]] std::vector<std::filesystem::path> udevRuleDirectories();

} // namespace tavik::doctor
