// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace tavik::tests {

// The names of pictures and fonts in the string literals of a C++ source, in order. Comments do
// not count, and a file filter such as "*.png" names no file. Of a path into the installed skin
// only the part inside the skin is given.
[[nodiscard]] QStringList skinNamesIn(const QString& source);

// The path inside `skinDirectory` that the program would load for `name`: a name without a
// directory may lie in "icons" too. Empty when there is none.
[[nodiscard]] QString skinFileFor(const QString& name, const QString& skinDirectory);

} // namespace tavik::tests
