#pragma once

#include <QStringList>

namespace tavik::tests {

// What the virtual bus has recorded, as lists that QCOMPARE prints well.
[[nodiscard]] QStringList busTrace();
[[nodiscard]] QStringList busWire();
[[nodiscard]] QStringList busSends();
[[nodiscard]] QStringList busViolations();

// True when no command sequence holds the device.
[[nodiscard]] bool deviceLockIsFree();

} // namespace tavik::tests
