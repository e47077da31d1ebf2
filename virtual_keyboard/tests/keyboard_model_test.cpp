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

// A session with flag 1 in which the base layer was announced.
void announceLayer(Host& host)
{
    host.open(1);
    host.command(0x11, 0, 9);
}

void announceScreen(Host& host)
{
    host.open(0);
    host.command(0x72, 1, 9);
}

void sendOne(Host& host, std::uint8_t code, std::uint8_t argument, const Report& payload)
{
    host.open(1);
    host.command(code, argument, 1);
    host.exchange(payload);
    host.commit();
    host.finish(1);
}

void sendTable(Host& host, std::uint8_t flag, std::uint8_t code,
               std::span<const std::uint8_t> image)
{
    host.open(flag);
    host.command(code, 0, 9);
    host.sendSlices(image);
    host.commit();
    host.finish(flag);
}

void announceMacros(Host& host)
{
    host.open(1);
    host.command(0x19);
    host.command(0x15, 0, 8);
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

// Something a keyboard may not be asked to do, and the one complaint it must cause.
struct Offence
{
    const char* name;
    std::function<void(Host&)> act;
    const char* violation;
};

const std::vector<Offence>& shapeOffences()
{
    static const std::vector<Offence> offences = {
        {"report too short", [](Host& host) { host.send(std::vector<std::uint8_t>(63)); },
         "feature report of 63 bytes behind the report id, expected 64"},
        {"report too long", [](Host& host) { host.send(std::vector<std::uint8_t>(65)); },
         "feature report of 65 bytes behind the report id, expected 64"},
        {"marker wrong",
         [](Host& host) {
             host.send(Report{0x05, 0x18});
         },
         "report begins with 05, expected 04"},
        {"unknown command", [](Host& host) { host.command(0x42); }, "unknown command 42"},
        {"session open not zero",
         [](Host& host) { host.exchange(with(Host::commandReport(0x18), 63, 7)); },
         "session open carries 07 in byte 63, which must be zero"},
        {"session flag", [](Host& host) { host.open(2); },
         "session open with flag 2, expected 0 or 1"},
        {"header not zero",
         [](Host& host) {
             host.open(1);
             host.exchange(with(Host::commandReport(0x11, 0, 9), 3, 1));
         },
         "command 11 carries 01 in byte 3, which must be zero"},
        {"high count byte of a narrow count",
         [](Host& host) {
             host.open(1);
             host.command(0x11, 0, 9, 1);
         },
         "command 11 carries 01 in byte 9, which must be zero"},
        {"COMMIT not zero",
         [](Host& host) {
             announceLayer(host);
             host.sendSlices(layerImage(1));
             host.command(0x02, 0, 1);
         },
         "COMMIT carries 01 in byte 8, which must be zero"},
        {"FINISH not zero",
         [](Host& host) {
             host.open(1);
             host.command(0xF0, 1, 1);
         },
         "FINISH carries 01 in byte 2, which must be zero"},
        {"argument of the lighting mode",
         [](Host& host) {
             host.open(1);
             host.command(0x13, 1, 1);
         },
         "command 13 with argument 1, expected 0"},
        {"argument of the sleep",
         [](Host& host) {
             host.open(1);
             host.command(0x17, 0, 1);
         },
         "command 17 with argument 0, expected 1"},
        {"count of a layer",
         [](Host& host) {
             host.open(1);
             host.command(0x27, 0, 8);
         },
         "command 27 announces 8 reports, expected 9"},
        {"count of the macro session",
         [](Host& host) {
             host.open(1);
             host.command(0x19, 0, 1);
         },
         "command 19 announces 1 reports, expected 0"},
        {"count of macro data",
         [](Host& host) {
             host.open(1);
             host.command(0x19);
             host.command(0x15, 0, 7);
         },
         "command 15 announces 7 reports, expected 8 to 49"},
        {"count of screen blocks",
         [](Host& host) {
             host.open(0);
             host.command(0x72, 1, 0xF2);
         },
         "command 72 announces 242 reports, expected 9 to 241"},
        {"screen slot",
         [](Host& host) {
             host.open(0);
             host.command(0x72, 4, 9);
         },
         "command 72 for slot 4, expected 1 to 3"},
        {"count of the bank read", [](Host& host) { host.command(0xF5, 0, 8); },
         "command f5 announces 8 reports, expected 9"},
    };
    return offences;
}

const std::vector<Offence>& sessionOffences()
{
    static const std::vector<Offence> offences = {
        {"command outside", [](Host& host) { host.command(0x13, 0, 1); },
         "command 13 outside a session"},
        {"command with the wrong flag",
         [](Host& host) {
             host.open(0);
             host.command(0x11, 0, 9);
         },
         "command 11 in a session with flag 0, expected 1"},
        {"bank write with the wrong flag",
         [](Host& host) {
             host.open(1);
             host.command(0x23, 0, 9);
         },
         "command 23 in a session with flag 1, expected 0"},
        {"second command",
         [](Host& host) {
             announceLayer(host);
             host.sendSlices(layerImage(1));
             host.command(0x27, 0, 9);
         },
         "a second command in one session: command 27"},
        {"macro data without its session",
         [](Host& host) {
             host.open(1);
             host.command(0x15, 0, 8);
         },
         "command 15 without command 19 before it"},
        {"session in a session",
         [](Host& host) {
             host.open(1);
             host.open(1);
         },
         "session opened inside a session"},
        {"COMMIT outside", [](Host& host) { host.commit(); }, "COMMIT outside a session"},
        {"COMMIT of nothing",
         [](Host& host) {
             host.open(1);
             host.commit();
         },
         "COMMIT without a command to complete"},
        {"FINISH outside", [](Host& host) { host.finish(1); }, "FINISH outside a session"},
        {"FINISH twice",
         [](Host& host) {
             sendOne(host, 0x13, 0, lightingPayload());
             host.finish(1);
         },
         "FINISH outside a session"},
        {"FINISH with another flag",
         [](Host& host) {
             announceLayer(host);
             host.sendSlices(layerImage(1));
             host.commit();
             host.finish(0);
         },
         "FINISH with flag 0 in a session with flag 1"},
        {"FINISH with another flag after a refusal",
         [](Host& host) {
             host.keyboard.spoilNextAnswer(AnswerFault::Empty);
             host.open(1);
             host.finish(0);
         },
         "FINISH outside a session"},
        {"FINISH without COMMIT",
         [](Host& host) {
             announceLayer(host);
             host.sendSlices(layerImage(1));
             host.finish(1);
         },
         "FINISH without COMMIT"},
        {"FINISH without COMMIT after an earlier trouble",
         [](Host& host) {
             host.keyboard.spoilNextAnswer(AnswerFault::Empty);
             host.open(1);
             host.open(1);
             host.finish(1);
         },
         "FINISH without COMMIT"},
        {"FINISH again because its answer was lost",
         [](Host& host) {
             host.keyboard.spoilNextAnswer(AnswerFault::Empty);
             host.open(1);
             host.finish(1);
             host.keyboard.answerLost();
             host.finish(1);
         },
         "FINISH outside a session"},
        {"FINISH after a bank read that failed",
         [](Host& host) {
             announceScreen(host);
             host.sendBlocks(screenStream(1));
             host.commit();
             host.command(0xF5, 0, 9);
             host.keyboard.answerLost();
             host.finish(0);
         },
         "FINISH outside a session"},
        {"FINISH after the COMMIT of a screen",
         [](Host& host) {
             announceScreen(host);
             host.sendBlocks(screenStream(1));
             host.commit();
             host.finish(0);
         },
         "FINISH outside a session"},
        {"bank read in a session",
         [](Host& host) {
             host.open(0);
             host.command(0xF5, 0, 9);
         },
         "command f5 inside a session"},
        {"bank read not closed",
         [](Host& host) {
             host.command(0xF5, 0, 9);
             for (int report = 0; report < 8; ++report)
                 host.exchange({});
             host.open(0);
         },
         "bank read left after 9 of 9 answers, without its COMMIT"},
        {"bank read broken off",
         [](Host& host) {
             host.command(0xF5, 0, 9);
             host.open(0);
         },
         "bank read left after 1 of 9 answers, without its COMMIT"},
        {"bank read with a tenth report",
         [](Host& host) {
             host.command(0xF5, 0, 9);
             for (int report = 0; report < 9; ++report)
                 host.exchange({});
         },
         "more reports than the nine of the bank read"},
        {"bank read with bytes",
         [](Host& host) {
             host.command(0xF5, 0, 9);
             host.exchange({1});
         },
         "bank read report carries bytes that must be zero"},
        {"answer not fetched",
         [](Host& host) {
             host.send(Host::commandReport(0x18, 0, 1));
             host.command(0x11, 0, 9);
         },
         "the answer of the report before was not fetched"},
        {"read of nothing", [](Host& host) { static_cast<void>(host.read()); },
         "read without a report sent before it"},
    };
    return offences;
}

const std::vector<Offence>& dataOffences()
{
    static const std::vector<Offence> offences = {
        {"a slice missing",
         [](Host& host) {
             announceLayer(host);
             host.sendSlices(head(layerImage(1), 512));
             host.commit();
         },
         "fewer data reports than announced for command 11: 8 of 9"},
        {"a slice too many",
         [](Host& host) {
             announceLayer(host);
             host.sendSlices(layerImage(1));
             host.exchange({1});
         },
         "more data reports than announced for command 11 (9 expected)"},
        {"a macro piece missing",
         [](Host& host) {
             announceMacros(host);
             host.sendSlices(head(macroImage(), 384));
             host.wait(30);
             host.commit();
         },
         "fewer data reports than announced for command 15: 6 of 7"},
        {"the macro marker sent as a piece",
         [](Host& host) {
             announceMacros(host);
             host.sendSlices(macroImage());
             host.exchange({0xAA, 0x55});
         },
         "more data reports than announced for command 15 (7 expected)"},
        {"a screen block missing",
         [](Host& host) {
             announceScreen(host);
             host.sendBlocks(head(screenStream(1), 8 * blockSize));
             host.commit();
         },
         "fewer data reports than announced for command 72: 8 of 9"},
        {"a screen block too many",
         [](Host& host) {
             announceScreen(host);
             host.sendBlocks(screenStream(1));
             QVERIFY(!host.keyboard.screenReport(std::vector<std::uint8_t>(blockSize)));
         },
         "more screen blocks than announced (9 expected)"},
        {"a screen block too short",
         [](Host& host) {
             announceScreen(host);
             QVERIFY(!host.keyboard.screenReport(std::vector<std::uint8_t>(4095)));
         },
         "screen block of 4095 bytes behind the report id, expected 4096"},
        {"a screen block for nobody",
         [](Host& host) {
             QVERIFY(!host.keyboard.screenReport(std::vector<std::uint8_t>(blockSize)));
         },
         "screen block outside an upload"},
        {"a wrong screen stream",
         [](Host& host) {
             announceScreen(host);
             host.sendBlocks(with(screenStream(1), 1, 9));
             host.commit();
         },
         "screen stream has a frame time below 20 ms"},
        {"lighting marker",
         [](Host& host) { sendOne(host, 0x13, 0, with(lightingPayload(), 15, 0x54)); },
         "marker aa 55 missing at bytes 14 and 15 of the lighting mode"},
        {"lighting not zero",
         [](Host& host) { sendOne(host, 0x13, 0, with(lightingPayload(), 16, 1)); },
         "lighting mode carries bytes that must be zero"},
        {"lighting range",
         [](Host& host) { sendOne(host, 0x13, 0, with(lightingPayload(), 9, 6)); },
         "lighting mode carries a value out of range"},
        {"sleep marker", [](Host& host) { sendOne(host, 0x17, 1, with(sleepPayload(1), 62, 0)); },
         "marker aa 55 missing at bytes 62 and 63 of the lighting sleep"},
        {"sleep not zero", [](Host& host) { sendOne(host, 0x17, 1, with(sleepPayload(1), 0, 1)); },
         "lighting sleep carries bytes that must be zero"},
        {"sleep range", [](Host& host) { sendOne(host, 0x17, 1, sleepPayload(4)); },
         "lighting sleep carries a value out of range"},
        {"layer marker", [](Host& host) { sendTable(host, 1, 0x11, with(layerImage(1), 574, 0)); },
         "marker aa 55 missing at bytes 574 and 575 of the key layer"},
        {"bank marker",
         [](Host& host) {
             sendTable(host, 0, 0x23, with(bankImage({1, 2, 3}), 575, 0));
         },
         "marker aa 55 missing at bytes 574 and 575 of the color bank"},
        {"bank index",
         [](Host& host) {
             sendTable(host, 0, 0x23, with(bankImage({1, 2, 3}), 20, 7));
         },
         "color record 5 carries index 7"},
    };
    return offences;
}

const std::vector<Offence>& timeOffences()
{
    static const std::vector<Offence> offences = {
        {"read too soon",
         [](Host& host) {
             host.send(Host::commandReport(0x18, 0, 1));
             host.wait(-1);
             static_cast<void>(host.read());
         },
         "read 49 ms after the send, sooner than 50 ms"},
        {"send too soon after a read",
         [](Host& host) {
             host.open(1);
             host.wait(-1);
             host.command(0x11, 0, 9);
         },
         "send 34 ms after the previous report, sooner than 35 ms"},
        {"slices too close",
         [](Host& host) {
             announceLayer(host);
             const std::vector<std::uint8_t> image = layerImage(1);
             host.sendSlices(std::span(image).first(64));
             host.wait(-1);
             host.sendSlices(std::span(image).subspan(64));
             host.commit();
             host.finish(1);
         },
         "data reports closer than 2 ms"},
        {"slices far too close",
         [](Host& host) {
             announceLayer(host);
             const std::vector<std::uint8_t> image = layerImage(1);
             host.sendSlices(std::span(image).first(64));
             host.wait(-3);
             host.sendSlices(std::span(image).subspan(64));
             host.commit();
             host.finish(1);
         },
         "send 34 ms after the previous report, sooner than 35 ms"},
        {"COMMIT too close",
         [](Host& host) {
             announceLayer(host);
             host.sendSlices(layerImage(1));
             host.wait(-1);
             host.commit();
             host.finish(1);
         },
         "COMMIT sooner than 2 ms after the last data report"},
        {"macro COMMIT too close",
         [](Host& host) {
             announceMacros(host);
             host.sendSlices(macroImage());
             host.wait(27);
             host.commit();
             host.finish(1);
         },
         "macro COMMIT sooner than 30 ms after the last piece"},
    };
    return offences;
}

std::vector<Offence> allOffences()
{
    std::vector<Offence> all;
    for (const auto* list :
         {&shapeOffences(), &sessionOffences(), &dataOffences(), &timeOffences()})
        all.insert(all.end(), list->begin(), list->end());
    return all;
}

} // namespace

