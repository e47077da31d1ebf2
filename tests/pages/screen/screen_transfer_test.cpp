// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_transfer.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;

namespace {

const QString openReport = QStringLiteral("04 18");
const QString commitReport = QStringLiteral("04 02");
const QString finishReport = QStringLiteral("04 f0");
const QString startReport = QStringLiteral("04 72 02 00 00 00 00 00 09");
const QString accepted = QStringLiteral(" 00 01");

constexpr int blockCount = 9; // of one frame
constexpr int slot = 2;

tavik::ScreenFrame testFrame(int index)
{
    QImage image(screenSize, QImage::Format_RGB32);
    for (int y = 0; y < 128; ++y) {
        for (int x = 0; x < 128; ++x)
            image.setPixel(x, y, qRgb(x * 2 + index, y * 2 + 3 * index, x + y + 5 * index));
    }
    return {image, 20 + 17 * index};
}

ScreenStream testStream(int frameCount = 1)
{
    QList<tavik::ScreenFrame> frames;
    for (int index = 0; index < frameCount; ++index)
        frames += testFrame(index);
    return buildScreenStream(frames);
}

// A transfer of one frame into slot 2, and the texts it showed.
struct Attempt
{
    QStringList texts;
    ScreenTransferResult result;
};

Attempt attempt()
{
    Attempt made;
    made.result =
        sendToScreen(testStream(), slot, [&](const QString& text) { made.texts += text; });
    return made;
}

// The lines of one exchange that went well.
QStringList exchange(const QString& report)
{
    return {"send " + report, "read " + report.first(5) + accepted};
}

QStringList blocks(int count)
{
    QStringList lines;
    for (int block = 0; block < count; ++block)
        lines += {"block 4097 bytes", "ack"};
    return lines;
}

QStringList started()
{
    return exchange(openReport) + exchange(startReport);
}

void checkFailed(const ScreenTransferResult& result, const QString& error)
{
    QCOMPARE(result.error, error);
    QVERIFY(!result.ok);
}

} // namespace

// What goes wrong with the report of this command, or with this block.
struct PlannedFault
{
    enum Step : std::uint8_t { Open = 0x18, Start = 0x72, Block = 0, Commit = 0x02, Finish = 0xF0 };

    Step step = Block;
    Fault fault;
    int block = 0;
};
using PlannedFaults = QList<PlannedFault>;

class ScreenTransferTest : public QObject
{
    Q_OBJECT

private:
    static void plan(const PlannedFaults& faults)
    {
        for (const PlannedFault& planned : faults) {
            if (planned.block > 0)
                bus().failBlockAt(planned.block, planned.fault);
            else
                bus().failCommand(planned.step, planned.fault);
        }
    }

    // An interface of the keyboard on each page beside those of its screens.
    static void useOtherPages()
    {
        bus().removeScreen();
        for (const std::uint16_t page : {std::uint16_t{0xFF66}, std::uint16_t{0xFF69}}) {
            bus().interfaces().push_back(
                {.productId = 0x8009, .usagePage = page, .path = "/dev/hidraw9"});
        }
    }

    // What holds after every transfer, however it ended.
    static void checkLeftTidy()
    {
        QVERIFY(deviceLockIsFree());
        QCOMPARE(bus().openHandles(), Device::instance().isOpen() ? 1 : 0);
        QCOMPARE(bus().unfreedEnumerations(), 0);
    }

    static void checkNextAttemptPasses()
    {
        checkLeftTidy();
        bus().clearFaults();
        QVERIFY(attempt().result.ok);
        QCOMPARE(bus().keyboard().screenSlot(slot).size(), std::size_t{1});
        checkLeftTidy();
    }

private slots:
    void acceptedTransferIsNotFinished()
    {
        const Attempt made = attempt();
        QVERIFY(made.result.ok);
        QCOMPARE(made.result.error, QString());
        QCOMPARE(busWire(), started() + blocks(blockCount) + exchange(commitReport));
        checkLeftTidy();
    }

