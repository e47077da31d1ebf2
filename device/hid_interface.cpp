// SPDX-License-Identifier: MIT
#include "device/hid_interface.h"

#include "device/keyboard_identity.h"

#include <QScopeGuard>
#include <hidapi.h>

namespace tavik {

void HidHandleCloser::operator()(hid_device_* handle) const
{
    hid_close(handle);
}

HidInterface openHidInterface(std::uint16_t productId, std::uint16_t usagePage)
{
    hid_device_info* const list = hid_enumerate(keyboardVendorId, productId);
    const auto freeing = qScopeGuard([list] { hid_free_enumeration(list); });
    for (const hid_device_info* entry = list; entry != nullptr; entry = entry->next) {
        if (entry->usage_page != usagePage)
            continue;
        // Only paths just enumerated are safe to open: hidapi crashes on a node that is no hidraw.
        if (HidHandle handle{hid_open_path(entry->path)})
            return {std::move(handle), QString::fromUtf8(entry->path)};
    }
    return {};
}

} // namespace tavik
