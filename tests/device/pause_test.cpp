// SPDX-License-Identifier: MIT
#include "device/pause.h"

#include <QTest>

using namespace std::chrono_literals;

// The real clock, which every other test replaces.
class PauseTest : public QObject
{
    Q_OBJECT

private slots:
    // The keyboard loses a report that comes too early; late is only slow.
    void isNeverShorterThanAsked()
    {
        for (const std::chrono::milliseconds asked : {0ms, 1ms, 35ms, 300ms}) {
            const auto begin = std::chrono::steady_clock::now();
            tavik::pause(asked);
            QVERIFY(std::chrono::steady_clock::now() - begin >= asked);
        }
    }
};

QTEST_APPLESS_MAIN(PauseTest)
#include "pause_test.moc"
