// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace tavik {

// What the command ends with.
enum class ExitCode {
    Done = 0,
    Failed = 1, // refused, or failed on the way
    WrongUsage = 2,
    NoKeyboard = 3,
    NoPermission = 4,
    Busy = 5,
    Interrupted = 130, // as shells count a program that Ctrl+C has ended
};

// Thrown where a command cannot go on; the text says in one line what is wrong and what to do.
struct Failure
{
    ExitCode code = ExitCode::Failed;
    QString text;
};

} // namespace tavik
