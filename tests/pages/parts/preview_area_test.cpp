// SPDX-License-Identifier: MIT
#include "model/keyboard_layout.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/preview_area.h"

#include <QTest>
#include <QVBoxLayout>

using namespace tavik;

class PreviewAreaTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        layout.width = 800;
        layout.height = 300;
        KeyRecord key;
        key.lightIndex = 7;
        key.rect = QRect(0, 0, 800, 300);
        layout.keys = {key};
    }

    void viewSizeFollowsTheArea_data()
    {
        QTest::addColumn<QSize>("area");
        QTest::addColumn<QSize>("expected");
        QTest::newRow("half") << QSize(416, 170) << QSize(400, 150);
        QTest::newRow("width decides") << QSize(416, 1000) << QSize(400, 150);
        QTest::newRow("height decides") << QSize(2000, 170) << QSize(400, 150);
        QTest::newRow("just full") << QSize(816, 320) << QSize(800, 300);
        QTest::newRow("one short in width") << QSize(815, 320) << QSize(799, 300);
        QTest::newRow("one short in height") << QSize(816, 319) << QSize(797, 299);
        QTest::newRow("one more") << QSize(817, 321) << QSize(800, 300);
        QTest::newRow("large") << QSize(4000, 3000) << QSize(800, 300);
        QTest::newRow("half a pixel of height") << QSize(28, 400) << QSize(12, 5);
        QTest::newRow("half a pixel more") << QSize(20, 400) << QSize(4, 2);
        QTest::newRow("flat") << QSize(17, 400) << QSize(1, 1);
        QTest::newRow("margins only") << QSize(16, 20) << QSize(1, 1);
        QTest::newRow("less than the margins") << QSize(3, 2) << QSize(1, 1);
        QTest::newRow("nothing") << QSize(0, 0) << QSize(1, 1);
    }

    void viewSizeFollowsTheArea()
    {
        QFETCH(QSize, area);
        QFETCH(QSize, expected);
        QCOMPARE(previewViewSize(area), expected);
    }

    void viewIsResizedWithTheArea_data() { viewSizeFollowsTheArea_data(); }

    void viewIsResizedWithTheArea()
    {
        QFETCH(QSize, area);
        QFETCH(QSize, expected);
        PreviewArea preview(layout);
        preview.setMinimumSize(0, 0);
        const QWidget* view = viewOf(preview);
        sendResize(preview, area);
        QCOMPARE(view->minimumSize(), expected);
        QCOMPARE(view->maximumSize(), expected);
    }

    void viewStandsAtTheBottomCenter()
    {
        QWidget window;
        auto* preview = new PreviewArea(layout, &window);
        preview->setGeometry(0, 0, 1016, 500);
        window.resize(1016, 500);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_COMPARE(viewOf(*preview)->geometry(), QRect(108, 180, 800, 300));
        preview->resize(416, 400);
        QTRY_COMPARE(viewOf(*preview)->geometry(), QRect(8, 230, 400, 150));
    }

    void areaShrinksAgainAfterItHasGrown()
    {
        QWidget window;
        auto* column = new QVBoxLayout(&window);
        column->setContentsMargins(0, 0, 0, 0);
        auto* preview = new PreviewArea(layout, &window);
        column->addWidget(preview);
        window.resize(1200, 600);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_COMPARE(viewOf(*preview)->size(), QSize(800, 300));
        window.resize(500, 600);
        QTRY_COMPARE(window.width(), 500);
        QTRY_COMPARE(viewOf(*preview)->size(), previewViewSize({500, 600}));
        QCOMPARE(viewOf(*preview)->size(), QSize(484, 182));
    }

    void areaPaintsNoGroundOfItsOwn()
    {
        const PreviewArea preview(layout);
        QVERIFY(preview.testAttribute(Qt::WA_NoSystemBackground));
        QVERIFY(!preview.autoFillBackground());
        QCOMPARE(preview.minimumHeight(), 380);
    }

    void viewShowsTheLayout()
    {
        PreviewArea preview(layout);
        sendResize(preview, {816, 320});
        auto* view = preview.findChild<KeyboardView*>();
        view->resize(800, 300);
        QCOMPARE(view->keyAt({400, 150}), 7);
    }

    void viewNeverAsksForMoreRoom()
    {
        const PreviewArea preview(layout);
        const QWidget* view = viewOf(preview);
        QCOMPARE(view->minimumSize(), QSize(0, 0));
        QCOMPARE(view->maximumSize(), QSize(800, 300));
        QCOMPARE(view->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
        QCOMPARE(view->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    }

private:
    static KeyboardView* viewOf(const PreviewArea& preview)
    {
        return preview.findChild<KeyboardView*>();
    }

    // Hidden widgets hear of their size only when they are shown; here they are told.
    static void sendResize(PreviewArea& preview, QSize size)
    {
        preview.resize(size);
        QResizeEvent event(preview.size(), QSize());
        QCoreApplication::sendEvent(&preview, &event);
    }

    KeyboardLayout layout;
};

QTEST_MAIN(PreviewAreaTest)
#include "preview_area_test.moc"
