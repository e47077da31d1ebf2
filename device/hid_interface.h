#pragma once

#include <QString>
#include <hidapi.h>

#include <array>
#include <cstdint>
#include <memory>

namespace tavik {

inline constexpr std::uint16_t keyboardVendorId = 0x0C45;
// In the order in which they are tried.
inline constexpr std::array<std::uint16_t, 2> keyboardProductIds{0x8009, 0x800A};

struct HidHandleCloser
{
    void operator()(hid_device* handle) const { hid_close(handle); }
};

// An open HID interface; closed when it goes out of scope.
using HidHandle = std::unique_ptr<hid_device, HidHandleCloser>;

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
