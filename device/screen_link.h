// SPDX-License-Identifier: MIT
#pragma once

#include "device/hid_interface.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tavik {

// The blocks in which the keyboard's screen takes its pictures.
inline constexpr std::size_t screenBlockSize = 4096;
using ScreenBlock = std::span<const std::uint8_t, screenBlockSize>;

// Pictures as they travel: always a whole number of blocks.
using ScreenStream = std::vector<std::uint8_t>;

// The keyboard's second interface, over which pictures travel; closed with the object. The commands
// round them go over the configuration interface. Takes no lock.
class ScreenLink
{
public:
    // Nothing when the keyboard offers no such interface or none opens.
    [[nodiscard]] static std::optional<ScreenLink> open();

    // The page under which the interface was found.
    [[nodiscard]] std::uint16_t usagePage() const { return page; }

    // Sends one block. False when not all of it was taken.
    [[nodiscard]] bool write(ScreenBlock block);

    // Waits up to a second for the keyboard to acknowledge a block. False when it does not.
    [[nodiscard]] bool awaitAcknowledgement();

private:
    ScreenLink(HidHandle opened, std::uint16_t foundPage)
        : handle(std::move(opened)), page(foundPage)
    {
    }

    HidHandle handle;
    std::uint16_t page;
};

} // namespace tavik
