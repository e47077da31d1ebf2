#pragma once

#include "model/keyboard_layout.h"

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

// The colors of the parts; at first those of a keyboard without light.
struct BoardColors
{
    QColor desk = QColor(0x2c, 0x27, 0x23);
    QColor deskFar = QColor(0x17, 0x15, 0x14); // at the corners
    QColor shadow = QColor(0, 0, 0, 26);
    QColor cable = QColor(0x0c, 0x0c, 0x0d);
    QColor caseEdge = QColor(0x4a, 0x4b, 0x50);
    QColor caseTop = QColor(0x25, 0x26, 0x29);
    QColor caseBottom = QColor(0x1a, 0x1b, 0x1d);
    QColor plate = QColor(0x0c, 0x0c, 0x0e); // what lies under the caps
    QColor sideTop = QColor(0x26, 0x27, 0x2a);
    QColor sideBottom = QColor(0x12, 0x13, 0x15);
    QColor faceTop = QColor(0x2f, 0x30, 0x34);
    QColor faceBottom = QColor(0x22, 0x23, 0x26);
    QColor legend = QColor(0x8a, 0x8c, 0x92);
    QColor shifted = QColor(0x74, 0x76, 0x7c);
    QColor caption = QColor(231, 122, 25, 60);
    QColor captionFrame = QColor(231, 122, 25);
    QColor captionText = QColor(0xff, 0xe2, 0xc6);
    QColor glass = QColor(0x07, 0x07, 0x08);
    QColor lifeless = QColor(0, 0, 0, 120); // lies over a board without power
};

// How much of the light each part lets through, from black for nothing to white for all of it.
[[nodiscard]] BoardColors boardTransparency();

// The layout with a desk around the board, so that whatever fits a layout into a view leaves room
// for it.
[[nodiscard]] KeyboardLayout onDesk(KeyboardLayout layout);

// From layout units to the pixels of a view that this layout is fitted into.
[[nodiscard]] QTransform toView(const KeyboardLayout& layout, QSize view);

// The square in which the screen of a layout shows its pictures.
[[nodiscard]] QRectF glassOf(const KeyboardLayout& layout);

// Fills a view of this size with the board, in the painter's font.
void paintBoard(QPainter& painter, QSize view, const KeyboardLayout& layout,
                const BoardContent& content, const BoardColors& colors);

} // namespace tavik::virtual_keyboard
