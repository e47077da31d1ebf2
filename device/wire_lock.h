// SPDX-License-Identifier: MIT
#pragma once

#include "files/process_lock.h"

namespace tavik {

// What keeps the sequences of other processes off the wire. Who waits for the wire holds the turn:
// a process that sends one sequence after the other has to wait for that, and would else never let
// anybody in.
struct WireLock
{
    ProcessLock turn{runtimeFilePath(QStringLiteral("tavik-center-turn.lock"))};
    ProcessLock wire{runtimeFilePath(QStringLiteral("tavik-center-wire.lock"))};
    int holders = 0; // sequences of this process, one of which may have let the mutex go
};

} // namespace tavik
