// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QString>

namespace tavik {

// Characters of a macro's name that lists, captions and tool tips deal with.
inline constexpr qsizetype shownNameLimit = 1000;

// Those that a tool tip tells, where other lines stand beside them.
inline constexpr qsizetype toolTipNameLimit = 80;

// The text, cut behind that many characters (1 or more) and marked by an ellipsis when it is
// longer. A saved macro name may have any length, and laying out megabytes of it takes seconds.
[[nodiscard]] QString beginningOf(const QString& text, qsizetype characters);

// The text as an item of a menu, which takes "&" for a shortcut letter and a tab for the start of a
// second column.
[[nodiscard]] QString menuText(QString text);

// The text as a tool tip that is wrapped where it is long; nothing in it counts as markup. The
// color is for a widget whose own would become that of its tool tip.
[[nodiscard]] QString wrappedToolTip(const QString& text, const QColor& color = {});

// The key (0 to 143) as the layout file calls it, of 40 characters at most; "key %1" for one that
// has no name there.
[[nodiscard]] QString nameOfKey(int lightIndex);

// A color in words, behind the name of what has it: "W  #ff3c3c".
[[nodiscard]] QString colorToolTip(const QString& name, const QColor& color);

} // namespace tavik
