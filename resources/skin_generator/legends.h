#pragma once

#include <QString>

namespace tavik {

// What is printed on a key cap.
struct Legend
{
    QString text;    // empty for the space bar and the arrows
    QString shifted; // the character with Shift, empty when there is none
    int arrow = -1;  // clockwise turn of the arrow shape in degrees, -1 for none
    bool fn = false; // printed in the color of the Fn layer
    QString fnShape; // shape of what the key does with Fn, empty for none
};

// The legend of the key with this HID keyboard usage. A usage without one ends the generator: a
// key of the layout must not come out blank by mistake.
[[nodiscard]] Legend legendOf(uint usage);

} // namespace tavik
