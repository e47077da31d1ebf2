// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "pages/parts/lighting_command.h"

#include <QCoreApplication>

#include <cstdio>

// Sends the sleep time as many times as the argument says. Ends with the number of those that
// failed.
int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const int count = application.arguments().value(1).toInt();
    if (!tavik::Device::instance().refresh())
        return count;
    std::puts("ready");
    std::fflush(stdout);
    int failures = 0;
    for (int i = 0; i < count; ++i) {
        if (tavik::sendLightingSleep(i % 4))
            continue;
        ++failures;
        std::puts(qUtf8Printable(tavik::Device::instance().lastError));
    }
    return failures;
}
