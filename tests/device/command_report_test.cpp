#include "device/command_report.h"

#include <QTest>

using namespace tavik;

class CommandReportTest : public QObject
{
    Q_OBJECT

private slots:
    void reportHoldsMarkerCodeArgumentAndCount()
    {
        const Report report = commandReport(CommandCode::ScreenUpload, 3, 0x01F1);
        Report expected{};
        expected[0] = 0x04;
        expected[1] = 0x72;
        expected[2] = 3;
        expected[8] = 0xF1;
        expected[9] = 0x01;
        QCOMPARE(report, expected);
    }

    void acceptanceLooksAtMarkerEchoAndStatusOnly()
    {
        Report answer{};
        answer[0] = 0x04;
        answer[1] = 0x13;
        answer[2] = 0x77;
        answer[3] = 0x01;
        answer[63] = 0x99;
        QVERIFY(isAccepted(answer, CommandCode::LightingMode));
        QVERIFY(!isAccepted(answer, CommandCode::LightingSleep));
        answer[0] = 0x05;
        QVERIFY(!isAccepted(answer, CommandCode::LightingMode));
        answer[0] = 0x04;
        answer[3] = 0xFF;
        QVERIFY(!isAccepted(answer, CommandCode::LightingMode));
    }

    void onlySixtyFourZerosAreAnEmptyAnswer()
    {
        Report answer{};
        QVERIFY(isEmptyAnswer(answer));
        answer[63] = 1;
        QVERIFY(!isEmptyAnswer(answer));
    }

    void busyIsStatusFF()
    {
        Report answer{};
        QVERIFY(!isBusyAnswer(answer));
        answer[3] = 0xFF;
        QVERIFY(isBusyAnswer(answer));
    }

    void statusIsShownAsTwoLowerCaseDigits()
    {
        Report answer{};
        answer[3] = 0x02;
        QCOMPARE(statusText(answer), QStringLiteral("02"));
        answer[3] = 0xFF;
        QCOMPARE(statusText(answer), QStringLiteral("ff"));
        QCOMPARE(hexByte(0x0A), QStringLiteral("0a"));
    }
};

QTEST_APPLESS_MAIN(CommandReportTest)
#include "command_report_test.moc"