    // The blocks go over an interface of their own, so the other one is not kept from anybody.
    void lockIsHeldForReportsAndFreeForBlocks()
    {
        int freeReports = 0;
        int lockedBlocks = 0;
        bus().setListener([&] {
            const QString line = QString::fromStdString(bus().trace().back());
            const bool isFree = deviceLockIsFree();
            if (line.startsWith("send ") || line.startsWith("read "))
                freeReports += isFree ? 1 : 0;
            else if (line.startsWith("block ") || line == "ack")
                lockedBlocks += isFree ? 0 : 1;
        });
        QVERIFY(attempt().result.ok);
        bus().setListener({});
        QCOMPARE(freeReports, 0);
        QCOMPARE(lockedBlocks, 0);
        QCOMPARE(busWire().size(), 2 * 3 + 2 * blockCount);
    }

    void lockIsHeldAgainWhenAFailedTransferIsClosed()
    {
        bus().failBlockAt(2, noAcknowledgement());
        bool isFree = true;
        bus().setListener([&] {
            if (busTrace().constLast().startsWith("send " + finishReport))
                isFree = deviceLockIsFree();
        });
        QVERIFY(!attempt().result.ok);
        bus().setListener({});
        QVERIFY(!isFree);
        checkLeftTidy();
    }

    // That an answer comes is all that counts.
    void acknowledgementOfOneByteIsOne()
    {
        bus().failBlockAt(2, shortAcknowledgement());
        QVERIFY(attempt().result.ok);
        checkLeftTidy();
    }

    void wholeTraceOfATransfer()
    {
        QVERIFY(attempt().result.ok);
        const auto timed = [](const QString& report) {
            return QStringList{"wait 35", "send " + report, "wait 50",
                               "read " + report.first(5) + accepted};
        };
        QCOMPARE(busTrace(), QStringList({"enumerate 8009", "open screen", "init", "enumerate 8009",
                                          "open config"}) +
                                 timed(openReport) + timed(startReport) + blocks(blockCount) +
                                 timed(commitReport) + QStringList("close screen"));
    }

    void openConfigurationInterfaceIsUsedAsItIs()
    {
        QVERIFY(Device::instance().refresh());
        bus().clearTrace();
        QVERIFY(attempt().result.ok);
        QCOMPARE(busTrace().first(2), QStringList({"enumerate 8009", "open screen"}));
        QCOMPARE(busTrace().at(2), QStringLiteral("wait 35"));
        checkLeftTidy();
    }

    void connectionIsAnnouncedOnceMore()
    {
        QSignalSpy announced(&Device::instance(), &Device::connectedChanged);
        QVERIFY(attempt().result.ok);
        QCOMPARE(announced.count(), 2); // when it is opened, and because it is open
        QVERIFY(attempt().result.ok);
        QCOMPARE(announced.count(), 3);
    }

    void keyboardHoldsTheFramesAfterwards()
    {
        QVERIFY(attempt().result.ok);
        const auto& held = bus().keyboard().screenSlot(slot);
        QCOMPARE(held.size(), std::size_t{1});
        QVERIFY(bus().keyboard().screenSlot(1).empty());
        QVERIFY(bus().keyboard().screenSlot(3).empty());
        QCOMPARE(held.front().time.count(), 20);
    }

