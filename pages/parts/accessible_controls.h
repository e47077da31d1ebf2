// SPDX-License-Identifier: MIT
#pragma once

namespace tavik {

// From now on, what assistive tools do to a control of Qt has its effect. What they select in the
// list of a combo box is chosen, as by a click: else it would be marked there and nothing else. The
// list is called as its combo box is. A spin box goes up and down by its own step: else it would by
// a tenth of its range.
void letToolsUseControls();

} // namespace tavik
