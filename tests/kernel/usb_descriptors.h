// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tavik::tests {

// The three HID interfaces of the keyboard, by their USB interface number.
enum class UsbInterface : std::uint8_t { Typing = 0, Configuration = 1, Screen = 2 };
inline constexpr std::uint8_t usbInterfaceCount = 3;

// Endpoint numbers; the first three are interrupt IN and follow the interface numbers.
inline constexpr std::uint8_t typingInEndpoint = 1;
inline constexpr std::uint8_t configurationInEndpoint = 2;
inline constexpr std::uint8_t screenInEndpoint = 3;
inline constexpr std::uint8_t screenOutEndpoint = 4;

// What differs between keyboards of this model.
struct UsbIdentity
{
    std::uint16_t productId = 0x8009;
    std::uint16_t screenUsagePage = 0xFF68;

    bool operator==(const UsbIdentity&) const = default;
};

// Each returns the whole descriptor, as a keyboard of this identity gives it.
[[nodiscard]] std::vector<std::uint8_t> deviceDescriptor(const UsbIdentity& identity);
[[nodiscard]] std::vector<std::uint8_t> configurationDescriptor(const UsbIdentity& identity);
[[nodiscard]] std::vector<std::uint8_t> reportDescriptor(const UsbIdentity& identity,
                                                         UsbInterface interface);
// Nothing for an index the keyboard does not have (0 names the language).
[[nodiscard]] std::optional<std::vector<std::uint8_t>> stringDescriptor(std::uint8_t index);

} // namespace tavik::tests
