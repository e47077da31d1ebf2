#pragma once

#include <QString>

namespace tavik {

// Characters of a macro's name that lists, captions and tool tips deal with.
inline constexpr qsizetype shownNameLimit = 1000;

// The text, cut behind that many characters (1 or more) and marked by an ellipsis when it is
// longer. A saved macro name may have any length, and laying out megabytes of it takes seconds.
[[nodiscard]] QString beginningOf(const QString& text, qsizetype characters);

// The text as an item of a menu, which takes "&" for a shortcut letter and a tab for the start of a
// second column.
[[nodiscard]] QString menuText(QString text);

} // namespace tavik
