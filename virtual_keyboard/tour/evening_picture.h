// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>

namespace tavik::virtual_keyboard {

// An evening by the sea, stretched to this size: soft color nearly everywhere, as in a photograph.
[[nodiscard]] QImage eveningPicture(QSize size);

} // namespace tavik::virtual_keyboard
