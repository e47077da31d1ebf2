// SPDX-License-Identifier: MIT
#include "model/key_names.h"
#include "pages/colors/color_transfer.h"
#include "pages/keys/layer_write.h"
#include "pages/parts/lighting_command.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/bus_view.h"

#include <algorithm>

namespace tavik::tests {

namespace {

void checkLayer(const KeyLayer& layer, LayerId id)
{
    TAVIK_HOLDS(writeLayer(id, layer));
    const auto& state = bus().keyboard().state();
    const auto& kept = id == LayerId::Base ? state.baseLayer : state.fnLayer;
    for (std::size_t key = 0; key < layerSize; ++key) {
        const KeyAction& action = layer.at(key);
        const bool isLast = key == layerSize - 1; // makes room for the end marker
        TAVIK_HOLDS(kept.at(key)[0] == action.page && kept.at(key)[1] == action.p1);
        TAVIK_HOLDS(kept.at(key)[2] == (isLast ? 0 : action.p2));
        TAVIK_HOLDS(kept.at(key)[3] == (isLast ? 0 : action.p3));
        TAVIK_HOLDS(keyActionLabel(action, {}).isEmpty() == (action.page == 0));
    }
}

void checkColors(ColorBank bank)
{
    TAVIK_HOLDS(writeColorBank(bank));
    const std::optional<ColorBank> read = readColorBank();
    // Green and blue of the last key make room for the end marker.
    std::fill(bank.end() - 2, bank.end(), std::uint8_t{0});
    TAVIK_HOLDS(read.has_value() && std::equal(bank.begin(), bank.end() - 2, read->begin()));
    setColor(bank, 7, colorOf(*read, 8));
    TAVIK_HOLDS(colorOf(bank, 7) == colorOf(*read, 8) && colorOf(bank, 8) == colorOf(*read, 8));
}

void checkLighting(InputNumbers& numbers)
{
    LightingSettings settings;
    settings.effect = lightingEffects.at(numbers.byte() % lightingEffects.size()).code;
    settings.color = {numbers.byte(), numbers.byte(), numbers.byte()};
    settings.randomColor = numbers.byte() % 2 == 1;
    settings.brightness = numbers.byte() % 6;
    settings.speed = numbers.byte() % 6;
    settings.direction = numbers.byte() % 4;
    const int sleepCode = numbers.byte() % 4;
    TAVIK_HOLDS(sendLightingMode(settings) && sendLightingSleep(sleepCode));
    const auto& state = bus().keyboard().state();
    TAVIK_HOLDS(state.lighting == lightingModePayload(settings) && state.sleepCode == sleepCode);
    const auto bytesUsed = std::ranges::count_if(state.lighting, [](auto b) { return b != 0; });
    TAVIK_HOLDS(state.lighting[0] == settings.effect && bytesUsed <= 10);
    TAVIK_HOLDS((KeyColor{state.lighting[1], state.lighting[2], state.lighting[3]}) ==
                settings.color);
    TAVIK_HOLDS(state.lighting[8] == settings.randomColor && state.lighting[10] == settings.speed);
    TAVIK_HOLDS(state.lighting[9] == settings.brightness &&
                state.lighting[11] == settings.direction);
}

// Of every usage the dialog offers, exactly one of key and modifier is stored.
void checkKeyAction(std::uint8_t usage, std::uint8_t modifier)
{
    const KeyAction action = keyboardKeyAction(usage, modifier);
    const bool isModifier = usage >= 0xE0;
    TAVIK_HOLDS(action.page == 2 && action.p3 == 0 && action.p2 == (isModifier ? 0 : usage));
    TAVIK_HOLDS(usage > 0xE7 || action.p1 == (isModifier ? 1 << (usage - 0xE0) : modifier));
    const auto value = static_cast<std::uint16_t>(usage << 8 | modifier);
    const KeyAction mouse = mouseKeyAction(value);
    TAVIK_HOLDS(mouse.page == 1 && (mouse.p1 << 8 | mouse.p2) == value && mouse.p3 == 0);
    TAVIK_HOLDS(!keyName(usage).isEmpty() && hexByte(usage).toInt(nullptr, 16) == usage);
    TAVIK_HOLDS(hexByte(usage).size() == 2);
}

} // namespace

QByteArrayList seeds()
{
    QByteArray rising;
    for (int number = 0; number < 1600; ++number)
        rising += static_cast<char>(number);
    return {QByteArray(1600, '\0'), QByteArray(1600, '\xFF'), rising};
}

void check(const QByteArray& input)
{
    InputNumbers numbers(input);
    checkKeyAction(numbers.byte(), numbers.byte());
    KeyLayer layer{};
    for (KeyAction& action : layer) {
        action = {numbers.byte(), numbers.byte(), numbers.byte(), numbers.byte()};
        // No action has this page, and a report that begins with it may look like a command.
        if (action.page == 4)
            action.page = 0;
    }
    checkLayer(layer, numbers.byte() % 2 == 0 ? LayerId::Base : LayerId::Fn);
    checkLighting(numbers);
    ColorBank bank{};
    std::ranges::generate(bank, [&] { return numbers.byte(); });
    checkColors(bank);
    TAVIK_HOLDS(bus().violations().empty());
    bus().clearTrace();
}

} // namespace tavik::tests
