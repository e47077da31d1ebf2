// SPDX-License-Identifier: MIT
#pragma once

#include "model/key_action.h"
#include "model/macro_record.h"

#include <QList>
#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>

namespace tavik {

// The name of a HID keyboard usage, or "0x" and two lower-case hexadecimal digits for a usage
// without one.
[[nodiscard]] QString keyName(std::uint8_t code);

// The short caption drawn on a key that carries this action; macros is the list its macro index
// points into. An empty text means that the key shows no caption.
[[nodiscard]] QString keyActionLabel(const KeyAction& action, const QList<MacroRecord>& macros);

// What a key does that carries this action, in the words in which it is offered: "Default key",
// "Shift+Right Alt+B", "Scroll up", "Macro "Greet"". The caption on a cap is shorter and names left
// modifiers only.
[[nodiscard]] QString keyActionWords(const KeyAction& action, const QList<MacroRecord>& macros);

// The keyboard usages a user can choose from, in the order offered: 4 to 115, then the modifier
// keys 224 to 231.
inline constexpr std::size_t offeredKeyUsageCount = 120;
[[nodiscard]] const std::array<std::uint8_t, offeredKeyUsageCount>& offeredKeyUsages();

} // namespace tavik
