// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/window_placement.h"

#include <algorithm>

namespace tavik::virtual_keyboard {

namespace {

constexpr int titleBarHeight = 50;

// The widest window of the wanted shape that a free area holds.
int widthIn(QSize room, const WantedSize& wanted)
{
    const int byHeight =
        static_cast<int>((room.height() - wanted.fixedHeight) / wanted.heightByWidth);
    return std::max(0, std::min({room.width(), byHeight, wanted.mostWidth}));
}

// As near to where it is as the screen allows, with this much room behind it.
int movedInto(int start, int length, int roomBehind, int screenStart, int screenLength)
{
    return std::max(screenStart, std::min(start, screenStart + screenLength - length - roomBehind));
}

} // namespace

Placement placeKeyboard(const QRect& available, const QRect& program, const WantedSize& wanted)
{
    const int beside =
        widthIn({available.width() - program.width() - windowGap, available.height()}, wanted);
    const int under =
        widthIn({available.width(), available.height() - program.height() - windowGap}, wanted);
    const int width = std::max(beside, under);
    const bool isApart = width >= wanted.leastWidth;
    const bool isBeside = isApart && beside >= under;
    const int shown = isApart ? width : std::min(wanted.leastWidth, available.width());
    const QSize size(shown, std::min(wanted.heightFor(shown), available.height()));

    const QPoint moved(movedInto(program.left(), program.width(),
                                 isBeside ? size.width() + windowGap : 0, available.left(),
                                 available.width()),
                       movedInto(program.top(), program.height(),
                                 isApart && !isBeside ? size.height() + windowGap : 0,
                                 available.top(), available.height()));
    if (!isApart) {
        const int top =
            std::min(available.top() + titleBarHeight, available.bottom() + 1 - size.height());
        return {available.topLeft(),
                QRect({available.right() + 1 - size.width(), std::max(available.top(), top)}, size),
                false};
    }
    const QPoint corner =
        isBeside
            ? QPoint(moved.x() + program.width() + windowGap,
                     movedInto(moved.y(), size.height(), 0, available.top(), available.height()))
            : QPoint(movedInto(moved.x() + (program.width() - size.width()) / 2, size.width(), 0,
                               available.left(), available.width()),
                     moved.y() + program.height() + windowGap);
    return {moved, QRect(corner, size), true};
}

} // namespace tavik::virtual_keyboard
