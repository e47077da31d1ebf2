// SPDX-License-Identifier: MIT
#include "doctor/node_holders.h"

#include "doctor/usb_nodes.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

namespace tavik::doctor {

namespace {

namespace fs = std::filesystem;

using Descriptor = fs::path; // a link in /proc to an open file

bool hasOpen(const fs::path& process, const std::function<bool(const Descriptor&)>& isMeant)
{
    std::error_code error; // the process may end while it is looked at
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end;
         entry.increment(error)) {
        if (isMeant(entry->path()))
            return true;
    }
    return false;
}

std::string nameOf(const fs::path& process)
{
    std::ifstream file(process / "comm");
    std::string name;
    std::getline(file, name);
    // A process chooses it, and a terminal would obey what else is in it.
    std::ranges::replace_if(
        name, [](unsigned char byte) { return byte < ' ' || byte > '~'; }, '?');
    return name.empty() ? "a program" : name;
}

std::vector<Holder> processesWith(const std::function<bool(const Descriptor&)>& isMeant)
{
    std::vector<Holder> holders;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        int processId = 0;
        const auto parsed = std::from_chars(name.data(), name.data() + name.size(), processId);
        if (parsed.ec == std::errc() && hasOpen(entry->path(), isMeant))
            holders.push_back({processId, nameOf(entry->path()), processId == getpid()});
    }
    return holders;
}

// The kernel takes the name of a node away when its device goes, and says so behind the name.
bool isGoneNode(const Descriptor& descriptor)
{
    std::error_code error;
    const std::string name = fs::read_symlink(descriptor, error).filename();
    return name.starts_with("hidraw") && name.ends_with(" (deleted)");
}

} // namespace

std::vector<Holder> holdersOf(dev_t device)
{
    std::vector<Holder> holders = processesWith([device](const Descriptor& descriptor) {
        // Looking at a file itself would wait for a file server that is away.
        std::error_code error;
        if (!fs::read_symlink(descriptor, error).native().starts_with("/dev/"))
            return false;
        struct stat status
        {
        };
        return stat(descriptor.c_str(), &status) == 0 && S_ISCHR(status.st_mode) &&
               status.st_rdev == device;
    });
    std::erase_if(holders, &Holder::isThisProcess);
    return holders;
}

// A node that is gone does not say whose it was. Only a program for this keyboard keeps one for
// good; what others hold may be of any device.
std::vector<Holder> holdersOfGoneNodes()
{
    std::vector<Holder> holders = processesWith(isGoneNode);
    std::erase_if(holders, [](const Holder& holder) {
        return !holder.isThisProcess && holder.name != "tavik-center";
    });
    return holders;
}

} // namespace tavik::doctor
