// SPDX-License-Identifier: MIT
#pragma once

#include "doctor/diagnosis.h"

namespace tavik::doctor {

// What the doctor asks the kernel and udev. The virtual keyboard, which has neither, brings
// functions of its own.

// What comes of opening the node at this path, which is closed again; whether the rule has been
// applied to it and, when it opened, which other processes hold it open. Says nothing about keys.
[[nodiscard]] Node examineNode(const std::string& path);

// This process and programs called tavik-center, if they hold a node open that is gone. Of
// programs of other users nothing is known to anybody but root.
[[nodiscard]] std::vector<Holder> holdersOfGoneNodes();

} // namespace tavik::doctor
