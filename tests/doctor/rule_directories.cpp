// SPDX-License-Identifier: MIT
#include "doctor/examination.h"

#include <cstdlib>

namespace tavik::doctor {

// In place of udev's own directories, on which a test has no influence.
std::vector<std::filesystem::path> udevRuleDirectories()
{
    const char* directory = std::getenv("TAVIK_TEST_RULES");
    if (directory == nullptr)
        return {};
    const std::filesystem::path last(directory);
    return {last / "missing", last / "empty", last};
}

} // namespace tavik::doctor
