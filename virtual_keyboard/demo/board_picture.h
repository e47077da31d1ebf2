// SPDX-License-Identifier: MIT
#pragma once

#include "model/keyboard_layout.h"
#include "resources/board_parts.h"

#include <QColor>
#include <QMap>
#include <QSet>
#include <QTransform>

class QPainter;

namespace tavik::virtual_keyboard {

// What is to be seen on a keyboard besides its light, by light index.
struct BoardContent
{
    QMap<int, QString> captions;
    QSet<int> pressed;
    bool isPlugged = true;

    bool operator==(const BoardContent&) const = default;
};

// The colors of what lies on the desk.
struct DeskColors
{
    BoardColors board;
    QColor desk;
    QColor deskFar; // at the corners
    QColor shadow;
    QColor cable;
    QColor plate; // what lies under the caps
    QColor caption;
    QColor captionFrame;
    QColor captionText;
    QColor lifeless; // lies over a board without power
};

// Those of a keyboard without light.
[[nodiscard]] const DeskColors& darkDesk();

// How much of the light each part lets through, from black for nothing to white for all of it.
[[nodiscard]] const DeskColors& deskTransparency();

// The layout with a desk around the board, so that whatever fits a layout into a view leaves room
// for it.
[[nodiscard]] KeyboardLayout onDesk(KeyboardLayout layout);

// From layout units to the pixels of a view that this layout is fitted into.
[[nodiscard]] QTransform toView(const KeyboardLayout& layout, QSize view);

// Fills a view of this size with the board, in the painter's font.
void paintBoard(QPainter& painter, QSize view, const KeyboardLayout& layout,
                const BoardContent& content, const DeskColors& colors);

} // namespace tavik::virtual_keyboard
