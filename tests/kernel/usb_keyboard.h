// SPDX-License-Identifier: MIT
#pragma once

#include "tests/kernel/usb_descriptors.h"
#include "virtual_keyboard/keyboard_model.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace tavik::tests {

// The eight bytes in front of a control transfer.
struct UsbSetup
{
    std::uint8_t requestType = 0;
    std::uint8_t request = 0;
    std::uint16_t value = 0;
    std::uint16_t index = 0;
    std::uint16_t length = 0;
};

// How one transfer ended.
struct UsbResult
{
    enum class Outcome {
        Done,
        Stalled,
        Unplugged,         // the cable was pulled; the host gets no answer at all
        DoneThenUnplugged, // the cable was pulled just after the answer
    };

    Outcome outcome = Outcome::Done;
    std::vector<std::uint8_t> data; // what the host receives, never more than it asked for
};

// What can go wrong with one transfer.
enum class UsbFault {
    StallSend,   // a feature report is refused and does not reach the keyboard
    StallRead,   // its answer is refused
    UnplugSend,  // the cable is pulled when a feature report arrives
    UnplugBlock, // the cable is pulled when a screen block arrives
    UnplugAck,   // the block arrives, then the cable is pulled
    LoseAck,     // the block arrives, its acknowledgement never comes back
};

// The keyboard with its USB side: control requests and interrupt transfers in, answers out. It
// knows no bus and no clock; times count from any fixed moment and never run back.
//
// Like the keyboard model it is lenient in nothing: a request for which the keyboard has no use,
// or one with a wrong value, index or length, is stalled and written into violations().
class UsbKeyboard
{
public:
    using Milliseconds = virtual_keyboard::KeyboardModel::Milliseconds;

    [[nodiscard]] UsbResult control(const UsbSetup& setup, std::span<const std::uint8_t> data,
                                    Milliseconds now);
    [[nodiscard]] UsbResult interruptOut(std::uint8_t endpoint, std::span<const std::uint8_t> data);
    // The next input report of an IN endpoint; nothing while there is none.
    [[nodiscard]] std::optional<std::vector<std::uint8_t>> takeInput(std::uint8_t endpoint);

    // The nth transfer of the fault's kind from now on (1 is the next one) goes wrong. One fault is
    // planned at a time.
    void planFault(UsbFault fault, int nth);
    // Transfers under way are over; what the keyboard holds stays.
    void disconnect();
    // Factory state, no fault, no violations.
    void reset();

    [[nodiscard]] const UsbIdentity& identity() const { return usbIdentity; }
    // Takes effect when it is plugged in next.
    void setIdentity(const UsbIdentity& identity) { usbIdentity = identity; }

    [[nodiscard]] const virtual_keyboard::KeyboardState& state() const { return model.state(); }
    // What was wrong on the wire, then what was wrong for the keyboard, one sentence each.
    [[nodiscard]] std::vector<std::string> violations() const;

private:
    struct PlannedFault
    {
        UsbFault fault = UsbFault::StallSend;
        int countdown = 0;
    };

    [[nodiscard]] UsbResult descriptor(const UsbSetup& setup);
    [[nodiscard]] UsbResult refuse(const UsbSetup& setup);
    [[nodiscard]] UsbResult setReport(const UsbSetup& setup, std::span<const std::uint8_t> data,
                                      Milliseconds now);
    [[nodiscard]] UsbResult setFeature(std::span<const std::uint8_t> data, Milliseconds now);
    [[nodiscard]] UsbResult getFeature(Milliseconds now);
    // True when this transfer is the one that is to go wrong in this way.
    [[nodiscard]] bool strikes(UsbFault fault);

    UsbIdentity usbIdentity;
    virtual_keyboard::KeyboardModel model;
    std::deque<std::vector<std::uint8_t>> acknowledgements;
    std::optional<PlannedFault> planned;
    std::vector<std::string> misuse;
};

} // namespace tavik::tests