    void thirtyFramesArriveInTheirSlot()
    {
        QStringList texts;
        const ScreenStream stream = testStream(30);
        const ScreenTransferResult result =
            sendToScreen(stream, 3, [&](const QString& text) { texts += text; });
        QVERIFY(result.ok);
        QCOMPARE(bus().count("block 4097 bytes"), 241);
        QVERIFY(busWire().contains("send 04 72 03 00 00 00 00 00 f1"));
        QVERIFY(bus().sentBlocks() == stream);

        QStringList expected{"TFT interface FF68 opened…"};
        for (int block = 1; block <= 241; block += 4)
            expected += QStringLiteral("Sending chunk %1/241…").arg(block);
        QCOMPARE(texts, expected);

        const auto& held = bus().keyboard().screenSlot(3);
        QCOMPARE(held.size(), std::size_t{30});
        for (int index = 0; index < 30; ++index) {
            const tavik::ScreenFrame sent = testFrame(index);
            const auto& frame = held.at(static_cast<std::size_t>(index));
            QCOMPARE(frame.time.count(), std::min(sent.delayMs / 2 * 2, 510));
            for (int y = 0; y < 128; ++y) {
                for (int x = 0; x < 128; ++x) {
                    const QRgb color = sent.image.pixel(x, y);
                    const int expectedPixel =
                        (qRed(color) >> 3) << 11 | (qGreen(color) >> 2) << 5 | qBlue(color) >> 3;
                    QCOMPARE(int{frame.pixels.at(static_cast<std::size_t>(y * 128 + x))},
                             expectedPixel);
                }
            }
        }
        checkLeftTidy();
    }

    void countOfMoreThanTwoHundredFiftyFiveBlocksFillsTwoBytes()
    {
        // More than a slot holds, so the keyboard refuses it; the report is what counts.
        const ScreenStream stream(300 * screenBlockSize, 0);
        const ScreenTransferResult result = sendToScreen(stream, 1, [](const QString&) {});
        checkFailed(result, "04 72 rejected (status 02)");
        QVERIFY(busWire().contains("send 04 72 01 00 00 00 00 00 2c 01"));
        QCOMPARE(takeBusViolations(),
                 QStringList("command 72 announces 300 reports, expected 9 to 241"));
    }

    void progressIsShownForEveryFourthBlockAndTheLast()
    {
        QCOMPARE(attempt().texts, QStringList({"TFT interface FF68 opened…", "Sending chunk 1/9…",
                                               "Sending chunk 5/9…", "Sending chunk 9/9…"}));
        QStringList texts;
        QVERIFY(sendToScreen(testStream(2), 1, [&](const QString& text) { texts += text; }).ok);
        QCOMPARE(texts, QStringList({"TFT interface FF68 opened…", "Sending chunk 1/17…",
                                     "Sending chunk 5/17…", "Sending chunk 9/17…",
                                     "Sending chunk 13/17…", "Sending chunk 17/17…"}));
        texts.clear();
        // Whole frames make a count after which the last block would be shown anyhow. That it is
        // shown for its own sake needs another count, of which the keyboard then makes nothing.
        const ScreenStream odd(11 * screenBlockSize, 0xFF);
        std::ignore = sendToScreen(odd, 1, [&](const QString& text) { texts += text; });
        QCOMPARE(texts, QStringList({"TFT interface FF68 opened…", "Sending chunk 1/11…",
                                     "Sending chunk 5/11…", "Sending chunk 9/11…",
                                     "Sending chunk 11/11…"}));
        QCOMPARE(takeBusViolations(),
                 QStringList("screen stream has 255 frames, expected 1 to 30"));
    }

    void progressIsShownAfterTheAcknowledgement()
    {
        QStringList lastLines;
        QVERIFY(sendToScreen(testStream(), slot, [&](const QString&) {
                    lastLines += busTrace().last();
                }).ok);
        QCOMPARE(lastLines, QStringList({"open screen", "ack", "ack", "ack"}));
    }

    void lockIsFreeWhileBlocksTravel()
    {
        QList<bool> free;
        QVERIFY(sendToScreen(testStream(), slot, [&](const QString&) {
                    free += deviceLockIsFree();
                }).ok);
        QCOMPARE(free, QList<bool>({true, true, true, true}));
    }

