// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace tavik {

// Carries out one command line, without the name of the program, and returns the code to end with.
// isTerminal says whether progress may be drawn on err. The application object exists, with the
// names that the state file goes by.
[[nodiscard]] int runCommand(const std::vector<std::string>& arguments, std::ostream& out,
                             std::ostream& err, bool isTerminal);

} // namespace tavik
