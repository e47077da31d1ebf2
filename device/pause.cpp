// SPDX-License-Identifier: MIT
#include "device/pause.h"

#include <QThread>

namespace tavik {

void pause(std::chrono::milliseconds duration)
{
    QThread::msleep(static_cast<unsigned long>(duration.count()));
}

} // namespace tavik