    void screenInterfaceIsSearchedByUsagePageFirst_data()
    {
        QTest::addColumn<QString>("usagePages"); // product id and usage page of each interface
        QTest::addColumn<QString>("openedText");
        QTest::addColumn<QStringList>("search");
        const QString first = QStringLiteral("enumerate 8009");
        const QString second = QStringLiteral("enumerate 800a");
        const QString found = QStringLiteral("open screen");
        const auto row = [](const char* name, const char* usagePages, const char* text,
                            const QStringList& search) {
            QTest::newRow(name) << usagePages << text << search;
        };
        row("FF68 of 8009", "8009 ff68", "FF68", {first, found});
        row("FF68 of 800A", "800a ff68", "FF68", {first, second, found});
        row("FF67 of 8009", "8009 ff67", "FF67", {first, second, first, found});
        row("FF67 of 800A", "800a ff67", "FF67", {first, second, first, second, found});
        row("FF67 of 8009 and FF68 of 800A", "8009 ff67 800a ff68", "FF68", {first, second, found});
    }
    void screenInterfaceIsSearchedByUsagePageFirst()
    {
        QFETCH(const QString, usagePages);
        QFETCH(const QString, openedText);
        QFETCH(const QStringList, search);
        QVERIFY(Device::instance().refresh());
        bus().removeScreen();
        const QStringList words = usagePages.split(u' ');
        for (qsizetype index = 0; index < words.size(); index += 2) {
            bus().interfaces().push_back({.productId = words.at(index).toUShort(nullptr, 16),
                                          .usagePage = words.at(index + 1).toUShort(nullptr, 16),
                                          .path = "/dev/hidraw" + std::to_string(7 + index)});
        }
        bus().clearTrace();
        const Attempt made = attempt();
        QVERIFY(made.result.ok);
        QCOMPARE(made.texts.first(), QStringLiteral("TFT interface %1 opened…").arg(openedText));
        QCOMPARE(busTrace().first(search.size()), search);
        checkLeftTidy();
    }

    void screenInterfaceThatDoesNotOpenIsPassedOver()
    {
        bus().interfaces().push_back(
            {.productId = 0x8009, .usagePage = 0xFF68, .path = "/dev/hidraw7"});
        bus().setOpens("/dev/hidraw2", false);
        QVERIFY(attempt().result.ok);
        QCOMPARE(busTrace().mid(1, 2), QStringList({"open screen refused", "open screen"}));
        checkLeftTidy();
    }

    void withoutAScreenInterfaceNothingIsSent_data()
    {
        QTest::addColumn<QString>("lacking");
        for (const char* lacking : {"the interface", "permission", "the keyboard", "its page"})
            QTest::newRow(lacking) << lacking;
    }
    void withoutAScreenInterfaceNothingIsSent()
    {
        QFETCH(const QString, lacking);
        if (lacking == QLatin1String("the interface"))
            bus().removeScreen();
        else if (lacking == QLatin1String("permission"))
            bus().setOpens("/dev/hidraw2", false);
        else if (lacking == QLatin1String("its page"))
            useOtherPages();
        else
            bus().unplug();
        const Attempt made = attempt();
        checkFailed(made.result, "TFT interface (0xFF68/0xFF67) not found");
        QCOMPARE(made.texts, QStringList());
        QCOMPARE(busWire(), QStringList());
        QVERIFY(!Device::instance().isOpen());
        checkLeftTidy();
    }

    void withoutAConfigurationInterfaceNothingIsSent()
    {
        bus().setOpens("/dev/hidraw1", false);
        const Attempt made = attempt();
        checkFailed(made.result, notFoundText);
        QCOMPARE(made.texts, QStringList("TFT interface FF68 opened…"));
        QCOMPARE(busWire(), QStringList());
        QCOMPARE(busTrace().last(), QStringLiteral("close screen"));
        checkLeftTidy();
    }

    void initializationThatFailsSendsNothing()
    {
        bus().setInitFails(true);
        checkFailed(attempt().result, "hid_init failed");
        QCOMPARE(busWire(), QStringList());
        checkLeftTidy();
    }

