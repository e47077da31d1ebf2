// SPDX-License-Identifier: MIT
#pragma once

#include "model/keyboard_layout.h"

#include <algorithm>

namespace tavik::tests {

// The key that the layout file calls so. A name it does not know ends the program.
inline const KeyRecord& keyNamed(const QString& description)
{
    const QList<KeyRecord>& keys = KeyboardLayout::instance().keys;
    const auto key = std::ranges::find(keys, description, &KeyRecord::desc);
    if (key == keys.end())
        qFatal("no key \"%s\" in the layout", qPrintable(description));
    return *key;
}

// Its place in the layers and, by three, in the color bank.
inline std::size_t indexOf(const QString& description)
{
    return static_cast<std::size_t>(keyNamed(description).lightIndex);
}

} // namespace tavik::tests
