// SPDX-License-Identifier: MIT
#pragma once

#include "model/color_bank.h"
#include "pages/parts/lighting_command.h"
#include "tavikctl/names.h"

#include <QJsonObject>

#include <optional>

namespace tavik {

// What a user says of the light; nothing of what he leaves out.
struct LightWords
{
    QString effect;
    QString color; // RRGGBB or "random"
    std::optional<int> brightness;
    std::optional<int> speed;
    QString direction;
};

[[nodiscard]] const QList<Named<std::uint8_t>>& effectNames();
[[nodiscard]] const QList<Named<int>>& directionNames();
[[nodiscard]] const QList<Named<int>>& sleepNames();

// What is left out is as the window starts with; a color means that it is not random. Throws on a
// wrong word or number.
[[nodiscard]] LightingSettings lightingFromWords(const LightWords& words);

// The same from the object of a state file. Throws on a wrong member or type.
[[nodiscard]] LightWords lightWordsFrom(const QJsonObject& object);

// Six hexadecimal digits, "#" in front or not. Throws on anything else.
[[nodiscard]] KeyColor colorFromWord(const QString& word);
[[nodiscard]] QString colorWord(KeyColor color);

// What the data report of a lighting command says.
[[nodiscard]] QString lightingWords(const Report& payload);
[[nodiscard]] QString sleepWords(const Report& payload);

} // namespace tavik
