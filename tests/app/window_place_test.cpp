// SPDX-License-Identifier: MIT
#include "app/window_place.h"

#include <QTest>
#include <QWidget>

using namespace tavik;

class WindowPlaceTest : public QObject
{
    Q_OBJECT

private slots:
    void firstSizeFollowsTheScreen_data()
    {
        QTest::addColumn<QRect>("available");
        QTest::addColumn<QRect>("expected"); // from a place that the window manager chose
        QTest::newRow("room for it") << QRect(0, 0, 3840, 2160) << QRect(300, 200, 1200, 720);
        QTest::newRow("laptop") << QRect(0, 27, 1366, 741) << QRect(300, 200, 1200, 720);
        QTest::newRow("exactly") << QRect(0, 0, 1200, 720) << QRect(300, 200, 1200, 720);
        QTest::newRow("low") << QRect(0, 30, 1366, 690) << QRect(0, 30, 1200, 690);
        QTest::newRow("narrow") << QRect(70, 0, 1100, 900) << QRect(70, 0, 1100, 720);
        QTest::newRow("lower than the least") << QRect(0, 0, 1024, 600) << QRect(0, 0, 1024, 620);
        QTest::newRow("smaller than the least") << QRect(5, 6, 800, 480) << QRect(5, 6, 900, 620);
    }
    void firstSizeFollowsTheScreen()
    {
        QFETCH(QRect, available);
        QWidget window(nullptr, Qt::FramelessWindowHint);
        window.setMinimumSize(900, 620);
        window.setGeometry(300, 200, 1200, 720);

        showOnScreen(window, available);
        QVERIFY(window.isVisible());
        QTEST(window.geometry(), "expected");
    }
};

QTEST_MAIN(WindowPlaceTest)
#include "window_place_test.moc"
