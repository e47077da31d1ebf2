// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "model/macro_record.h"
#include "pages/macros/macro_upload.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"
#include "tests/support/sequence_faults.h"

#include <QTest>

#include <algorithm>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int announcementExchange = 3;
constexpr int firstPieceExchange = 4;

// Bytes that differ from their neighbors and are zero nowhere.
QByteArray variedImage(qsizetype size)
{
    QByteArray image;
    for (qsizetype offset = 0; offset < size; ++offset)
        image += static_cast<char>(1 + offset % 253);
    return image;
}

QList<MacroRecord> sampleMacros()
{
    return {{QStringLiteral("Empty"), {}},
            {QStringLiteral("Hello"),
             {{0, 0x0B, 0xB0},
              {20, 0x0B, 0x30},
              {500, 0x00, 0x50},
              {65535, 0x01, 0x90},
              {1, 0x01, 0x10}}}};
}

QList<SequenceStep> uploadSteps(const QByteArray& image, const QString& announcement)
{
    QList<SequenceStep> steps{{"session", QStringLiteral("04 18 00 00 00 00 00 00 01"), QString()},
                              {"macro session", QStringLiteral("04 19"),
                               QStringLiteral("Macro session rejected (status %1)")},
                              {"announcement", announcement, QString()}};
    steps += dataSteps("piece", {reinterpret_cast<const std::uint8_t*>(image.constData()),
                                 static_cast<std::size_t>(image.size())});
    steps +=
        {"COMMIT", QStringLiteral("04 02"), QStringLiteral("Macro COMMIT rejected (status %1)")};
    steps += {"FINISH", QStringLiteral("04 f0 00 00 00 00 00 00 01"),
              QStringLiteral("FINISH rejected (status %1)")};
    return steps;
}

QList<SequenceStep> smallestSteps()
{
    return uploadSteps(variedImage(400), QStringLiteral("04 15 00 00 00 00 00 00 08"));
}

void sizeRows()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("padded");
    QTest::addColumn<int>("announced");
    QTest::newRow("smallest") << 400 << 448 << 8;
    QTest::newRow("whole reports") << 448 << 448 << 8;
    QTest::newRow("one byte more") << 449 << 512 << 9;
    QTest::newRow("largest") << 3072 << 3072 << 49;
}

} // namespace

class MacroUploadTest : public QObject
{
    Q_OBJECT

private slots:
    void bufferIsPaddedAndMarked_data() { sizeRows(); }
    void bufferIsPaddedAndMarked()
    {
        QFETCH(int, size);
        QFETCH(int, padded);
        const QByteArray image = variedImage(size);
        const QByteArray marker = QByteArray::fromHex("aa55");
        QCOMPARE(macroTransferBuffer(image), image + QByteArray(padded - size, '\0') + marker);
    }

    void announcementIsOneMoreThanThePieces_data() { sizeRows(); }
    void announcementIsOneMoreThanThePieces()
    {
        QFETCH(int, size);
        QFETCH(int, padded);
        QFETCH(int, announced);
        QCOMPARE(announcedMacroReports(size), announced);
        QCOMPARE(announced, padded / 64 + 1);
        QVERIFY(writeMacroSpace(variedImage(size)));
        QCOMPARE(
            busSends().at(2),
            QStringLiteral("04 15 00 00 00 00 00 00 %1").arg(announced, 2, 16, QLatin1Char('0')));
        QCOMPARE(busSends().size(), 3 + padded / 64 + 2);
        QCOMPARE(qsizetype(bus().keyboard().state().macroSpace.size()), qsizetype(padded));
    }

    void smallImageIsAnnouncedAsTheSmallest()
    {
        QCOMPARE(announcedMacroReports(0), 8);
        QCOMPARE(announcedMacroReports(399), 8);
    }

