// SPDX-License-Identifier: MIT
#include "device/command_session.h"

#include <tuple>

namespace tavik {

WireHold::WireHold(Device& keyboard) : device(keyboard)
{
    const QMutexLocker lock(&device.mutex);
    held = device.takeWire();
}

WireHold::~WireHold()
{
    const QMutexLocker lock(&device.mutex);
    if (held)
        device.releaseWire();
}

CommandSession::CommandSession(Device& keyboard, SessionFlag sessionFlag)
    : device(keyboard), flag(static_cast<std::uint8_t>(sessionFlag)), locker(&keyboard.mutex)
{
}

CommandSession::~CommandSession()
{
    if (finishOwed)
        std::ignore = device.finish(flag);
    if (holdsWire)
        device.releaseWire();
}

bool CommandSession::connectKeyboard()
{
    if (!device.ensureOpen())
        return false;
    holdsWire = holdsWire || device.takeWire();
    return holdsWire;
}

bool CommandSession::open()
{
    if (!connectKeyboard())
        return false;
    finishOwed = true;
    return device.openSession(flag);
}

bool CommandSession::command(const Report& request, const QString& rejection)
{
    return device.command(request, rejection);
}

bool CommandSession::finish()
{
    finishOwed = false;
    return device.finish(flag);
}

bool CommandSession::letOthersIn()
{
    locker.unlock();
    locker.relock();
    finishOwed = connectKeyboard();
    return finishOwed;
}

void CommandSession::abandon()
{
    locker.relock();
    finishOwed = false;
    Report report = commandReport(CommandCode::Finish, 0, flag);
    std::ignore = device.exchange(report);
}

bool CommandSession::commitAndEnd(const QString& rejection)
{
    locker.relock();
    finishOwed = !device.commit(rejection);
    return !finishOwed;
}

} // namespace tavik
