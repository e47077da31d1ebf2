#include "device/hid_interface.h"

namespace tavik {

namespace {

struct EnumerationDeleter
{
    void operator()(hid_device_info* list) const { hid_free_enumeration(list); }
};

} // namespace

HidInterface openHidInterface(std::uint16_t productId, std::uint16_t usagePage)
{
    const std::unique_ptr<hid_device_info, EnumerationDeleter> list(
        hid_enumerate(keyboardVendorId, productId));
    for (const hid_device_info* entry = list.get(); entry != nullptr; entry = entry->next) {
        if (entry->usage_page != usagePage)
            continue;
        // Only paths just enumerated are safe to open: hidapi crashes on a node that is no hidraw.
        if (HidHandle handle{hid_open_path(entry->path)})
            return {std::move(handle), QString::fromUtf8(entry->path)};
    }
    return {};
}

} // namespace tavik
