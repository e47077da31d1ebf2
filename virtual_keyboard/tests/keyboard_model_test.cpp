// SPDX-License-Identifier: MIT
#include "virtual_keyboard/keyboard_model.h"
#include "virtual_keyboard/tests/model_host.h"

#include <QTest>

#include <functional>

using namespace tavik::virtual_keyboard;

namespace {

Report answerTo(std::uint8_t code, std::uint8_t status)
{
    return {0x04, code, 0, status};
}

// A thing that a host does; rows of them read like the traffic.
using Step = std::function<void(Host&)>;
using Steps = std::vector<Step>;

void play(Host& host, const Steps& steps)
{
    for (const Step& step : steps)
        step(host);
}

Step command(std::uint8_t code, std::uint8_t argument = 0, std::uint8_t count = 0,
             std::uint8_t countHigh = 0)
{
    return [=](Host& host) { host.command(code, argument, count, countHigh); };
}

Step open(std::uint8_t flag)
{
    return command(0x18, 0, flag);
}

Step finish(std::uint8_t flag)
{
    return command(0xF0, 0, flag);
}

const Step commit = command(0x02);

Step send(const auto& report)
{
    return [=](Host& host) { host.send(report); };
}

void fetchAnswer(Host& host)
{
    static_cast<void>(host.read());
}

Step exchange(const Report& report)
{
    return [=](Host& host) { host.exchange(report); };
}

Step slices(const std::vector<std::uint8_t>& bytes)
{
    return [=](Host& host) { host.sendSlices(bytes); };
}

Step blocks(const std::vector<std::uint8_t>& stream)
{
    return [=](Host& host) { host.sendBlocks(stream); };
}

// A report for the screen that the keyboard does not take.
Step refusedBlock(std::size_t size)
{
    return
        [=](Host& host) { QVERIFY(!host.keyboard.screenReport(std::vector<std::uint8_t>(size))); };
}

Step wait(int duration)
{
    return [=](Host& host) { host.wait(duration); };
}

void emptyAnswer(Host& host)
{
    host.keyboard.spoilNextAnswer(AnswerFault::Empty);
}

void loseAnswer(Host& host)
{
    host.keyboard.answerLost();
}

void readBank(Host& host)
{
    host.command(0xF5, 0, 9);
    for (int report = 0; report < 8; ++report)
        host.exchange({});
}

// A session with flag 1 in which the base layer was announced.
void announceLayer(Host& host)
{
    play(host, {open(1), command(0x11, 0, 9)});
}

void sendLayer(Host& host)
{
    play(host, {announceLayer, slices(layerImage(1))});
}

void announceScreen(Host& host)
{
    play(host, {open(0), command(0x72, 1, 9)});
}

void uploadScreen(Host& host)
{
    play(host, {announceScreen, blocks(screenStream(1)), commit});
}

void announceMacros(Host& host)
{
    play(host, {open(1), command(0x19), command(0x15, 0, 8)});
}

Step sendOne(std::uint8_t code, std::uint8_t argument, const Report& payload)
{
    return [=](Host& host) {
        play(host, {open(1), command(code, argument, 1), exchange(payload), commit, finish(1)});
    };
}

Step sendTable(std::uint8_t flag, std::uint8_t code, const std::vector<std::uint8_t>& image)
{
    return [=](Host& host) {
        play(host, {open(flag), command(code, 0, 9), slices(image), commit, finish(flag)});
    };
}

Report with(Report report, std::size_t byte, std::uint8_t value)
{
    report[byte] = value;
    return report;
}

std::vector<std::uint8_t> with(std::vector<std::uint8_t> image, std::size_t byte,
                               std::uint8_t value)
{
    image[byte] = value;
    return image;
}

std::vector<std::uint8_t> head(std::vector<std::uint8_t> image, std::size_t length)
{
    image.resize(length);
    return image;
}

} // namespace

class KeyboardModelTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { host = {}; }
    void cleanup() { QCOMPARE(host.keyboard.violations(), std::vector<std::string>{}); }

    void everyOffenceIsNamed_data()
    {
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<std::string>("violation");
        const auto add = [](const char* name, const Steps& steps, const char* violation) {
            QTest::newRow(name) << steps << std::string(violation);
        };
        const std::vector<std::uint8_t> first = head(layerImage(1), 64);
        std::vector<std::uint8_t> rest = layerImage(1);
        rest.erase(rest.begin(), rest.begin() + 64);

        add("report too short", {send(std::vector<std::uint8_t>(63))},
            "feature report of 63 bytes behind the report id, expected 64");
        add("report too long", {send(std::vector<std::uint8_t>(65))},
            "feature report of 65 bytes behind the report id, expected 64");
        add("marker wrong", {send(Report{0x05, 0x18})}, "report begins with 05, expected 04");
        add("unknown command", {command(0x42)}, "unknown command 42");
        add("session open not zero", {exchange(with(Host::commandReport(0x18), 63, 7))},
            "session open carries 07 in byte 63, which must be zero");
        add("session flag", {open(2)}, "session open with flag 2, expected 0 or 1");
        add("header not zero", {open(1), exchange(with(Host::commandReport(0x11, 0, 9), 3, 1))},
            "command 11 carries 01 in byte 3, which must be zero");
        add("high count byte of a narrow count", {open(1), command(0x11, 0, 9, 1)},
            "command 11 carries 01 in byte 9, which must be zero");
        add("COMMIT not zero", {sendLayer, command(0x02, 0, 1)},
            "COMMIT carries 01 in byte 8, which must be zero");
        add("FINISH not zero", {open(1), command(0xF0, 1, 1)},
            "FINISH carries 01 in byte 2, which must be zero");
        add("argument of the lighting mode", {open(1), command(0x13, 1, 1)},
            "command 13 with argument 1, expected 0");
        add("argument of the sleep", {open(1), command(0x17, 0, 1)},
            "command 17 with argument 0, expected 1");
        add("count of a layer", {open(1), command(0x27, 0, 8)},
            "command 27 announces 8 reports, expected 9");
        add("count of the macro session", {open(1), command(0x19, 0, 1)},
            "command 19 announces 1 reports, expected 0");
        add("count of macro data", {open(1), command(0x19), command(0x15, 0, 7)},
            "command 15 announces 7 reports, expected 8 to 49");
        add("count of screen blocks", {open(0), command(0x72, 1, 0xF2)},
            "command 72 announces 242 reports, expected 9 to 241");
        add("screen slot", {open(0), command(0x72, 4, 9)},
            "command 72 for slot 4, expected 1 to 3");
        add("count of the bank read", {command(0xF5, 0, 8)},
            "command f5 announces 8 reports, expected 9");
        add("command outside", {command(0x13, 0, 1)}, "command 13 outside a session");
        add("command with the wrong flag", {open(0), command(0x11, 0, 9)},
            "command 11 in a session with flag 0, expected 1");
        add("bank write with the wrong flag", {open(1), command(0x23, 0, 9)},
            "command 23 in a session with flag 1, expected 0");
        add("second command", {sendLayer, command(0x27, 0, 9)},
            "a second command in one session: command 27");
        add("macro data without its session", {open(1), command(0x15, 0, 8)},
            "command 15 without command 19 before it");
        add("session in a session", {open(1), open(1)}, "session opened inside a session");
        add("COMMIT outside", {commit}, "COMMIT outside a session");
        add("COMMIT of nothing", {open(1), commit}, "COMMIT without a command to complete");
        add("FINISH outside", {finish(1)}, "FINISH outside a session");
        add("FINISH twice", {sendOne(0x13, 0, lightingPayload()), finish(1)},
            "FINISH outside a session");
        add("FINISH with another flag", {sendLayer, commit, finish(0)},
            "FINISH with flag 0 in a session with flag 1");
        add("FINISH with another flag after a refusal", {emptyAnswer, open(1), finish(0)},
            "FINISH outside a session");
        add("FINISH without COMMIT", {sendLayer, finish(1)}, "FINISH without COMMIT");
        add("FINISH without COMMIT after an earlier trouble",
            {emptyAnswer, open(1), open(1), finish(1)}, "FINISH without COMMIT");
        add("FINISH again because its answer was lost",
            {emptyAnswer, open(1), finish(1), loseAnswer, finish(1)}, "FINISH outside a session");
        add("FINISH after a bank read that failed",
            {uploadScreen, command(0xF5, 0, 9), loseAnswer, finish(0)}, "FINISH outside a session");
        add("FINISH after the COMMIT of a screen", {uploadScreen, finish(0)},
            "FINISH outside a session");
        add("bank read in a session", {open(0), command(0xF5, 0, 9)},
            "command f5 inside a session");
        add("bank read not closed", {readBank, open(0)},
            "bank read left after 9 of 9 answers, without its COMMIT");
        add("bank read broken off", {command(0xF5, 0, 9), open(0)},
            "bank read left after 1 of 9 answers, without its COMMIT");
        add("bank read with a tenth report", {readBank, exchange({})},
            "more reports than the nine of the bank read");
        add("bank read with bytes", {command(0xF5, 0, 9), exchange({1})},
            "bank read report carries bytes that must be zero");
        add("answer not fetched", {send(Host::commandReport(0x18, 0, 1)), command(0x11, 0, 9)},
            "the answer of the report before was not fetched");
        add("read of nothing", {fetchAnswer}, "read without a report sent before it");
        add("a slice missing", {announceLayer, slices(head(layerImage(1), 512)), commit},
            "fewer data reports than announced for command 11: 8 of 9");
        add("a slice too many", {sendLayer, exchange({1})},
            "more data reports than announced for command 11 (9 expected)");
        add("a macro piece missing",
            {announceMacros, slices(head(macroImage(), 384)), wait(30), commit},
            "fewer data reports than announced for command 15: 6 of 7");
        add("the macro marker sent as a piece",
            {announceMacros, slices(macroImage()), exchange({0xAA, 0x55})},
            "more data reports than announced for command 15 (7 expected)");
        add("a screen block missing",
            {announceScreen, blocks(head(screenStream(1), 8 * blockSize)), commit},
            "fewer data reports than announced for command 72: 8 of 9");
        add("a screen block too many",
            {announceScreen, blocks(screenStream(1)), refusedBlock(blockSize)},
            "more screen blocks than announced (9 expected)");
        add("a screen block too short", {announceScreen, refusedBlock(4095)},
            "screen block of 4095 bytes behind the report id, expected 4096");
        add("a screen block for nobody", {refusedBlock(blockSize)},
            "screen block outside an upload");
        add("a wrong screen stream", {announceScreen, blocks(with(screenStream(1), 1, 9)), commit},
            "screen stream has a frame time below 20 ms");
        add("lighting marker", {sendOne(0x13, 0, with(lightingPayload(), 15, 0x54))},
            "marker aa 55 missing at bytes 14 and 15 of the lighting mode");
        add("lighting not zero", {sendOne(0x13, 0, with(lightingPayload(), 16, 1))},
            "lighting mode carries bytes that must be zero");
        add("lighting range", {sendOne(0x13, 0, with(lightingPayload(), 9, 6))},
            "lighting mode carries a value out of range");
        add("sleep marker", {sendOne(0x17, 1, with(sleepPayload(1), 62, 0))},
            "marker aa 55 missing at bytes 62 and 63 of the lighting sleep");
        add("sleep not zero", {sendOne(0x17, 1, with(sleepPayload(1), 0, 1))},
            "lighting sleep carries bytes that must be zero");
        add("sleep range", {sendOne(0x17, 1, sleepPayload(4))},
            "lighting sleep carries a value out of range");
        add("layer marker", {sendTable(1, 0x11, with(layerImage(1), 574, 0))},
            "marker aa 55 missing at bytes 574 and 575 of the key layer");
        add("bank marker", {sendTable(0, 0x23, with(bankImage({1, 2, 3}), 575, 0))},
            "marker aa 55 missing at bytes 574 and 575 of the color bank");
        add("bank index", {sendTable(0, 0x23, with(bankImage({1, 2, 3}), 20, 7))},
            "color record 5 carries index 7");
        add("read too soon", {send(Host::commandReport(0x18, 0, 1)), wait(-1), fetchAnswer},
            "read 49 ms after the send, sooner than 50 ms");
        add("send too soon after a read", {open(1), wait(-1), command(0x11, 0, 9)},
            "send 34 ms after the previous report, sooner than 35 ms");
        add("slices too close",
            {announceLayer, slices(first), wait(-1), slices(rest), commit, finish(1)},
            "data reports closer than 2 ms");
        add("slices far too close",
            {announceLayer, slices(first), wait(-3), slices(rest), commit, finish(1)},
            "send 34 ms after the previous report, sooner than 35 ms");
        add("COMMIT too close", {sendLayer, wait(-1), commit, finish(1)},
            "COMMIT sooner than 2 ms after the last data report");
        add("macro COMMIT too close",
            {announceMacros, slices(macroImage()), wait(27), commit, finish(1)},
            "macro COMMIT sooner than 30 ms after the last piece");
    }
    void everyOffenceIsNamed()
    {
        QFETCH(Steps, steps);
        QFETCH(std::string, violation);
        play(host, steps);
        QCOMPARE(host.keyboard.violations(), std::vector<std::string>{violation});
        host.keyboard.clearViolations();
        QVERIFY(host.keyboard.violations().empty());
    }

    void everyOperationDoneRightIsNoOffence()
    {
        play(host, {sendOne(0x13, 0, lightingPayload()), sendOne(0x17, 1, sleepPayload(3)),
                    sendTable(1, 0x11, layerImage(1)), sendTable(1, 0x27, layerImage(2)),
                    sendTable(0, 0x23, bankImage({1, 2, 3})), readBank, commit, announceMacros,
                    slices(macroImage()), wait(28), commit, finish(1), uploadScreen,
                    sendOne(0x13, 0, lightingPayload())});
        QVERIFY(!host.keyboard.sessionOpen());
    }

    void commandsAreAnsweredWithCodeAndStatusAndDataWithZeros()
    {
        QCOMPARE(host.open(1), answerTo(0x18, 0x01));
        QCOMPARE(host.keyboard.sessionFlag(), std::optional<std::uint8_t>(1));
        QCOMPARE(host.command(0x13, 0, 1), answerTo(0x13, 0x01));
        QCOMPARE(host.exchange(lightingPayload()), Report{});
        QCOMPARE(host.commit(), answerTo(0x02, 0x01));
        QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));
        QVERIFY(!host.keyboard.sessionOpen());
    }

    void aRefusedCommandIsAnsweredWithStatusTwo()
    {
        QCOMPARE(host.command(0x13, 0, 1), answerTo(0x13, 0x02));
        host.keyboard.clearViolations();
    }

    void lightingIsTakenOverByCommitOnly()
    {
        play(host, {open(1), command(0x13, 0, 1), exchange(lightingPayload())});
        QCOMPARE(host.keyboard.state(), KeyboardState());
        host.commit();
        QCOMPARE(host.keyboard.state().lighting, lightingPayload());
        QVERIFY(!host.keyboard.customMode());
        host.finish(1);

        Report custom{0x80};
        custom[9] = 4;
        custom[14] = 0xAA;
        custom[15] = 0x55;
        sendOne(0x13, 0, custom)(host);
        QVERIFY(host.keyboard.customMode());
        QCOMPARE(host.keyboard.lightingSummary(), std::string("custom colors, brightness 4"));
    }

    void sleepIsTakenOver()
    {
        sendOne(0x17, 1, sleepPayload(3))(host);
        QCOMPARE(host.keyboard.state().sleepCode, std::uint8_t{3});
    }

    void aLayerKeepsTheLastBytesOfItsLastKey()
    {
        std::vector<std::uint8_t> image = layerImage(9);
        image[4] = 2;
        image[7] = 0x77;
        sendTable(1, 0x27, image)(host);
        QCOMPARE(host.keyboard.keyAction(LayerId::Fn, 1), (KeyActionBytes{2, 9, 9, 0x77}));
        QCOMPARE(host.keyboard.keyAction(LayerId::Fn, 143), (KeyActionBytes{9, 9, 0, 0}));
        QCOMPARE(host.keyboard.keyAction(LayerId::Base, 1), KeyActionBytes{});
        sendTable(1, 0x11, layerImage(3))(host);
        QCOMPARE(host.keyboard.keyAction(LayerId::Base, 1), (KeyActionBytes{3, 3, 3, 3}));
        QCOMPARE(host.keyboard.keyAction(LayerId::Fn, 1), (KeyActionBytes{2, 9, 9, 0x77}));
    }

    void theBankIsStoredAsColorsAndReadAsPackedBytes()
    {
        KeyboardState state;
        for (std::size_t key = 0; key < keyCount; ++key)
            state.colorBank[key] = {static_cast<std::uint8_t>(key), 0xA0, 0xB0};
        host.keyboard.setState(state);

        std::vector<std::uint8_t> bytes;
        const Report header = host.command(0xF5, 0, 9);
        QCOMPARE(header[0], std::uint8_t{0x04});
        bytes.insert(bytes.end(), header.begin() + 1, header.end());
        for (int report = 0; report < 5; ++report) {
            const Report answer = host.exchange({});
            bytes.insert(bytes.end(), answer.begin(), answer.end());
        }
        const Report last = host.exchange({});
        bytes.insert(bytes.end(), last.begin(), last.begin() + 49);
        QCOMPARE(host.exchange({}), Report{});
        QCOMPARE(host.exchange({}), Report{});
        QCOMPARE(host.commit(), answerTo(0x02, 0x01));
        QCOMPARE(bytes.size(), std::size_t{432});
        for (std::size_t key = 0; key < keyCount; ++key) {
            QCOMPARE(bytes[3 * key], static_cast<std::uint8_t>(key));
            QCOMPARE(bytes[3 * key + 1], std::uint8_t{0xA0});
            QCOMPARE(bytes[3 * key + 2], std::uint8_t{0xB0});
        }

        sendTable(0, 0x23, bankImage({1, 2, 3}))(host);
        QCOMPARE(host.keyboard.keyColor(0), (KeyColor{1, 2, 3}));
        QCOMPARE(host.keyboard.keyColor(142), (KeyColor{1, 2, 3}));
        QCOMPARE(host.keyboard.keyColor(143), (KeyColor{1, 0xA0, 0xB0}));
    }

    void macrosAreTakenOverByCommitOnly()
    {
        play(host, {announceMacros, slices(macroImage())});
        QVERIFY(host.keyboard.state().macroSpace.empty());
        play(host, {wait(28), commit});
        QCOMPARE(host.keyboard.state().macroSpace, macroImage());
        QCOMPARE(host.keyboard.playMacro(2).size(), std::size_t{2});
    }

    void aScreenSlotIsTakenOverByCommitWhichEndsTheSession()
    {
        host.open(0);
        host.command(0x72, 3, 17);
        QCOMPARE(host.keyboard.screenBlocksAnnounced(), std::size_t{17});
        host.sendBlocks(screenStream(2));
        QCOMPARE(host.keyboard.screenBlocksReceived(), std::size_t{17});
        QVERIFY(host.keyboard.screenSlot(3).empty());
        QCOMPARE(host.keyboard.state().latestSlot, 0);
        host.commit();
        QCOMPARE(host.keyboard.state().latestSlot, 3);
        QCOMPARE(host.keyboard.screenSlot(3).size(), std::size_t{2});
        QVERIFY(host.keyboard.screenSlot(1).empty());
        QVERIFY(!host.keyboard.sessionOpen());
        QCOMPARE(host.keyboard.screenBlocksAnnounced(), std::size_t{0});
    }

    void aSliceThatIsSentAgainReplacesTheFirst()
    {
        announceLayer(host);
        const std::vector<std::uint8_t> image = layerImage(1);
        host.send(std::span(image).first(64));
        host.wait(50);
        host.keyboard.answerLost();
        host.sendSlices(image);
        host.commit();
        host.finish(1);
        QCOMPARE(host.keyboard.keyAction(LayerId::Base, 16), (KeyActionBytes{1, 1, 1, 1}));
    }

    void nothingIsTakenOverFromARefusedCommit_data()
    {
        QTest::addColumn<AnswerFault>("fault");
        QTest::addColumn<std::uint8_t>("status");
        QTest::newRow("status 05") << AnswerFault::Status << std::uint8_t{5};
        QTest::newRow("empty") << AnswerFault::Empty << std::uint8_t{0};
    }
    void nothingIsTakenOverFromARefusedCommit()
    {
        QFETCH(AnswerFault, fault);
        QFETCH(std::uint8_t, status);
        sendLayer(host);
        host.keyboard.spoilNextAnswer(fault, status);
        QCOMPARE(host.commit()[3], status);
        QCOMPARE(host.keyboard.state(), KeyboardState());
        QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));
    }

    void aBusyKeyboardOpensNoSessionAndMayBeClosed()
    {
        host.keyboard.spoilNextAnswer(AnswerFault::Status, 0xFF);
        QCOMPARE(host.open(1), answerTo(0x18, 0xFF));
        QVERIFY(!host.keyboard.sessionOpen());
        host.keyboard.spoilNextAnswer(AnswerFault::Empty);
        QCOMPARE(host.open(1), Report{});
        QVERIFY(!host.keyboard.sessionOpen());
        QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));
        sendOne(0x13, 0, lightingPayload())(host);
    }

    void anOddAnswerStillOpensTheSession()
    {
        host.keyboard.spoilNextAnswer(AnswerFault::Status, 0x07);
        QCOMPARE(host.open(1), answerTo(0x18, 0x07));
        QVERIFY(host.keyboard.sessionOpen());
        host.keyboard.disconnect();
        host.keyboard.spoilNextAnswer(AnswerFault::WrongEcho);
        QCOMPARE(host.open(0), (Report{0x05, 0xE7, 0, 0x01}));
        QCOMPARE(host.keyboard.sessionFlag(), std::optional<std::uint8_t>(0));
        host.finish(0);
        QCOMPARE(host.keyboard.violations(), std::vector<std::string>{"FINISH without COMMIT"});
        host.keyboard.clearViolations();
    }

    void aWrongEchoHidesASuccess()
    {
        play(host, {announceScreen, blocks(screenStream(1))});
        host.keyboard.spoilNextAnswer(AnswerFault::WrongEcho);
        QCOMPARE(host.commit(), (Report{0x05, 0xFD, 0, 0x01}));
        QCOMPARE(host.keyboard.screenSlot(1).size(), std::size_t{1});
        QCOMPARE(host.finish(0), answerTo(0xF0, 0x01));
    }

    void aRefusedHeaderMayBeClosed()
    {
        host.open(1);
        host.keyboard.spoilNextAnswer(AnswerFault::Status, 0x03);
        QCOMPARE(host.command(0x13, 0, 1), answerTo(0x13, 0x03));
        QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));
    }

    void theAnswerOfMacroDataIsNotLookedAt()
    {
        host.open(1);
        host.command(0x19);
        host.keyboard.spoilNextAnswer(AnswerFault::Status, 0x05);
        QCOMPARE(host.command(0x15, 0, 8), answerTo(0x15, 0x05));
        play(host, {slices(macroImage()), wait(28), commit, finish(1)});
        QCOMPARE(host.keyboard.state().macroSpace, macroImage());
    }

    void aSpoiledDataAnswerLosesNoData()
    {
        host.open(1);
        host.command(0x17, 1, 1);
        host.keyboard.spoilNextAnswer(AnswerFault::Status, 0xFF);
        QCOMPARE(host.exchange(sleepPayload(2)), (Report{0, 0, 0, 0xFF}));
        host.commit();
        host.finish(1);
        QCOMPARE(host.keyboard.state().sleepCode, std::uint8_t{2});
    }

    void lossesOnTheWayMayBeClosed()
    {
        host.keyboard.reportLost(Host::commandReport(0x18, 0, 1));
        QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));

        announceLayer(host);
        host.keyboard.reportLost(Report{});
        QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));

        announceLayer(host);
        host.keyboard.reportLost(Host::commandReport(0xF0, 0, 1));
        sendOne(0x13, 0, lightingPayload())(host);
        QCOMPARE(host.keyboard.state().lighting, lightingPayload());
    }

    void aScreenUploadIsClosedByABareFinish()
    {
        announceScreen(host);
        host.sendBlocks(head(screenStream(1), 3 * blockSize));
        host.keyboard.answerLost();
        QCOMPARE(host.finish(0), answerTo(0xF0, 0x01));
        QVERIFY(!host.keyboard.sessionOpen());
        QCOMPARE(host.keyboard.state(), KeyboardState());
    }

    void anUnpluggedKeyboardForgetsItsSessionOnly()
    {
        sendOne(0x13, 0, lightingPayload())(host);
        announceLayer(host);
        host.keyboard.disconnect();
        QVERIFY(!host.keyboard.sessionOpen());
        QCOMPARE(host.keyboard.state().lighting, lightingPayload());
        sendTable(1, 0x11, layerImage(1))(host);
    }

    void resetBringsTheFactoryStateBack()
    {
        sendOne(0x13, 0, lightingPayload())(host);
        host.open(1);
        host.commit();
        host.keyboard.reset();
        QCOMPARE(host.keyboard.state(), KeyboardState());
        QVERIFY(!host.keyboard.sessionOpen());
        QVERIFY(host.keyboard.violations().empty());
    }

private:
    Host host;
};

QTEST_GUILESS_MAIN(KeyboardModelTest)
#include "keyboard_model_test.moc"
