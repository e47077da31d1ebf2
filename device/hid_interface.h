// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <cstdint>
#include <memory>

struct hid_device_; // of hidapi, whose header stays inside this folder

namespace tavik {

struct HidHandleCloser
{
    void operator()(hid_device_* handle) const;
};

// An open HID interface; closed when it goes out of scope.
using HidHandle = std::unique_ptr<hid_device_, HidHandleCloser>;

struct HidInterface
{
    HidHandle handle; // null when nothing opened
    QString path;     // hidraw path of the opened interface
};

// Opens the first interface of the keyboard with this product id and HID usage page that lets
// itself be opened; an entry that does not open is passed over. The caller owns the handle, which
// is null when none opened. Takes no lock.
[[nodiscard]] HidInterface openHidInterface(std::uint16_t productId, std::uint16_t usagePage);

} // namespace tavik
