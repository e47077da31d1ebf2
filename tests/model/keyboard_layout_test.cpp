// SPDX-License-Identifier: MIT
#include "model/keyboard_layout.h"
#include "tests/support/made_shared_place.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

#include <climits>

using namespace tavik;
using namespace tavik::tests;

namespace {

using Files = QList<std::pair<QString, QByteArray>>;

KeyboardLayout layoutFrom(const QByteArray& xml, bool* accepted = nullptr)
{
    QByteArray bytes = xml;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    KeyboardLayout layout;
    const bool result = layout.read(buffer);
    if (accepted != nullptr)
        *accepted = result;
    return layout;
}

KeyRecord keyFrom(const QByteArray& attributes)
{
    return layoutFrom("<Keyboard><key " + attributes + "/></Keyboard>").keys.value(0);
}

QByteArray layoutNamed(const QByteArray& name)
{
    return "<Keyboard width='800' height='300'><key desc='" + name + "'/></Keyboard>";
}

} // namespace

class KeyboardLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    void startsWithoutAnArea()
    {
        const KeyboardLayout layout;
        QCOMPARE(QList<int>({layout.xpos, layout.ypos, layout.width, layout.height}),
                 QList<int>({0, 0, 0, 0}));
    }

    void readsAreaAndKeysInDocumentOrder()
    {
        bool accepted = false;
        const KeyboardLayout layout =
            layoutFrom("<root><Keyboard xpos='1' ypos='2' width='800' height='300'>"
                       "<key code='0x04' desc='A' key_index='7' light_index='9' row_col='3#12'"
                       " rect_left='10' rect_top='20' rect_width='40' rect_height='40'"
                       " fnlayer_disable='1'/><group><key desc='nested'/></group>"
                       "</Keyboard></root>",
                       &accepted);
        QVERIFY(accepted);
        QCOMPARE(QList<int>({layout.xpos, layout.ypos, layout.width, layout.height}),
                 QList<int>({1, 2, 800, 300}));
        QCOMPARE(layout.keys.size(), 2);
        const KeyRecord& key = layout.keys.at(0);
        QCOMPARE(key.code, 4UL);
        QCOMPARE(key.desc, QStringLiteral("A"));
        QCOMPARE(key.keyIndex, 7);
        QCOMPARE(key.lightIndex, 9);
        QCOMPARE(key.row, 3);
        QCOMPARE(key.col, 12);
        QCOMPARE(key.rect.topLeft(), QPoint(10, 20));
        QCOMPARE(key.rect.bottomRight(), QPoint(49, 59));
        QVERIFY(key.fnLayerDisable);
        QCOMPARE(layout.keys.at(1).desc, QStringLiteral("nested"));
    }

    void readsWhatOnlyThePictureShows()
    {
        const QByteArray rect = " rect_left='1' rect_top='2' rect_width='30' rect_height='40'/>";
        KeyboardLayout layout =
            layoutFrom("<Keyboard><case" + rect + "<screen" + rect +
                       "<key desc='Delete' legend='Del'/><key desc='1' shifted='!'/>"
                       "<key desc='Space' legend=''/></Keyboard>");
        QCOMPARE(layout.caseRect, QRect(1, 2, 30, 40));
        QCOMPARE(layout.screenRect, QRect(1, 2, 30, 40));
        QCOMPARE(layout.keys.at(0).legend, QStringLiteral("Del"));
        QCOMPARE(layout.keys.at(1).legend, QStringLiteral("1"));
        QCOMPARE(layout.keys.at(1).shifted, QStringLiteral("!"));
        QCOMPARE(layout.keys.at(2).legend, QString());

        QBuffer next;
        next.setData("<key/>");
        QVERIFY(next.open(QIODevice::ReadOnly) && layout.read(next));
        QVERIFY(layout.caseRect.isNull() && layout.screenRect.isNull());
    }

    void otherAreaElementCountsTooAndTheLaterOneWins()
    {
        const KeyboardLayout layout = layoutFrom("<a><Keyboard xpos='1' width='800' height='300'/>"
                                                 "<Layout109K width='900'/><key/></a>");
        QCOMPARE(layout.width, 900);
        QCOMPARE(layout.height, 0);
        QCOMPARE(layout.xpos, 0);
    }

    void elementNamesAreExact()
    {
        bool accepted = true;
        QCOMPARE(layoutFrom("<keyboard width='3'><Key/><KEY/></keyboard>", &accepted).width, 0);
        QVERIFY(!accepted);
    }

    void codeIsReadInAnyBase_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<unsigned long>("code");
        QTest::newRow("hexadecimal") << QByteArray("0x1E") << 30UL;
        QTest::newRow("decimal") << QByteArray("30") << 30UL;
        QTest::newRow("octal") << QByteArray("041") << 33UL;
        QTest::newRow("word") << QByteArray("abc") << 0UL;
        QTest::newRow("trailing-letters") << QByteArray("0x29zz") << 41UL;
        QTest::newRow("empty") << QByteArray("") << 0UL;
        QTest::newRow("huge") << QByteArray("99999999999999999999999") << ULONG_MAX;
    }
    void codeIsReadInAnyBase()
    {
        QFETCH(QByteArray, text);
        QFETCH(unsigned long, code);
        QCOMPARE(keyFrom("code='" + text + "'").code, code);
    }

    void decimalAttributesFallBackToZero_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("value");
        QTest::newRow("number") << QByteArray("143") << 143;
        QTest::newRow("negative") << QByteArray("-5") << -5;
        QTest::newRow("spaces") << QByteArray(" 7 ") << 7;
        QTest::newRow("hexadecimal") << QByteArray("0x10") << 0;
        QTest::newRow("word") << QByteArray("abc") << 0;
        QTest::newRow("too-large") << QByteArray("2147483648") << 0;
        QTest::newRow("fraction") << QByteArray("1.5") << 0;
    }
    void decimalAttributesFallBackToZero()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, value);
        QCOMPARE(keyFrom("light_index='" + text + "'").lightIndex, value);
        QCOMPARE(keyFrom("key_index='" + text + "'").keyIndex, value);
    }

    void rowAndColumnStandRoundTheHash_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QPoint>("rowAndColumn");
        QTest::newRow("both") << QByteArray("3#12") << QPoint(3, 12);
        QTest::newRow("row-alone") << QByteArray("3") << QPoint(0, 0);
        QTest::newRow("further-hash") << QByteArray("3#12#9") << QPoint(3, 12);
        QTest::newRow("no-column") << QByteArray("3#") << QPoint(3, 0);
        QTest::newRow("no-row") << QByteArray("#4") << QPoint(0, 4);
    }
    void rowAndColumnStandRoundTheHash()
    {
        QFETCH(QByteArray, text);
        QFETCH(QPoint, rowAndColumn);
        const KeyRecord key = keyFrom("row_col='" + text + "'");
        QCOMPARE(QPoint(key.row, key.col), rowAndColumn);
    }

    void onlyOneSetsTheFnFlag()
    {
        QVERIFY(keyFrom("fnlayer_disable='1'").fnLayerDisable);
        for (const char* text : {"true", "0", " 1", "01", ""})
            QVERIFY2(!keyFrom(QByteArray("fnlayer_disable='") + text + "'").fnLayerDisable, text);
        QVERIFY(!keyFrom("").fnLayerDisable);
    }

    void nothingIsValidated()
    {
        const KeyboardLayout layout =
            layoutFrom("<Keyboard><key light_index='200'/><key light_index='200'/>"
                       "<key light_index='-1' rect_width='-3'/></Keyboard>");
        QCOMPARE(layout.keys.size(), 3);
        QCOMPARE(layout.keys.at(0).lightIndex, 200);
        QCOMPARE(layout.keys.at(2).lightIndex, -1);
        QCOMPARE(layout.keys.at(2).rect.width(), -3);
    }

    void hugeRectanglesDoNotOverflow()
    {
        const KeyRecord key = keyFrom("rect_left='2147483647' rect_width='2147483647'"
                                      " rect_top='-2147483648' rect_height='-2147483648'");
        QCOMPARE(key.rect.left(), INT_MAX);
        QCOMPARE(key.rect.top(), INT_MIN);
    }

    void brokenDocumentIsRejectedButLeavesItsKeys()
    {
        bool accepted = true;
        const KeyboardLayout layout =
            layoutFrom("<Keyboard width='800'><key desc='A'/><key desc='B'/><broken", &accepted);
        QVERIFY(!accepted);
        QCOMPARE(layout.keys.size(), 2);
        QCOMPARE(layout.width, 800);
    }

    void documentWithoutKeysIsRejected()
    {
        bool accepted = true;
        layoutFrom("<Keyboard width='800'/>", &accepted);
        QVERIFY(!accepted);
    }

    void rejectionSaysWhy_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QString>("why");
        QTest::newRow("broken") << QByteArray("<Keyboard>\n<key/>\n<broken")
                                << QStringLiteral("line 3: Premature end of document.");
        QTest::newRow("without keys")
            << QByteArray("<Keyboard/>") << QStringLiteral("it has no key");
    }
    void rejectionSaysWhy()
    {
        QFETCH(QByteArray, document);
        QFETCH(const QString, why);
        QBuffer buffer(&document);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        KeyboardLayout layout;
        QString reason;
        QVERIFY(!layout.read(buffer, &reason));
        QCOMPARE(reason, why);
    }

    void entityBombEndsInARejection()
    {
        bool accepted = true;
        QByteArray bomb = "<?xml version='1.0'?><!DOCTYPE k [<!ENTITY a 'aaaaaaaaaaaaaaaaaaaa'>";
        for (char name = 'b'; name <= 'z'; ++name) {
            const QByteArray previous = '&' + QByteArray(1, static_cast<char>(name - 1)) + ';';
            bomb += "<!ENTITY " + QByteArray(1, name) + " '" + previous.repeated(10) + "'>";
        }
        layoutFrom(bomb + "]><Keyboard><key desc='A'/>&z;</Keyboard>", &accepted);
        QVERIFY(!accepted);
    }

    // In each of them every name is compared with all others.
    void longElementsEndInARejection_data()
    {
        QTest::addColumn<QByteArray>("begin");
        QTest::addColumn<QByteArray>("attribute"); // with a number in its name
        QTest::addColumn<QByteArray>("end");
        QTest::newRow("element") << QByteArray("<key") << QByteArray(" a%1=''") << QByteArray("/>");
        QTest::newRow("declarations")
            << QByteArray("<!DOCTYPE Keyboard [<!ATTLIST key") << QByteArray(" a%1 CDATA ''")
            << QByteArray(">]><Keyboard><key/></Keyboard>");
    }
    void longElementsEndInARejection()
    {
        QFETCH(QByteArray, begin);
        QFETCH(QByteArray, attribute);
        QFETCH(QByteArray, end);
        for (const int count : {100, 250'000}) {
            QByteArray document = begin;
            for (int number = 0; number < count; ++number)
                document += QByteArray(attribute).replace("%1", QByteArray::number(number));
            bool accepted = false;
            layoutFrom(document + end, &accepted);
            QCOMPARE(accepted, count == 100);
        }
    }

    void manyLongElementsEndInARejection()
    {
        QByteArray element = "<key";
        for (int number = 0; number < 3'000; ++number)
            element += " a" + QByteArray::number(number) + "=''";
        for (const int count : {1, 3}) {
            bool accepted = false;
            layoutFrom("<Keyboard>" + (element + "/>").repeated(count) + "</Keyboard>", &accepted);
            QCOMPARE(accepted, count == 1);
        }
    }

    // The longest there may be; blanks do not count.
    void longestElementIsRead_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("blanks");
        QTest::addColumn<bool>("isRead");
        QTest::newRow("long") << 64'000 << 0 << true;
        QTest::newRow("too long") << 68'000 << 0 << false;
        QTest::newRow("blanks") << 64'000 << 1'000'000 << true;
    }
    void longestElementIsRead()
    {
        QFETCH(int, length);
        QFETCH(int, blanks);
        bool accepted = false;
        layoutFrom("<Keyboard>" + QByteArray(blanks, ' ') + "<key desc='" +
                       QByteArray(length, 'x') + "'/></Keyboard>",
                   &accepted);
        QTEST(accepted, "isRead");
    }

    void tenMegabytesAreRead()
    {
        const QByteArray key = "<key light_index='200' rect_left='1' rect_width='40'/>";
        bool accepted = false;
        const KeyboardLayout layout =
            layoutFrom("<Keyboard width='800' height='300'>" +
                           key.repeated(10'000'000 / static_cast<int>(key.size())) + "</Keyboard>",
                       &accepted);
        QVERIFY(accepted);
        QVERIFY(layout.keys.size() > 100'000);
    }

    void searchTakesTheFirstUsableFile_data()
    {
        QTest::addColumn<Files>("files");
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<int>("width");
        const auto row = [](const char* name, const Files& files, const QStringList& keys,
                            int width) { QTest::newRow(name) << files << keys << width; };
        const QString better = "1/keyboard-layout.xml";
        const QString other = "1/rgb-keyboard.xml";
        row("earlier directory before the better name",
            {{other, layoutNamed("first")}, {"2/keyboard-layout.xml", layoutNamed("second")}},
            {"first"}, 800);
        row("better name in one directory",
            {{other, layoutNamed("second")}, {better, layoutNamed("first")}}, {"first"}, 800);
        row("no keys", {{better, "<Keyboard width='5'/>"}, {other, layoutNamed("fallback")}},
            {"fallback"}, 800);
        row("broken, but its area may survive",
            {{better, "<Keyboard width='5'><key/><oops"},
             {other, "<root><key desc='areal'/></root>"}},
            {"areal"}, 5);
        row("the last one broken", {{better, "<Keyboard><key desc='left'/><oops"}}, {"left"}, 0);
        row("a directory of that name", {{better + "/file", ""}, {other, layoutNamed("file")}},
            {"file"}, 800);
        row("nothing", {}, {}, 0);
    }
    void searchTakesTheFirstUsableFile()
    {
        QFETCH(Files, files);
        QFETCH(QStringList, keys);
        QFETCH(int, width);
        const QTemporaryDir directory;
        for (const auto& [path, content] : files)
            writeFile(directory.filePath(path), content);
        KeyboardLayout layout;
        layout.search({"/nowhere", directory.filePath("1"), directory.filePath("2")});
        QStringList found;
        for (const KeyRecord& key : layout.keys)
            found += key.desc;
        QCOMPARE(found, keys);
        QCOMPARE(layout.width, width);
    }

    // A pipe would hold the start for ever, and an endless file would take all memory.
    void searchPassesOverWhatIsNoFile_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"pipe", "endless device", "too large"})
            QTest::newRow(kind) << kind;
    }
    void searchPassesOverWhatIsNoFile()
    {
        QFETCH(QString, kind);
        const QTemporaryDir directory;
        const QString path = directory.filePath("1/keyboard-layout.xml");
        writeFile(directory.filePath("1/other"), {});
        if (kind == "pipe")
            QCOMPARE(mkfifo(path.toLocal8Bit().constData(), 0600), 0);
        else if (kind == "endless device")
            QVERIFY(QFile::link("/dev/zero", path));
        else
            writeFile(path, layoutNamed("first") + QByteArray(4 * 1024 * 1024, ' '));
        writeFile(directory.filePath("2/keyboard-layout.xml"), layoutNamed("second"));

        KeyboardLayout layout;
        layout.search({directory.filePath("1"), directory.filePath("2")});
        QCOMPARE(layout.keys.size(), 1);
        QCOMPARE(layout.keys.constFirst().desc, QStringLiteral("second"));
    }

    // Anybody may put files there, and nobody wants their keys to change by that.
    void searchPassesOverWhatOthersMayWrite()
    {
        const MadeSharedPlace shared;
        if (!shared.isMade())
            QSKIP("/tmp/tavik-center is in use");
        QVERIFY(MadeSharedPlace::setMode(MadeSharedPlace::root + "/resources", 0757));
        writeFile(MadeSharedPlace::path("keyboard-layout.xml"), layoutNamed("other"));
        const QTemporaryDir directory;
        writeFile(directory.filePath("keyboard-layout.xml"), layoutNamed("own"));

        KeyboardLayout layout;
        layout.search({sharedPlace, directory.path()});
        QCOMPARE(layout.keys.size(), 1);
        QCOMPARE(layout.keys.constFirst().desc, QStringLiteral("own"));
    }

    void fileOfTheLargestSizeIsRead()
    {
        const QTemporaryDir directory;
        const QByteArray layoutText = layoutNamed("largest");
        writeFile(directory.filePath("keyboard-layout.xml"),
                  layoutText + QByteArray(4 * 1024 * 1024 - layoutText.size(), ' '));
        KeyboardLayout layout;
        layout.search({directory.path()});
        QCOMPARE(layout.keys.size(), 1);
    }

    void directoriesAreSearchedInTheirOrder()
    {
        const QString own = QCoreApplication::applicationDirPath();
        QCOMPARE(KeyboardLayout::searchDirectories(),
                 QStringList({"/tmp/tavik-center/app/../resources", "/usr/share/tavik-center",
                              "/usr/local/share/tavik-center", own + "/../share/tavik-center", own,
                              "."}));
    }

    void instanceIsReadOnce()
    {
        const QList<KeyRecord> keys = KeyboardLayout::instance().keys;
        QVERIFY(!keys.isEmpty()); // the layout of the build tree
        // Reading once more would fill a list of its own.
        QCOMPARE(KeyboardLayout::instance().keys.constData(), keys.constData());
    }
};

QTEST_GUILESS_MAIN(KeyboardLayoutTest)
#include "keyboard_layout_test.moc"
