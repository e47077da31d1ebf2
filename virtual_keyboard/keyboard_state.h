// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tavik::virtual_keyboard {

inline constexpr std::size_t reportSize = 64;
inline constexpr std::size_t blockSize = 4096;
inline constexpr std::size_t keyCount = 144;

// The effects that the keyboard knows, by code.
inline constexpr std::array effectNames = std::to_array<std::string_view>(
    {"LED Off", "Static",   "SingleOn", "SingleOff", "Glittering", "Falling",  "Colourful",
     "Breath",  "Spectrum", "Outward",  "Scrolling", "Rolling",    "Rotating", "Explode",
     "Launch",  "Ripples",  "Flowing",  "Pulsating", "Tilt",       "Shuttle"});

inline constexpr std::size_t macroSpaceSize = 3072;
inline constexpr std::size_t macroCount = 100;
inline constexpr int screenSlotCount = 3;
inline constexpr std::size_t screenWidth = 128;
inline constexpr std::size_t screenHeight = 128;
inline constexpr std::size_t screenFrameLimit = 30;
inline constexpr std::uint8_t customEffect = 0x80;

using Report = std::array<std::uint8_t, reportSize>;
using KeyActionBytes = std::array<std::uint8_t, 4>;
using KeyLayer = std::array<KeyActionBytes, keyCount>;
using KeyColor = std::array<std::uint8_t, 3>; // red, green, blue
using ColorBank = std::array<KeyColor, keyCount>;

enum class LayerId { Base, Fn };

// One picture of the keyboard's screen: 128 rows of 128 RGB 5-6-5 pixels, top row first, and how
// long it stays (20 to 510 ms).
struct ScreenFrame
{
    std::vector<std::uint16_t> pixels;
    std::chrono::milliseconds time{0};

    bool operator==(const ScreenFrame&) const = default;
};

enum class MacroEventKind { KeyPress, KeyRelease, MousePress, MouseRelease, Pause, Unknown };

// One step of a macro as the keyboard plays it: wait, then act on the key usage or mouse button.
struct MacroEvent
{
    int delayMs = 0; // 0 to 65535
    MacroEventKind kind = MacroEventKind::Unknown;
    std::uint8_t code = 0;

    bool operator==(const MacroEvent&) const = default;
};

// Everything the keyboard keeps when nobody talks to it. A default-constructed value is the
// factory state: all zero, macro space and screen slots empty.
struct KeyboardState
{
    Report lighting{};                    // the lighting mode payload in effect
    std::uint8_t sleepCode = 0;           // 0 never, 1 to 3 rising times
    KeyLayer baseLayer{};                 // by light index
    KeyLayer fnLayer{};                   // by light index
    ColorBank colorBank{};                // by light index
    std::vector<std::uint8_t> macroSpace; // the pieces of the last upload, a multiple of 64 bytes
    std::array<std::vector<ScreenFrame>, screenSlotCount> screenSlots; // slot 1 comes first
    int latestSlot = 0; // 1 to 3, the last one written; 0 for none

    bool operator==(const KeyboardState&) const = default;
};

// What macro `index` (0 to 99) does, decoded from the macro space. Empty when the index has no
// macro, or its record leaves the space.
[[nodiscard]] std::vector<MacroEvent> playMacro(std::span<const std::uint8_t> macroSpace,
                                                int index);

// One line for people: "Rolling, random color, brightness 5, speed 3, direction left".
// With a fixed color "#ff0000" stands in place of "random color"; custom mode reads
// "custom colors, brightness 5".
[[nodiscard]] std::string lightingSummary(const Report& lighting);

// Decodes a whole animation stream into `frames`. Returns an empty string, or what is wrong with
// the stream; `frames` is then unchanged.
[[nodiscard]] std::string decodeScreenStream(std::span<const std::uint8_t> stream,
                                             std::vector<ScreenFrame>& frames);

} // namespace tavik::virtual_keyboard