    void failureIsClosedAndNamed_data()
    {
        QTest::addColumn<PlannedFaults>("faults");
        QTest::addColumn<QStringList>("wire");
        QTest::addColumn<QString>("text");
        using enum PlannedFault::Step;
        const auto row = [](const char* name, const PlannedFaults& faults,
                            const QStringList& before, const QStringList& failing,
                            const QString& text) {
            const bool isClosed = faults.last().step != Finish;
            QTest::newRow(name) << faults
                                << before + failing +
                                       (isClosed ? exchange(finishReport) : QStringList())
                                << text;
        };
        const Fault lost = sendError("stalled");
        const Fault unread = readError("stalled");
        const QStringList open{"send " + openReport};
        row("open, send", {{Open, lost}}, {}, {"send failed"}, "stalled");
        row("open, read", {{Open, unread}}, open, {"read failed"}, "stalled");
        const QStringList opened = exchange(openReport);
        const QStringList start = opened + QStringList("send " + startReport);
        row("start, send", {{Start, lost}}, opened, {"send failed"}, "stalled");
        row("start, read", {{Start, unread}}, start, {"read failed"}, "stalled");
        row("start rejected", {{Start, answerStatus(0x0A)}}, start, {"read 04 72 00 0a"},
            "04 72 rejected (status 0a)");
        row("start busy", {{Start, busy()}}, start, {"read 04 72 00 ff"},
            "04 72 rejected (status ff)");
        row("start without answer", {{Start, emptyAnswer()}}, start, {"read 00"},
            "04 72 rejected (status 00)");
        row("start, wrong echo", {{Start, wrongEcho()}}, start, {"read 05 8d 00 01"},
            "04 72 rejected (status 01)");
        row("start rejected, FINISH rejected",
            {{Start, answerStatus(3)}, {Finish, answerStatus(4)}}, start,
            {"read 04 72 00 03", "send " + finishReport, "read 04 f0 00 04"},
            "FINISH rejected (status 04)");
        row("start rejected, FINISH lost", {{Start, answerStatus(3)}, {Finish, lost}}, start,
            {"read 04 72 00 03", "send failed"}, "stalled");
        const QStringList sentAll = started() + blocks(blockCount);
        const QStringList commit = sentAll + QStringList("send " + commitReport);
        row("commit, send", {{Commit, lost}}, sentAll, {"send failed"}, "stalled");
        row("commit, read", {{Commit, unread}}, commit, {"read failed"}, "stalled");
        row("commit rejected", {{Commit, answerStatus(5)}}, commit, {"read 04 02 00 05"},
            "TFT COMMIT rejected (status 05)");
        row("commit, wrong echo", {{Commit, wrongEcho()}}, commit, {"read 05 fd 00 01"},
            "TFT COMMIT rejected (status 01)");
        row("commit rejected, FINISH rejected", {{Commit, answerStatus(5)}, {Finish, busy()}},
            commit, {"read 04 02 00 05", "send " + finishReport, "read 04 f0 00 ff"},
            "FINISH rejected (status ff)");
    }
    void failureIsClosedAndNamed()
    {
        QFETCH(const PlannedFaults, faults);
        QFETCH(const QStringList, wire);
        QFETCH(const QString, text);
        plan(faults);
        checkFailed(attempt().result, text);
        QCOMPARE(busWire(), wire);
        QCOMPARE(busTrace().last(), QStringLiteral("close screen"));
        checkNextAttemptPasses();
    }

    void busyKeyboardIsAskedAgainAndGivenUp()
    {
        bus().failAt(1, busy(), 10);
        checkFailed(attempt().result, "Keyboard refuses to open a session (busy?)");
        QCOMPARE(bus().count("wait 300"), 10);
        QCOMPARE(busWire().last(2), exchange(finishReport));
        checkLeftTidy();
    }

    void busyKeyboardThatBecomesFreeIsServed()
    {
        bus().failAt(1, busy(), 2);
        QVERIFY(attempt().result.ok);
        QCOMPARE(bus().count("wait 300"), 2);
        checkLeftTidy();
    }

