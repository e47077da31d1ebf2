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
    const auto button = [](const char* text) {
        return [text] { return TourDriver::buttonWithText(QLatin1String(text)); };
    };
    showPage(QStringLiteral("Custom Lighting"));

    step(
        QStringLiteral("paint W, S and D and send them"),
        [&] {
            for (const char* key : {"W", "S", "D"})
                clickKey(QLatin1String(key));
            driver.click(button("Send painting to keyboard"));
        },
        [] { return paintedKeys() == 3; },
        [] { return QStringLiteral("%1 keys painted").arg(paintedKeys()); });

    step(
        QStringLiteral("switch the keyboard to its custom colors"),
        [&] { driver.click(button("Enable custom mode")); },
        [] { return bus().keyboard().customMode(); },
        [] { return QString::fromStdString(bus().keyboard().lightingSummary()); });

    step(
        QStringLiteral("read back what somebody else painted"),
        [&] {
            driver.onGui([] {
                KeyboardState state = held();
                state.colorBank.fill(changed);
                bus().keyboard().setState(state);
            });
            driver.click(button("Read from keyboard"));
        },
        [] {
            const auto& bank = AppState::instance().customRgb;
            return bank.at(0) == changed[0] && bank.at(1) == changed[1] &&
                   bank.at(431) == changed[2];
        },
        [] { return QStringLiteral("the program holds the keyboard's colors"); });
}

} // namespace tavik::virtual_keyboard
