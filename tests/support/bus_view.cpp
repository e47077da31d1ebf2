#include "tests/support/bus_view.h"

#include "device/device.h"
#include "virtual_keyboard/virtual_bus.h"

namespace tavik::tests {

namespace {

using virtual_keyboard::VirtualBus;

QStringList toStringList(const std::vector<std::string>& lines)
{
    QStringList result;
    for (const std::string& line : lines)
        result += QString::fromStdString(line);
    return result;
}

} // namespace

QStringList busTrace()
{
    return toStringList(VirtualBus::instance().trace());
}

QStringList busWire()
{
    return toStringList(VirtualBus::instance().wire());
}

QStringList busSends()
{
    return toStringList(VirtualBus::instance().sends());
}

QStringList takeBusViolations()
{
    const QStringList violations = toStringList(VirtualBus::instance().violations());
    VirtualBus::instance().clearViolations();
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
