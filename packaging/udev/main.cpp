// SPDX-License-Identifier: MIT
// udev cannot look into a report descriptor, so its rule asks this program. Argument: the sysfs
// directory of a hidraw node. Prints the property for the rule, or fails when the interface is
// none of those the program uses.

#include "doctor/report_descriptor.h"

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

// Empty when there is none, and longer than allowed when it goes on and on.
std::vector<std::uint8_t> readDescriptor(const std::string& hidrawDirectory)
{
    std::ifstream file(hidrawDirectory + "/device/report_descriptor", std::ios::binary);
    std::vector<std::uint8_t> descriptor(tavik::largestReportDescriptor + 1);
    file.read(reinterpret_cast<char*>(descriptor.data()),
              static_cast<std::streamsize>(descriptor.size()));
    descriptor.resize(static_cast<std::size_t>(file.gcount()));
    return descriptor;
}

const char* nameOf(tavik::InterfaceKind kind)
{
    switch (kind) {
    case tavik::InterfaceKind::Configuration:
        return "configuration";
    case tavik::InterfaceKind::Screen:
        return "screen";
    case tavik::InterfaceKind::Other:
        break;
    }
    return nullptr;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fputs("Usage: tavik-center-interface SYSFS-DIRECTORY-OF-HIDRAW-NODE\n", stderr);
        return 2;
    }
    const char* name = nameOf(tavik::interfaceKind(readDescriptor(argv[1])));
    if (name == nullptr)
        return 1;
    std::printf("TAVIK_CENTER_INTERFACE=%s\n", name);
    return 0;
}
