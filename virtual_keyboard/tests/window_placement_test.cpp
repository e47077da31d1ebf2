// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/window_placement.h"

#include <QTest>

using namespace tavik::virtual_keyboard;

namespace {

constexpr WantedSize wanted{
    .heightByWidth = 0.42, .fixedHeight = 150, .leastWidth = 520, .mostWidth = 1200};
constexpr QSize programSize(1200, 720);

} // namespace

class WindowPlacementTest : public QObject
{
    Q_OBJECT

private slots:
    void keyboardIsWhollyOnTheScreenAndApartWhereThereIsRoom_data()
    {
        QTest::addColumn<QRect>("available");
        QTest::addColumn<QPoint>("program");
        QTest::addColumn<bool>("isApart");
        const auto row = [](const char* name, QRect available, QPoint program, bool isApart) {
            QTest::newRow(name) << available << program << isApart;
        };
        row("full HD, at the left", {0, 0, 1920, 1080}, {0, 0}, true);
        row("full HD, in the middle", {0, 0, 1920, 1080}, {360, 180}, true);
        row("full HD, at the lower right", {0, 0, 1920, 1080}, {720, 360}, true);
        row("full HD under a panel", {0, 40, 1920, 1040}, {300, 100}, true);
        row("on a second screen", {1920, 0, 1920, 1080}, {2280, 180}, true);
        row("a high screen", {0, 0, 1200, 1920}, {0, 600}, true);
        row("a large screen", {0, 0, 3840, 2160}, {1320, 720}, true);
        row("a laptop", {0, 0, 1366, 768}, {83, 24}, false);
        row("smaller than the program", {0, 0, 1024, 600}, {0, 0}, false);
        row("hardly a screen", {0, 0, 400, 300}, {0, 0}, false);
    }

    void keyboardIsWhollyOnTheScreenAndApartWhereThereIsRoom()
    {
        QFETCH(const QRect, available);
        QFETCH(const QPoint, program);
        QFETCH(const bool, isApart);
        const Placement placed = placeKeyboard(available, {program, programSize}, wanted);
        const QRect moved(placed.program, programSize);
        QVERIFY(available.contains(placed.keyboard));
        QCOMPARE(placed.isApart, isApart);
        QCOMPARE(!moved.intersects(placed.keyboard), isApart);
        if (isApart) {
            QVERIFY(available.contains(moved));
            QVERIFY(placed.keyboard.width() >= wanted.leastWidth);
            QVERIFY(placed.keyboard.height() >= wanted.heightFor(placed.keyboard.width()));
        }
    }

    void programStaysWhereThereIsRoomAnyway()
    {
        const QPoint place(40, 100);
        const Placement placed = placeKeyboard({0, 0, 2560, 1440}, {place, programSize}, wanted);
        QCOMPARE(placed.program, place);
    }

    void programMovesNoFurtherThanItHasTo()
    {
        const Placement placed =
            placeKeyboard({0, 0, 2560, 1440}, {{600, 100}, programSize}, wanted);
        QCOMPARE(placed.program.y(), 100);
        QCOMPARE(placed.keyboard.right(), 2559);
        QCOMPARE(placed.program.x() + programSize.width() + 8, placed.keyboard.left());
    }

    void keyboardStandsWhereItIsLarger()
    {
        const QRect program({0, 0}, programSize);
        const QRect beside = placeKeyboard({0, 0, 2200, 1080}, program, wanted).keyboard;
        QVERIFY(beside.left() > program.right());
        const QRect under = placeKeyboard({0, 0, 1300, 1500}, program, wanted).keyboard;
        QVERIFY(under.top() > program.bottom());
    }

    void programsTitleBarIsNeverCovered()
    {
        const Placement placed = placeKeyboard({0, 0, 1366, 768}, {{83, 24}, programSize}, wanted);
        QCOMPARE(placed.program, QPoint(0, 0));
        QCOMPARE(placed.keyboard.topRight(), QPoint(1365, 50));
        QCOMPARE(placed.keyboard.width(), wanted.leastWidth);
    }

    void keyboardIsNeverWiderThanItWants()
    {
        const Placement placed = placeKeyboard({0, 0, 7680, 4320}, {{0, 0}, programSize}, wanted);
        QCOMPARE(placed.keyboard.width(), wanted.mostWidth);
    }
};

QTEST_GUILESS_MAIN(WindowPlacementTest)
#include "window_placement_test.moc"
