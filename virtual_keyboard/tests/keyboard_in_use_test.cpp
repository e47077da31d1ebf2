// SPDX-License-Identifier: MIT
#include "tests/support/named_keys.h"
#include "virtual_keyboard/demo/keyboard_in_use.h"

#include <QTest>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;
using namespace std::chrono_literals;

namespace {

constexpr auto start = 500000ms;

std::vector<KeyColor> dark()
{
    return std::vector<KeyColor>(keyCount);
}

// Animations of this many pictures, 100 ms each.
std::vector<ScreenFrame> animation(std::size_t pictures)
{
    std::vector<ScreenFrame> frames;
    for (std::size_t picture = 0; picture < pictures; ++picture)
        frames.push_back({std::vector<std::uint16_t>(screenWidth * screenHeight), 100ms});
    return frames;
}

} // namespace

class KeyboardInUseTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        held = {};
        held.lighting[0] = 0x01; // Static
        held.lighting[1] = 255;
        held.lighting[9] = 5;
        renew();
    }

    void aKeySendsWhatTheKeyboardHolds_data()
    {
        QTest::addColumn<QList<int>>("action");
        QTest::addColumn<QString>("sent");
        const auto row = [](const char* sent, const QList<int>& action) {
            QTest::newRow(sent) << action << sent;
        };
        row("A", {0, 0, 0, 0});
        row("Ctrl+B", {2, 0x01, 0x05, 0});
        row("Ctrl+Shift+Right Alt+F1", {2, 0x43, 0x3A, 0});
        row("Right Ctrl", {2, 0x10, 0, 0});
        row("Volume up", {3, 0xE9, 0, 0});
        row("Refresh", {3, 0x27, 0, 0});
        row("Consumer 0x01", {3, 0x01, 0, 0});
        row("Scroll down", {1, 3, 0xFF, 0});
        row("Mouse button 4", {1, 1, 0x08, 0});
        row("nothing", {5, 0, 0, 0});
        row("macro 0: H↓ 40 ms H↑", {6, 0, 0, 0});
        row("macro 1: mouse 1↓ 500 ms mouse 1↑", {6, 1, 0, 0});
        row("macro 2: nothing, the keyboard holds none", {6, 2, 0, 0});
        row("what nobody knows (Extended)", {7, 0, 0, 0});
        row("what nobody knows (Page 9)", {9, 0, 0, 0});
    }

    void aKeySendsWhatTheKeyboardHolds()
    {
        QFETCH(const QList<int>, action);
        QFETCH(const QString, sent);
        held.macroSpace.assign(448, 0);
        const std::vector<std::uint8_t> table{0x90, 0x01, 0, 0, 0x9C, 0x01, 0, 0};
        std::ranges::copy(table, held.macroSpace.begin());
        const std::vector<std::uint8_t> macros{4,    0,    0, 0,    0, 0, 0x0B, 0xB0, 40, 0,
                                               0x0B, 0x30, 6, 0,    0, 0, 0,    0,    1,  0x90,
                                               0xF4, 1,    0, 0x50, 0, 0, 1,    0x10};
        std::ranges::copy(macros, held.macroSpace.begin() + 400);
        for (std::size_t byte = 0; byte < 4; ++byte)
            held.baseLayer.at(indexOf("A")).at(byte) =
                static_cast<std::uint8_t>(action.at(static_cast<qsizetype>(byte)));
        renew();
        QCOMPARE(press("A"), sent);
    }

    void longMacrosEndInAnEllipsis()
    {
        held.macroSpace.assign(3072, 0);
        held.macroSpace[0] = 0x90;
        held.macroSpace[1] = 0x01;
        held.macroSpace[400] = 200; // a hundred actions
        held.baseLayer.at(indexOf("A")) = {6, 0, 0, 0};
        renew();
        const QString sent = press("A");
        QVERIFY(sent.endsWith("…"));
        QVERIFY(sent.size() < 1000);
    }

    void fnStaysDownUntilItIsPressedAgain()
    {
        held.baseLayer.at(indexOf("U")) = {2, 0x01, 0x05, 0};
        held.fnLayer.at(indexOf("U")) = {3, 0xE9, 0, 0};
        held.fnLayer.at(indexOf("I")) = {6, 4, 0, 0};
        renew();
        const int u = static_cast<int>(indexOf("U"));
        QCOMPARE(keyboard->captions(), (QMap<int, QString>{{u, "Ctrl+B"}}));
        QCOMPARE(press("U"), QString("Ctrl+B"));
        press("Fn");
        QVERIFY(keyboard->isDown(keyNamed("Fn")));
        QCOMPARE(
            keyboard->captions(),
            (QMap<int, QString>{{u, "Volume Up"}, {static_cast<int>(indexOf("I")), "Macro 4"}}));
        QCOMPARE(press("U"), QString("Volume up"));
        QCOMPARE(press("A"), QString("whatever Fn+A does from the factory"));
        press("Fn");
        QVERIFY(!keyboard->isDown(keyNamed("Fn")));
        QCOMPARE(press("U"), QString("Ctrl+B"));
    }

    void aKeyIsDownUntilItIsReleased()
    {
        keyboard->press(static_cast<int>(indexOf("G")), start);
        QVERIFY(keyboard->isDown(keyNamed("G")));
        QVERIFY(!keyboard->isDown(keyNamed("H")));
        keyboard->release();
        QVERIFY(!keyboard->isDown(keyNamed("G")));
    }

    void keysThatTheBoardDoesNotHaveDoNothing()
    {
        QCOMPARE(keyboard->press(-1, start), QString());
        QCOMPARE(keyboard->press(143, start), QString());
        QCOMPARE(keyboard->press(4000, start), QString());
    }

    void lightSleepsAndWakes_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("seconds");
        QTest::newRow("a minute") << 1 << 1;
        QTest::newRow("five minutes") << 2 << 5;
        QTest::newRow("thirty minutes") << 3 << 30;
    }
    void lightSleepsAndWakes()
    {
        QFETCH(const int, code);
        QFETCH(const int, seconds);
        held.sleepCode = static_cast<std::uint8_t>(code);
        renew();
        press("A");
        const auto asleep = start + std::chrono::seconds(seconds);
        QVERIFY(!keyboard->isAsleep(asleep - 1ms));
        QVERIFY(keyboard->lights(asleep - 1ms) != dark());
        QCOMPARE(keyboard->nextChange(asleep - 400ms), std::optional(400ms));
        QVERIFY(keyboard->isAsleep(asleep));
        QCOMPARE(keyboard->lights(asleep), dark());
        QVERIFY(!keyboard->nextChange(asleep));

        QCOMPARE(keyboard->press(static_cast<int>(indexOf("A")), asleep + 9s), QString("A"));
        QVERIFY(!keyboard->isAsleep(asleep + 9s));
        QVERIFY(keyboard->isAsleep(asleep + 9s + std::chrono::seconds(seconds)));
        keyboard->spokenTo(asleep + 100s);
        QVERIFY(!keyboard->isAsleep(asleep + 100s));
    }

    void withoutSleepTimeItNeverSleeps()
    {
        QVERIFY(!keyboard->isAsleep(start + 1000h));
        QVERIFY(!keyboard->nextChange(start + 1000h));
    }

    void nothingIsDueWhileNothingMoves()
    {
        QVERIFY(!keyboard->nextChange(start));
        held.lighting[0] = 0x07; // Breath
        renew();
        QCOMPARE(keyboard->nextChange(start), std::optional(40ms));
        held.sleepCode = 1;
        renew();
        keyboard->spokenTo(start);
        QVERIFY(!keyboard->nextChange(start + 1s));
    }

    void lightStandsWhereTheKeysStand()
    {
        held.lighting[0] = 0x02; // SingleOn
        renew();
        press("G");
        const std::vector<KeyColor> lights = keyboard->lights(start);
        for (std::size_t key = 0; key < keyCount; ++key)
            QCOMPARE(lights[key] != KeyColor{}, key == indexOf("G"));
    }

    void fnAndDeleteShowTheAnimationThatCameLast()
    {
        press("Fn");
        QCOMPARE(press("Delete"), QString("nothing; the screen has no animation yet"));
        QCOMPARE(keyboard->screenPicture(start), nullptr);

        held.screenSlots[0] = animation(1);
        held.screenSlots[1] = animation(2);
        held.latestSlot = 2;
        model.setState(held);
        QCOMPARE(press("Delete"), QString("nothing; the screen shows slot 2"));
        QCOMPARE(keyboard->screenPicture(start), &model.screenSlot(2)[0]);
        QCOMPARE(keyboard->screenPicture(start + 100ms), &model.screenSlot(2)[1]);
        QCOMPARE(keyboard->screenPicture(start + 250ms), &model.screenSlot(2)[0]);
        QCOMPARE(keyboard->nextChange(start + 130ms), std::optional(70ms));
        QCOMPARE(press("Delete"), QString("nothing; the screen shows slot 1"));
        QVERIFY(!keyboard->nextChange(start)); // a single picture stays
        QCOMPARE(press("Delete"), QString("nothing; the screen shows its clock"));
        QCOMPARE(keyboard->screenPicture(start), nullptr);

        press("Fn");
        QCOMPARE(press("Delete"), QString("Delete"));
        held.fnLayer.at(indexOf("Delete")) = {3, 0xE2, 0, 0};
        model.setState(held);
        press("Fn");
        QCOMPARE(press("Delete"), QString("Mute"));
    }

    void aNewAnimationIsShownFirst()
    {
        held.screenSlots[0] = animation(1);
        held.latestSlot = 1;
        renew();
        press("Fn");
        QCOMPARE(press("Delete"), QString("nothing; the screen shows slot 1"));
        held.screenSlots[1] = animation(2);
        held.latestSlot = 2;
        model.setState(held);
        QCOMPARE(press("Delete"), QString("nothing; the screen shows slot 2"));
        QCOMPARE(press("Delete"), QString("nothing; the screen shows slot 1"));
        QCOMPARE(press("Delete"), QString("nothing; the screen shows its clock"));
    }

    void anFnKeyWithAnotherFunctionSendsIt()
    {
        held.baseLayer.at(indexOf("Fn")) = {2, 0x01, 0x05, 0};
        renew();
        QCOMPARE(press("Fn"), QString("Ctrl+B"));
        QVERIFY(!keyboard->isDown(keyNamed("Fn")));
        // Held when it gets one, it can still be let go.
        held.baseLayer.at(indexOf("Fn")) = {};
        renew();
        press("Fn");
        held.baseLayer.at(indexOf("Fn")) = {2, 0x01, 0x05, 0};
        model.setState(held);
        QCOMPARE(press("Fn"), QString("nothing; Fn is released"));
    }

    void anEmptyBoardIsSafe()
    {
        const KeyboardLayout none;
        KeyboardInUse bare(model, none);
        QCOMPARE(bare.press(0, start), QString());
        QCOMPARE(bare.lights(start), dark());
        QVERIFY(bare.captions().isEmpty());
    }

private:
    void renew()
    {
        model.setState(held);
        keyboard = std::make_unique<KeyboardInUse>(model, KeyboardLayout::instance());
    }

    QString press(const char* key)
    {
        const QString sent = keyboard->press(static_cast<int>(indexOf(key)), start);
        keyboard->release();
        return sent;
    }

    KeyboardState held;
    KeyboardModel model;
    std::unique_ptr<KeyboardInUse> keyboard;
};

QTEST_GUILESS_MAIN(KeyboardInUseTest)
#include "keyboard_in_use_test.moc"
