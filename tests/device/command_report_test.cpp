// SPDX-License-Identifier: MIT
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

    void commandsHaveTitlesAndFollowers_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("followers"); // of nine that are announced
        const auto row = [](const char* title, int code, int followers) {
            QTest::newRow(title) << code << followers;
        };
        row("commit", 0x02, 0);
        row("base layer", 0x11, 9);
        row("lighting mode", 0x13, 9);
        row("macros", 0x15, 8);
        row("lighting sleep", 0x17, 9);
        row("open session", 0x18, 0);
        row("open macros", 0x19, 9);
        row("color bank", 0x23, 9);
        row("Fn layer", 0x27, 9);
        row("unknown command 5a", 0x5A, 9);
        row("screen, slot 2", 0x72, 9);
        row("finish", 0xF0, 0);
        row("read color bank", 0xF5, 8);
    }
    void commandsHaveTitlesAndFollowers()
    {
        QFETCH(const int, code);
        QFETCH(const int, followers);
        Report command = commandReport(static_cast<CommandCode>(code), 2, 9);
        QCOMPARE(commandTitle(command), QString(QTest::currentDataTag()));
        QCOMPARE(followersOf(command), followers);
        command = commandReport(static_cast<CommandCode>(code), 2, 0x0209);
        QCOMPARE(followersOf(command), followers == 0 ? 0 : followers + 0x0200);
        command = commandReport(static_cast<CommandCode>(code));
        QCOMPARE(followersOf(command), 0);
    }
};

QTEST_APPLESS_MAIN(CommandReportTest)
#include "command_report_test.moc"
