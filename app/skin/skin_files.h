#pragma once

#include <QString>

namespace tavik {

// Returns the path of an image or font of the skin, taken from the first directory that has it, or
// a null string when none has. The name may contain a subdirectory ("fonts/OpenSans-Regular.ttf").
// Searched afresh on every call, relative to the current directory of that moment.
[[nodiscard]] QString resolveSkinFile(const QString& relativeName);

} // namespace tavik
