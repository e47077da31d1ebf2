// SPDX-License-Identifier: MIT
#pragma once

#include <QLatin1StringView>
#include <QString>

namespace tavik {

// Where data is looked for first: beside a checkout in work. It lies among the temporary files, so
// anybody on the computer may have made it.
inline constexpr QLatin1StringView sharedPlace("/tmp/tavik-center/app/../resources");

// Whether a file may be used that was found there. True only when it, every directory and every
// link on the way belong to root or to the user, and nobody else may write to them; /tmp will do
// where only the owner of a file may remove or rename it. Paths elsewhere are trusted.
[[nodiscard]] bool isTrustedPath(const QString& path);

} // namespace tavik
