// SPDX-License-Identifier: MIT
#pragma once

#include "model/key_action.h"
#include "model/macro_record.h"
#include "tavikctl/names.h"

#include <cstddef>

namespace tavik {

// The keys of the board by their names in the layout file; a key without a name of its own there
// is not among them. What else a key may be called follows behind all of them: what is printed on
// its cap, where no other one has the same.
[[nodiscard]] const QList<Named<std::size_t>>& keyNames();

// The name of the key with this light index; its number for one that is not in the layout.
[[nodiscard]] QString nameOfKeyAt(std::size_t lightIndex);

// The keys named by a word like "w,a,s,d"; all 144 by "all". Throws on a wrong name.
[[nodiscard]] QList<std::size_t> keysFromWord(const QString& word);

// "KEYS=VALUE" taken apart.
struct Assignment
{
    QList<std::size_t> keys;
    QString value;
};

// Assignments to all keys come first, wherever they stand: they are the ground for the others.
// Throws on a wrong word.
[[nodiscard]] QList<Assignment> assignmentsFromWords(const QStringList& words);

// The keys that a key or a macro can send, by name.
[[nodiscard]] const QList<Named<std::uint8_t>>& usageNames();
[[nodiscard]] QString nameOfUsage(std::uint8_t usage);

// What a key can do, but for combinations and macros.
[[nodiscard]] const QList<Named<KeyAction>>& actionNames();

// The action in a word like "disabled", "ctrl+shift+b", "volume-up" or "macro:Greet". Throws on a
// wrong one.
[[nodiscard]] KeyAction actionFromWord(const QString& word, const QList<MacroRecord>& macros);

// The word for an action; its four bytes for one that has no word.
[[nodiscard]] QString wordOfAction(const KeyAction& action, const QList<MacroRecord>& macros);

// The place of the macro with this name, whatever its case; of several, the first that is written
// just so. Throws when there is none.
[[nodiscard]] qsizetype macroIndexOf(const QString& name, const QList<MacroRecord>& macros);

} // namespace tavik
