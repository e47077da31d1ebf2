// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringView>

#include <array>
#include <cstdint>
#include <optional>

namespace tavik {

// One timed step of a macro, in the byte order in which the keyboard stores it.
struct MacroAction
{
    std::uint16_t delay = 0; // milliseconds to wait before this action
    std::uint8_t code = 0;   // keyboard usage, or the button code of a mouse action
    std::uint8_t flags = 0;  // one of macroActionTypes; a state file edited by hand may hold others

    friend bool operator==(const MacroAction&, const MacroAction&) = default;
};
static_assert(sizeof(MacroAction) == 4);

// A named list of actions, played in list order. Its position among the macros is its index on the
// keyboard.
struct MacroRecord
{
    QString name;
    QList<MacroAction> actions;

    friend bool operator==(const MacroRecord&, const MacroRecord&) = default;
};

// A kind of action the editor offers.
struct MacroActionType
{
    std::uint8_t flags;
    QStringView label;
};

inline constexpr std::array macroActionTypes{
    MacroActionType{0xB0, u"Key press"},   MacroActionType{0x30, u"Key release"},
    MacroActionType{0x90, u"Mouse click"}, MacroActionType{0x10, u"Mouse release"},
    MacroActionType{0x50, u"Pause"},
};

// "pause", the code as "mouse 0x04", or a key name. Every type of the editor carries the bit that
// reads as mouse, so a key press is shown by its code too; a key name is seen only for flags that
// came from a state file edited by hand.
[[nodiscard]] QString macroActionText(const MacroAction& action);

// "press" or "release", from the top bit of the flags.
[[nodiscard]] QString macroPressText(const MacroAction& action);

// What the action does, as a user would say it: "press H", "release left button", "pause 40 ms".
[[nodiscard]] QString macroActionWords(const MacroAction& action);

// The keyboard's macro memory.
inline constexpr qsizetype macroSpaceSize = 3072; // bytes
inline constexpr qsizetype macroLimit = 100;

// The bytes that this list takes of it, 400 or more; also more than there are.
[[nodiscard]] qsizetype macroSpaceUsed(const QList<MacroRecord>& macros);

// What to tell the user when encodeMacroSpace returns nothing.
inline constexpr QStringView macroSpaceExceededText = u"Macro space exceeded (3072 bytes).";

// The keyboard's macro memory for this list: a table of 100 offsets, then the macros that have
// actions, 400 to 3072 bytes in all. Macros from the 101st on are left out; an empty one keeps its
// place in the table. Nothing is returned when the rest does not fit.
[[nodiscard]] std::optional<QByteArray> encodeMacroSpace(const QList<MacroRecord>& macros);

} // namespace tavik
