#pragma once

#include <QList>
#include <QRect>
#include <QSize>
#include <QString>

namespace tavik {

// One key as the keyboard picture needs it.
struct DrawnKey
{
    uint usage = 0; // HID keyboard usage
    QRect rect;     // in layout units
};

struct LayoutFile
{
    QSize size; // in layout units
    QList<DrawnKey> keys;
};

// Reads the layout file. Unlike the program, which must start with any file, the generator ends
// with a message when the file is broken or empty.
[[nodiscard]] LayoutFile readLayoutFile(const QString& path);

} // namespace tavik
