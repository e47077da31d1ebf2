// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "pages/colors/color_transfer.h"
#include "tavikctl/commands.h"
#include "tavikctl/key_words.h"
#include "tavikctl/keyboard.h"
#include "tavikctl/user_state.h"

#include <QJsonObject>

namespace tavik {

void showColors(const Output& output)
{
    const ColorBank bank = presentState().customRgb;
    QJsonObject object;
    for (std::size_t key = 0; key < layerSize; ++key) {
        const KeyColor color = colorOf(bank, key);
        if (color == KeyColor{})
            continue;
        object[nameOfKeyAt(key)] = colorWord(color);
        if (!output.json)
            output.line(nameOfKeyAt(key) + u'=' + colorWord(color));
    }
    if (output.json)
        output.value(QJsonDocument(object));
}

void setColors(const Output& output, const QStringList& assignments)
{
    editState(output, [&](SavedState& state) {
        for (const auto& [keys, value] : assignmentsFromWords(assignments)) {
            const KeyColor color = colorFromWord(value);
            for (const std::size_t key : keys)
                setColor(state.customRgb, key, color);
        }
    });
}

void writeColors()
{
    requireSent(writeColorBank(presentState().customRgb));
}

void readColors(const Output& output)
{
    requireEditable(output);
    // Others may edit while it takes its time.
    const std::optional<ColorBank> bank = readColorBank();
    requireSent(bank.has_value() && !Device::isInterrupted());
    editState(output, [&bank](SavedState& state) { state.customRgb = *bank; });
}

void turnColorsOn(int brightness)
{
    requireSent(enableCustomColors(brightness));
}

} // namespace tavik
