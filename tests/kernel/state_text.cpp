// SPDX-License-Identifier: MIT
#include "tests/kernel/state_text.h"

#include <span>

namespace tavik::tests {

namespace {

constexpr char digits[] = "0123456789abcdef";

void appendHex(std::string& text, std::uint8_t byte)
{
    text += digits[byte >> 4];
    text += digits[byte & 0x0F];
}

void appendBytes(std::string& text, const char* name, std::span<const std::uint8_t> bytes)
{
    text.append(name).append(": ");
    for (const std::uint8_t byte : bytes)
        appendHex(text, byte);
    text += '\n';
}

// A table with some bytes for each key.
template <typename Table>
void appendTable(std::string& text, const char* name, const Table& table)
{
    text.append(name).append(": ");
    for (const auto& record : table) {
        for (const std::uint8_t byte : record)
            appendHex(text, byte);
    }
    text += '\n';
}

void appendFrame(std::string& text, int slot, const virtual_keyboard::ScreenFrame& frame)
{
    text += "slot " + std::to_string(slot) + ", " + std::to_string(frame.time.count()) + " ms: ";
    for (const std::uint16_t pixel : frame.pixels) {
        appendHex(text, static_cast<std::uint8_t>(pixel >> 8));
        appendHex(text, static_cast<std::uint8_t>(pixel & 0xFF));
    }
    text += '\n';
}

} // namespace

std::string stateText(const virtual_keyboard::KeyboardState& state)
{
    std::string text;
    appendBytes(text, "lighting", state.lighting);
    text += "sleep: " + std::to_string(state.sleepCode) + '\n';
    appendTable(text, "base layer", state.baseLayer);
    appendTable(text, "Fn layer", state.fnLayer);
    appendTable(text, "color bank", state.colorBank);
    appendBytes(text, "macro space", state.macroSpace);
    for (int slot = 1; slot <= virtual_keyboard::screenSlotCount; ++slot) {
        for (const auto& frame : state.screenSlots.at(static_cast<std::size_t>(slot - 1)))
            appendFrame(text, slot, frame);
    }
    return text;
}

} // namespace tavik::tests
