// SPDX-License-Identifier: MIT
#include "device/screen_link.h"

#include "device/command_report.h"
#include "device/keyboard_identity.h"
#include "device/rehearsal.h"

#include <hidapi.h>

#include <algorithm>

namespace tavik {

namespace {

constexpr int acknowledgementTimeoutMs = 1000;

} // namespace

std::optional<ScreenLink> ScreenLink::open()
{
    if (rehearsal())
        return ScreenLink(nullptr, screenUsagePages.front());
    for (const std::uint16_t usagePage : screenUsagePages) {
        for (const std::uint16_t productId : keyboardProductIds) {
            HidInterface found = openHidInterface(productId, usagePage);
            if (found.handle)
                return ScreenLink(std::move(found.handle), usagePage);
        }
    }
    return std::nullopt;
}

bool ScreenLink::write(ScreenBlock block)
{
    if (const ReportViewer& show = rehearsal()) {
        show(block);
        return true;
    }
    std::array<std::uint8_t, 1 + screenBlockSize> buffer{}; // report id 0 in front
    std::ranges::copy(block, buffer.begin() + 1);
    return hid_write(handle.get(), buffer.data(), buffer.size()) == static_cast<int>(buffer.size());
}

// That an answer comes is all the keyboard says; its contents have no known meaning.
bool ScreenLink::awaitAcknowledgement()
{
    if (rehearsal())
        return true;
    Report acknowledgement{};
    return hid_read_timeout(handle.get(), acknowledgement.data(), acknowledgement.size(),
                            acknowledgementTimeoutMs) >= 1;
}

} // namespace tavik
