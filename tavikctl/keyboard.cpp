// SPDX-License-Identifier: MIT
#include "tavikctl/keyboard.h"

#include "device/device.h"
#include "doctor/examination.h"

#include <cerrno>

namespace tavik {

using doctor::Verdict;

ExitCode exitCodeOf(const doctor::Findings& findings)
{
    switch (doctor::verdictOf(findings)) {
    case Verdict::Ready:
    case Verdict::ReadyWithoutScreen:
        return ExitCode::Done;
    case Verdict::NotOnUsb:
    case Verdict::NoConfigurationInterface:
        return ExitCode::NoKeyboard;
    case Verdict::RuleMissing:
    case Verdict::RuleNotApplied:
    case Verdict::NoSeat:
    case Verdict::SharedWithKeys:
        return ExitCode::NoPermission;
    case Verdict::InUse:
        // Others may have it open, too, and take turns: the window does.
        return findings.configuration->error == EBUSY ? ExitCode::Busy : ExitCode::Done;
    case Verdict::WrongUsage:
    case Verdict::Unknown:
    case Verdict::Replugged:
        break;
    }
    return ExitCode::Failed;
}

void connectKeyboard()
{
    if (!Device::instance().refresh())
        throw keyboardFailure();
}

Failure keyboardFailure()
{
    const Device& device = Device::instance();
    if (Device::isInterrupted())
        return {ExitCode::Interrupted, QStringLiteral("Interrupted.")};
    if (!device.isOpen()) {
        const doctor::Findings findings = doctor::examine();
        if (const ExitCode code = exitCodeOf(findings); code != ExitCode::Done)
            return {code, QString::fromStdString(doctor::explain(findings))};
    }
    if (device.wasBusy())
        return {ExitCode::Busy,
                Device::busyText() + QStringLiteral(". Wait until the other program is done, then "
                                                    "try again.")};
    QString reason = device.lastError;
    if (reason.endsWith(u'.'))
        reason.chop(1);
    return {ExitCode::Failed,
            reason + QStringLiteral(". Unplug the keyboard, plug it in, and try again.")};
}

void requireSent(bool isSent)
{
    if (!isSent)
        throw keyboardFailure();
}

} // namespace tavik
