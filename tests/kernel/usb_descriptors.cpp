// SPDX-License-Identifier: MIT
#include "tests/kernel/usb_descriptors.h"

#include <array>
#include <string_view>

namespace tavik::tests {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t vendorId = 0x0C45;

constexpr std::uint8_t deviceType = 1;
constexpr std::uint8_t configurationType = 2;
constexpr std::uint8_t stringType = 3;
constexpr std::uint8_t interfaceType = 4;
constexpr std::uint8_t endpointType = 5;
constexpr std::uint8_t hidType = 0x21;
constexpr std::uint8_t hidReportType = 0x22;

constexpr std::uint8_t hidClass = 3;
constexpr std::uint8_t interruptTransfer = 3;
constexpr std::uint8_t inDirection = 0x80;

constexpr std::uint16_t typingReportSize = 8;
constexpr std::uint16_t mostAtFullSpeed = 64; // bytes of one packet

constexpr std::array<std::string_view, 2> strings{"ZEROLT", "TAVIK Pro"};

constexpr std::uint8_t low(std::size_t value)
{
    return static_cast<std::uint8_t>(value & 0xFF);
}

constexpr std::uint8_t high(std::size_t value)
{
    return static_cast<std::uint8_t>(value >> 8 & 0xFF);
}

void append(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

// Modifiers, lamps and six keys, as a BIOS expects them.
Bytes typingReportDescriptor()
{
    return {
        0x05, 0x01, 0x09, 0x06, 0xA1, 0x01,                         // generic desktop, keyboard
        0x05, 0x07, 0x15, 0x00, 0x25, 0x01, 0x19, 0xE0, 0x29, 0xE7, // modifier keys,
        0x75, 0x01, 0x95, 0x08, 0x81, 0x02,                         // a bit each
        0x75, 0x08, 0x95, 0x01, 0x81, 0x01,                         // a byte without meaning
        0x05, 0x08, 0x19, 0x01, 0x29, 0x03,                         // three lamps,
        0x75, 0x01, 0x95, 0x03, 0x91, 0x02,                         // a bit each
        0x75, 0x05, 0x95, 0x01, 0x91, 0x01,                         // and the rest of their byte
        0x05, 0x07, 0x15, 0x00, 0x25, 0x65, 0x19, 0x00, 0x29, 0x65, // key usages,
        0x75, 0x08, 0x95, 0x06, 0x81, 0x00,                         // six at a time
        0xC0,
    };
}

Bytes configurationReportDescriptor()
{
    return {
        0x06, 0x13, 0xFF, 0x09, 0x01, 0xA1, 0x01, // the maker's own page FF13
        0x15, 0x00, 0x26, 0xFF, 0x00, 0x75, 0x08, // bytes,
        0x09, 0x02, 0x95, 0x40, 0xB1, 0x02,       // 64 of them as a feature
        0xC0,
    };
}

Bytes screenReportDescriptor(std::uint16_t usagePage)
{
    return {
        0x06, low(usagePage), high(usagePage),
        0x09, 0x01,           0xA1,
        0x01, // FF68 or FF67
        0x15, 0x00,           0x26,
        0xFF, 0x00,           0x75,
        0x08, // bytes,
        0x09, 0x02,           0x95,
        0x40, 0x81,           0x02, // 64 of them in,
        0x09, 0x03,           0x96,
        0x00, 0x10,           0x91,
        0x02, // 4096 of them out
        0xC0,
    };
}

Bytes endpointDescriptor(std::uint8_t address, std::uint16_t packetSize)
{
    constexpr std::uint8_t everyMillisecond = 1;
    return {7,
            endpointType,
            address,
            interruptTransfer,
            low(packetSize),
            high(packetSize),
            everyMillisecond};
}

// The interface, its HID descriptor and its endpoints. Every one of them has an IN endpoint, even
// the one that only knows features: without it the kernel does not take an interface for HID.
Bytes interfaceDescriptors(const UsbIdentity& identity, UsbInterface interface)
{
    const auto number = static_cast<std::uint8_t>(interface);
    const bool isTyping = interface == UsbInterface::Typing;
    const bool isScreen = interface == UsbInterface::Screen;
    const std::uint8_t endpointCount = isScreen ? 2 : 1;
    const std::uint8_t bootKeyboard = isTyping ? 1 : 0; // subclass "boot", protocol "keyboard"
    const std::size_t reportSize = reportDescriptor(identity, interface).size();

    Bytes bytes{9,        interfaceType, number,       0, endpointCount,
                hidClass, bootKeyboard,  bootKeyboard, 0};
    append(bytes, {9, hidType, 0x11, 0x01, 0, 1, hidReportType, low(reportSize), high(reportSize)});
    const auto inAddress = static_cast<std::uint8_t>(inDirection | (number + typingInEndpoint));
    append(bytes, endpointDescriptor(inAddress, isTyping ? typingReportSize : mostAtFullSpeed));
    if (isScreen)
        append(bytes, endpointDescriptor(screenOutEndpoint, mostAtFullSpeed));
    return bytes;
}

} // namespace

Bytes deviceDescriptor(const UsbIdentity& identity)
{
    constexpr std::uint16_t usbVersion = 0x0200;
    constexpr std::uint16_t release = 0x0100;
    return {18,
            deviceType,
            low(usbVersion),
            high(usbVersion),
            0,
            0,
            0,
            mostAtFullSpeed,
            low(vendorId),
            high(vendorId),
            low(identity.productId),
            high(identity.productId),
            low(release),
            high(release),
            1, // maker
            2, // product
            0, // no serial number
            1};
}

Bytes configurationDescriptor(const UsbIdentity& identity)
{
    Bytes interfaces;
    for (std::uint8_t number = 0; number < usbInterfaceCount; ++number)
        append(interfaces, interfaceDescriptors(identity, static_cast<UsbInterface>(number)));

    constexpr std::size_t headerSize = 9;
    constexpr std::uint8_t poweredByBus = 0x80;
    constexpr std::uint8_t milliampsByTwo = 250;
    const std::size_t totalSize = headerSize + interfaces.size();
    Bytes bytes{
        headerSize, configurationType, low(totalSize), high(totalSize), usbInterfaceCount, 1,
        0,          poweredByBus,      milliampsByTwo};
    append(bytes, interfaces);
    return bytes;
}

Bytes reportDescriptor(const UsbIdentity& identity, UsbInterface interface)
{
    switch (interface) {
    case UsbInterface::Typing:
        return typingReportDescriptor();
    case UsbInterface::Configuration:
        return configurationReportDescriptor();
    case UsbInterface::Screen:
        break;
    }
    return screenReportDescriptor(identity.screenUsagePage);
}

std::optional<Bytes> stringDescriptor(std::uint8_t index)
{
    if (index == 0)
        return Bytes{4, stringType, 0x09, 0x04}; // US English
    if (index > strings.size())
        return std::nullopt;
    const std::string_view text = strings[index - 1U];
    Bytes bytes{low(2 + 2 * text.size()), stringType};
    for (const char letter : text)
        append(bytes, {static_cast<std::uint8_t>(letter), 0});
    return bytes;
}

} // namespace tavik::tests
