// SPDX-License-Identifier: MIT
#pragma once

#include "model/color_bank.h"

#include <QColor>
#include <QString>

#include <array>

namespace tavik {

struct NamedColor
{
    QRgb color;
    const char* name; // English, to be translated by nameOf()
};

// The colors offered on the Lighting page, in its order.
inline constexpr std::array<NamedColor, 14> swatchColors{{
    {0xff0000, QT_TRANSLATE_NOOP("tavik::ColorNames", "Red")},
    {0xec00db, QT_TRANSLATE_NOOP("tavik::ColorNames", "Magenta")},
    {0x8d00ff, QT_TRANSLATE_NOOP("tavik::ColorNames", "Violet")},
    {0x1515ec, QT_TRANSLATE_NOOP("tavik::ColorNames", "Blue")},
    {0x0090f3, QT_TRANSLATE_NOOP("tavik::ColorNames", "Sky blue")},
    {0x00dfe0, QT_TRANSLATE_NOOP("tavik::ColorNames", "Cyan")},
    {0x29953c, QT_TRANSLATE_NOOP("tavik::ColorNames", "Dark green")},
    {0x00e500, QT_TRANSLATE_NOOP("tavik::ColorNames", "Green")},
    {0xa4e900, QT_TRANSLATE_NOOP("tavik::ColorNames", "Lime")},
    {0xf3e500, QT_TRANSLATE_NOOP("tavik::ColorNames", "Yellow")},
    {0xf2a000, QT_TRANSLATE_NOOP("tavik::ColorNames", "Amber")},
    {0xe94f00, QT_TRANSLATE_NOOP("tavik::ColorNames", "Orange")},
    {0xf4f4f4, QT_TRANSLATE_NOOP("tavik::ColorNames", "White")},
    {0x090909, QT_TRANSLATE_NOOP("tavik::ColorNames", "Black")},
}};

[[nodiscard]] QString nameOf(const NamedColor& color);

// Between the colors of Qt and those of the keyboard.
[[nodiscard]] KeyColor keyColorOf(const QColor& color);
[[nodiscard]] QColor shownColor(const KeyColor& color);

// A color for the ear: the name of one that is much like it, and its number: "violet, #8d00ff".
[[nodiscard]] QString colorWords(const QColor& color);

} // namespace tavik