class KeyboardModelTest : public QObject
{
    Q_OBJECT

private slots:
    void everyOffenceIsNamed_data();
    void everyOffenceIsNamed();
    void everyOperationDoneRightIsNoOffence();
    void commandsAreAnsweredWithCodeAndStatusAndDataWithZeros();
    void aRefusedCommandIsAnsweredWithStatusTwo();
    void lightingIsTakenOverByCommitOnly();
    void sleepIsTakenOver();
    void aLayerKeepsTheLastBytesOfItsLastKey();
    void theBankIsStoredAsColorsAndReadAsPackedBytes();
    void macrosAreTakenOverByCommitOnly();
    void aScreenSlotIsTakenOverByCommitWhichEndsTheSession();
    void aSliceThatIsSentAgainReplacesTheFirst();
    void nothingIsTakenOverFromARefusedCommit_data();
    void nothingIsTakenOverFromARefusedCommit();
    void aBusyKeyboardOpensNoSessionAndMayBeClosed();
    void anOddAnswerStillOpensTheSession();
    void aWrongEchoHidesASuccess();
    void aRefusedHeaderMayBeClosed();
    void theAnswerOfMacroDataIsNotLookedAt();
    void aSpoiledDataAnswerLosesNoData();
    void lossesOnTheWayMayBeClosed();
    void aScreenUploadIsClosedByABareFinish();
    void anUnpluggedKeyboardForgetsItsSessionOnly();
    void resetBringsTheFactoryStateBack();
};

