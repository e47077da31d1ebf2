// SPDX-License-Identifier: MIT
#include "device/command_session.h"
#include "device/pause.h"
#include "device/rehearsal.h"
#include "device/wire_lock.h"

using namespace std::chrono_literals;

namespace tavik {

namespace {

constexpr int sessionAttempts = 10;
constexpr auto pauseAfterBusy = 300ms;

constexpr int wireAttempts = 100;
constexpr auto pauseAfterHeldWire = 50ms;

} // namespace

QString Device::busyText()
{
    return QStringLiteral("Keyboard refuses to open a session (busy?)");
}

bool Device::takeWire()
{
    constexpr auto held = ProcessLock::Attempt::HeldByAnother;
    if (!wireLock)
        wireLock = std::make_unique<WireLock>();
    bool isTaken = wireLock->holders > 0 || rehearsal();
    for (int attempt = 0; !isTaken && attempt <= wireAttempts && !isInterrupted(); ++attempt) {
        if (attempt > 0)
            pause(pauseAfterHeldWire);
        isTaken = wireLock->turn.attempt() != held && wireLock->wire.attempt() != held;
    }
    wireLock->turn.release();
    if (isTaken)
        ++wireLock->holders;
    else
        lastError = isInterrupted() ? interruptedText() : busyText();
    isTurnedAway = !isTaken && !isInterrupted();
    return isTaken;
}

void Device::releaseWire()
{
    if (--wireLock->holders == 0)
        wireLock->wire.release();
}

bool Device::command(const Report& request, const QString& rejection)
{
    Report report = request;
    if (!exchange(report))
        return false;
    if (isAccepted(report, static_cast<CommandCode>(request[1])))
        return true;
    lastError = rejection.arg(statusText(report));
    return false;
}

bool Device::openSession(std::uint8_t flag)
{
    for (int attempt = 0; attempt < sessionAttempts; ++attempt) {
        Report report = commandReport(CommandCode::OpenSession, 0, flag);
        if (!exchange(report))
            return false;
        // A wrong echo or an odd status still means an open session; only "no answer yet" and
        // "busy" are worth another try.
        if (!isEmptyAnswer(report) && !isBusyAnswer(report))
            return true;
        pause(pauseAfterBusy);
    }
    lastError = busyText();
    isTurnedAway = true;
    return false;
}

bool Device::commit(const QString& rejection)
{
    return command(commandReport(CommandCode::Commit), rejection);
}

bool Device::finish(std::uint8_t flag)
{
    return command(commandReport(CommandCode::Finish, 0, flag),
                   QStringLiteral("FINISH rejected (status %1)"));
}

bool Device::sendCommand(CommandCode code, std::uint8_t argument, const Report& payload)
{
    const QString rejection = QStringLiteral("Command %1 rejected (status %2)")
                                  .arg(hexByte(static_cast<std::uint8_t>(code)));
    Report data = payload;
    CommandSession session(*this, SessionFlag::One);
    return session.open() && session.command(commandReport(code, argument, 1), rejection) &&
           session.exchange(data) && session.commit() && session.finish();
}

QString Device::commitRejection()
{
    return QStringLiteral("COMMIT rejected (status %1)");
}

} // namespace tavik