    void goodUploadOnTheWire()
    {
        QVERIFY(writeMacroSpace(variedImage(400)));
        QStringList expected{"init", "enumerate 8009", "open config"};
        for (const SequenceStep& step : smallestSteps()) {
            // Between two pieces, and longer before what makes the keyboard store them.
            if (step.name.startsWith("piece") && step.name != "piece 1")
                expected += QStringLiteral("wait 2");
            if (step.name == "COMMIT")
                expected += QStringLiteral("wait 30");
            expected += exchangeTrace(step);
        }
        QCOMPARE(busTrace(), expected);
        QVERIFY(!bus().keyboard().sessionOpen());
        QVERIFY(deviceLockIsFree());
    }

    // The seventeenth macro begins at 0x0204, and its offset is the only one in its report: 04 02.
    void offsetThatReadsLikeACommitIsData()
    {
        QList<MacroRecord> macros = QList<MacroRecord>(13, {QString(), {{1, 0x04, 0xB0}}});
        macros += {QString(), {{1, 0x04, 0xB0}, {1, 0x04, 0x30}}};
        macros += QList<MacroRecord>(2);
        macros += {QString(), {{7, 0x05, 0xB0}}};
        const std::optional<QByteArray> image = encodeMacroSpace(macros);
        QVERIFY(image && image->sliced(64).startsWith(QByteArray::fromHex("04020000")));
        QVERIFY(writeMacroSpace(*image));
        const auto& space = bus().keyboard().state().macroSpace;
        const virtual_keyboard::MacroEvent press{7, virtual_keyboard::MacroEventKind::KeyPress, 5};
        QVERIFY(virtual_keyboard::playMacro(space, 16) == std::vector{press});
    }

    void lockIsHeldDuringAllTraffic()
    {
        int free = 0;
        bus().setListener([&free] { free += deviceLockIsFree() ? 1 : 0; });
        QVERIFY(writeMacroSpace(variedImage(400)));
        bus().setListener({});
        QCOMPARE(free, 0);
        QVERIFY(bus().trace().size() > 40);
        QVERIFY(deviceLockIsFree());
    }

    void keyboardPlaysWhatWasUploaded()
    {
        using virtual_keyboard::MacroEvent;
        using virtual_keyboard::MacroEventKind;
        const std::optional<QByteArray> image = encodeMacroSpace(sampleMacros());
        QVERIFY(image.has_value());
        QVERIFY(writeMacroSpace(*image));
        const std::vector<MacroEvent> expected{{0, MacroEventKind::KeyPress, 0x0B},
                                               {20, MacroEventKind::KeyRelease, 0x0B},
                                               {500, MacroEventKind::Pause, 0x00},
                                               {65535, MacroEventKind::MousePress, 0x01},
                                               {1, MacroEventKind::MouseRelease, 0x01}};
        QVERIFY(bus().keyboard().playMacro(1) == expected);
        QVERIFY(bus().keyboard().playMacro(0).empty());
        QVERIFY(bus().keyboard().playMacro(2).empty());
    }

    void uploadReplacesTheWholeSpaceAndNothingElse()
    {
        virtual_keyboard::KeyboardState history;
        history.sleepCode = 2;
        history.colorBank[7] = {1, 2, 3};
        history.macroSpace = std::vector<std::uint8_t>(3072, 0x77);
        bus().keyboard().setState(history);
        QVERIFY(writeMacroSpace(variedImage(400)));
        const QByteArray padded = variedImage(400) + QByteArray(48, '\0');
        history.macroSpace.assign(padded.begin(), padded.end());
        QVERIFY(bus().keyboard().state() == history);
    }

    void busySessionIsAskedAgain()
    {
        bus().failAt(1, virtual_keyboard::busy(), 2);
        QVERIFY(writeMacroSpace(variedImage(400)));
        QCOMPARE(bus().count("wait 300"), 2);
    }

    void answerToTheAnnouncementIsNotChecked_data()
    {
        QTest::addColumn<QString>("answer");
        for (const char* name : {"rejected", "busy", "empty", "wrong echo"})
            QTest::newRow(name) << name;
    }
    void answerToTheAnnouncementIsNotChecked()
    {
        QFETCH(QString, answer);
        using namespace virtual_keyboard;
        bus().failAt(announcementExchange, answer == "rejected" ? answerStatus(5)
                                           : answer == "busy"   ? busy()
                                           : answer == "empty"  ? emptyAnswer()
                                                                : wrongEcho());
        QVERIFY(writeMacroSpace(variedImage(400)));
        QCOMPARE(busSends(), reportsOf(smallestSteps()));
    }

