// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

namespace tavik::tests {

// One key of the layout file. It is read here once more, and apart from the program and from the
// painter of the pictures, so that a mistake of theirs does not repeat itself in the tests.
struct LayoutKey
{
    uint usage = 0;
    QString desc;
    int keyIndex = 0;
    int lightIndex = 0;
    QString rowCol;
    QRect rect;
    QString fnLayerDisable;
    QString legend;
};

struct Layout
{
    QRect area;
    QRect caseRect;
    QRect screenRect;
    QList<LayoutKey> keys;
    QString error; // empty when the file was read without one
};

// The share directory of the build tree, where program and tests find the skin.
[[nodiscard]] QString shareDirectory();
[[nodiscard]] QString skinDirectory();

// The picture as 32-bit ARGB, not premultiplied; null when it cannot be read.
[[nodiscard]] QImage skinPicture(const QString& name);

[[nodiscard]] Layout readLayout(const QString& path);

// Contrast of two opaque colors as the accessibility guidelines count it, from 1 to 21.
[[nodiscard]] double contrast(const QColor& one, const QColor& other);

// `color` with its alpha laid over the opaque `ground`.
[[nodiscard]] QColor over(const QColor& color, const QColor& ground);

} // namespace tavik::tests
