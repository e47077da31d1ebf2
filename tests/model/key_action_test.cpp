// SPDX-License-Identifier: MIT
#include "model/key_action.h"

#include <QString>
#include <QTest>

#include <cstddef>
#include <stdexcept>
#include <tuple>

using namespace tavik;

namespace {

KeyAction action(int page, int p1 = 0, int p2 = 0, int p3 = 0)
{
    return {static_cast<std::uint8_t>(page), static_cast<std::uint8_t>(p1),
            static_cast<std::uint8_t>(p2), static_cast<std::uint8_t>(p3)};
}

} // namespace

class KeyActionTest : public QObject
{
    Q_OBJECT

private slots:
    void anEmptyActionIsTheFactoryFunction()
    {
        QCOMPARE(KeyAction{}, action(0));
        const KeyLayer layer{};
        QCOMPARE(layer.size(), std::size_t{144});
        for (const KeyAction& key : layer)
            QCOMPARE(key, action(0));
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, std::ignore = layer.at(144));
    }

    void pagesHaveTheirNumbers()
    {
        QCOMPARE(static_cast<int>(KeyActionPage::Default), 0);
        QCOMPARE(static_cast<int>(KeyActionPage::Mouse), 1);
        QCOMPARE(static_cast<int>(KeyActionPage::Keyboard), 2);
        QCOMPARE(static_cast<int>(KeyActionPage::Consumer), 3);
        QCOMPARE(static_cast<int>(KeyActionPage::Special), 5);
        QCOMPARE(static_cast<int>(KeyActionPage::Macro), 6);
        QCOMPARE(static_cast<int>(KeyActionPage::Extended), 7);
    }

    void bytesStandInKeyboardOrder()
    {
        QCOMPARE(offsetof(KeyAction, page), std::size_t{0});
        QCOMPARE(offsetof(KeyAction, p1), std::size_t{1});
        QCOMPARE(offsetof(KeyAction, p2), std::size_t{2});
        QCOMPARE(offsetof(KeyAction, p3), std::size_t{3});
        QVERIFY(action(1, 2, 3, 4) != action(1, 2, 3, 5));
    }

    void modifiersAreInBitOrder()
    {
        QStringList texts;
        for (std::size_t bit = 0; bit < keyModifiers.size(); ++bit) {
            QCOMPARE(int{keyModifiers.at(bit).mask}, 1 << bit);
            texts.append(keyModifiers.at(bit).text.toString());
        }
        QCOMPARE(texts.join('|'), "Ctrl|Shift|Alt|Win|Right Ctrl|Right Shift|Right Alt|Right Win");
    }

    void mouseChoicesAreInOrder()
    {
        QStringList lines;
        for (const MouseChoice& choice : mouseChoices)
            lines.append(QString::number(choice.value, 16) + ' ' + choice.text.toString());
        QCOMPARE(lines.join('|'), "101 Left click|102 Right click|104 Middle click|301 Scroll up|"
                                  "3ff Scroll down|108 Mouse button 4|110 Mouse button 5");
    }

    void mediaChoicesAreInOrder()
    {
        QStringList lines;
        for (const MediaChoice& choice : mediaChoices)
            lines.append(QString::number(choice.usage, 16) + ' ' + choice.text.toString());
        QCOMPARE(lines.join('|'),
                 "b5 Next track|b6 Previous track|b7 Stop|cd Play / Pause|e2 Mute|e9 Volume up|"
                 "ea Volume down|92 Calculator|9c Mail|83 Sleep");
    }

    void mouseValuesSplitIntoTwoBytes()
    {
        QCOMPARE(mouseKeyAction(0x0101), action(1, 1, 1));
        QCOMPARE(mouseKeyAction(0x03FF), action(1, 3, 0xFF));
        QCOMPARE(mouseKeyAction(0x0110), action(1, 1, 0x10));
        QCOMPARE(mouseKeyAction(0), action(1));
        QCOMPARE(mouseKeyAction(0x0200), action(1, 2));
    }

    void keyboardActions_data()
    {
        QTest::addColumn<int>("usage");
        QTest::addColumn<int>("modifier");
        QTest::addColumn<int>("p1");
        QTest::addColumn<int>("p2");
        QTest::newRow("plain key") << 0x04 << 0 << 0 << 0x04;
        QTest::newRow("Shift and A") << 0x04 << 0x02 << 0x02 << 0x04;
        QTest::newRow("right modifier") << 0x05 << 0x80 << 0x80 << 0x05;
        QTest::newRow("last plain usage") << 0xDF << 0x01 << 0x01 << 0xDF;
        QTest::newRow("Right Alt drops Ctrl") << 0xE6 << 0x01 << 0x40 << 0;
        QTest::newRow("nothing chosen") << 0 << 0 << 0 << 0;
        QTest::newRow("modifier without key") << 0 << 0x08 << 0x08 << 0;
    }
    void keyboardActions()
    {
        QFETCH(int, usage);
        QFETCH(int, modifier);
        QFETCH(int, p1);
        QFETCH(int, p2);
        QCOMPARE(keyboardKeyAction(static_cast<std::uint8_t>(usage),
                                   static_cast<std::uint8_t>(modifier)),
                 action(2, p1, p2));
    }

    void everyModifierKeyIsStoredAsItsBit()
    {
        const int bits[] = {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80};
        std::uint8_t usage = 0xE0;
        for (const int bit : bits)
            QCOMPARE(keyboardKeyAction(usage++, 0x02), action(2, bit));
    }

    void otherActions()
    {
        QCOMPARE(consumerKeyAction(0xCD), action(3, 0xCD));
        QCOMPARE(disabledKeyAction(), action(5));
        QCOMPARE(macroKeyAction(0), action(6));
        QCOMPARE(macroKeyAction(99), action(6, 99));
        QCOMPARE(macroKeyAction(255), action(6, 255));
        QCOMPARE(macroKeyAction(256), action(6, 0));
    }
};

QTEST_GUILESS_MAIN(KeyActionTest)
#include "key_action_test.moc"
