// SPDX-License-Identifier: MIT
#include "pages/parts/keyboard_geometry.h"
#include "tests/support/made_board.h"
#include "tests/support/named_keys.h"

#include <QTest>

#include <limits>
#include <set>

using namespace tavik;
using namespace tavik::tests;

class KeyboardGeometryTest : public QObject
{
    Q_OBJECT

private slots:
    void wideViewIsScaledByWidthAndCenteredVertically()
    {
        const KeyboardLayout layout = board({400, 100}, {keyRecord(5, {0, 0, 400, 100})});
        const KeyboardGeometry geometry(&layout, {800, 400});
        QCOMPARE(geometry.hitRectangle(layout.keys.first()), QRect(0, 100, 800, 200));
        QCOMPARE(geometry.keyAt({400, 99}), -1);
        QCOMPARE(geometry.keyAt({400, 100}), 5);
        QCOMPARE(geometry.keyAt({400, 299}), 5);
        QCOMPARE(geometry.keyAt({400, 300}), -1);
    }

    void highViewIsScaledByHeightAndCenteredHorizontally()
    {
        const KeyboardLayout layout = board({100, 100}, {keyRecord(5, {0, 0, 100, 100})});
        const KeyboardGeometry geometry(&layout, {801, 200});
        QCOMPARE(geometry.hitRectangle(layout.keys.first()), QRect(301, 0, 200, 200)); // 300.5
    }

    void positionsAreRoundedAndSizesCutOff_data()
    {
        QTest::addColumn<QSize>("viewSize");
        QTest::addColumn<QRect>("keyRectangle");
        QTest::addColumn<QRect>("expected");
        const QSize plain(250, 250); // scale 2.5, no margins
        QTest::newRow("half rounds up") << plain << QRect(1, 3, 3, 3) << QRect(3, 8, 7, 7);
        QTest::newRow("whole") << plain << QRect(2, 4, 4, 2) << QRect(5, 10, 10, 5);
        QTest::newRow("negative half rounds away")
            << plain << QRect(-1, -3, 3, 5) << QRect(-3, -8, 7, 12);
        const QSize margins(253, 250); // 1.5 on the left
        QTest::newRow("margin adds before rounding")
            << margins << QRect(1, 1, 1, 1) << QRect(4, 3, 2, 2);
        QTest::newRow("margin adds to a negative")
            << margins << QRect(-2, 0, 1, 1) << QRect(-4, 0, 2, 2);
        const QSize small(33, 33); // scale 0.33
        QTest::newRow("less than a pixel") << small << QRect(50, 50, 3, 3) << QRect(17, 17, 0, 0);
        QTest::newRow("almost two pixels") << small << QRect(49, 48, 6, 5) << QRect(16, 16, 1, 1);
        QTest::newRow("negative size is cut off towards zero")
            << small << QRect(50, 50, -4, -2) << QRect(17, 17, -1, 0);
    }

    void positionsAreRoundedAndSizesCutOff()
    {
        QFETCH(QSize, viewSize);
        QFETCH(QRect, keyRectangle);
        QFETCH(QRect, expected);
        const KeyboardLayout layout = board({100, 100}, {keyRecord(0, keyRectangle)});
        const KeyboardGeometry geometry(&layout, viewSize);
        QCOMPARE(geometry.hitRectangle(layout.keys.first()), expected);
    }

    void keysAnswerUpToTheirEdges()
    {
        const KeyboardLayout layout = board({100, 100}, {keyRecord(7, {1, 3, 3, 3})});
        const KeyboardGeometry geometry(&layout, {250, 250});
        for (const QPoint& inside : {QPoint(3, 8), QPoint(9, 8), QPoint(3, 14), QPoint(9, 14)})
            QCOMPARE(geometry.keyAt(inside), 7);
        for (const QPoint& outside : {QPoint(2, 8), QPoint(10, 8), QPoint(3, 7), QPoint(3, 15)})
            QCOMPARE(geometry.keyAt(outside), -1);
    }

    void firstOfOverlappingKeysWins()
    {
        const KeyboardLayout layout =
            board({100, 100}, {keyRecord(9, {10, 10, 50, 50}), keyRecord(2, {30, 30, 50, 50})});
        const KeyboardGeometry geometry(&layout, {100, 100});
        QCOMPARE(geometry.keyAt({40, 40}), 9);
        QCOMPARE(geometry.keyAt({70, 70}), 2);
    }

