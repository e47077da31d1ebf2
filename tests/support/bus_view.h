// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/virtual_bus.h"

#include <QStringList>

namespace tavik::tests {

// The bus with the keyboard on it, which takes the place of hidapi.
[[nodiscard]] virtual_keyboard::VirtualBus& bus();

// What the virtual bus has recorded, as lists that QCOMPARE prints well.
[[nodiscard]] QStringList busTrace();
[[nodiscard]] QStringList busWire();
[[nodiscard]] QStringList busSends();

// What the keyboard complained of so far. Violations that nobody takes fail the case at its end.
[[nodiscard]] QStringList takeBusViolations();

// What is told when the keyboard, or its configuration interface, is not there.
inline const QString notFoundText = QStringLiteral(
    "Keyboard not found (vendor interface 0xFF13). Plug the USB-C cable (wired mode).");

// True when no command sequence holds the device.
[[nodiscard]] bool deviceLockIsFree();

} // namespace tavik::tests
