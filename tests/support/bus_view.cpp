// SPDX-License-Identifier: MIT
#include "tests/support/bus_view.h"

#include "device/device.h"

namespace tavik::tests {

namespace {

QStringList toStringList(const std::vector<std::string>& lines)
{
    QStringList result;
    for (const std::string& line : lines)
        result += QString::fromStdString(line);
    return result;
}

} // namespace

virtual_keyboard::VirtualBus& bus()
{
    return virtual_keyboard::VirtualBus::instance();
}

QStringList busTrace()
{
    return toStringList(bus().trace());
}

QStringList busWire()
{
    return toStringList(bus().wire());
}

QStringList busSends()
{
    return toStringList(bus().sends());
}

QStringList takeBusViolations()
{
    const QStringList violations = toStringList(bus().violations());
    bus().clearViolations();
    return violations;
}

bool deviceLockIsFree()
{
    QMutex& mutex = Device::instance().mutex;
    const bool isFree = mutex.tryLock();
    if (isFree)
        mutex.unlock();
    return isFree;
}

} // namespace tavik::tests
