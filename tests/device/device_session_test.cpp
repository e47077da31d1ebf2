#include "device/device.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"

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

    void controlCommandsCheckTheirAnswer_data()
    {
        QTest::addColumn<bool>("isFinish");
        QTest::addColumn<int>("status"); // -1: empty answer, -2: wrong echo
        QTest::addColumn<QString>("text");
        QTest::newRow("commit-status-02") << false << 0x02 << "COMMIT rejected (status 02)";
        QTest::newRow("commit-busy") << false << 0xFF << "COMMIT rejected (status ff)";
        QTest::newRow("commit-empty") << false << -1 << "COMMIT rejected (status 00)";
        QTest::newRow("commit-wrong-echo") << false << -2 << "COMMIT rejected (status 01)";
        QTest::newRow("finish-status-02") << true << 0x02 << "FINISH rejected (status 02)";
        QTest::newRow("finish-busy") << true << 0xFF << "FINISH rejected (status ff)";
        QTest::newRow("finish-empty") << true << -1 << "FINISH rejected (status 00)";
        QTest::newRow("finish-wrong-echo") << true << -2 << "FINISH rejected (status 01)";
    }

    void controlCommandsCheckTheirAnswer()
    {
        QFETCH(bool, isFinish);
        QFETCH(int, status);
        QFETCH(QString, text);
        QVERIFY(device().ensureOpen());
        QVERIFY(device().openSession(1));
        QVERIFY(device().command(commandReport(CommandCode::LightingMode, 0, 1), QString()));
        tavik::Report data = modePayload();
        QVERIFY(device().exchange(data));
        QVERIFY(!isFinish || device().commit());
        bus().clearTrace();
        bus().failAt(1, status == -1   ? emptyAnswer()
                        : status == -2 ? wrongEcho()
                                       : answerStatus(static_cast<std::uint8_t>(status)));
        QVERIFY(!(isFinish ? device().finish(1) : device().commit()));
        QCOMPARE(device().lastError, text);
        QCOMPARE(busSends(), QStringList({isFinish ? finishReport : commitReport}));
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
        QCOMPARE(busTrace(), QStringList({"init",
                                          "enumerate 8009",
                                          "open config",
                                          "wait 35",
                                          openSend,
                                          "wait 50",
                                          openRead,
                                          "wait 35",
                                          "send " + modeHeader,
                                          "wait 50",
                                          "read 04 13 00 01",
                                          "wait 35",
                                          "send " + modeData,
                                          "wait 50",
                                          "read 00",
                                          "wait 35",
                                          "send 04 02",
                                          "wait 50",
                                          "read 04 02 00 01",
                                          "wait 35",
                                          "send " + finishReport,
                                          "wait 50",
                                          "read 04 f0 00 01"}));
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
        QVERIFY(device().lastError.startsWith(QStringLiteral("Keyboard not found")));
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

    void commandFailsAtEachStep_data()
    {
        QTest::addColumn<int>("exchange"); // 1 session open, 2 header, 3 data, 4 COMMIT, 5 FINISH
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QStringList>("sends");
        QTest::addColumn<QString>("text");
        const QString transportText = QStringLiteral("Broken pipe");
        QTest::newRow("session-send") << 1 << "send" << QStringList{finishReport} << transportText;
        QTest::newRow("session-read")
            << 1 << "read" << QStringList{openReport, finishReport} << transportText;
        QTest::newRow("header-send")
            << 2 << "send" << QStringList{openReport, finishReport} << transportText;
        QTest::newRow("header-read")
            << 2 << "read" << QStringList{openReport, modeHeader, finishReport} << transportText;
        QTest::newRow("header-rejected")
            << 2 << "status" << QStringList{openReport, modeHeader, finishReport}
            << "Command 13 rejected (status 03)";
        QTest::newRow("header-empty")
            << 2 << "empty" << QStringList{openReport, modeHeader, finishReport}
            << "Command 13 rejected (status 00)";
        QTest::newRow("header-wrong-echo")
            << 2 << "echo" << QStringList{openReport, modeHeader, finishReport}
            << "Command 13 rejected (status 01)";
        QTest::newRow("data-send")
            << 3 << "send" << QStringList{openReport, modeHeader, finishReport} << transportText;
        QTest::newRow("data-read")
            << 3 << "read" << QStringList{openReport, modeHeader, modeData, finishReport}
            << transportText;
        const QStringList upToData{openReport, modeHeader, modeData};
        QTest::newRow("commit-send")
            << 4 << "send" << upToData + QStringList{finishReport} << transportText;
        QTest::newRow("commit-read")
            << 4 << "read" << upToData + QStringList{commitReport, finishReport} << transportText;
        QTest::newRow("commit-rejected")
            << 4 << "status" << upToData + QStringList{commitReport, finishReport}
            << "COMMIT rejected (status 03)";
        const QStringList upToCommit = upToData + QStringList{commitReport};
        QTest::newRow("finish-send") << 5 << "send" << upToCommit << transportText;
        QTest::newRow("finish-read")
            << 5 << "read" << upToCommit + QStringList{finishReport} << transportText;
        QTest::newRow("finish-rejected") << 5 << "status" << upToCommit + QStringList{finishReport}
                                         << "FINISH rejected (status 03)";
    }

    void commandFailsAtEachStep()
    {
        QFETCH(int, exchange);
        QFETCH(QString, failure);
        QFETCH(QStringList, sends);
        QFETCH(QString, text);
        QVERIFY(device().ensureOpen());
        bus().failAt(exchange, failure == "send"     ? sendError("Broken pipe")
                               : failure == "read"   ? readError("Broken pipe")
                               : failure == "status" ? answerStatus(0x03)
                               : failure == "empty"  ? emptyAnswer()
                                                     : wrongEcho());
        QVERIFY(!sendMode());
        QCOMPARE(busSends(), sends);
        QCOMPARE(device().lastError, text);
        QVERIFY(deviceLockIsFree());
        QVERIFY(device().isOpen());
    }

    void refusedSessionIsFinishedToo()
    {
        QVERIFY(device().ensureOpen());
        bus().failAt(1, busy(), 10);
        QVERIFY(!sendMode());
        QCOMPARE(busSends().size(), 11);
        QCOMPARE(busSends().constLast(), finishReport);
        QCOMPARE(device().lastError, QStringLiteral("Keyboard refuses to open a session (busy?)"));
        QVERIFY(deviceLockIsFree());
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
