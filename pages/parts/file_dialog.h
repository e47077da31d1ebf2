// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

class QFileDialog;

namespace tavik {

// Shows the file dialog until the user has chosen; empty when nothing was. Where Qt draws it, it
// gets what the platform's has by itself: an opaque list of matching names, and columns that use
// the width.
[[nodiscard]] QStringList chosenFiles(QFileDialog& dialog);

} // namespace tavik