void KeyboardModelTest::everyOffenceIsNamed_data()
{
    QTest::addColumn<int>("index");
    const std::vector<Offence> offences = allOffences();
    for (int index = 0; index < static_cast<int>(offences.size()); ++index)
        QTest::newRow(offences[static_cast<std::size_t>(index)].name) << index;
}

void KeyboardModelTest::everyOffenceIsNamed()
{
    QFETCH(int, index);
    const Offence offence = allOffences()[static_cast<std::size_t>(index)];
    Host host;
    offence.act(host);
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{offence.violation});
    host.keyboard.clearViolations();
    QVERIFY(host.keyboard.violations().empty());
}

void KeyboardModelTest::everyOperationDoneRightIsNoOffence()
{
    Host host;
    sendOne(host, 0x13, 0, lightingPayload());
    sendOne(host, 0x17, 1, sleepPayload(3));
    sendTable(host, 1, 0x11, layerImage(1));
    sendTable(host, 1, 0x27, layerImage(2));
    sendTable(host, 0, 0x23, bankImage({1, 2, 3}));
    host.command(0xF5, 0, 9);
    for (int report = 0; report < 8; ++report)
        host.exchange({});
    host.commit();
    announceMacros(host);
    host.sendSlices(macroImage());
    host.wait(28);
    host.commit();
    host.finish(1);
    announceScreen(host);
    host.sendBlocks(screenStream(1));
    host.commit();
    sendOne(host, 0x13, 0, lightingPayload());
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
    QVERIFY(!host.keyboard.sessionOpen());
}

