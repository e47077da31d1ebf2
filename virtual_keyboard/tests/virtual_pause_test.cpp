// SPDX-License-Identifier: MIT
#include "device/pause.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QTest>

using tavik::virtual_keyboard::VirtualBus;

class VirtualPauseTest : public QObject
{
    Q_OBJECT

private slots:
    void aPauseMovesTheVirtualClockAndStandsInTheTrace()
    {
        VirtualBus& bus = VirtualBus::instance();
        bus.reset();
        tavik::pause(std::chrono::milliseconds(35));
        tavik::pause(std::chrono::milliseconds(300));
        QCOMPARE(bus.now().count(), 335);
        QCOMPARE(bus.trace(), (std::vector<std::string>{"wait 35", "wait 300"}));
    }

    void aPauseGoesToTheClockThatWasHandedIn()
    {
        using std::chrono::milliseconds;
        VirtualBus& bus = VirtualBus::instance();
        bus.reset();
        milliseconds waited(0);
        bus.setClock([&] { return milliseconds(1000) + waited; },
                     [&](milliseconds duration) { waited += duration; });
        tavik::pause(milliseconds(50));
        QCOMPARE(waited.count(), 50);
        QCOMPARE(bus.now().count(), 1050);
        bus.setClock({}, {});
        QCOMPARE(bus.now().count(), 0);
    }
};

QTEST_GUILESS_MAIN(VirtualPauseTest)
#include "virtual_pause_test.moc"
