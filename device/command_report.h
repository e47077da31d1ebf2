// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <array>
#include <cstdint>

namespace tavik {

inline constexpr std::size_t reportSize = 64;
inline constexpr std::size_t slicesPerTransfer = 9;
inline constexpr std::size_t transferSize = slicesPerTransfer * reportSize;
static_assert(transferSize == 576);

// One report of the configuration interface, without the report id.
using Report = std::array<std::uint8_t, reportSize>;

// What a nine-report transfer carries.
using TransferImage = std::array<std::uint8_t, transferSize>;

// Many payloads end in this pair, each at a place of its own.
inline constexpr std::uint8_t markerFirst = 0xAA;
inline constexpr std::uint8_t markerSecond = 0x55;

enum class CommandCode : std::uint8_t {
    Commit = 0x02,
    WriteBaseLayer = 0x11,
    LightingMode = 0x13,
    MacroData = 0x15,
    LightingSleep = 0x17,
    OpenSession = 0x18,
    MacroSession = 0x19,
    WriteColorBank = 0x23,
    WriteFnLayer = 0x27,
    ScreenUpload = 0x72,
    Finish = 0xF0,
    ReadColorBank = 0xF5,
};

// Builds a command report: argument goes to byte 2; count goes to bytes 8 and 9, low byte first
// (session open and FINISH carry their session flag there, other commands the number of data
// reports or blocks that follow). All other bytes are zero.
[[nodiscard]] Report commandReport(CommandCode code, std::uint8_t argument = 0,
                                   std::uint16_t count = 0);

// What a command is called in words, as in "base layer" or "screen, slot 2".
[[nodiscard]] QString commandTitle(const Report& command);

// How many data reports or blocks really follow a command. Of the macros one more is announced than
// is sent, and the first piece of the color bank is the answer to the command itself.
[[nodiscard]] int followersOf(const Report& command);

// True when the answer echoes the command and carries status 01. Nothing else in it is looked at.
[[nodiscard]] bool isAccepted(const Report& answer, CommandCode code);

// True for 64 zero bytes: the keyboard has no answer ready.
[[nodiscard]] bool isEmptyAnswer(const Report& answer);

// True when the status byte asks to come back later.
[[nodiscard]] bool isBusyAnswer(const Report& answer);

// The answer of a keyboard that accepts the command.
[[nodiscard]] Report acceptedAnswer(const Report& request);

// The status byte of an answer as it is shown to the user: two lower-case hexadecimal digits.
[[nodiscard]] QString statusText(const Report& answer);

// A byte as two lower-case hexadecimal digits, zero-filled.
[[nodiscard]] QString hexByte(std::uint8_t value);

} // namespace tavik
