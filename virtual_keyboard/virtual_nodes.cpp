// SPDX-License-Identifier: MIT
#include "doctor/examination.h"
#include "doctor/usb_nodes.h"
#include "virtual_keyboard/virtual_bus.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

// What the doctor asks the kernel and udev, answered by the virtual bus. Link this library in place
// of the real one.

namespace tavik::doctor {

using virtual_keyboard::BusInterface;
using virtual_keyboard::VirtualBus;

Node examineNode(const std::string& path)
{
    Node node;
    node.path = path;
    const std::vector<BusInterface>& interfaces = VirtualBus::instance().interfaces();
    const auto entry = std::ranges::find(interfaces, path, &BusInterface::path);
    if (entry == interfaces.end()) {
        node.error = ENOENT;
        return node;
    }
    node.error = entry->opens ? 0 : EACCES;
    if (entry->opens && !entry->holder.empty())
        node.holders = {{1, entry->holder}};
    return node;
}

std::vector<Holder> holdersOfGoneNodes()
{
    if (VirtualBus::instance().staleHandles() == 0)
        return {};
    return {{getpid(), "tavik-center", true}};
}

// Where there is no kernel there is no rule.
std::vector<std::filesystem::path> udevRuleDirectories()
{
    return {};
}

} // namespace tavik::doctor
