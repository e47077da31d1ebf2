// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour.h"

namespace tavik::virtual_keyboard {

namespace {

constexpr KeyColor brush{255, 60, 60};
constexpr KeyColor changed{0, 128, 255};

std::ptrdiff_t paintedKeys()
{
    return std::count(held().colorBank.begin(), held().colorBank.end(), brush);
}

} // namespace

void Tour::visitColors()
{
    showPage("Custom Lighting");

    step(
        "paint W, S and D and send them",
        [&] {
            for (const char* key : {"W", "S", "D"})
                clickKey(key);
            driver.press("Send painting to keyboard");
        },
        [] { return paintedKeys() == 3; },
        [] { return QStringLiteral("%1 keys painted").arg(paintedKeys()); });

    step(
        "switch the keyboard to its custom colors", [&] { driver.press("Enable custom mode"); },
        [] { return bus().keyboard().customMode(); },
        [] { return QString::fromStdString(bus().keyboard().lightingSummary()); });

    step(
        "read back what somebody else painted",
        [&] {
            driver.onGui([] {
                KeyboardState state = held();
                state.colorBank.fill(changed);
                bus().keyboard().setState(state);
            });
            driver.press("Read from keyboard");
        },
        [] {
            const auto& bank = AppState::instance().customRgb;
            return bank.at(0) == changed[0] && bank.at(1) == changed[1] &&
                   bank.at(431) == changed[2];
        },
        [] { return "the program holds the keyboard's colors"; });
}

} // namespace tavik::virtual_keyboard
