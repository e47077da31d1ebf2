// SPDX-License-Identifier: MIT
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour.h"

namespace tavik::virtual_keyboard {

namespace {

QString lightingText()
{
    return QString::fromStdString(bus().keyboard().lightingSummary());
}

} // namespace

void Tour::visitLighting()
{
    showPage("Light Effect Mode");
    step(
        "choose the effect Breath",
        [&] {
            driver.clickAt(
                [] {
                    auto* list = qobject_cast<QListWidget*>(TourDriver::widgetNamed("effectList"));
                    return list == nullptr ? nullptr : list->viewport();
                },
                [](QWidget& viewport) {
                    auto* list = qobject_cast<QListWidget*>(viewport.parentWidget());
                    return list->visualItemRect(list->item(6)).center();
                });
        },
        [] { return held().lighting[0] == 0x07; }, lightingText);

    step(
        "pick a blue on the color wheel",
        [&] {
            driver.clickAt(TourDriver::called("Color wheel"),
                           [](QWidget& wheel) { return wheel.rect().center() + QPoint(-48, 83); });
            driver.click(TourDriver::called("Random Color"));
        },
        [] {
            const Report& lighting = held().lighting;
            return lighting[8] == 0 && (lighting[1] != 0xFF || lighting[3] != 0);
        },
        lightingText);

    step(
        "take the orange swatch", [&] { driver.click(TourDriver::called("orange, #e94f00")); },
        [] {
            const Report& lighting = held().lighting;
            return lighting[1] == 0xE9 && lighting[2] == 0x4F && lighting[3] == 0x00;
        },
        lightingText);

    step(
        "lower the brightness by two",
        [&] {
            const auto slider = TourDriver::called("Brightness");
            // The handle stands at the right end; a press on it only takes the focus.
            driver.clickAt(slider, [](QWidget& widget) {
                return QPoint(widget.width() - 8, widget.height() / 2);
            });
            driver.pressKey(KeySymbol::Left);
            driver.pressKey(KeySymbol::Left);
        },
        [] { return held().lighting[9] == 3; }, lightingText);

    step(
        "turn the effect upward", [&] { driver.click(TourDriver::called("Direction up")); },
        [] { return held().lighting[11] == 2; }, lightingText);

    step(
        "sleep after 30 minutes", [&] { driver.press("30 min"); },
        [] { return held().sleepCode == 3; },
        [] { return QStringLiteral("sleep code %1").arg(held().sleepCode); });
}

} // namespace tavik::virtual_keyboard
