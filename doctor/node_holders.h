// SPDX-License-Identifier: MIT
#pragma once

#include "doctor/diagnosis.h"

#include <sys/types.h>

namespace tavik::doctor {

// Other processes that hold the character device with this number open. Only
// those whose open files this user may list: their own, or everybody's for root.
[[nodiscard]] std::vector<Holder> holdersOf(dev_t device);

} // namespace tavik::doctor
