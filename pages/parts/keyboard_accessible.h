// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessible>

namespace tavik {

// A factory for QAccessible::installFactory(): the accessible interface of a KeyboardView, null for
// anything else. Its children are the keys that the view reports, in layout order, as buttons.
[[nodiscard]] QAccessibleInterface* keyboardInterface(const QString& className, QObject* object);

} // namespace tavik
