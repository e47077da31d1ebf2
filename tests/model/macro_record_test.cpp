// SPDX-License-Identifier: MIT
#include "model/macro_record.h"

#include <QTest>

using namespace tavik;

namespace {

constexpr int tableBytes = 400;

MacroAction action(int delay, int code, int flags)
{
    return {static_cast<std::uint16_t>(delay), static_cast<std::uint8_t>(code),
            static_cast<std::uint8_t>(flags)};
}

MacroRecord macroOf(int actionCount)
{
    return {QStringLiteral("macro"), QList<MacroAction>(actionCount, action(0x1234, 0x05, 0xB0))};
}

QByteArray tableEntry(const QByteArray& image, int index)
{
    return image.mid(qsizetype{4} * index, 4);
}

} // namespace

class MacroRecordTest : public QObject
{
    Q_OBJECT

private slots:
    void bytesStandInKeyboardOrder()
    {
        QCOMPARE(offsetof(MacroAction, delay), std::size_t{0});
        QCOMPARE(offsetof(MacroAction, code), std::size_t{2});
        QCOMPARE(offsetof(MacroAction, flags), std::size_t{3});
    }

    void typesAreInOrder()
    {
        QStringList lines;
        for (const MacroActionType& type : macroActionTypes)
            lines.append(QString::number(type.flags, 16) + ' ' + type.label.toString());
        QCOMPARE(lines.join('|'),
                 "b0 Key press|30 Key release|90 Mouse click|10 Mouse release|50 Pause");
    }

