// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QSize>
#include <QString>

namespace tavik {

inline constexpr QSize actionPictureSize(156, 18);

// What an action of a macro does, in words, to stand before the code under which the keyboard knows
// it. A picture, so that the text of the cell stays that code alone.
[[nodiscard]] QIcon actionPicture(const QString& words);

} // namespace tavik
