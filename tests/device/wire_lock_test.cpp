// SPDX-License-Identifier: MIT
#include "device/command_session.h"
#include "files/process_lock.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_transfer.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"

#include <QTest>

using namespace tavik;
using namespace tavik::tests;
using Attempt = ProcessLock::Attempt;

namespace {

// What another process would hold. A lock belongs to who opened the file, not to the process.
ProcessLock& otherProcess()
{
    static ProcessLock lock(runtimeFilePath(QStringLiteral("tavik-center-wire.lock")));
    return lock;
}

bool sendSomething()
{
    return Device::instance().sendCommand(
        CommandCode::LightingMode, 0,
        {0x0B, 0xFF, 0, 0, 0, 0, 0, 0, 1, 5, 3, 3, 0, 0, markerFirst, markerSecond});
}

} // namespace

class WireLockTest : public QObject
{
    Q_OBJECT

private slots:
    void nobodyElseOnTheWireCostsNoWait()
    {
        QVERIFY(Device::instance().refresh());
        bus().clearTrace();
        QVERIFY(sendSomething());
        QCOMPARE(bus().count("wait 35"), 5);
        QCOMPARE(bus().count("wait 50"), 5);
        QCOMPARE(busTrace().filter(QStringLiteral("wait")).size(), 10);
    }

    void waitsForAnotherProcessToEnd()
    {
        QVERIFY(Device::instance().refresh());
        QCOMPARE(otherProcess().attempt(), Attempt::Taken);
        const auto start = bus().now();
        bus().setListener([start] {
            if (bus().now() - start >= std::chrono::milliseconds(1000))
                otherProcess().release();
        });
        bus().clearTrace();

        QVERIFY(sendSomething());
        QCOMPARE(busTrace().mid(0, 20), QStringList(20, QStringLiteral("wait 50")));
        QCOMPARE(busTrace().at(20), QStringLiteral("wait 35"));
        QCOMPARE(int{bus().keyboard().state().lighting.at(0)}, 0x0B);
    }

    // A process that sends one sequence after the other lets in who waits in between.
    void whoWaitsIsNext()
    {
        QVERIFY(Device::instance().refresh());
        ProcessLock turn(runtimeFilePath(QStringLiteral("tavik-center-turn.lock")));
        QCOMPARE(turn.attempt(), Attempt::Taken);
        bus().setListener([&turn] {
            if (bus().count("wait 50") == 3)
                turn.release();
        });
        bus().clearTrace();

        QVERIFY(sendSomething());
        QCOMPARE(busTrace().mid(0, 4), QStringList({"wait 50", "wait 50", "wait 50", "wait 35"}));
        QCOMPARE(turn.attempt(), Attempt::Taken);
    }

    // Whoever has the turn by now waits for the wire that is held here.
    void whoHoldsTheWireWaitsForNoTurn()
    {
        QVERIFY(Device::instance().refresh());
        const WireHold hold(Device::instance());
        QVERIFY(hold.isHeld());
        ProcessLock turn(runtimeFilePath(QStringLiteral("tavik-center-turn.lock")));
        QCOMPARE(turn.attempt(), Attempt::Taken);
        bus().clearTrace();
        QVERIFY(sendSomething());
        QCOMPARE(busTrace().at(0), QStringLiteral("wait 35"));
    }

    // The acknowledgements of a transfer go to everybody who has the screen interface open.
    void screenIsOpenedOnlyOnceTheWireIsOurs()
    {
        QVERIFY(Device::instance().refresh());
        QCOMPARE(otherProcess().attempt(), Attempt::Taken);
        bus().setListener([] {
            if (bus().count("wait 50") == 5)
                otherProcess().release();
        });
        bus().clearTrace();
        const ScreenStream stream =
            buildScreenStream({{QImage(128, 128, QImage::Format_RGB32), 100}});
        QVERIFY(sendToScreen(stream, 1, [](const QString&) {}).ok);
        QCOMPARE(busTrace().first(5), QStringList(5, QStringLiteral("wait 50")));
        QVERIFY(busTrace().indexOf(QStringLiteral("open screen")) > 5);
    }

    void screenTransferGivesUpAfterFiveSeconds()
    {
        QVERIFY(Device::instance().refresh());
        QCOMPARE(otherProcess().attempt(), Attempt::Taken);
        bus().clearTrace();
        QStringList progress;
        const ScreenTransferResult result =
            sendToScreen(ScreenStream{}, 1, [&](const QString& text) { progress += text; });
        QVERIFY(!result.ok);
        QCOMPARE(result.error, QStringLiteral("Keyboard refuses to open a session (busy?)"));
        QCOMPARE(progress, QStringList());
        QCOMPARE(busTrace(), QStringList(100, QStringLiteral("wait 50")));
        QVERIFY(deviceLockIsFree());
    }

    void givesUpAfterFiveSeconds()
    {
        QVERIFY(Device::instance().refresh());
        QCOMPARE(otherProcess().attempt(), Attempt::Taken);
        bus().clearTrace();

        QVERIFY(!sendSomething());
        QCOMPARE(Device::instance().lastError,
                 QStringLiteral("Keyboard refuses to open a session (busy?)"));
        QCOMPARE(busTrace(), QStringList(100, QStringLiteral("wait 50")));
        QVERIFY(Device::instance().isOpen());
        QVERIFY(deviceLockIsFree());

        otherProcess().release();
        QVERIFY(sendSomething());
    }

    void keyboardThatIsNotThereIsNotWaitedFor()
    {
        bus().unplug();
        QCOMPARE(otherProcess().attempt(), Attempt::Taken);
        bus().clearTrace();

        QVERIFY(!sendSomething());
        QCOMPARE(Device::instance().lastError, notFoundText);
        QCOMPARE(bus().count("wait 50"), 0);
    }

    void lockThatCannotBeMadeIsNoReasonToFail()
    {
        qputenv("XDG_RUNTIME_DIR", "/proc");
        QVERIFY(sendSomething());
    }

    void isFreeAfterAFailure()
    {
        QVERIFY(Device::instance().refresh());
        bus().failCommand(0x13, virtual_keyboard::answerStatus(7));
        QVERIFY(!sendSomething());
        QCOMPARE(otherProcess().attempt(), Attempt::Taken);
    }
};

TAVIK_ISOLATED_TEST_MAIN(WireLockTest)
#include "wire_lock_test.moc"
