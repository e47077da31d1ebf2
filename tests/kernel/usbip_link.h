// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/usb_keyboard.h"

#include <chrono>
#include <map>

namespace tavik::tests {

struct UsbipHeader;

// The cable: hangs the keyboard on the kernel's virtual host controller and carries its transfers.
// The controller speaks the USB/IP protocol over a socket; closing that is pulling the plug.
//
// Needs the module vhci-hcd and root. One thread, nothing in here waits for the keyboard's user.
class UsbipLink
{
public:
    explicit UsbipLink(UsbKeyboard& usbKeyboard) : keyboard(usbKeyboard) {}
    ~UsbipLink();
    UsbipLink(const UsbipLink&) = delete;
    UsbipLink& operator=(const UsbipLink&) = delete;

    // False when the controller does not take the keyboard. Its port is free again a moment after
    // unplug(): try again then.
    [[nodiscard]] bool plug();
    void unplug();
    [[nodiscard]] bool isPlugged() const { return kernelSocket >= 0; }

    // Readable when the kernel wants something; -1 while unplugged.
    [[nodiscard]] int descriptor() const { return kernelSocket; }
    // Serves one request of the kernel.
    void serve();

private:
    using SequenceNumbers = std::deque<std::uint32_t>;

    [[nodiscard]] bool receive(void* bytes, std::size_t count);
    void send(const void* bytes, std::size_t count);
    void submit(const UsbipHeader& request);
    void unlink(const UsbipHeader& request);
    void conclude(const UsbipHeader& request, const UsbResult& result);
    void reply(std::uint32_t sequenceNumber, int status, std::size_t transferred,
               std::span<const std::uint8_t> data);
    void deliverInput();
    [[nodiscard]] std::chrono::milliseconds now() const;

    UsbKeyboard& keyboard;
    int kernelSocket = -1;
    std::map<std::uint8_t, SequenceNumbers> waitingInputs; // by endpoint, oldest first
};

} // namespace tavik::tests
