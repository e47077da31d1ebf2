// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"
#include "tests/support/sequence_faults.h"

#include <QTest>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;

namespace {

Device& device()
{
    return Device::instance();
}

const QString openSend = QStringLiteral("send 04 18 00 00 00 00 00 00 01");
const QString openRead = QStringLiteral("read 04 18 00 01");
const QString finishReport = QStringLiteral("04 f0 00 00 00 00 00 00 01");
const QString openReport = QStringLiteral("04 18 00 00 00 00 00 00 01");
const QString modeHeader = QStringLiteral("04 13 00 00 00 00 00 00 01");
const QString modeData = QStringLiteral("0b ff 00 00 00 00 00 00 01 05 03 03 00 00 aa 55");
const QString commitReport = QStringLiteral("04 02");

tavik::Report modePayload()
{
    return {0x0B, 0xFF, 0, 0, 0, 0, 0, 0, 1, 5, 3, 3, 0, 0, markerFirst, markerSecond};
}

// The session that carries it.
const QList<SequenceStep> modeSteps{{"session", openReport, {}},
                                    {"header", modeHeader, "Command 13 rejected (status %1)"},
                                    {"data", modeData, {}},
                                    {"COMMIT", commitReport, "COMMIT rejected (status %1)"},
                                    {"FINISH", finishReport, "FINISH rejected (status %1)"}};

bool sendMode()
{
    return device().sendCommand(CommandCode::LightingMode, 0, modePayload());
}

} // namespace

class DeviceSessionTest : public QObject
{
    Q_OBJECT

private slots:
    void sessionOpensAtOnce()
    {
        QVERIFY(device().ensureOpen());
        bus().clearTrace();
        QVERIFY(device().openSession(0));
        QCOMPARE(busTrace(), QStringList({"wait 35", "send 04 18", "wait 50", "read 04 18 00 01"}));
        QCOMPARE(bus().keyboard().sessionFlag(), std::optional<std::uint8_t>(0));
    }

    void busyKeyboardIsAskedAgainAfterThreeHundredMilliseconds()
    {
        QVERIFY(device().ensureOpen());
        bus().clearTrace();
        bus().failAt(1, busy(), 2);
        QVERIFY(device().openSession(1));
        const QStringList busyTry{"wait 35", openSend, "wait 50", "read 04 18 00 ff", "wait 300"};
        QCOMPARE(busTrace(),
                 busyTry + busyTry + QStringList({"wait 35", openSend, "wait 50", openRead}));
    }

    void emptyAnswerMeansBusy()
    {
        QVERIFY(device().ensureOpen());
        bus().clearTrace();
        bus().failAt(1, emptyAnswer());
        QVERIFY(device().openSession(1));
        QCOMPARE(busTrace(), QStringList({"wait 35", openSend, "wait 50", "read 00", "wait 300",
                                          "wait 35", openSend, "wait 50", openRead}));
    }

    void tenBusyAnswersAreARefusal()
    {
        QVERIFY(device().ensureOpen());
        bus().clearTrace();
        bus().failAt(1, busy(), 10);
        QVERIFY(!device().openSession(1));
        QCOMPARE(device().lastError, QStringLiteral("Keyboard refuses to open a session (busy?)"));
        QCOMPARE(bus().count(openSend.toStdString()), 10);
        QCOMPARE(bus().count("wait 300"), 10);
        QCOMPARE(busTrace().constLast(), QStringLiteral("wait 300"));
    }

    void nineBusyAnswersAreNot()
    {
        QVERIFY(device().ensureOpen());
        bus().failAt(1, busy(), 9);
        QVERIFY(device().openSession(1));
    }

    void oddAnswersCountAsAnOpenSession_data()
    {
        QTest::addColumn<bool>("isWrongEcho");
        QTest::addColumn<int>("status");
        QTest::newRow("odd-status") << false << 0x07;
        QTest::newRow("wrong-echo") << true << 0x01;
        QTest::newRow("both") << true << 0x07;
    }
    void oddAnswersCountAsAnOpenSession()
    {
        QFETCH(bool, isWrongEcho);
        QFETCH(int, status);
        QVERIFY(device().ensureOpen());
        bus().clearTrace();
        const auto statusByte = static_cast<std::uint8_t>(status);
        bus().failAt(1, isWrongEcho ? wrongEcho(statusByte) : answerStatus(statusByte));
        QVERIFY(device().openSession(1));
        QCOMPARE(busSends(), QStringList({openReport}));
        const QString echo = isWrongEcho ? "05 e7" : "04 18";
        QCOMPARE(busWire().at(1), QStringLiteral("read %1 00 %2").arg(echo, hexByte(statusByte)));
    }

