// SPDX-License-Identifier: MIT
#include "doctor/examination.h"

namespace tavik::doctor {

std::vector<std::filesystem::path> udevRuleDirectories()
{
    return {"/etc/udev/rules.d", "/run/udev/rules.d", "/usr/local/lib/udev/rules.d",
            "/usr/lib/udev/rules.d", "/lib/udev/rules.d"};
}

} // namespace tavik::doctor
