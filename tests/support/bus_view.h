#pragma once

#include <QStringList>

namespace tavik::tests {

// What the virtual bus has recorded, as lists that QCOMPARE prints well.
[[nodiscard]] QStringList busTrace();
[[nodiscard]] QStringList busWire();
[[nodiscard]] QStringList busSends();

// What the keyboard complained of so far. Violations that nobody takes fail the case at its end.
[[nodiscard]] QStringList takeBusViolations();

// True when no command sequence holds the device.
[[nodiscard]] bool deviceLockIsFree();

} // namespace tavik::tests
