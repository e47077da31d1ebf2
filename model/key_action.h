// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>

#include <array>
#include <cstddef>
#include <cstdint>

namespace tavik {

// What one key does on one layer, in the byte order in which the keyboard stores it. All zero is
// the key's factory function; p3 has no known use and is passed through as it stands.
struct KeyAction
{
    std::uint8_t page = 0; // a KeyActionPage, or a kind that only the keyboard knows
    std::uint8_t p1 = 0;
    std::uint8_t p2 = 0;
    std::uint8_t p3 = 0;

    friend bool operator==(const KeyAction&, const KeyAction&) = default;
};
static_assert(sizeof(KeyAction) == 4);

// The kinds of action. A stored page may hold any other byte as well.
enum class KeyActionPage : std::uint8_t {
    Default = 0,
    Mouse = 1,    // p1 = 1: buttons, p2 = mask; p1 = 3: wheel, p2 = signed step
    Keyboard = 2, // p1 = modifier mask, p2 = keyboard usage, 0 for a lone modifier
    Consumer = 3, // p1 = low byte of the consumer usage
    Special = 5,  // "Disabled" in the dialog, all parameters zero
    Macro = 6,    // p1 = index in the macro list
    Extended = 7, // never made here, only named
};

// Number of keys of a layer; the index of a key is its light index, 0 to 143. Access goes through
// at(): an index outside is a programming error and aborts.
inline constexpr std::size_t layerSize = 144;
using KeyLayer = std::array<KeyAction, layerSize>;

// One bit of a keyboard action's p1 and the name under which it is offered. Bit n belongs to the
// modifier key of usage 0xE0 + n.
struct KeyModifier
{
    std::uint8_t mask;
    QStringView text;
};

inline constexpr std::array keyModifiers{
    KeyModifier{0x01, u"Ctrl"},       KeyModifier{0x02, u"Shift"},
    KeyModifier{0x04, u"Alt"},        KeyModifier{0x08, u"Win"},
    KeyModifier{0x10, u"Right Ctrl"}, KeyModifier{0x20, u"Right Shift"},
    KeyModifier{0x40, u"Right Alt"},  KeyModifier{0x80, u"Right Win"},
};

// A mouse action offered to the user; value is p1 * 256 + p2.
struct MouseChoice
{
    std::uint16_t value;
    QStringView text;
};

inline constexpr std::array mouseChoices{
    MouseChoice{0x0101, u"Left click"},     MouseChoice{0x0102, u"Right click"},
    MouseChoice{0x0104, u"Middle click"},   MouseChoice{0x0301, u"Scroll up"},
    MouseChoice{0x03FF, u"Scroll down"},    MouseChoice{0x0108, u"Mouse button 4"},
    MouseChoice{0x0110, u"Mouse button 5"},
};

// A multimedia key offered to the user, by the low byte of its consumer usage. The captions on the
// drawn keys are a list of their own: they cover more usages and are capitalized differently.
struct MediaChoice
{
    std::uint8_t usage;
    QStringView text;
};

inline constexpr std::array mediaChoices{
    MediaChoice{0xB5, u"Next track"},  MediaChoice{0xB6, u"Previous track"},
    MediaChoice{0xB7, u"Stop"},        MediaChoice{0xCD, u"Play / Pause"},
    MediaChoice{0xE2, u"Mute"},        MediaChoice{0xE9, u"Volume up"},
    MediaChoice{0xEA, u"Volume down"}, MediaChoice{0x92, u"Calculator"},
    MediaChoice{0x9C, u"Mail"},        MediaChoice{0x83, u"Sleep"},
};

// The action of a mouse choice's value: the high byte becomes p1, the low byte p2.
[[nodiscard]] KeyAction mouseKeyAction(std::uint16_t value);

// The action of a keyboard usage with one modifier bit (0 for none). A usage from 0xE0 is itself a
// modifier: it is stored as its own bit, alone, and the modifier passed in is dropped.
[[nodiscard]] KeyAction keyboardKeyAction(std::uint8_t usage, std::uint8_t modifier);

// The action of a multimedia key, by the low byte of its consumer usage.
[[nodiscard]] KeyAction consumerKeyAction(std::uint8_t usage);

// The action that makes a key do nothing.
[[nodiscard]] KeyAction disabledKeyAction();

// The action that plays the macro at this position of the macro list. The keyboard keeps eight
// bits of it.
[[nodiscard]] KeyAction macroKeyAction(int macroIndex);

} // namespace tavik