    void failingBlockEndsTheTransfer_data()
    {
        QTest::addColumn<int>("block");
        QTest::addColumn<PlannedFaults>("faults");
        QTest::addColumn<QStringList>("wire");
        QTest::addColumn<QString>("text");
        struct Kind
        {
            const char* name;
            Fault fault;
            QStringList lines;
            QString text;
        };
        const QString unwritten = "chunk %1/9 write failed";
        const QString unacknowledged = "no ack for chunk %1/9";
        const QList<Kind> kinds{{"short write", shortWrite(), {"block short"}, unwritten},
                                {"write error", sendError("stalled"), {"block failed"}, unwritten},
                                {"no acknowledgement",
                                 noAcknowledgement(),
                                 {"block 4097 bytes", "no ack 1000"},
                                 unacknowledged},
                                {"acknowledgement error",
                                 readError("stalled"),
                                 {"block 4097 bytes", "ack failed"},
                                 unacknowledged}};
        const QStringList closing = exchange(finishReport);
        for (const Kind& kind : kinds) {
            for (const int block : {1, 2, 4, 5, 6, 8, 9}) {
                const QStringList before = started() + blocks(block - 1) + kind.lines;
                const QString text = kind.text.arg(block);
                const PlannedFault fault{PlannedFault::Block, kind.fault, block};
                QTest::addRow("%s at %d", kind.name, block)
                    << block << PlannedFaults{fault} << before + closing << text;
                // The text stays, whatever becomes of the closing report.
                QTest::addRow("%s at %d, FINISH rejected", kind.name, block)
                    << block << PlannedFaults{fault, {PlannedFault::Finish, answerStatus(7)}}
                    << before + QStringList{"send " + finishReport, "read 04 f0 00 07"} << text;
                QTest::addRow("%s at %d, FINISH lost", kind.name, block)
                    << block << PlannedFaults{fault, {PlannedFault::Finish, sendError("stalled")}}
                    << before + QStringList("send failed") << text;
            }
        }
    }
    void failingBlockEndsTheTransfer()
    {
        QFETCH(const int, block);
        QFETCH(const PlannedFaults, faults);
        QFETCH(const QStringList, wire);
        QFETCH(const QString, text);
        plan(faults);
        const Attempt made = attempt();
        checkFailed(made.result, text);
        QCOMPARE(busWire(), wire);
        QCOMPARE(busTrace().last(), QStringLiteral("close screen"));
        QStringList texts{"TFT interface FF68 opened…"};
        for (int shown = 1; shown < block; shown += 4)
            texts += QStringLiteral("Sending chunk %1/9…").arg(shown);
        QCOMPARE(made.texts, texts);
        QVERIFY(bus().keyboard().screenSlot(slot).empty());
        checkNextAttemptPasses();
    }

    void keyboardUnpluggedAtAnyCallLeavesNothingOpen_data()
    {
        QTest::addColumn<int>("call");
        QTest::addColumn<QString>("text");
        // Two calls for each report or block, in their order.
        QTest::newRow("before the session") << 1 << "ioctl (SFEATURE): No such device";
        QTest::newRow("before its answer") << 2 << "ioctl (GFEATURE): No such device";
        QTest::newRow("before the start") << 3 << "ioctl (SFEATURE): No such device";
        QTest::newRow("before the first block") << 5 << "chunk 1/9 write failed";
        QTest::newRow("before its acknowledgement") << 6 << "no ack for chunk 1/9";
        QTest::newRow("before the last acknowledgement") << 22 << "no ack for chunk 9/9";
        QTest::newRow("before the commit") << 23 << "ioctl (SFEATURE): No such device";
        QTest::newRow("before its answer, at last") << 24 << "ioctl (GFEATURE): No such device";
    }
    void keyboardUnpluggedAtAnyCallLeavesNothingOpen()
    {
        QFETCH(const int, call);
        QFETCH(const QString, text);
        bus().unplugAt(call);
        const ScreenTransferResult result = attempt().result;
        QVERIFY(!result.ok);
        // The FINISH that is lost as well has the last word, except after a block.
        const bool isBlock = text.contains("chunk");
        QCOMPARE(result.error, isBlock ? text : "ioctl (SFEATURE): No such device");
        QCOMPARE(busTrace().last(), QStringLiteral("close screen"));
        checkLeftTidy();
    }
};

TAVIK_ISOLATED_TEST_MAIN(ScreenTransferTest)
#include "screen_transfer_test.moc"
