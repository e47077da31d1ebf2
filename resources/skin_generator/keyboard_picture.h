#pragma once

#include "resources/skin_generator/layout_file.h"

#include <QImage>

namespace tavik {

// The keyboard as the program shows it: case, screen and one light cap for every key of the
// layout, at 3 pixels a layout unit. `fontPath` is the font of the legends.
[[nodiscard]] QImage paintKeyboard(const LayoutFile& layout, const QString& fontPath);

} // namespace tavik
