// SPDX-License-Identifier: MIT
#include "doctor/usb_nodes.h"

#include "doctor/node_holders.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <libudev.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace tavik::doctor {

namespace {

// The rule leaves this property on every node it opens.
constexpr const char* markOfRule = "TAVIK_CENTER_INTERFACE";

struct UdevRelease
{
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
};

bool isMarkedByRule(const std::string& path)
{
    const std::unique_ptr<udev, UdevRelease> context(udev_new());
    if (!context)
        return false;
    const std::string name = std::filesystem::path(path).filename();
    const std::unique_ptr<udev_device, UdevRelease> node(
        udev_device_new_from_subsystem_sysname(context.get(), "hidraw", name.c_str()));
    return node && udev_device_get_property_value(node.get(), markOfRule) != nullptr;
}

} // namespace

Node examineNode(const std::string& path)
{
    Node node;
    node.path = path;
    node.markedByRule = isMarkedByRule(path);
    // Not by hidapi, which does not tell a refusal from an unplugged keyboard.
    const int descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0) {
        node.error = errno;
        return node;
    }
    struct stat status
    {
    };
    if (fstat(descriptor, &status) == 0)
        node.holders = holdersOf(status.st_rdev);
    close(descriptor);
    return node;
}

} // namespace tavik::doctor
