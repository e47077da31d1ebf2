// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QRect>

namespace tavik::virtual_keyboard {

// How large the window of the keyboard wants to be, with its frame: as high as its width asks for.
struct WantedSize
{
    double heightByWidth = 1;
    int fixedHeight = 0; // on top of that
    int leastWidth = 0;  // below it there is nothing to be seen
    int mostWidth = 0;

    [[nodiscard]] int heightFor(int width) const
    {
        return static_cast<int>(width * heightByWidth) + fixedHeight;
    }
};

inline constexpr int windowGap = 8; // between the two windows

struct Placement
{
    QPoint program; // where the program's window goes, moved as little as possible
    QRect keyboard;
    bool isApart = false; // the two do not overlap
};

// Where the keyboard stands on a screen with this program on it: beside or under it, wherever it
// can be larger. Where neither has room, it stays as small as can be read at the right edge of the
// screen, so that whatever the program in front of it leaves free shows some of it.
[[nodiscard]] Placement placeKeyboard(const QRect& available, const QRect& program,
                                      const WantedSize& wanted);

} // namespace tavik::virtual_keyboard
