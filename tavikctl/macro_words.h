// SPDX-License-Identifier: MIT
#pragma once

#include "model/macro_record.h"

#include <QList>
#include <QString>

namespace tavik {

// The steps in words like "press h, 40, release h": a number is a wait in milliseconds, "click" and
// "unclick" take the code of a mouse button, "pause" waits for nothing but what stands before it.
// Throws on a wrong word.
[[nodiscard]] QList<MacroAction> macroFromWords(const QString& words);

// The steps in the same words. One that the words do not know is shown by its bytes.
[[nodiscard]] QString wordsOfMacro(const QList<MacroAction>& actions);

} // namespace tavik
