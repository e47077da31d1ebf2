// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/keyboard_state.h"

#include <QImage>

namespace tavik {
class KeyboardLayout;
}

namespace tavik::virtual_keyboard {

// How the lights of a board spread: between the caps, through the legends, and onto the desk. Light
// is soft, so it is reckoned for coarse cells and smoothed between them.
class LightField
{
public:
    LightField() = default;
    // Of a layout that is fitted into a view, in a picture of this many pixels for each of its own.
    LightField(const KeyboardLayout& layout, QSize view, qreal pixelRatio);

    // The unlit picture with the light of the lights added, as much as the transparency has it: all
    // of it at white. Both pictures are RGB32, of one size, and a multiple of 4 pixels wide.
    [[nodiscard]] const QImage& shine(const std::vector<KeyColor>& lights, const QImage& unlit,
                                      const QImage& transparency);

private:
    // How much a cell gets from a light.
    struct Share
    {
        std::size_t cell = 0;
        std::size_t light = 0;
        float part = 0;
    };

    void addShares(const KeyboardLayout& layout, std::size_t cell, QPointF point);
    void spread(const std::vector<KeyColor>& lights);

    double cellPixels = 1;
    std::vector<Share> shares;
    QImage cells;
    QImage lines; // a row of cells each, as wide as the whole picture
    QImage lit;
};

} // namespace tavik::virtual_keyboard
