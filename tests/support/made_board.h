// SPDX-License-Identifier: MIT
#pragma once

#include "model/keyboard_layout.h"

namespace tavik::tests {

inline KeyRecord keyRecord(int lightIndex, QRect rect)
{
    KeyRecord key;
    key.lightIndex = lightIndex;
    key.rect = rect;
    return key;
}

inline KeyboardLayout board(QSize size, const QList<KeyRecord>& keys)
{
    KeyboardLayout layout;
    layout.width = size.width();
    layout.height = size.height();
    layout.keys = keys;
    return layout;
}

// Keys of 20 x 20 units, 30 units apart, numbered row by row from 0.
inline KeyboardLayout grid(int columns, int rows)
{
    QList<KeyRecord> keys;
    for (int index = 0; index < columns * rows; ++index)
        keys += keyRecord(index, {index % columns * 30, index / columns * 30, 20, 20});
    return board({columns * 30, rows * 30}, keys);
}

} // namespace tavik::tests
