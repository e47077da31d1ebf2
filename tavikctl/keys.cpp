// SPDX-License-Identifier: MIT
#include "tavikctl/commands.h"
#include "tavikctl/key_words.h"
#include "tavikctl/keyboard.h"
#include "tavikctl/user_state.h"

#include <QJsonObject>

namespace tavik {

namespace {

KeyLayer& layerOf(SavedState& state, LayerId layer)
{
    return layer == LayerId::Base ? state.layerBase : state.layerFn;
}

} // namespace

void showKeys(const Output& output, LayerId layer)
{
    SavedState state = presentState();
    const KeyLayer& keys = layerOf(state, layer);
    QJsonObject object;
    for (std::size_t key = 0; key < keys.size(); ++key) {
        if (keys.at(key) == KeyAction{})
            continue;
        const QString word = wordOfAction(keys.at(key), state.macros);
        object[nameOfKeyAt(key)] = word;
        if (!output.json)
            output.line(nameOfKeyAt(key) + u'=' + word);
    }
    if (output.json)
        output.value(QJsonDocument(object));
}

void setKeys(const Output& output, LayerId layer, const QStringList& assignments)
{
    editState(output, [&](SavedState& state) {
        for (const auto& [keys, value] : assignmentsFromWords(assignments)) {
            const KeyAction action = actionFromWord(value, state.macros);
            for (const std::size_t key : keys)
                layerOf(state, layer).at(key) = action;
        }
    });
}

void writeKeys(LayerId layer)
{
    SavedState state = presentState();
    requireSent(writeLayer(layer, layerOf(state, layer)));
}

} // namespace tavik
