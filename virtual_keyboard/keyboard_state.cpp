// SPDX-License-Identifier: MIT
#include "virtual_keyboard/keyboard_state.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace tavik::virtual_keyboard {

namespace {

constexpr std::size_t macroTableSize = macroCount * 4;
constexpr std::size_t screenHeaderSize = 256;
constexpr std::size_t framePixels = screenWidth * screenHeight;
constexpr std::size_t frameSize = framePixels * 2;
constexpr std::uint8_t filler = 0xFF;
constexpr std::uint8_t shortestFrameTime = 10; // in units of 2 ms

constexpr std::array<std::string_view, 4> directionNames = {"right", "down", "up", "left"};

std::size_t wordAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return bytes[offset] + 256U * bytes[offset + 1];
}

MacroEventKind macroEventKind(std::uint8_t flags)
{
    switch (flags) {
    case 0xB0:
        return MacroEventKind::KeyPress;
    case 0x30:
        return MacroEventKind::KeyRelease;
    case 0x90:
        return MacroEventKind::MousePress;
    case 0x10:
        return MacroEventKind::MouseRelease;
    case 0x50:
        return MacroEventKind::Pause;
    default:
        return MacroEventKind::Unknown;
    }
}

std::string colorName(const Report& lighting)
{
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "#%02x%02x%02x", lighting[1], lighting[2], lighting[3]);
    return text.data();
}

bool allFiller(std::span<const std::uint8_t> bytes)
{
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == filler; });
}

std::string screenHeaderFault(std::span<const std::uint8_t> header, std::size_t frameCount)
{
    const auto times = header.subspan(1, frameCount);
    if (std::ranges::any_of(times, [](std::uint8_t time) { return time < shortestFrameTime; }))
        return "screen stream has a frame time below 20 ms";
    if (header[1 + frameCount] != 0)
        return "screen stream does not end its list of times with 00";
    if (!allFiller(header.subspan(2 + frameCount)))
        return "screen stream does not fill its header with ff";
    return {};
}

ScreenFrame frameAt(std::span<const std::uint8_t> stream, std::size_t index)
{
    ScreenFrame frame;
    frame.time = std::chrono::milliseconds(2 * stream[1 + index]);
    frame.pixels.reserve(framePixels);
    const std::size_t start = screenHeaderSize + index * frameSize;
    for (std::size_t offset = start; offset < start + frameSize; offset += 2)
        frame.pixels.push_back(static_cast<std::uint16_t>(wordAt(stream, offset)));
    return frame;
}

} // namespace

std::vector<MacroEvent> playMacro(std::span<const std::uint8_t> macroSpace, int index)
{
    if (index < 0 || index >= static_cast<int>(macroCount) || macroSpace.size() < macroTableSize)
        return {};
    const std::size_t start = wordAt(macroSpace, static_cast<std::size_t>(index) * 4);
    if (start < macroTableSize || start + 4 > macroSpace.size())
        return {};
    // The header word counts half actions of two bytes each.
    const std::size_t actionCount = wordAt(macroSpace, start) / 2;
    if (start + 4 + actionCount * 4 > macroSpace.size())
        return {};

    std::vector<MacroEvent> events;
    for (std::size_t action = 0; action < actionCount; ++action) {
        const std::size_t offset = start + 4 + action * 4;
        events.push_back({.delayMs = static_cast<int>(wordAt(macroSpace, offset)),
                          .kind = macroEventKind(macroSpace[offset + 3]),
                          .code = macroSpace[offset + 2]});
    }
    return events;
}

std::string lightingSummary(const Report& lighting)
{
    const std::string brightness = ", brightness " + std::to_string(lighting[9]);
    if (lighting[0] == customEffect)
        return "custom colors" + brightness;
    const std::string effect = lighting[0] < effectNames.size()
                                   ? std::string(effectNames[lighting[0]])
                                   : "effect " + std::to_string(lighting[0]);
    const std::string direction = lighting[11] < directionNames.size()
                                      ? std::string(directionNames[lighting[11]])
                                      : std::to_string(lighting[11]);
    return effect + ", " + (lighting[8] != 0 ? "random color" : colorName(lighting)) + brightness +
           ", speed " + std::to_string(lighting[10]) + ", direction " + direction;
}

std::string decodeScreenStream(std::span<const std::uint8_t> stream,
                               std::vector<ScreenFrame>& frames)
{
    if (stream.size() < screenHeaderSize)
        return "screen stream is shorter than its header";
    const std::size_t frameCount = stream[0];
    if (frameCount == 0 || frameCount > screenFrameLimit)
        return "screen stream has " + std::to_string(frameCount) + " frames, expected 1 to 30";
    const std::size_t used = screenHeaderSize + frameCount * frameSize;
    const std::size_t blocks = (used + blockSize - 1) / blockSize;
    if (stream.size() != blocks * blockSize) {
        return "screen stream of " + std::to_string(frameCount) + " frames has " +
               std::to_string(stream.size()) + " bytes, expected " +
               std::to_string(blocks * blockSize);
    }
    if (std::string fault = screenHeaderFault(stream.first(screenHeaderSize), frameCount);
        !fault.empty())
        return fault;
    if (!allFiller(stream.subspan(used)))
        return "screen stream does not fill its last block with ff";

    frames.clear();
    for (std::size_t index = 0; index < frameCount; ++index)
        frames.push_back(frameAt(stream, index));
    return {};
}

} // namespace tavik::virtual_keyboard