    void busyStatusCountsWhateverTheEcho()
    {
        QVERIFY(device().ensureOpen());
        bus().clearTrace();
        bus().failAt(1, wrongEcho(0xFF));
        QVERIFY(device().openSession(1));
        QCOMPARE(busSends(), QStringList({openReport, openReport}));
        QCOMPARE(bus().count("wait 300"), 1);
        QCOMPARE(takeBusViolations(), QStringList("session opened inside a session"));
    }

    void transportFailureEndsTheSessionOpenAtOnce()
    {
        QVERIFY(device().ensureOpen());
        bus().clearTrace();
        bus().failAt(1, sendError("Broken pipe"));
        QVERIFY(!device().openSession(1));
        QCOMPARE(device().lastError, QStringLiteral("Broken pipe"));
        QCOMPARE(busTrace(), QStringList({"wait 35", "send failed"}));
    }

    void controlCommandsPassOnTransportFailures()
    {
        QVERIFY(device().ensureOpen());
        QVERIFY(device().openSession(1));
        bus().failAt(1, readError("first"));
        bus().failAt(2, sendError("second"));
        QVERIFY(!device().commit());
        QCOMPARE(device().lastError, QStringLiteral("first"));
        QVERIFY(!device().finish(1));
        QCOMPARE(device().lastError, QStringLiteral("second"));
        QCOMPARE(takeBusViolations(), QStringList("COMMIT without a command to complete"));
    }

    void finishCarriesTheFlag()
    {
        QVERIFY(device().ensureOpen());
        QVERIFY(device().openSession(0));
        bus().clearTrace();
        QVERIFY(device().finish(0));
        QCOMPARE(busTrace(), QStringList({"wait 35", "send 04 f0", "wait 50", "read 04 f0 00 01"}));
        QCOMPARE(takeBusViolations(), QStringList("FINISH without COMMIT"));
    }

    void commandIsOneWholeSession()
    {
        QVERIFY(sendMode());
        QStringList trace{"init", "enumerate 8009", "open config"};
        for (const SequenceStep& step : modeSteps)
            trace += exchangeTrace(step);
        QCOMPARE(busTrace(), trace);
        QCOMPARE(bus().keyboard().state().lighting, modePayload());
        QVERIFY(deviceLockIsFree());
    }

    void argumentGoesIntoTheHeader()
    {
        tavik::Report payload{};
        payload[8] = 3;
        payload[62] = markerFirst;
        payload[63] = markerSecond;
        QVERIFY(device().sendCommand(CommandCode::LightingSleep, 1, payload));
        QCOMPARE(busSends().at(1), QStringLiteral("04 17 01 00 00 00 00 00 01"));
        QCOMPARE(bus().keyboard().state().sleepCode, std::uint8_t{3});
    }

    void commandWithoutKeyboardSendsNothing()
    {
        bus().unplug();
        QVERIFY(!sendMode());
        QCOMPARE(device().lastError, notFoundText);
        QCOMPARE(busTrace(), QStringList({"init", "enumerate 8009", "enumerate 800a", "exit"}));
        QVERIFY(deviceLockIsFree());
    }

    void commandWithoutHidapiSendsNothing()
    {
        bus().setInitFails(true);
        QVERIFY(!sendMode());
        QCOMPARE(device().lastError, QStringLiteral("hid_init failed"));
        QCOMPARE(busTrace(), QStringList({"init failed"}));
        QVERIFY(deviceLockIsFree());
    }

    void commandFailsAtEachStep_data() { addFaultRows(faultsOfSession(modeSteps)); }
    void commandFailsAtEachStep()
    {
        QFETCH(SequenceFault, fault);
        QVERIFY(device().ensureOpen());
        arrange(fault);
        QVERIFY(!sendMode());
        QCOMPARE(busSends(), fault.sends);
        QCOMPARE(device().lastError, fault.text);
        QVERIFY(deviceLockIsFree());
        QVERIFY(device().isOpen());
    }

    void failingFinishReplacesTheEarlierText()
    {
        QVERIFY(device().ensureOpen());
        bus().failAt(2, answerStatus(0x03));
        bus().failAt(3, busy());
        QVERIFY(!sendMode());
        QCOMPARE(busSends(), QStringList({openReport, modeHeader, finishReport}));
        QCOMPARE(device().lastError, QStringLiteral("FINISH rejected (status ff)"));
    }

    void dataAnswerDoesNotMatter()
    {
        QVERIFY(device().ensureOpen());
        bus().failAt(3, answerStatus(0x09));
        QVERIFY(sendMode());
    }

    void unpluggedInTheMiddleEndsInAFailure()
    {
        QVERIFY(device().ensureOpen());
        bus().unplugAt(5); // between header and data
        QVERIFY(!sendMode());
        QVERIFY(!device().lastError.isEmpty());
        QVERIFY(deviceLockIsFree());
        QVERIFY(device().isOpen());
    }
};

TAVIK_ISOLATED_TEST_MAIN(DeviceSessionTest)
#include "device_session_test.moc"
