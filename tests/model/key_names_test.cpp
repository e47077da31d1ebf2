// SPDX-License-Identifier: MIT
#include "model/key_names.h"

#include <QHash>
#include <QTest>

using namespace tavik;

namespace {

QString twoDigits(int value)
{
    const QString digits = QStringLiteral("0123456789abcdef");
    return QString(digits.at(value / 16)) + digits.at(value % 16);
}

// Every usage that has a name.
const QHash<int, QString>& expectedKeyNames()
{
    static const QHash<int, QString> names = [] {
        QHash<int, QString> all;
        int usage = 0x04;
        const QString row = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZ1234567890");
        for (const QChar letter : row)
            all.insert(usage++, letter);
        const QStringList middle =
            QStringLiteral("Enter~Esc~Backspace~Tab~Space~-~=~[~]~\\~#~;~'~`~,~.~/~"
                           "Caps Lock~F1~F2~F3~F4~F5~F6~F7~F8~F9~F10~F11~F12~"
                           "Print Screen~Scroll Lock~Pause~Insert~Home~PgUp~Delete~End~"
                           "PgDn~→~←~↓~↑~Num Lock~NP /~NP *~NP -~NP +~NP Enter~NP 1~"
                           "NP 2~NP 3~NP 4~NP 5~NP 6~NP 7~NP 8~NP 9~NP 0~NP .")
                .split('~');
        for (const QString& name : middle)
            all.insert(usage++, name);
        usage = 0xE0;
        const QStringList modifiers =
            QStringLiteral("L Ctrl~L Shift~L Alt~L Win~R Ctrl~R Shift~R Alt~R Win").split('~');
        for (const QString& name : modifiers)
            all.insert(usage++, name);
        all.insert(0xAF, QStringLiteral("Fn"));
        return all;
    }();
    return names;
}

KeyAction action(int page, int p1, int p2, int p3 = 0)
{
    return {static_cast<std::uint8_t>(page), static_cast<std::uint8_t>(p1),
            static_cast<std::uint8_t>(p2), static_cast<std::uint8_t>(p3)};
}

MacroRecord macroNamed(const QString& name)
{
    return {name, {}};
}

constexpr int sampledBytes[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x08, 0x0F, 0x10, 0x1E, 0x20,
                                0x40, 0x65, 0x6A, 0x7F, 0x80, 0xAF, 0xB5, 0xE0, 0xFE, 0xFF};

} // namespace

class KeyNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void namesCoverTheWholeTable()
    {
        const QHash<int, QString>& expected = expectedKeyNames();
        QCOMPARE(expected.size(), 105);
        QCOMPARE(expected.value(0x63), QStringLiteral("NP ."));
        for (int code = 0; code < 256; ++code) {
            const QString name = keyName(static_cast<std::uint8_t>(code));
            QCOMPARE(name, expected.value(code, QStringLiteral("0x") + twoDigits(code)));
        }
    }

    void offeredUsages()
    {
        const auto& usages = offeredKeyUsages();
        QCOMPARE(usages.size(), std::size_t{120});
        for (std::size_t i = 0; i < 112; ++i)
            QCOMPARE(std::size_t{usages.at(i)}, i + 4);
        for (std::size_t i = 112; i < 120; ++i)
            QCOMPARE(std::size_t{usages.at(i)}, i - 112 + 0xE0);
    }

    void captions_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("p1");
        QTest::addColumn<int>("p2");
        QTest::addColumn<QString>("caption");
        const auto row = [](int page, int p1, int p2, const char* caption) {
            QTest::addRow("%d/%02x/%02x", page, static_cast<unsigned>(p1),
                          static_cast<unsigned>(p2))
                << page << p1 << p2 << QString::fromUtf8(caption);
        };
        row(2, 0x03, 0x04, "Ctrl+Shift+A");
        row(2, 0x0F, 0x05, "Ctrl+Shift+Alt+Win+B");
        row(2, 0xF0, 0x06, "C");
        row(2, 0x03, 0x46, "Ctrl+Shift+Print Screen");
        row(2, 0x01, 0, "Ctrl+0x01");
        row(2, 0x10, 0, "M");
        row(3, 0xB5, 0x01, "Next Track");
        row(3, 0xEF, 0, "Consumer 0xef");
        row(5, 3, 9, "Disabled");
        row(5, 4, 0, "Special");
        row(6, 0, 0, "Greeting");
        row(6, 1, 0, "");
        row(6, 2, 0, "%1 ünï ✓");
        row(6, 3, 0, "Macro 3");
        row(6, 255, 0, "Macro 255");
        row(7, 3, 1, "Extended");
        row(8, 0, 0, "Page 8");
    }
    void captions()
    {
        QFETCH(int, page);
        QFETCH(int, p1);
        QFETCH(int, p2);
        QFETCH(QString, caption);
        const QList<MacroRecord> macros = {macroNamed(QStringLiteral("Greeting")),
                                           macroNamed(QString()),
                                           macroNamed(QStringLiteral("%1 ünï ✓"))};
        for (const int p3 : {0, 1, 255})
            QCOMPARE(keyActionLabel(action(page, p1, p2, p3), macros), caption);
    }

    void pagesOfFixedCaption()
    {
        for (int page = 0; page < 256; ++page) {
            if (page == 2 || page == 3 || page == 5 || page == 6)
                continue;
            QString expected = QStringLiteral("Page ") + QString::number(page);
            if (page == 0)
                expected.clear();
            if (page == 1)
                expected = QStringLiteral("Mouse");
            if (page == 7)
                expected = QStringLiteral("Extended");
            for (const int p1 : sampledBytes) {
                for (const int p2 : sampledBytes)
                    QCOMPARE(keyActionLabel(action(page, p1, p2, p1 ^ p2), {}), expected);
            }
        }
    }

    void everyKeyCaption()
    {
        const QHash<int, QString>& names = expectedKeyNames();
        for (int p1 = 0; p1 < 256; ++p1) {
            for (const int p2 : sampledBytes) {
                QString expected;
                if (p1 % 2 == 1)
                    expected = QStringLiteral("Ctrl+");
                if (p1 / 2 % 2 == 1)
                    expected += QStringLiteral("Shift+");
                if (p1 / 4 % 2 == 1)
                    expected += QStringLiteral("Alt+");
                if (p1 / 8 % 2 == 1)
                    expected += QStringLiteral("Win+");
                const int named = p2 == 0 ? p1 : p2;
                expected += names.value(named, QStringLiteral("0x") + twoDigits(named));
                QCOMPARE(keyActionLabel(action(2, p1, p2, p1 ^ p2), {}), expected);
            }
        }
    }

    void everyConsumerCaption()
    {
        const QHash<int, QString> expected = {
            {0xB5, QStringLiteral("Next Track")},  {0xB6, QStringLiteral("Previous Track")},
            {0xB7, QStringLiteral("Stop")},        {0xCD, QStringLiteral("Play / Pause")},
            {0xE2, QStringLiteral("Mute")},        {0xE9, QStringLiteral("Volume Up")},
            {0xEA, QStringLiteral("Volume Down")}, {0x92, QStringLiteral("Calculator")},
            {0x9C, QStringLiteral("Mail")},        {0x83, QStringLiteral("Sleep")},
            {0x82, QStringLiteral("Reset")},       {0x81, QStringLiteral("Power")},
            {0x23, QStringLiteral("Home")},        {0x27, QStringLiteral("Refresh")},
            {0x8A, QStringLiteral("Email")},
        };
        for (int p1 = 0; p1 < 256; ++p1) {
            const QString fallback = QStringLiteral("Consumer 0x") + twoDigits(p1);
            for (const int p2 : sampledBytes)
                QCOMPARE(keyActionLabel(action(3, p1, p2, p1 ^ p2), {}),
                         expected.value(p1, fallback));
        }
    }

    void everySpecialCaption()
    {
        for (int p1 = 0; p1 < 256; ++p1) {
            for (const int p2 : sampledBytes) {
                QCOMPARE(keyActionLabel(action(5, p1, p2, p1 ^ p2), {}),
                         p1 == 3 ? "Disabled" : "Special");
            }
        }
    }

    void wordsTellAllOfAnAction_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("p1");
        QTest::addColumn<int>("p2");
        QTest::addColumn<QString>("words");
        QTest::newRow("factory") << 0 << 0 << 0 << "Default key";
        QTest::newRow("disabled") << 5 << 0 << 0 << "Disabled";
        QTest::newRow("special") << 5 << 1 << 0 << "Special";
        QTest::newRow("key") << 2 << 0 << 0x05 << "B";
        QTest::newRow("left") << 2 << 0x03 << 0x05 << "Ctrl+Shift+B";
        QTest::newRow("right") << 2 << 0x50 << 0x05 << "Right Ctrl+Right Alt+B";
        QTest::newRow("both") << 2 << 0x11 << 0x4C << "Ctrl+Right Ctrl+Delete";
        QTest::newRow("all") << 2 << 0xFF << 0x04
                             << "Ctrl+Shift+Alt+Win+Right Ctrl+Right Shift+Right Alt+Right Win+A";
        QTest::newRow("modifier alone") << 2 << 0x10 << 0 << "Right Ctrl";
        QTest::newRow("modifiers alone") << 2 << 0x22 << 0 << "Shift+Right Shift";
        QTest::newRow("unnamed key") << 2 << 0x01 << 0x68 << "Ctrl+0x68";
        QTest::newRow("no key") << 2 << 0 << 0 << "0x00";
        QTest::newRow("media") << 3 << 0xE9 << 0 << "Volume Up";
        QTest::newRow("button") << 1 << 1 << 8 << "Mouse button 4";
        QTest::newRow("wheel") << 1 << 3 << 0xFF << "Scroll down";
        QTest::newRow("unknown mouse") << 1 << 2 << 0x0A << "Mouse 0x020a";
        QTest::newRow("macro") << 6 << 0 << 0 << "Macro \"Greet\"";
        QTest::newRow("macro that is gone") << 6 << 1 << 0 << "Macro 1";
        QTest::newRow("unknown") << 9 << 0 << 0 << "Page 9";
    }
    void wordsTellAllOfAnAction()
    {
        QFETCH(int, page);
        QFETCH(int, p1);
        QFETCH(int, p2);
        QFETCH(QString, words);
        QCOMPARE(keyActionWords(action(page, p1, p2), {macroNamed(QStringLiteral("Greet"))}),
                 words);
    }

    void macroCaptionsFollowTheList()
    {
        QList<MacroRecord> macros;
        for (int count = 0; count < 300; ++count) {
            for (const int p1 : sampledBytes) {
                const QString expected =
                    QString::fromLatin1(p1 < count ? "name " : "Macro ") + QString::number(p1);
                QCOMPARE(keyActionLabel(action(6, p1, 0), macros), expected);
            }
            macros.append(macroNamed(QStringLiteral("name ") + QString::number(count)));
        }
    }
};

QTEST_GUILESS_MAIN(KeyNamesTest)
#include "key_names_test.moc"
