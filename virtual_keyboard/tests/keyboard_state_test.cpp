// SPDX-License-Identifier: MIT
#include "virtual_keyboard/keyboard_state.h"
#include "virtual_keyboard/tests/model_host.h"

#include <QTest>

using namespace tavik::virtual_keyboard;

class KeyboardStateTest : public QObject
{
    Q_OBJECT

private slots:
    void aMacroIsDecodedEventByEvent()
    {
        const std::vector<MacroEvent> expected = {{300, MacroEventKind::KeyPress, 0x04},
                                                  {10, MacroEventKind::KeyRelease, 0x04}};
        QVERIFY(playMacro(macroImage(), 2) == expected);
    }

    void everyKindOfMacroEventIsNamed()
    {
        const std::vector<std::pair<std::uint8_t, MacroEventKind>> kinds = {
            {0xB0, MacroEventKind::KeyPress},   {0x30, MacroEventKind::KeyRelease},
            {0x90, MacroEventKind::MousePress}, {0x10, MacroEventKind::MouseRelease},
            {0x50, MacroEventKind::Pause},      {0x00, MacroEventKind::Unknown}};
        for (const auto& [flags, kind] : kinds) {
            std::vector<std::uint8_t> image = macroImage();
            image[407] = flags;
            QCOMPARE(playMacro(image, 2).front().kind, kind);
        }
    }

    void anIndexWithoutMacroPlaysNothing()
    {
        QVERIFY(playMacro(macroImage(), 0).empty());
        QVERIFY(playMacro(macroImage(), -1).empty());
        QVERIFY(playMacro(macroImage(), 100).empty());
        QVERIFY(playMacro({}, 0).empty());
    }

    void aMacroRecordThatLeavesTheSpacePlaysNothing()
    {
        std::vector<std::uint8_t> tooManyActions = macroImage();
        tooManyActions[400] = 24; // twelve actions would end at 452 of 448
        QVERIFY(playMacro(tooManyActions, 2).empty());
        tooManyActions[400] = 22;
        QCOMPARE(playMacro(tooManyActions, 2).size(), std::size_t{11});

        std::vector<std::uint8_t> offsetInTable = macroImage();
        offsetInTable[8] = 0x8C;
        QVERIFY(playMacro(offsetInTable, 2).empty());
    }

    void theLightingSummaryReadsLikeASentence()
    {
        Report lighting = lightingPayload();
        QCOMPARE(lightingSummary(lighting),
                 std::string("Rolling, random color, brightness 5, speed 3, direction left"));
        lighting[0] = 0;
        lighting[8] = 0;
        lighting[11] = 0;
        QCOMPARE(lightingSummary(lighting),
                 std::string("LED Off, #ff0000, brightness 5, speed 3, direction right"));
        lighting[0] = 0x80;
        QCOMPARE(lightingSummary(lighting), std::string("custom colors, brightness 5"));
    }

    void aScreenStreamBecomesFrames()
    {
        std::vector<std::uint8_t> stream = screenStream(2);
        stream[2] = 0xFF;
        stream[256] = 0x00;
        stream[257] = 0xF8;
        std::vector<ScreenFrame> frames;
        QCOMPARE(decodeScreenStream(stream, frames), std::string());
        QCOMPARE(frames.size(), std::size_t{2});
        QCOMPARE(frames[0].time.count(), 100);
        QCOMPARE(frames[1].time.count(), 510);
        QCOMPARE(frames[0].pixels.size(), std::size_t{16384});
        QCOMPARE(frames[0].pixels.front(), std::uint16_t{0xF800});
        QCOMPARE(frames[0].pixels.back(), std::uint16_t{0});
        QCOMPARE(frames[1].pixels.front(), std::uint16_t{1});
        QCOMPARE(frames[1].pixels.back(), std::uint16_t{1});
    }

    void aWrongScreenStreamIsNamedAndTakenOverNowhere_data()
    {
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("length");
        QTest::addColumn<QString>("fault");
        const auto row = [](const char* name, int offset, int value, int length,
                            const char* fault) {
            QTest::newRow(name) << offset << value << length << fault;
        };
        row("header cut", 0, 1, 255, "screen stream is shorter than its header");
        row("no frames", 0, 0, 36864, "screen stream has 0 frames, expected 1 to 30");
        row("31 frames", 0, 31, 36864, "screen stream has 31 frames, expected 1 to 30");
        row("a block missing", 0, 1, 32768,
            "screen stream of 1 frames has 32768 bytes, expected 36864");
        row("short time", 1, 9, 36864, "screen stream has a frame time below 20 ms");
        row("no end of times", 2, 255, 36864,
            "screen stream does not end its list of times with 00");
        row("header filler", 255, 0, 36864, "screen stream does not fill its header with ff");
        row("block filler", 33024, 0, 36864, "screen stream does not fill its last block with ff");
    }
    void aWrongScreenStreamIsNamedAndTakenOverNowhere()
    {
        QFETCH(int, offset);
        QFETCH(int, value);
        QFETCH(int, length);
        QFETCH(QString, fault);

        std::vector<std::uint8_t> stream = screenStream(1);
        stream[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(value);
        stream.resize(static_cast<std::size_t>(length));
        std::vector<ScreenFrame> frames(3);
        QCOMPARE(QString::fromStdString(decodeScreenStream(stream, frames)), fault);
        QCOMPARE(frames.size(), std::size_t{3});
    }
};

QTEST_GUILESS_MAIN(KeyboardStateTest)
#include "keyboard_state_test.moc"