    void keyBehindAnUnknownIndexIsFoundThroughIt()
    {
        const KeyboardLayout layout =
            board({100, 100}, {keyRecord(200, {0, 0, 90, 90}), keyRecord(2, {0, 0, 20, 20})});
        const KeyboardGeometry geometry(&layout, {100, 100});
        QCOMPARE(geometry.keyAt({10, 10}), 2);
        QCOMPARE(geometry.keyAt({50, 50}), -1);
    }

    void aViewWithoutASizeIsSafe()
    {
        const KeyboardLayout layout = grid(3, 3);
        const KeyboardGeometry geometry(&layout, {0, 0});
        QCOMPARE(geometry.keyAt({0, 0}), -1);
        QCOMPARE(geometry.hitRectangle(layout.keys.last()), QRect(0, 0, 0, 0));
    }

    void aKeyFarLargerThanTheViewIsHitInside()
    {
        const int huge = std::numeric_limits<int>::max();
        const KeyboardLayout layout =
            board({100, 100}, {keyRecord(8, QRect(QPoint(-huge, -huge), QPoint(huge, huge)))});
        const KeyboardGeometry geometry(&layout, {500, 500});
        QCOMPARE(geometry.keyAt({250, 250}), -1); // sizes are bounded, the left edge is far away
        const KeyboardLayout lower = board({100, 100}, {keyRecord(8, {0, 0, huge, huge})});
        QCOMPARE(KeyboardGeometry(&lower, {500, 500}).keyAt({250, 250}), 8);
    }

    void decorationStaysInsideTheKey()
    {
        const KeyboardLayout layout = board({100, 100}, {keyRecord(7, {10, 10, 20, 20})});
        const KeyboardGeometry geometry(&layout, {100, 100});
        QCOMPARE(geometry.innerRectangle(layout.keys.first()),
                 QRect(QPoint(11, 11), QPoint(27, 27)));
    }

    void pictureStartsOnAWholePixelAndKeepsItsSize()
    {
        const KeyboardLayout layout = board({400, 100}, {});
        const KeyboardGeometry geometry(&layout, {901, 400});
        QCOMPARE(geometry.scale(), 2.2525);
        QCOMPARE(geometry.boardRectangle(), QRectF(0, 87, 901, 225.25));
    }

    void noBoardHasNoKeys_data()
    {
        QTest::addColumn<QSize>("design");
        QTest::newRow("no size") << QSize(0, 0);
        QTest::newRow("no width") << QSize(0, 100);
        QTest::newRow("negative") << QSize(-100, -100);
    }

    void noBoardHasNoKeys()
    {
        QFETCH(QSize, design);
        const KeyboardLayout layout = board(design, {keyRecord(1, {0, 0, 50, 50})});
        for (const KeyboardLayout* shown : {&layout, static_cast<const KeyboardLayout*>(nullptr)}) {
            const KeyboardGeometry geometry(shown, {100, 100});
            QVERIFY(!geometry.hasBoard());
            QCOMPARE(geometry.scale(), 0.0);
            QCOMPARE(geometry.boardRectangle(), QRectF());
            QCOMPARE(geometry.hitRectangle(layout.keys.first()), QRect());
            QCOMPARE(geometry.keyAt({10, 10}), -1);
            QCOMPARE(geometry.find(1), nullptr);
            QCOMPARE(geometry.neighbor(nullptr, {1, 0}), nullptr);
        }
    }

    void onlyKeysOfTheTablesAreFound()
    {
        KeyboardLayout layout = grid(3, 1);
        layout.keys[1].lightIndex = 144;
        const KeyboardGeometry geometry(&layout, {90, 30});
        QCOMPARE(geometry.find(144), nullptr);
        QCOMPARE(geometry.find(-1), nullptr);
        QCOMPARE(geometry.find(2), &layout.keys.at(2));
        QCOMPARE(geometry.neighbor(&layout.keys.at(0), {1, 0}), &layout.keys.at(2));
    }