    void actionTexts_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("flags");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("pressText");
        const auto row = [](const char* name, int code, int flags, const char* text,
                            const char* pressText) {
            QTest::newRow(name) << code << flags << text << pressText;
        };
        row("key press", 0x04, 0xB0, "mouse 0x04", "press");
        row("key release", 0x04, 0x30, "mouse 0x04", "release");
        row("mouse click", 0xEA, 0x90, "mouse 0xea", "press");
        row("mouse release", 0x00, 0x10, "mouse 0x00", "release");
        row("pause", 0x04, 0x50, "pause", "release");
        row("pause pressed", 0x04, 0xD0, "pause", "press");
        row("key name", 0x04, 0x80, "A", "press");
        row("no bits", 0xE4, 0x00, "R Ctrl", "release");
        row("pause bit alone", 0x65, 0x40, "0x65", "release");
        row("key bit alone", 0x4F, 0xA0, "→", "press");
    }
    void actionTexts()
    {
        QFETCH(int, code);
        QFETCH(int, flags);
        QFETCH(QString, text);
        QFETCH(QString, pressText);
        QCOMPARE(macroActionText(action(0, code, flags)), text);
        QCOMPARE(macroPressText(action(0, code, flags)), pressText);
    }

    void actionWords_data()
    {
        QTest::addColumn<MacroAction>("macroAction");
        QTest::addColumn<QString>("words");
        QTest::newRow("press") << action(9, 0x0B, 0xB0) << "press H";
        QTest::newRow("release") << action(0, 0xE1, 0x30) << "release L Shift";
        QTest::newRow("left") << action(0, 0x01, 0x90) << "press left button";
        QTest::newRow("right") << action(0, 0x02, 0x10) << "release right button";
        QTest::newRow("middle") << action(0, 0x04, 0x90) << "press middle button";
        QTest::newRow("fourth") << action(0, 0x08, 0x90) << "press button 4";
        QTest::newRow("fifth") << action(0, 0x10, 0x10) << "release button 5";
        QTest::newRow("no button") << action(0, 0x03, 0x90) << "press mouse 0x03";
        QTest::newRow("pause") << action(40, 0x04, 0x50) << "pause 40 ms";
        QTest::newRow("long pause") << action(65535, 0x04, 0xD0) << "pause 65535 ms";
        QTest::newRow("key by hand") << action(0, 0x04, 0x80) << "press A";
        QTest::newRow("unnamed key") << action(0, 0x65, 0x00) << "release 0x65";
    }
    void actionWords()
    {
        QFETCH(MacroAction, macroAction);
        QFETCH(QString, words);
        QCOMPARE(macroActionWords(macroAction), words);
    }

    void spaceUsed_data()
    {
        QTest::addColumn<QList<MacroRecord>>("macros");
        QTest::addColumn<int>("bytes");
        QTest::newRow("none") << QList<MacroRecord>() << 400;
        QTest::newRow("empty ones") << QList<MacroRecord>(5, macroOf(0)) << 400;
        QTest::newRow("one action") << QList<MacroRecord>{macroOf(1)} << 408;
        QTest::newRow("two macros") << QList<MacroRecord>{macroOf(1), macroOf(2)} << 420;
        QTest::newRow("full") << QList<MacroRecord>{macroOf(667)} << 3072;
        QTest::newRow("too many") << QList<MacroRecord>{macroOf(668)} << 3076;
        QTest::newRow("beyond the table") << QList<MacroRecord>(102, macroOf(1)) << 1200;
    }
    void spaceUsed()
    {
        QFETCH(QList<MacroRecord>, macros);
        QFETCH(int, bytes);
        QCOMPARE(macroSpaceUsed(macros), qsizetype{bytes});
        const std::optional<QByteArray> image = encodeMacroSpace(macros);
        QCOMPARE(image.has_value(), bytes <= 3072);
        if (image)
            QCOMPARE(image->size(), qsizetype{bytes});
    }

    void everyFlagsByte()
    {
        for (int flags = 0; flags < 256; ++flags) {
            const bool pauseBit = flags / 0x40 % 2 == 1;
            const bool commonBit = flags / 0x10 % 2 == 1;
            QString expected = QStringLiteral("Space");
            if (commonBit)
                expected = pauseBit ? QStringLiteral("pause") : QStringLiteral("mouse 0x2c");
            QCOMPARE(macroActionText(action(9, 0x2C, flags)), expected);
            QCOMPARE(macroPressText(action(9, 0x2C, flags)),
                     flags >= 0x80 ? QStringLiteral("press") : QStringLiteral("release"));
            const bool isMouse = commonBit && flags / 0x20 % 2 == 0;
            const QString done =
                (flags >= 0x80 ? "press " : "release ") + QString(isMouse ? "mouse 0x2c" : "Space");
            QCOMPARE(macroActionWords(action(9, 0x2C, flags)),
                     commonBit && pauseBit ? QStringLiteral("pause 9 ms") : done);
        }
    }

    void imageWithoutActions_data()
    {
        QTest::addColumn<int>("count");
        QTest::newRow("no macro") << 0;
        QTest::newRow("one empty") << 1;
        QTest::newRow("100 empty") << 100;
        QTest::newRow("150 empty") << 150;
    }
    void imageWithoutActions()
    {
        QFETCH(int, count);
        const auto image = encodeMacroSpace(QList<MacroRecord>(count, macroOf(0)));
        QVERIFY(image.has_value());
        QCOMPARE(*image, QByteArray(tableBytes, '\0'));
    }

    void imageOfOneAction()
    {
        const auto image =
            encodeMacroSpace({{QStringLiteral("one"), {action(0x0102, 0x04, 0xB0)}}});
        QVERIFY(image.has_value());
        QCOMPARE(*image, QByteArray::fromHex("90010000") + QByteArray(396, '\0') +
                             QByteArray::fromHex("02000000020104b0"));
    }

    void imageOfTwoMacros()
    {
        const auto image = encodeMacroSpace(
            {{QStringLiteral("one"), {action(1, 2, 0x30)}},
             {QStringLiteral("two"), {action(0, 0x1E, 0xB0), action(0xFFFF, 0x1E, 0x30)}}});
        QVERIFY(image.has_value());
        QCOMPARE(*image, QByteArray::fromHex("9001000098010000") + QByteArray(392, '\0') +
                             QByteArray::fromHex("0200000001000230") +
                             QByteArray::fromHex("0400000000001eb0ffff1e30"));
    }

    void emptyMacrosKeepTheirIndex()
    {
        const auto image = encodeMacroSpace({macroOf(0), macroOf(1), macroOf(0), macroOf(2)});
        QVERIFY(image.has_value());
        QCOMPARE(tableEntry(*image, 0), QByteArray::fromHex("00000000"));
        QCOMPARE(tableEntry(*image, 1), QByteArray::fromHex("90010000"));
        QCOMPARE(tableEntry(*image, 2), QByteArray::fromHex("00000000"));
        QCOMPARE(tableEntry(*image, 3), QByteArray::fromHex("98010000"));
        QCOMPARE(tableEntry(*image, 4), QByteArray::fromHex("00000000"));
        QCOMPARE(image->size(), 400 + 8 + 12);
    }

    void delaysAreLittleEndian()
    {
        const auto image =
            encodeMacroSpace({{QString(),
                               {action(0, 1, 0x10), action(0x00FF, 2, 0x10),
                                action(0xABCD, 3, 0x10), action(65535, 0xFF, 0xFF)}}});
        QVERIFY(image.has_value());
        QCOMPARE(image->mid(404), QByteArray::fromHex("00000110ff000210cdab0310ffffffff"));
    }

    void sizeLimit_data()
    {
        QTest::addColumn<QList<int>>("actionCounts");
        QTest::addColumn<int>("size"); // 0: does not fit
        QTest::newRow("one macro, 3068") << QList<int>{666} << 3068;
        QTest::newRow("one macro, 3072") << QList<int>{667} << 3072;
        QTest::newRow("one macro, 3076") << QList<int>{668} << 0;
        QTest::newRow("two macros, 3072") << QList<int>{333, 333} << 3072;
        QTest::newRow("two macros, 3076") << QList<int>{333, 334} << 0;
        QTest::newRow("full, then empty ones") << QList<int>{667, 0, 0} << 3072;
        QTest::newRow("full, then one action") << QList<int>{667, 1} << 0;
        QTest::newRow("too large first, small after") << QList<int>{668, 1} << 0;
        QTest::newRow("count beyond 16 bits") << QList<int>{40000} << 0;
        QTest::newRow("very large") << QList<int>{1000000} << 0;
    }
    void sizeLimit()
    {
        QFETCH(QList<int>, actionCounts);
        QFETCH(int, size);
        QList<MacroRecord> macros;
        for (const int count : actionCounts)
            macros.append(macroOf(count));
        const auto image = encodeMacroSpace(macros);
        QCOMPARE(image.has_value(), size != 0);
        if (!image)
            return;
        QCOMPARE(image->size(), size);
        const int headerWord = 2 * actionCounts.first();
        QCOMPARE(static_cast<unsigned char>(image->at(400)), headerWord % 256);
        QCOMPARE(static_cast<unsigned char>(image->at(401)), headerWord / 256);
        QCOMPARE(image->right(4), QByteArray::fromHex("341205b0"));
    }

    void hundredMacros()
    {
        const auto image = encodeMacroSpace(QList<MacroRecord>(100, macroOf(1)));
        QVERIFY(image.has_value());
        QCOMPARE(image->size(), 1200);
        for (int index = 0; index < 100; ++index) {
            const int offset = 400 + 8 * index;
            QByteArray expected(4, '\0');
            expected[0] = static_cast<char>(offset % 256);
            expected[1] = static_cast<char>(offset / 256);
            QCOMPARE(tableEntry(*image, index), expected);
            QCOMPARE(image->mid(offset, 8), QByteArray::fromHex("02000000341205b0"));
        }
    }

    void laterMacrosStayOut()
    {
        QList<MacroRecord> macros(100, macroOf(1));
        const auto before = encodeMacroSpace(macros);
        macros.append(macroOf(100000));
        macros.append(macroOf(1));
        const auto after = encodeMacroSpace(macros);
        QVERIFY(before.has_value() && after.has_value());
        QCOMPARE(*after, *before);

        macros[99] = macroOf(100000);
        QVERIFY(!encodeMacroSpace(macros).has_value());
    }

    void failureText() { QCOMPARE(macroSpaceExceededText, u"Macro space exceeded (3072 bytes)."); }
};

QTEST_GUILESS_MAIN(MacroRecordTest)
#include "macro_record_test.moc"
