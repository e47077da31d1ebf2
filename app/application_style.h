// SPDX-License-Identifier: MIT
#pragma once

class QApplication;
class QString;

namespace tavik {

// Registers the two fonts of the skin (a missing one is skipped), makes Open Sans the font of the
// application and gives it the global style sheet and the icon of its windows.
void applyApplicationStyle(QApplication& application);

// The main window's own sheet, which its dialogs, menus and tool tips inherit. It puts right what
// the global sheet leaves see-through or indistinguishable.
[[nodiscard]] QString windowStyleSheet();

} // namespace tavik