    // Every key of the keyboard can be walked to, and a step goes to where a reader of its rows
    // would look: sideways in the row, as long as it lasts, up and down to a key that overlaps.
    void arrowsWalkTheKeyboard()
    {
        const KeyboardLayout& layout = KeyboardLayout::instance();
        QVERIFY(layout.keys.size() > 60);
        const KeyboardGeometry geometry(&layout, {800, 300});
        std::set<const KeyRecord*> reached{geometry.neighbor(nullptr, {1, 0})};
        for (QList<const KeyRecord*> open{*reached.begin()}; !open.isEmpty();) {
            const KeyRecord* from = open.takeLast();
            for (const QPoint direction :
                 {QPoint(-1, 0), QPoint(1, 0), QPoint(0, -1), QPoint(0, 1)}) {
                const KeyRecord* to = geometry.neighbor(from, direction);
                if (to != nullptr && reached.insert(to).second)
                    open += to;
            }
        }
        QCOMPARE(qsizetype(reached.size()), layout.keys.size());
        for (qsizetype index = 0; index + 1 < layout.keys.size(); ++index) {
            const KeyRecord& key = layout.keys.at(index);
            const KeyRecord& next = layout.keys.at(index + 1);
            if (key.row != next.row)
                continue;
            QCOMPARE(geometry.neighbor(&key, {1, 0}), &next);
            QCOMPARE(geometry.neighbor(&next, {-1, 0}), &key);
        }
    }

    // Up and down lead to the key that lies nearest in the next row.
    void arrowsGoUpAndDownOverTheRealBoard_data()
    {
        QTest::addColumn<int>("down");
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("reached");
        const QString functions("Esc|F1|F2|F3|F4|F5|F6|F7|F8|F9|F10|F11|F12|Delete");
        const QString digits("`|1|2|3|4|5|6|7|8|9|0|-|=|Backspace");
        const QString upper("Tab|Q|W|E|R|T|Y|U|I|O|P|[|]|\\|Home|PgUp");
        const QString middle("Caps Lock|A|S|D|F|G|H|J|K|L|;|'|Enter|End|PgDn");
        const QString lower("L Shift|Z|X|C|V|B|N|M|,|.|/|R Shift|↑");
        const QString bottom("L Ctrl|L Win|L Alt|Space|R Alt|Fn|R Ctrl|←|↓|→");
        const auto row = [](const char* name, int down, const QString& from, const char* to) {
            QTest::newRow(name) << down << from << QString::fromUtf8(to);
        };
        row("functions down", 1, functions, "`|1|2|3|4|5|6|7|8|0|-|=|=|Backspace");
        row("digits down", 1, digits, "Tab|Q|Q|W|E|R|T|Y|U|I|O|P|[|\\");
        row("upper down", 1, upper, "Caps Lock|A|S|D|F|G|H|J|K|L|;|'|'|Enter|End|PgDn");
        row("middle down", 1, middle, "L Shift|Z|Z|X|C|V|B|N|M|,|.|/|R Shift|↑|→");
        row("lower down", 1, lower,
            "L Ctrl|L Alt|L Alt|Space|Space|Space|Space|Space|R Alt|R Alt|Fn|R Ctrl|↓");
        row("digits up", -1, digits, "Esc|F1|F2|F3|F4|F5|F5|F6|F7|F8|F9|F10|F11|Delete");
        row("upper up", -1, upper, "`|1|2|3|4|5|6|7|8|9|0|-|=|Backspace|Backspace|Backspace");
        row("middle up", -1, middle, "Tab|Q|W|E|R|T|Y|U|I|O|P|[|\\|Home|PgUp");
        row("lower up", -1, lower, "Caps Lock|A|S|D|F|G|H|J|K|L|;|Enter|End");
        row("bottom up", -1, bottom, "L Shift|L Shift|Z|B|.|/|R Shift|R Shift|↑|PgDn");
    }
    void arrowsGoUpAndDownOverTheRealBoard()
    {
        QFETCH(int, down);
        QFETCH(QString, row);
        QFETCH(QString, reached);
        const KeyboardGeometry geometry(&KeyboardLayout::instance(), {800, 300});
        QStringList names;
        for (const QString& name : row.split(u'|'))
            names += geometry.neighbor(&keyNamed(name), {0, down})->desc;
        QCOMPARE(names.join(u'|'), reached);
    }
};

QTEST_MAIN(KeyboardGeometryTest)
#include "keyboard_geometry_test.moc"
