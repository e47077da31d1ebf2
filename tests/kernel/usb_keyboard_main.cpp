// SPDX-License-Identifier: MIT
// A keyboard on the kernel's virtual host controller. It plugs itself in and does what it is told
// on its control socket, a line at a time:
//
//   reset              factory state, nothing planned, no violations
//   plug 8009 ff68     plugs it in under this product id, its screen on this usage page
//   unplug
//   identity           "8009 ff68" as it is plugged in, or "unplugged"
//   fault NAME N       the Nth transfer of this kind from now on goes wrong; names are below
//   state              what the keyboard holds
//   violations         what was wrong so far, a line each
//
// Orders are answered "ok", or with what was wrong about them.

#include "tests/kernel/control_socket.h"
#include "tests/kernel/state_text.h"
#include "tests/kernel/usbip_link.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <poll.h>
#include <sstream>
#include <string_view>

using namespace tavik::tests;

namespace {

struct FaultName
{
    std::string_view name;
    UsbFault fault;
};

constexpr std::array faultNames{
    FaultName{"stall-send", UsbFault::StallSend},     FaultName{"stall-read", UsbFault::StallRead},
    FaultName{"unplug-send", UsbFault::UnplugSend},   FaultName{"lose-ack", UsbFault::LoseAck},
    FaultName{"unplug-block", UsbFault::UnplugBlock}, FaultName{"unplug-ack", UsbFault::UnplugAck},
};

std::string planFault(UsbKeyboard& keyboard, std::istream& words)
{
    std::string name;
    int nth = 0;
    words >> name >> nth;
    const auto* named = std::ranges::find(faultNames, name, &FaultName::name);
    if (named == faultNames.end() || nth < 1)
        return "unknown fault";
    keyboard.planFault(named->fault, nth);
    return "ok";
}

std::string plug(UsbKeyboard& keyboard, UsbipLink& link, std::istream& words)
{
    UsbIdentity identity;
    words >> std::hex >> identity.productId >> identity.screenUsagePage;
    if (!words)
        return "unknown identity";
    if (link.isPlugged())
        return identity == keyboard.identity() ? "ok" : "plugged in already";
    keyboard.setIdentity(identity);
    return link.plug() ? "ok" : "busy";
}

std::string identity(const UsbKeyboard& keyboard, const UsbipLink& link)
{
    if (!link.isPlugged())
        return "unplugged";
    std::ostringstream text;
    text << std::hex << keyboard.identity().productId << ' ' << keyboard.identity().screenUsagePage;
    return text.str();
}

std::string violations(const UsbKeyboard& keyboard)
{
    std::string text;
    for (const std::string& violation : keyboard.violations())
        text += violation + '\n';
    return text;
}

std::string obey(UsbKeyboard& keyboard, UsbipLink& link, const std::string& line)
{
    std::istringstream words(line);
    std::string order;
    words >> order;
    if (order == "state")
        return stateText(keyboard.state());
    if (order == "violations")
        return violations(keyboard);
    if (order == "plug")
        return plug(keyboard, link, words);
    if (order == "identity")
        return identity(keyboard, link);
    if (order == "fault")
        return planFault(keyboard, words);
    if (order == "reset")
        keyboard.reset();
    else if (order == "unplug")
        link.unplug();
    else
        return "unknown order";
    return "ok";
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        std::fputs("usage: tavik-usb-keyboard SOCKET\n", stderr);
        return 2;
    }
    ControlSocket control(arguments[1]);
    if (!control.isOpen()) {
        std::perror(arguments[1]);
        return 1;
    }

    UsbKeyboard keyboard;
    UsbipLink link(keyboard);
    if (!link.plug()) {
        std::fputs("the virtual host controller does not take the keyboard\n", stderr);
        return 1;
    }
    while (true) {
        // While the keyboard is unplugged its descriptor is negative, which poll() passes over.
        std::array<pollfd, 2> waiting{
            {{control.descriptor(), POLLIN, 0}, {link.descriptor(), POLLIN, 0}}};
        if (poll(waiting.data(), waiting.size(), -1) < 0)
            return 1;
        if (waiting[1].revents != 0)
            link.serve();
        else if (waiting[0].revents != 0)
            control.serve([&](const std::string& line) { return obey(keyboard, link, line); });
    }
}