    void pieceThatPassesAtTheTenthAttemptIsGood()
    {
        bus().failAt(firstPieceExchange + 2, virtual_keyboard::readError("read broke"), 9);
        QVERIFY(writeMacroSpace(variedImage(400)));
        QCOMPARE(bus().count("read failed"), 9);
        QCOMPARE(bus().count("wait 2"), 6);
        const QByteArray padded = variedImage(400) + QByteArray(48, '\0');
        QVERIFY(std::ranges::equal(bus().keyboard().state().macroSpace, padded, {}, {},
                                   [](char byte) { return static_cast<std::uint8_t>(byte); }));
    }

    void lastOfTenAttemptsLeavesItsText()
    {
        constexpr int thirdPiece = firstPieceExchange + 2;
        bus().failAt(thirdPiece, virtual_keyboard::sendError("first nine"), 9);
        bus().failAt(thirdPiece + 9, virtual_keyboard::sendError("the tenth"));
        QVERIFY(!writeMacroSpace(variedImage(400)));
        QCOMPARE(Device::instance().lastError, QStringLiteral("the tenth"));
        QCOMPARE(bus().count("send failed"), 10);
        const QStringList reports = reportsOf(smallestSteps());
        QCOMPARE(busSends(), reports.first(5) + QStringList(reports.last()));
    }

    void uploadFails_data() { addFaultRows(faultsOfSession(smallestSteps())); }
    void uploadFails()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        QVERIFY(!writeMacroSpace(variedImage(400)));
        QCOMPARE(busSends(), fault.sends);
        QCOMPARE(Device::instance().lastError, fault.text);
        QVERIFY(deviceLockIsFree());
    }

    void keyboardKeepsItsMacrosWithoutCommit_data()
    {
        QTest::addColumn<SequenceFault>("fault");
        const int commitExchange = static_cast<int>(smallestSteps().size()) - 1;
        for (const SequenceFault& fault : faultsOfSession(smallestSteps())) {
            if (fault.exchange < commitExchange || fault.name == "COMMIT rejected" ||
                fault.name == "COMMIT not sent")
                QTest::newRow(fault.name.constData()) << fault;
        }
    }
    void keyboardKeepsItsMacrosWithoutCommit()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        QVERIFY(!writeMacroSpace(variedImage(400)));
        QVERIFY(bus().keyboard().state() == virtual_keyboard::KeyboardState());
    }

    void failingFinishReplacesTheText_data()
    {
        QTest::addColumn<int>("exchange");
        QTest::newRow("before the lock is let go") << 2;
        QTest::newRow("after the lock was let go") << 3 + 7 + 1;
    }
    void failingFinishReplacesTheText()
    {
        QFETCH(int, exchange);
        bus().failAt(exchange, virtual_keyboard::answerStatus(5));
        bus().failCommand(0xF0, virtual_keyboard::answerStatus(9));
        QVERIFY(!writeMacroSpace(variedImage(400)));
        QCOMPARE(Device::instance().lastError, QStringLiteral("FINISH rejected (status 09)"));
        QVERIFY(deviceLockIsFree());
    }

    void absentKeyboardGetsNothing()
    {
        bus().unplug();
        QVERIFY(!writeMacroSpace(variedImage(400)));
        QCOMPARE(Device::instance().lastError, notFoundText);
        QCOMPARE(busWire(), QStringList());
        QVERIFY(deviceLockIsFree());
    }

    void failingLibraryGetsNothing()
    {
        bus().setInitFails(true);
        QVERIFY(!writeMacroSpace(variedImage(400)));
        QCOMPARE(Device::instance().lastError, QStringLiteral("hid_init failed"));
        QCOMPARE(busTrace(), QStringList{QStringLiteral("init failed")});
        QVERIFY(deviceLockIsFree());
    }
};

TAVIK_ISOLATED_TEST_MAIN(MacroUploadTest)

#include "macro_upload_test.moc"