void KeyboardModelTest::commandsAreAnsweredWithCodeAndStatusAndDataWithZeros()
{
    Host host;
    QCOMPARE(host.open(1), answerTo(0x18, 0x01));
    QCOMPARE(host.keyboard.sessionFlag(), std::optional<std::uint8_t>(1));
    QCOMPARE(host.command(0x13, 0, 1), answerTo(0x13, 0x01));
    QCOMPARE(host.exchange(lightingPayload()), Report{});
    QCOMPARE(host.commit(), answerTo(0x02, 0x01));
    QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));
    QVERIFY(!host.keyboard.sessionOpen());
}

void KeyboardModelTest::aRefusedCommandIsAnsweredWithStatusTwo()
{
    Host host;
    QCOMPARE(host.command(0x13, 0, 1), answerTo(0x13, 0x02));
}

void KeyboardModelTest::lightingIsTakenOverByCommitOnly()
{
    Host host;
    host.open(1);
    host.command(0x13, 0, 1);
    host.exchange(lightingPayload());
    QCOMPARE(host.keyboard.state(), KeyboardState());
    host.commit();
    QCOMPARE(host.keyboard.state().lighting, lightingPayload());
    QVERIFY(!host.keyboard.customMode());
    host.finish(1);

    Report custom{0x80};
    custom[9] = 4;
    custom[14] = 0xAA;
    custom[15] = 0x55;
    sendOne(host, 0x13, 0, custom);
    QVERIFY(host.keyboard.customMode());
    QCOMPARE(host.keyboard.lightingSummary(), std::string("custom colors, brightness 4"));
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::sleepIsTakenOver()
{
    Host host;
    sendOne(host, 0x17, 1, sleepPayload(3));
    QCOMPARE(host.keyboard.state().sleepCode, std::uint8_t{3});
}

void KeyboardModelTest::aLayerKeepsTheLastBytesOfItsLastKey()
{
    Host host;
    std::vector<std::uint8_t> image = layerImage(9);
    image[4] = 2;
    image[7] = 0x77;
    sendTable(host, 1, 0x27, image);
    QCOMPARE(host.keyboard.keyAction(LayerId::Fn, 1), (KeyActionBytes{2, 9, 9, 0x77}));
    QCOMPARE(host.keyboard.keyAction(LayerId::Fn, 143), (KeyActionBytes{9, 9, 0, 0}));
    QCOMPARE(host.keyboard.keyAction(LayerId::Base, 1), KeyActionBytes{});
    sendTable(host, 1, 0x11, layerImage(3));
    QCOMPARE(host.keyboard.keyAction(LayerId::Base, 1), (KeyActionBytes{3, 3, 3, 3}));
    QCOMPARE(host.keyboard.keyAction(LayerId::Fn, 1), (KeyActionBytes{2, 9, 9, 0x77}));
}

void KeyboardModelTest::theBankIsStoredAsColorsAndReadAsPackedBytes()
{
    Host host;
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

    sendTable(host, 0, 0x23, bankImage({1, 2, 3}));
    QCOMPARE(host.keyboard.keyColor(0), (KeyColor{1, 2, 3}));
    QCOMPARE(host.keyboard.keyColor(142), (KeyColor{1, 2, 3}));
    QCOMPARE(host.keyboard.keyColor(143), (KeyColor{1, 0xA0, 0xB0}));
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::macrosAreTakenOverByCommitOnly()
{
    Host host;
    announceMacros(host);
    host.sendSlices(macroImage());
    QVERIFY(host.keyboard.state().macroSpace.empty());
    host.wait(28);
    host.commit();
    QCOMPARE(host.keyboard.state().macroSpace, macroImage());
    QCOMPARE(host.keyboard.playMacro(2).size(), std::size_t{2});
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::aScreenSlotIsTakenOverByCommitWhichEndsTheSession()
{
    Host host;
    host.open(0);
    host.command(0x72, 3, 17);
    QCOMPARE(host.keyboard.screenBlocksAnnounced(), std::size_t{17});
    host.sendBlocks(screenStream(2));
    QCOMPARE(host.keyboard.screenBlocksReceived(), std::size_t{17});
    QVERIFY(host.keyboard.screenSlot(3).empty());
    host.commit();
    QCOMPARE(host.keyboard.screenSlot(3).size(), std::size_t{2});
    QVERIFY(host.keyboard.screenSlot(1).empty());
    QVERIFY(!host.keyboard.sessionOpen());
    QCOMPARE(host.keyboard.screenBlocksAnnounced(), std::size_t{0});
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::aSliceThatIsSentAgainReplacesTheFirst()
{
    Host host;
    announceLayer(host);
    const std::vector<std::uint8_t> image = layerImage(1);
    host.send(std::span(image).first(64));
    host.wait(50);
    host.keyboard.answerLost();
    host.sendSlices(image);
    host.commit();
    host.finish(1);
    QCOMPARE(host.keyboard.keyAction(LayerId::Base, 16), (KeyActionBytes{1, 1, 1, 1}));
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::nothingIsTakenOverFromARefusedCommit_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<int>("status");
    QTest::newRow("status 05") << static_cast<int>(AnswerFault::Status) << 5;
    QTest::newRow("empty") << static_cast<int>(AnswerFault::Empty) << 0;
}

void KeyboardModelTest::nothingIsTakenOverFromARefusedCommit()
{
    QFETCH(int, fault);
    QFETCH(int, status);
    Host host;
    announceLayer(host);
    host.sendSlices(layerImage(1));
    host.keyboard.spoilNextAnswer(static_cast<AnswerFault>(fault),
                                  static_cast<std::uint8_t>(status));
    const Report answer = host.commit();
    QCOMPARE(answer[3], static_cast<std::uint8_t>(status));
    QCOMPARE(host.keyboard.state(), KeyboardState());
    QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::aBusyKeyboardOpensNoSessionAndMayBeClosed()
{
    Host host;
    host.keyboard.spoilNextAnswer(AnswerFault::Status, 0xFF);
    QCOMPARE(host.open(1), answerTo(0x18, 0xFF));
    QVERIFY(!host.keyboard.sessionOpen());
    host.keyboard.spoilNextAnswer(AnswerFault::Empty);
    QCOMPARE(host.open(1), Report{});
    QVERIFY(!host.keyboard.sessionOpen());
    QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));
    sendOne(host, 0x13, 0, lightingPayload());
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::anOddAnswerStillOpensTheSession()
{
    Host host;
    host.keyboard.spoilNextAnswer(AnswerFault::Status, 0x07);
    QCOMPARE(host.open(1), answerTo(0x18, 0x07));
    QVERIFY(host.keyboard.sessionOpen());
    host.keyboard.disconnect();
    host.keyboard.spoilNextAnswer(AnswerFault::WrongEcho);
    QCOMPARE(host.open(0), (Report{0x05, 0xE7, 0, 0x01}));
    QCOMPARE(host.keyboard.sessionFlag(), std::optional<std::uint8_t>(0));
    host.finish(0);
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{"FINISH without COMMIT"});
}

void KeyboardModelTest::aWrongEchoHidesASuccess()
{
    Host host;
    announceScreen(host);
    host.sendBlocks(screenStream(1));
    host.keyboard.spoilNextAnswer(AnswerFault::WrongEcho);
    QCOMPARE(host.commit(), (Report{0x05, 0xFD, 0, 0x01}));
    QCOMPARE(host.keyboard.screenSlot(1).size(), std::size_t{1});
    QCOMPARE(host.finish(0), answerTo(0xF0, 0x01));
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::aRefusedHeaderMayBeClosed()
{
    Host host;
    host.open(1);
    host.keyboard.spoilNextAnswer(AnswerFault::Status, 0x03);
    QCOMPARE(host.command(0x13, 0, 1), answerTo(0x13, 0x03));
    QCOMPARE(host.finish(1), answerTo(0xF0, 0x01));
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::theAnswerOfMacroDataIsNotLookedAt()
{
    Host host;
    host.open(1);
    host.command(0x19);
    host.keyboard.spoilNextAnswer(AnswerFault::Status, 0x05);
    QCOMPARE(host.command(0x15, 0, 8), answerTo(0x15, 0x05));
    host.sendSlices(macroImage());
    host.wait(28);
    host.commit();
    host.finish(1);
    QCOMPARE(host.keyboard.state().macroSpace, macroImage());
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::aSpoiledDataAnswerLosesNoData()
{
    Host host;
    host.open(1);
    host.command(0x17, 1, 1);
    host.keyboard.spoilNextAnswer(AnswerFault::Status, 0xFF);
    QCOMPARE(host.exchange(sleepPayload(2)), (Report{0, 0, 0, 0xFF}));
    host.commit();
    host.finish(1);
    QCOMPARE(host.keyboard.state().sleepCode, std::uint8_t{2});
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::lossesOnTheWayMayBeClosed()
{
    Host lostOpen;
    lostOpen.keyboard.reportLost(Host::commandReport(0x18, 0, 1));
    QCOMPARE(lostOpen.finish(1), answerTo(0xF0, 0x01));
    QCOMPARE(lostOpen.keyboard.violations(), std::vector<std::string>{});

    Host lostSlice;
    announceLayer(lostSlice);
    lostSlice.keyboard.reportLost(Report{});
    QCOMPARE(lostSlice.finish(1), answerTo(0xF0, 0x01));
    QCOMPARE(lostSlice.keyboard.violations(), std::vector<std::string>{});

    Host lostFinish;
    announceLayer(lostFinish);
    lostFinish.keyboard.reportLost(Host::commandReport(0xF0, 0, 1));
    sendOne(lostFinish, 0x13, 0, lightingPayload());
    QCOMPARE(lostFinish.keyboard.violations(), std::vector<std::string>{});
    QCOMPARE(lostFinish.keyboard.state().lighting, lightingPayload());
}

void KeyboardModelTest::aScreenUploadIsClosedByABareFinish()
{
    Host host;
    announceScreen(host);
    host.sendBlocks(head(screenStream(1), 3 * blockSize));
    host.keyboard.answerLost();
    QCOMPARE(host.finish(0), answerTo(0xF0, 0x01));
    QVERIFY(!host.keyboard.sessionOpen());
    QCOMPARE(host.keyboard.state(), KeyboardState());
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::anUnpluggedKeyboardForgetsItsSessionOnly()
{
    Host host;
    sendOne(host, 0x13, 0, lightingPayload());
    announceLayer(host);
    host.keyboard.disconnect();
    QVERIFY(!host.keyboard.sessionOpen());
    QCOMPARE(host.keyboard.state().lighting, lightingPayload());
    sendTable(host, 1, 0x11, layerImage(1));
    QCOMPARE(host.keyboard.violations(), std::vector<std::string>{});
}

void KeyboardModelTest::resetBringsTheFactoryStateBack()
{
    Host host;
    sendOne(host, 0x13, 0, lightingPayload());
    host.open(1);
    host.commit();
    host.keyboard.reset();
    QCOMPARE(host.keyboard.state(), KeyboardState());
    QVERIFY(!host.keyboard.sessionOpen());
    QVERIFY(host.keyboard.violations().empty());
}

QTEST_GUILESS_MAIN(KeyboardModelTest)
#include "keyboard_model_test.moc"
