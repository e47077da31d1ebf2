// SPDX-License-Identifier: MIT
#include "virtual_keyboard/virtual_bus.h"

#include <cstdio>
#include <cstdlib>

namespace {

using tavik::virtual_keyboard::VirtualBus;

// The keyboard must have had nothing to complain about in a test. Linked into every program on the
// virtual bus, this looks when the program ends, behind the closing of the device.
struct ComplaintsFailTheProgram
{
    ~ComplaintsFailTheProgram()
    {
        const std::vector<std::string> violations = VirtualBus::instance().violations();
        for (const std::string& text : violations)
            std::printf("FAIL!  : the keyboard complains: %s\n", text.c_str());
        std::fflush(stdout);
        if (!violations.empty())
            std::_Exit(EXIT_FAILURE);
    }
};

const ComplaintsFailTheProgram complaintsFailTheProgram;

} // namespace
