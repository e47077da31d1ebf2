// SPDX-License-Identifier: MIT
#include "doctor/examination.h"

#include <hidapi.h>

#include <cstdio>
#include <string_view>

using namespace tavik::doctor;

namespace {

constexpr const char* usage = "Usage: tavik-center-doctor [--help | --version]\n"
                              "Says whether the TAVIK Pro keyboard can be configured, and what to "
                              "do if not.\n"
                              "\n"
                              "Exit codes:\n"
                              "   0  everything is fine\n"
                              "   1  fine, but the screen interface is missing\n"
                              "   2  wrong usage\n"
                              "   3  the keyboard is not on USB\n"
                              "   4  it has no configuration interface (wireless or another "
                              "model)\n"
                              "   5  no permission: the udev rule is missing\n"
                              "   6  no permission: the udev rule is not applied yet\n"
                              "   7  no permission: this session is not at the computer's screen\n"
                              "   8  no permission: the interface also carries the keys\n"
                              "   9  in use by another program\n"
                              "  10  something else keeps the keyboard from being opened\n"
                              "  11  the keyboard was unplugged while the program was running\n";

int examineAndExplain()
{
    const Findings findings = examine();
    hid_exit();
    std::puts(explain(findings).c_str());
    return static_cast<int>(verdictOf(findings));
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc == 1)
        return examineAndExplain();
    const std::string_view option = argv[1];
    if (argc == 2 && option == "--help") {
        std::fputs(usage, stdout);
        return 0;
    }
    if (argc == 2 && option == "--version") {
        std::puts("tavik-center-doctor " TAVIK_VERSION);
        return 0;
    }
    std::fputs(usage, stderr);
    return static_cast<int>(Verdict::WrongUsage);
}
