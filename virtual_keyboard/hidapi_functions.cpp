// SPDX-License-Identifier: MIT
#include "virtual_keyboard/virtual_bus.h"

#include <hidapi.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <vector>

// The functions of hidapi that the program uses, on the virtual bus. Link this library in place of
// the real one.

using tavik::virtual_keyboard::BusInterface;
using tavik::virtual_keyboard::VirtualBus;

struct hid_device_
{
    VirtualBus::Handle handle = -1;
    std::wstring error; // what hid_error() returned last
};

namespace {

// Devices are kept for good, so that a handle used after hid_close() is named, not a crash.
std::vector<std::unique_ptr<hid_device_>>& devices()
{
    static auto* const all = new std::vector<std::unique_ptr<hid_device_>>;
    return *all;
}

VirtualBus& bus()
{
    return VirtualBus::instance();
}

VirtualBus::Handle handleOf(const hid_device* device)
{
    return device == nullptr ? -1 : device->handle;
}

// The library's lists are C structures whose strings come from malloc.
hid_device_info* listEntry(const BusInterface& entry, int interfaceNumber)
{
    auto* const info = static_cast<hid_device_info*>(std::calloc(1, sizeof(hid_device_info)));
    if (info == nullptr)
        throw std::bad_alloc();
    info->path = strdup(entry.path.c_str());
    info->vendor_id = tavik::virtual_keyboard::vendorId;
    info->product_id = entry.productId;
    info->serial_number = wcsdup(L"");
    info->manufacturer_string = wcsdup(L"ZEROLT");
    info->product_string = wcsdup(L"TAVIK Pro");
    info->usage_page = entry.usagePage;
    info->usage = 1;
    info->interface_number = interfaceNumber;
    info->bus_type = HID_API_BUS_USB;
    return info;
}

} // namespace

int hid_init()
{
    return bus().init();
}

int hid_exit()
{
    return bus().exit();
}

hid_device_info* hid_enumerate(unsigned short vendorId, unsigned short productId)
{
    hid_device_info* first = nullptr;
    hid_device_info** next = &first;
    int interfaceNumber = 0;
    for (const BusInterface& entry : bus().enumerate(vendorId, productId)) {
        *next = listEntry(entry, interfaceNumber++);
        next = &(*next)->next;
    }
    return first;
}

void hid_free_enumeration(hid_device_info* list)
{
    if (list != nullptr)
        bus().enumerationFreed();
    while (list != nullptr) {
        hid_device_info* const next = list->next;
        std::free(list->path);
        std::free(list->serial_number);
        std::free(list->manufacturer_string);
        std::free(list->product_string);
        std::free(list);
        list = next;
    }
}

hid_device* hid_open_path(const char* path)
{
    const VirtualBus::Handle handle = bus().open(path);
    if (handle < 0)
        return nullptr;
    devices().push_back(std::make_unique<hid_device_>());
    devices().back()->handle = handle;
    return devices().back().get();
}

void hid_close(hid_device* device)
{
    if (device != nullptr)
        bus().close(device->handle);
}

int hid_send_feature_report(hid_device* device, const unsigned char* data, size_t length)
{
    return bus().sendFeature(handleOf(device), {data, length});
}

int hid_get_feature_report(hid_device* device, unsigned char* data, size_t length)
{
    return bus().getFeature(handleOf(device), {data, length});
}

int hid_write(hid_device* device, const unsigned char* data, size_t length)
{
    return bus().write(handleOf(device), {data, length});
}

int hid_read_timeout(hid_device* device, unsigned char* data, size_t length, int milliseconds)
{
    return bus().readTimeout(handleOf(device), {data, length},
                             std::chrono::milliseconds(milliseconds));
}

// The text stays valid until the next call for the same device.
const wchar_t* hid_error(hid_device* device)
{
    static auto* const globalError = new std::wstring;
    std::wstring& text = device == nullptr ? *globalError : device->error;
    const std::string plain = bus().errorText(handleOf(device));
    text.assign(plain.begin(), plain.end());
    return text.c_str();
}
