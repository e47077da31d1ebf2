// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessible>

namespace tavik::tests {

// From now on the program behaves as if a screen reader was running, and the function gets what one
// is told. Needs the application.
void hearAsAScreenReader(QAccessible::UpdateHandler hear);

} // namespace tavik::tests
