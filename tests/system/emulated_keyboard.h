// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/keyboard_model.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tavik::tests {

struct EmulatedInterface
{
    std::vector<std::uint8_t> reportDescriptor;
    bool markedByRule = false; // as if udev had applied the rule
};

// What is plugged in: interface n becomes /dev/hidraw<n>.
struct EmulatedDevice
{
    std::uint16_t productId = 0x8009;
    std::vector<EmulatedInterface> interfaces;
};

// Typing, configuration (/dev/hidraw1) and screen (/dev/hidraw2) interface.
[[nodiscard]] EmulatedDevice wholeKeyboard(std::uint16_t productId = 0x8009,
                                           std::uint16_t screenUsagePage = 0xFF68);

// A keyboard that the real hidapi finds, opens and talks to: device nodes and sysfs come from
// umockdev, answers from the keyboard model. It is seen by processes that run under umockdev's
// preload library, and was created before they started. Thread-safe.
class EmulatedKeyboard
{
public:
    // Without interfaces the computer has no hidraw device at all.
    explicit EmulatedKeyboard(const EmulatedDevice& device = wholeKeyboard());
    ~EmulatedKeyboard();
    EmulatedKeyboard(const EmulatedKeyboard&) = delete;
    EmulatedKeyboard& operator=(const EmulatedKeyboard&) = delete;

    // Whether other users, or this one unless it is root, may open the node.
    void setPermitted(std::size_t interface, bool permitted);

    // Open handles are stale from now on, and nothing is listed any more.
    void unplug();

    // The keyboard refuses the next feature report, or the next request for an answer.
    void stallNextSend();
    void stallNextAnswer();
    // The next screen block gets no acknowledgement.
    void loseNextAcknowledgement();

    // Calls the function while no report is handled.
    void withModel(const std::function<void(virtual_keyboard::KeyboardModel&)>& use);

    // What was not as it must be so far, a line each.
    [[nodiscard]] std::string violations();

    // Feature reports, answers, blocks and acknowledgements so far, of all interfaces.
    [[nodiscard]] int transfers();

    // False when nobody opened the interface in this time.
    [[nodiscard]] bool waitUntilOpened(std::size_t interface, std::chrono::milliseconds timeout);

private:
    class Node;
    struct Shared;

    std::unique_ptr<Shared> shared;
    std::vector<std::unique_ptr<Node>> nodes;
};

} // namespace tavik::tests
