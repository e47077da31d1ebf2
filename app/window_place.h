// SPDX-License-Identifier: MIT
#pragma once

class QRect;
class QWidget;

namespace tavik {

// Shows a window for the first time on what the screen leaves to windows: in the size it has where
// that fits, else as large as its minimum and the screen allow. Where it does not fit, its top left
// corner is the screen's, so that the title bar stays in reach.
void showOnScreen(QWidget& window, const QRect& available);

} // namespace tavik
