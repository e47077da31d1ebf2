// SPDX-License-Identifier: MIT
#pragma once

#include "model/keyboard_layout.h"

#include <QPoint>
#include <QRect>
#include <QRectF>
#include <QSize>

namespace tavik {

// Where a board and its keys stand in a view of some size: scaled to fit and centered. A value; it
// refers to the layout, which must outlive it. All rectangles are in pixels of the view.
//
// Keys are named by their light index. One that is not 0 to 143 belongs to no table entry: such a
// key has its place but is never found by any of the searches.
class KeyboardGeometry
{
public:
    // The layout may be null, and its size empty: then there is no board and no key.
    KeyboardGeometry(const KeyboardLayout* keyboardLayout, QSize viewSize);

    [[nodiscard]] bool hasBoard() const { return layout != nullptr; }

    // Pixels per layout unit; 0 without a board.
    [[nodiscard]] double scale() const { return factor; }

    // Where the picture of the board goes. Its corner is on a whole pixel, its size need not be.
    [[nodiscard]] QRectF boardRectangle() const;

    // Where a key answers to the pointer; empty without a board.
    [[nodiscard]] QRect hitRectangle(const KeyRecord& key) const;

    // Where a key is decorated: smaller than where it answers, so that neighbors stay apart.
    [[nodiscard]] QRect innerRectangle(const KeyRecord& key) const;

    // The light index of the first key in layout order that answers at the point, or -1.
    [[nodiscard]] int keyAt(QPoint point) const;

    // The first key with this light index, or null.
    [[nodiscard]] const KeyRecord* find(int lightIndex) const;

    // The light indexes of all keys that are found, in layout order, each once.
    [[nodiscard]] QList<int> keys() const;

    // The nearest key in a direction, one of (±1, 0) and (0, ±1), or null when none lies there.
    // From nowhere (null), it is the first key of the layout.
    [[nodiscard]] const KeyRecord* neighbor(const KeyRecord* from, QPoint direction) const;

    // Where a walk in the direction ends that never leaves the row or column.
    [[nodiscard]] const KeyRecord* lastNeighbor(const KeyRecord* from, QPoint direction) const;

    // The next key behind this one, or the first, whose legend begins with what was typed; null
    // when there is none. One whose legend is just that comes before all others.
    [[nodiscard]] const KeyRecord* nextTyped(const KeyRecord* from, const QString& typed) const;

private:
    const KeyboardLayout* layout; // null without a board
    double factor = 0.0;
    double left = 0.0;
    double top = 0.0;
};

} // namespace tavik
