// SPDX-License-Identifier: MIT
#include "model/keyboard_layout.h"
#include "pages/parts/caption_text.h"
#include "pages/parts/keyboard_view.h"
#include "tests/support/made_board.h"
#include "tests/support/pixel_probe.h"

#include <QBackingStore>
#include <QContextMenuEvent>
#include <QDir>
#include <QHelpEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

#include <limits>
#include <tuple>
#include <utility>

using namespace tavik;
using namespace tavik::tests;

namespace {

const QColor capColor(200, 202, 204); // of the plain keyboard picture
const QColor frameColor(231, 122, 25);
const QColor captionFill(231, 122, 25, 72);
const QColor captionColor(30, 30, 30);

// What is painted of a shown widget from its making on.
class PaintRecord : public QObject
{
public:
    explicit PaintRecord(QWidget& painted)
    {
        QCoreApplication::processEvents();
        painted.installEventFilter(this);
    }

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            region += static_cast<QPaintEvent*>(event)->region();
        return false;
    }

    QRegion taken()
    {
        QCoreApplication::processEvents();
        return std::exchange(region, {});
    }

private:
    QRegion region;
};

// What stands on the display, without painting it anew.
QImage shownPicture(const QWidget& view)
{
    return static_cast<const QImage*>(view.backingStore()->paintDevice())
        ->copy()
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage partOf(const QImage& picture, const QRect& part)
{
    const qreal ratio = picture.devicePixelRatio();
    return picture.copy(
        QRectF(QPointF(part.topLeft()) * ratio, QSizeF(part.size()) * ratio).toRect());
}

} // namespace

class KeyboardViewTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression("^(?!This plugin does not support).*"));
        directory.reset(new QTemporaryDir);
        QVERIFY(QDir().mkpath(directory->filePath("resources/official-skin")));
        QDir::setCurrent(directory->path());
    }

    void cleanup()
    {
        window.reset();
        QDir::setCurrent(QDir::rootPath());
    }

    void startsLargeTransparentAndWatchingThePointer()
    {
        const KeyboardView view;
        QCOMPARE(view.minimumSize(), QSize(880, 360));
        QVERIFY(view.hasMouseTracking());
        QVERIFY(view.testAttribute(Qt::WA_TranslucentBackground));
        QVERIFY(view.testAttribute(Qt::WA_NoSystemBackground));
        QVERIFY(!view.autoFillBackground());
    }

    void pressIsTakenBesideTheDrawnBoxToo()
    {
        const KeyboardLayout layout = board({100, 100}, {keyRecord(7, {9, 9, 21, 21})});
        const auto view = viewOf(layout, {100, 100});
        view->setMode(KeyboardViewMode::KeyColors);
        view->setKeyColor(7, Qt::red);
        QCOMPARE(paintedArea(*view), QRect(QPoint(10, 10), QPoint(27, 27)));
        QCOMPARE(view->keyAt({29, 29}), 7);
        QCOMPARE(view->keyAt({30, 29}), -1);
    }

    void onlyIndexesOfTheTablesAreReported_data()
    {
        QTest::addColumn<int>("lightIndex");
        QTest::addColumn<bool>("reported");
        for (const int index : {0, 1, 143})
            QTest::addRow("%d", index) << index << true;
        for (const int index :
             {-1, 144, 200, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
            QTest::addRow("%d", index) << index << false;
    }

    void onlyIndexesOfTheTablesAreReported()
    {
        QFETCH(int, lightIndex);
        QFETCH(bool, reported);
        const KeyboardLayout layout = board({100, 100}, {keyRecord(lightIndex, {0, 0, 100, 100})});
        const auto view = viewOf(layout, {100, 100});
        const QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        const QSignalSpy menu(view.get(), &KeyboardView::slotContextMenu);
        QCOMPARE(view->keyAt({50, 50}), reported ? lightIndex : -1);
        press(*view, {50, 50});
        press(*view, {50, 50}, Qt::RightButton);
        QCOMPARE(activated.size(), reported ? 1 : 0);
        QCOMPARE(menu.size(), reported ? 1 : 0);
        QCOMPARE(selectedKey(*view, layout), reported ? lightIndex : -1);
        QVERIFY(!paintedArea(*view).isEmpty()); // drawn in any case
    }

    void boardsWithoutASizeAreSafe_data()
    {
        QTest::addColumn<QSize>("design");
        QTest::newRow("zero") << QSize(0, 0);
        QTest::newRow("no width") << QSize(0, 100);
        QTest::newRow("no height") << QSize(100, 0);
        QTest::newRow("negative") << QSize(-100, -100);
    }

    void boardsWithoutASizeAreSafe()
    {
        QFETCH(QSize, design);
        const KeyboardLayout layout = board(design, {keyRecord(1, {0, 0, 50, 50})});
        const auto view = viewOf(layout, {100, 100});
        QCOMPARE(view->keyAt({10, 10}), -1);
        QCOMPARE(view->hitRectangle(layout.keys.first()), QRect());
        press(*view, {10, 10});
        QTest::keyClick(view.get(), Qt::Key_Right);
        QVERIFY(paintedArea(*view).isEmpty());
    }

    void withoutALayoutThereAreNoKeys()
    {
        KeyboardView view;
        QCOMPARE(view.keyAt({10, 10}), -1);
        QCOMPARE(view.hitRectangle(keyRecord(1, {0, 0, 900, 900})), QRect());
        press(view, {10, 10});
        QTest::keyClick(&view, Qt::Key_Down);
        QTest::keyClick(&view, Qt::Key_Return);
        const KeyboardLayout empty = board({100, 100}, {});
        view.setKeyboardLayout(&empty);
        QCOMPARE(view.keyAt({10, 10}), -1);
        QTest::keyClick(&view, Qt::Key_Down);
        QCOMPARE(selectedKey(view, empty), -1);
    }

    void leftPressSelectsAndReportsAtOnce()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        const QSignalSpy menu(view.get(), &KeyboardView::slotContextMenu);
        int selectedThen = -1;
        connect(view.get(), &KeyboardView::slotActivated,
                [&] { selectedThen = selectedKey(*view, layout); });
        press(*view, {40, 10}); // not released yet
        QCOMPARE(activated.size(), 1);
        QCOMPARE(activated.first().first().toInt(), 1);
        QCOMPARE(selectedThen, 1);
        release(*view, {40, 10});
        QCOMPARE(activated.size(), 1);
        QCOMPARE(menu.size(), 0);
    }

    void secondPressOfADoubleClickReportsAgain()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        const QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        press(*view, {40, 10});
        release(*view, {40, 10});
        press(*view, {40, 10}, Qt::LeftButton, QEvent::MouseButtonDblClick);
        release(*view, {40, 10});
        QCOMPARE(activated.size(), 2);
    }

    void rightPressSelectsAndAsksForTheMenu()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        const QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        const QSignalSpy menu(view.get(), &KeyboardView::slotContextMenu);
        press(*view, {70, 10}, Qt::RightButton);
        QCOMPARE(activated.size(), 0);
        QCOMPARE(menu.size(), 1);
        QCOMPARE(menu.first().at(0).toInt(), 2);
        QCOMPARE(menu.first().at(1).toPoint(), QPoint(1071, 2011)); // 1070.5, 2010.6 rounded
        QCOMPARE(selectedKey(*view, layout), 2);
    }

    void otherButtonsOnlySelect_data()
    {
        QTest::addColumn<Qt::MouseButton>("button");
        QTest::newRow("middle") << Qt::MiddleButton;
        QTest::newRow("back") << Qt::BackButton;
    }

    void otherButtonsOnlySelect()
    {
        QFETCH(Qt::MouseButton, button);
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        const QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        const QSignalSpy menu(view.get(), &KeyboardView::slotContextMenu);
        press(*view, {40, 10}, button);
        QCOMPARE(selectedKey(*view, layout), 1);
        QCOMPARE(activated.size() + menu.size(), 0);
    }

    void pressBetweenKeysChangesNothing()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        press(*view, {40, 10});
        const QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        const QSignalSpy menu(view.get(), &KeyboardView::slotContextMenu);
        for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton})
            press(*view, {25, 10}, button);
        QCOMPARE(activated.size() + menu.size(), 0);
        QCOMPARE(selectedKey(*view, layout), 1);
    }

    void pressIsRoundedToWholePixels()
    {
        const KeyboardLayout layout = grid(3, 1); // the first key ends with pixel 19
        const auto view = viewOf(layout, {90, 30});
        press(*view, {19.5, 10});
        QCOMPARE(selectedKey(*view, layout), -1);
        press(*view, {19.4, 10});
        QCOMPARE(selectedKey(*view, layout), 0);
    }

    void firstOfOverlappingKeysTakesThePress()
    {
        const KeyboardLayout layout =
            board({100, 100}, {keyRecord(9, {10, 10, 50, 50}), keyRecord(2, {30, 30, 50, 50})});
        const auto view = viewOf(layout, {100, 100});
        const QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        press(*view, {40, 40});
        QCOMPARE(activated.size(), 1);
        QCOMPARE(activated.first().first().toInt(), 9);
        QCOMPARE(selectedKey(*view, layout), 9);
    }

    void selectionOutlivesANewLayout()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        press(*view, {40, 10});
        const KeyboardLayout other = grid(2, 2);
        view->setKeyboardLayout(&other);
        QCOMPARE(selectedKey(*view, other), 1);
    }

    void handShowsOverKeysOnly()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        move(*view, {40, 10});
        QCOMPARE(view->cursor().shape(), Qt::PointingHandCursor);
        move(*view, {25, 10});
        QCOMPARE(view->cursor().shape(), Qt::ArrowCursor);
    }

    void onlyAPressRepaints()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = shownViewOf(layout, {90, 30});
        PaintRecord paints(*view);
        move(*view, {40, 10});
        move(*view, {25, 10});
        press(*view, {25, 10});
        QVERIFY(paints.taken().isEmpty());
        press(*view, {40, 10});
        QVERIFY(!paints.taken().isEmpty());
    }

    // A repaint of the whole keyboard takes longer than a frame of the display.
    void aChangeRepaintsItsKeyAlone()
    {
        useKeyboardPicture();
        const KeyboardLayout layout = grid(6, 4);
        const auto view = shownViewOf(layout, {720, 480}); // four pixels a unit
        const auto around = [&](int key) {
            return view->hitRectangle(layout.keys.at(key)).adjusted(-6, -6, 6, 6);
        };
        PaintRecord paints(*view);
        const auto paintsOnly = [&](const QRegion& expected) {
            const QRegion painted = paints.taken();
            QVERIFY(!painted.isEmpty());
            QVERIFY(painted.subtracted(expected).isEmpty());
            QCOMPARE(shownPicture(*view), pictureOf(*view)); // as if painted whole
            static_cast<void>(paints.taken());               // which it was just now
        };

        view->setMode(KeyboardViewMode::Captions);
        QCOMPARE(paints.taken(), QRegion(view->rect()));
        view->setCaption(7, QStringLiteral("Ctrl+A"));
        paintsOnly(around(7));
        view->setCaption(7, QStringLiteral("Ctrl+A"));
        QVERIFY(paints.taken().isEmpty()); // nothing has changed
        press(*view, view->hitRectangle(layout.keys.at(8)).center());
        paintsOnly(around(8));
        press(*view, view->hitRectangle(layout.keys.at(7)).center());
        paintsOnly(QRegion(around(7)) + around(8));
        view->clearFocus();
        static_cast<void>(paints.taken());
        view->setFocus(Qt::TabFocusReason);
        paintsOnly(around(7));
        QTest::keyClick(view.get(), Qt::Key_Down);
        paintsOnly(QRegion(around(7)) + around(13));
        view->clearFocus();
        paintsOnly(around(13));
        view->setCaption(7, {});
        paintsOnly(around(7));

        view->setMode(KeyboardViewMode::KeyColors);
        QCOMPARE(paints.taken(), QRegion(view->rect()));
        view->setKeyColor(20, Qt::green);
        paintsOnly(around(20));
        view->setKeyColor(20, Qt::green);
        QVERIFY(paints.taken().isEmpty());
        view->setKeyColor(20, {});
        paintsOnly(around(20));
    }

    void saysThatItIsLoadingUntilALayoutIsSet()
    {
        KeyboardView view;
        view.resize(880, 360);
        const QImage expected =
            paintedPicture(view.size(), Qt::transparent, [&](QPainter& painter) {
                painter.setFont(view.font());
                painter.setPen(Qt::gray);
                painter.drawText(view.rect(), Qt::AlignCenter, QStringLiteral("Loading layout…"));
            });
        const QImage picture = pictureOf(view);
        QCOMPARE(picture, expected);
        QVERIFY(paintedArea(view).width() > 60);
        QVERIFY(std::abs(paintedArea(view).center().x() - 440) <= 2);

        const KeyboardLayout empty = board({800, 300}, {});
        view.setKeyboardLayout(&empty);
        QVERIFY(paintedArea(view).isEmpty());
    }

    void viewIsClearedBeforeItIsPainted()
    {
        const KeyboardLayout empty = board({800, 300}, {});
        const auto view = viewOf(empty, {80, 30});
        QCOMPARE(colorAt(pictureOf(*view, Qt::red), {40, 15}).alpha(), 0);
    }

    void keyboardPictureFillsTheDrawing()
    {
        useKeyboardPicture();
        const KeyboardLayout empty = board({400, 100}, {});
        const auto view = viewOf(empty, {1000, 401}); // top margin 75.5, height 250
        QCOMPARE(paintedArea(*view), QRect(QPoint(0, 76), QPoint(999, 325)));
        QCOMPARE(colorAt(pictureOf(*view), {0, 76}), capColor);
        QCOMPARE(colorAt(pictureOf(*view), {999, 325}), capColor);
        // Top margin 87.375, height 225.25: the corner alone is rounded, and the last quarter of a
        // row is drawn softly.
        view->resize(901, 400);
        QPixmap plain(901, 225);
        plain.fill(capColor);
        QCOMPARE(pictureOf(*view),
                 paintedPicture({901, 400}, Qt::transparent, [&](QPainter& painter) {
                     painter.setRenderHint(QPainter::SmoothPixmapTransform);
                     painter.drawPixmap(QRectF(0, 87, 901, 225.25), plain, plain.rect());
                 }));
        view->resize(203, 50); // left margin 1.5
        QCOMPARE(paintedArea(*view), QRect(QPoint(2, 0), QPoint(201, 49)));
    }

    void keyboardPictureIsScaledAnewAtEachSize()
    {
        QImage halves(40, 10, QImage::Format_ARGB32);
        halves.fill(Qt::blue);
        QPainter(&halves).fillRect(20, 0, 20, 10, Qt::green);
        useKeyboardPicture(halves);
        const KeyboardLayout empty = board({400, 100}, {});
        const auto view = viewOf(empty, {800, 200});
        for (const int width : {800, 200, 1200}) {
            view->resize(width, width / 4);
            const QImage picture = pictureOf(*view);
            QCOMPARE(colorAt(picture, {width / 2 - width / 20, 10}), QColor(Qt::blue));
            QCOMPARE(colorAt(picture, {width / 2 + width / 20, 10}), QColor(Qt::green));
            QCOMPARE(picture, pictureOf(*viewOf(empty, view->size())));
        }
    }

    void groundRepeatsTheStretchedWorkspace()
    {
        const QImage background = colorfulPicture({60, 40});
        QVERIFY(background.save(skinPath("keyboard_bkg.png")));
        QWidget shell;
        auto* workspace = new QWidget(&shell);
        workspace->setObjectName("workspace");
        workspace->setGeometry(30, 30, 600, 300);
        auto* page = new QWidget(workspace);
        page->setGeometry(100, 40, 450, 240);
        auto* view = new KeyboardView(page);
        view->setMinimumSize(0, 0);
        view->setGeometry(20, 10, 400, 200);
        const KeyboardLayout empty = board({0, 0}, {});
        view->setKeyboardLayout(&empty);

        const QImage whole = paintedPicture({600, 300}, Qt::transparent, [&](QPainter& painter) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawPixmap(QRect(0, 0, 600, 300), QPixmap::fromImage(background));
        });
        const QImage picture = pictureOf(*view);
        QVERIFY(largestDifference(picture, partOf(whole, {120, 50, 400, 200})) <= 2);
        QVERIFY(largestDifference(picture, partOf(whole, {135, 50, 400, 200})) > 4);
        QVERIFY(largestDifference(picture, partOf(whole, {120, 65, 400, 200})) > 4);

        // While it loads, the ground is there already.
        auto* loading = new KeyboardView(page);
        loading->setMinimumSize(0, 0);
        loading->setGeometry(20, 10, 400, 200);
        QCOMPARE(colorAt(pictureOf(*loading), {5, 5}), colorAt(picture, {5, 5}));
    }

    void groundStaysClearWithoutAWorkspace_data()
    {
        QTest::addColumn<QString>("parentName");
        QTest::addColumn<QSize>("parentSize");
        QTest::addColumn<bool>("pictureExists");
        QTest::newRow("no workspace") << "page" << QSize(600, 300) << true;
        QTest::newRow("no picture") << "workspace" << QSize(600, 300) << false;
        QTest::newRow("no width") << "workspace" << QSize(0, 300) << true;
        QTest::newRow("no height") << "workspace" << QSize(600, 0) << true;
    }

    void groundStaysClearWithoutAWorkspace()
    {
        QFETCH(QString, parentName);
        QFETCH(QSize, parentSize);
        QFETCH(bool, pictureExists);
        if (pictureExists)
            QVERIFY(colorfulPicture({60, 40}).save(skinPath("keyboard_bkg.png")));
        QWidget parent;
        parent.setObjectName(parentName);
        parent.resize(parentSize);
        auto* view = new KeyboardView(&parent);
        view->setMinimumSize(0, 0);
        view->resize(100, 50);
        const KeyboardLayout empty = board({100, 50}, {});
        view->setKeyboardLayout(&empty);
        QVERIFY(paintedArea(*view).isEmpty());
    }

    void groundOfAViewBeyondTheWorkspaceIsSafe()
    {
        QVERIFY(colorfulPicture({60, 40}).save(skinPath("keyboard_bkg.png")));
        QWidget workspace;
        workspace.setObjectName("workspace");
        workspace.resize(100, 100);
        auto* view = new KeyboardView(&workspace);
        view->setMinimumSize(0, 0);
        view->setGeometry(-50, -50, 400, 300);
        const KeyboardLayout empty = board({0, 0}, {});
        view->setKeyboardLayout(&empty);
        QCOMPARE(colorAt(pictureOf(*view), {100, 100}).alpha(), 255);
    }

    void rainbowHueFollowsThePosition_data()
    {
        QTest::addColumn<int>("left");
        QTest::addColumn<int>("hue");
        QTest::newRow("0") << 0 << 45;
        QTest::newRow("23.5 rounds up") << 50 << 24;
        QTest::newRow("100") << 100 << 2;
        QTest::newRow("0.28") << 104 << 0;
        QTest::newRow("-0.15") << 105 << 0;
        QTest::newRow("-0.58") << 106 << 359;
        QTest::newRow("-19.5 rounds away from zero") << 150 << 340;
        QTest::newRow("right edge") << 800 << 61;
        QTest::newRow("once round") << 942 << 0;
        QTest::newRow("more than once round") << 1000 << 335;
        QTest::newRow("left of the picture") << -100 << 88;
    }

    void rainbowHueFollowsThePosition()
    {
        QFETCH(int, left);
        QFETCH(int, hue);
        // The board stands still under the view: the key is moved into sight by its own size.
        const KeyboardLayout layout = board({2000, 100}, {keyRecord(3, {left, 20, 1100, 60})});
        const auto view = viewOf(layout, {2000, 100});
        const QRect inner(QPoint(left + 1, 21), QPoint(left + 1097, 77));
        const QImage expected =
            pictureWithGlow(*view, inner, QColor::fromHsv(hue, 220, 255, 78), 1097 * 0.82, 6.0);
        QCOMPARE(largestDifference(pictureOf(*view), expected), 0);
    }

    void rainbowGlowFadesFromTheMiddle()
    {
        useKeyboardPicture();
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 60, 40})});
        const auto view = viewOf(layout, {800, 200}); // 200, 20, 120 x 80; inner to 317, 97
        const QImage picture = pictureOf(*view);
        // Width 117, height 77 from 201, 21: middle 259.5, 59.5; radius 117 * 0.82.
        for (const QPoint& probe :
             {QPoint(259, 59), QPoint(290, 59), QPoint(259, 90), QPoint(310, 59), QPoint(210, 80)})
            QVERIFY2(largestDifference(colorAt(picture, probe),
                                       glowAt(probe, {259.5, 59.5}, 117 * 0.82,
                                              QColor::fromHsv(2, 220, 255, 78))) <= 2,
                     qPrintable(colorAt(picture, probe).name()));
        QCOMPARE(largestDifference(colorAt(picture, {259, 59}),
                                   laidOver(capColor, QColor::fromHsv(2, 220, 255, 78))) <= 2,
                 true);
        QCOMPARE(picture, pictureWithGlow(*view, {QPoint(201, 21), QPoint(317, 97)},
                                          QColor::fromHsv(2, 220, 255, 78), 117 * 0.82, 12.0));
        QCOMPARE(colorAt(picture, {200, 59}), capColor);
        QCOMPARE(colorAt(picture, {318, 59}), capColor);
        QCOMPARE(colorAt(picture, {201, 21}), capColor); // a rounded corner
    }

    void keyColorGlowsOverItsKeyOnly()
    {
        useKeyboardPicture();
        const KeyboardLayout layout =
            board({400, 100}, {keyRecord(3, {100, 10, 40, 60}), keyRecord(4, {200, 10, 40, 60})});
        const auto view = viewOf(layout, {800, 200}); // 200, 20, 80 x 120; inner to 277, 137
        view->setMode(KeyboardViewMode::KeyColors);
        QCOMPARE(pictureOf(*view), plainPicture(*view)); // no entry, nothing drawn

        view->setKeyColor(3, QColor(20, 60, 240, 7)); // brings no alpha of its own
        const QColor glow(20, 60, 240, 112);
        const QImage picture = pictureOf(*view);
        for (const QPoint& probe : {QPoint(239, 79), QPoint(239, 120), QPoint(270, 79)})
            QVERIFY(largestDifference(colorAt(picture, probe),
                                      glowAt(probe, {239.5, 79.5}, 117 * 0.8, glow)) <= 2);
        QCOMPARE(picture, pictureWithGlow(*view, {QPoint(201, 21), QPoint(277, 137)}, glow,
                                          117 * 0.8, 10.0));

        view->setKeyColor(3, {});
        QCOMPARE(pictureOf(*view), plainPicture(*view));
    }

    void captionStandsInAFramedBox_data()
    {
        QTest::addColumn<QSize>("viewSize");
        QTest::addColumn<QRect>("inner");
        QTest::addColumn<double>("corner");
        QTest::addColumn<int>("pointSize");
        QTest::newRow("twice") << QSize(800, 200) << QRect(QPoint(201, 21), QPoint(317, 97)) << 10.0
                               << 14;
        QTest::newRow("one and a half: 10.5 points")
            << QSize(600, 150) << QRect(QPoint(151, 16), QPoint(237, 72)) << 7.5 << 11;
        QTest::newRow("half: 3.5 points")
            << QSize(200, 50) << QRect(QPoint(51, 6), QPoint(77, 22)) << 2.5 << 6;
        QTest::newRow("four times")
            << QSize(1600, 400) << QRect(QPoint(401, 41), QPoint(637, 197)) << 20.0 << 28;
    }

    void captionStandsInAFramedBox()
    {
        QFETCH(QSize, viewSize);
        QFETCH(QRect, inner);
        QFETCH(double, corner);
        QFETCH(int, pointSize);
        useKeyboardPicture();
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 60, 40})});
        const auto view = viewOf(layout, viewSize);
        view->setFont(QFont(QStringLiteral("DejaVu Serif"), 30, QFont::Light));
        view->setMode(KeyboardViewMode::Captions);
        QCOMPARE(pictureOf(*view), plainPicture(*view)); // no caption, nothing drawn

        view->setCaption(3, QStringLiteral("Ab"));
        const QImage expected = paintedPicture(viewSize, capColor, [&](QPainter& painter) {
            painter.setPen(QPen(frameColor, 1.5));
            painter.setBrush(captionFill);
            painter.drawRoundedRect(inner, corner, corner);
            painter.setFont(QFont(QStringLiteral("DejaVu Serif"), pointSize, QFont::DemiBold));
            painter.setPen(captionColor);
            painter.drawText(inner.adjusted(2, 1, -2, -1), Qt::AlignCenter | Qt::TextWordWrap,
                             QStringLiteral("Ab"));
        });
        QCOMPARE(largestDifference(pictureOf(*view), expected), 0);
    }

    void captionBoxHasItsColors()
    {
        useKeyboardPicture();
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 60, 40})});
        const auto view = viewOf(layout, {800, 200});
        view->setMode(KeyboardViewMode::Captions);
        view->setCaption(3, QStringLiteral("I"));
        const QImage picture = pictureOf(*view);
        QVERIFY(largestDifference(colorAt(picture, {225, 30}), laidOver(capColor, captionFill)) <=
                1);
        const QColor onFrame = colorAt(picture, {200, 59}); // mostly pen
        QVERIFY(onFrame.red() > 215 && onFrame.blue() < 100);
        QVERIFY(!areaWhere(picture, isCaptionColor).isEmpty());
        QCOMPARE(colorAt(picture, {319, 59}), capColor);

        view->setCaption(3, {});
        QCOMPARE(pictureOf(*view), plainPicture(*view));
    }

    void shortCaptionStandsInTheMiddle()
    {
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 60, 40})});
        const auto view = viewOf(layout, {800, 200});
        view->setMode(KeyboardViewMode::Captions);
        view->setCaption(3, QStringLiteral("H"));
        const QRect text = areaWhere(pictureOf(*view), isCaptionColor);
        QVERIFY(std::abs(text.center().x() - 259) <= 2);
        QVERIFY(std::abs(text.center().y() - 59) <= 4);
    }

    void combinationBreaksBehindItsPlus()
    {
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 41, 41})});
        const auto view = viewOf(layout, {800, 200});
        view->setMode(KeyboardViewMode::Captions);
        view->setCaption(3, QStringLiteral("Shift+Home"));
        const QImage combination = pictureOf(*view);
        view->setCaption(3, QStringLiteral("Shift+ Home"));
        QCOMPARE(combination, pictureOf(*view));
    }

    void combinationKeepsItsBreaksInANarrowBox()
    {
        const QString shift = QStringLiteral("Shift+");
        const QString third = QStringLiteral("%1 %2 %3").arg(QStringLiteral("Ctrl+"), shift);
        for (const int width : {400, 500, 560}) {
            const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 41, 41})});
            const auto view = viewOf(layout, {width, width / 4});
            useOpenSans(*view);
            view->setMode(KeyboardViewMode::Captions);
            view->setCaption(3, QStringLiteral("Ctrl+Shift+Alt"));
            const QImage combination = pictureOf(*view);
            view->setCaption(3, third.arg(QStringLiteral("Alt")));
            QCOMPARE(combination, pictureOf(*view)); // three whole lines
            view->setCaption(3, third.arg(QStringLiteral("Al")));
            QVERIFY(combination != pictureOf(*view));
        }
    }

    void longWordIsSetNarrowerBeforeItIsCut()
    {
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 60, 40})});
        const auto view = viewOf(layout, {800, 200});
        useOpenSans(*view);
        view->setMode(KeyboardViewMode::Captions);
        const auto showsAll = [&](int letters) { // the last letter counts
            view->setCaption(3, QString(letters - 1, u'm') + u'e');
            const QImage one = pictureOf(*view);
            view->setCaption(3, QString(letters - 1, u'm') + u'o');
            return one != pictureOf(*view);
        };
        QFont font(QStringLiteral("Open Sans"), captionFontSize(2.0), QFont::DemiBold);
        const double letter = QFontMetricsF(font).horizontalAdvance(QString(10, u'm')) / 10;
        const double room = 113.0; // from L + 3 to R - 5
        const int plain = static_cast<int>(room / letter);
        const int narrow = static_cast<int>(room / letter / 0.75);
        QVERIFY(narrow > plain);
        QVERIFY(showsAll(plain) && showsAll(narrow));
        QVERIFY(!showsAll(narrow + 3));
        // In one line, as high as ever.
        view->setCaption(3, QString(plain, u'm'));
        const QRect wide = areaWhere(pictureOf(*view), isCaptionColor);
        view->setCaption(3, QString(narrow, u'm'));
        const QRect narrowed = areaWhere(pictureOf(*view), isCaptionColor);
        QVERIFY(std::abs(narrowed.height() - wide.height()) <= 1);
        QVERIFY(narrowed.width() <= 113);
    }

    void twoLinesLeaveTheLegendFree_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : {1.0, 1.1, 1.25, 1.39, 1.5, 2.0, 2.5})
            QTest::addRow("%.2f", scale) << scale;
    }

    // The legends end 10 units below the upper edge of the key; some cap is seen below them.
    void twoLinesLeaveTheLegendFree()
    {
        QFETCH(double, scale);
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 41, 41})});
        const auto view = viewOf(layout, QSizeF(400 * scale, 100 * scale).toSize());
        useOpenSans(*view);
        view->setMode(KeyboardViewMode::Captions);
        view->setCaption(3, QStringLiteral("Build Build")); // capitals and tall letters
        QImage picture = pictureOf(*view);
        const qreal ratio = picture.devicePixelRatio();
        picture.setDevicePixelRatio(1); // counted in pixels, as a unit is too coarse
        const QRect text = areaWhere(picture, isCaptionColor);
        QVERIFY(text.height() / ratio > 10 * scale); // two lines
        const double above = text.top() / ratio - view->hitRectangle(layout.keys.first()).top();
        QVERIFY2(above >= 10.4 * scale - 0.01, qPrintable(QString::number(above / scale)));
    }

    void captionsStayInsideTheirBox_data()
    {
        QTest::addColumn<QString>("caption");
        QTest::newRow("combination") << QStringLiteral("Ctrl+Shift+Print Screen");
        QTest::newRow("all modifiers")
            << QStringLiteral("Ctrl+Shift+Alt+Win+R-Ctrl+R-Shift+R-Alt+R-Win+Scroll Lock");
        QTest::newRow("60 letters") << QString(60, u'W');
        QTest::newRow("60 letters in words") << QStringLiteral("every morning ").repeated(5);
        QTest::newRow("Arabic") << QStringLiteral("لوحة المفاتيح اختصار طويل جدا للماكرو");
        QTest::newRow("emoji") << QStringLiteral(
            "🎹🚀👩‍👩‍👧‍👦🏳️‍🌈 go 🎹🚀🎹🚀🎹🚀🎹");
        QTest::newRow("lines") << QStringLiteral("a\nb\nc\nd\ne\nf\ng\nh\ni");
        QTest::newRow("tabs") << QStringLiteral("a\tb\tc\td");
        QTest::newRow("marks") << QStringLiteral("Z") + QString(200, QChar(0x0301));
        QTest::newRow("lone surrogate") << QString(QChar(0xD83C)) + QStringLiteral("x");
        QTest::newRow("ten thousand letters") << QString(10'000, u'x');
        QTest::newRow("only pluses") << QString(100, u'+');
    }

    void captionsStayInsideTheirBox()
    {
        QFETCH(QString, caption);
        useKeyboardPicture();
        const KeyboardLayout layout =
            board({400, 100}, {keyRecord(3, {100, 20, 41, 41}), keyRecord(4, {200, 20, 41, 41})});
        const auto view = viewOf(layout, {800, 200});
        view->setMode(KeyboardViewMode::Captions);
        for (const QSize& size : {QSize(400, 100), QSize(800, 200), QSize(150, 40)}) {
            view->resize(size);
            view->setCaption(3, QStringLiteral(" ")); // a box without a text
            const QImage box = pictureOf(*view);
            const QRect hit = view->hitRectangle(layout.keys.first());
            view->setCaption(3, caption);
            const QRect changed = changedArea(box, pictureOf(*view));
            QVERIFY(!changed.isEmpty());
            // From 3 and 2 inside the left and upper edge to 5 and 4 inside the right and lower.
            const QRect textArea(
                hit.topLeft() + QPoint(3, 2),
                QPoint(hit.left() + hit.width() - 5, hit.top() + hit.height() - 4));
            QVERIFY(textArea.contains(changed));
        }
    }

    void toolTipIsThatOfTheKey()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        view->setKeyToolTip([](int lightIndex) {
            return lightIndex == 1 ? QStringLiteral("the second") : QString();
        });
        showToolTip(*view, {40, 10});
        QCOMPARE(QToolTip::text(), QStringLiteral("the second"));
        showToolTip(*view, {10, 10}); // a key with nothing to tell
        QTRY_VERIFY(!QToolTip::isVisible());
    }

    void wordsThatFindNoLineShowThatTheyAreMissing()
    {
        // With room for one line.
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 60, 12})});
        const auto view = viewOf(layout, {800, 200});
        useOpenSans(*view);
        view->setMode(KeyboardViewMode::Captions);
        const auto shownWidth = [&](const char* caption) {
            view->setCaption(3, QLatin1String(caption));
            return areaWhere(pictureOf(*view), isCaptionColor).width();
        };
        const int alone = shownWidth("mmmm");
        QVERIFY(alone > 40);
        QVERIFY(shownWidth("mmmm mmmm mmmm") > alone + 5);
    }

    void longCaptionShowsThatItGoesOn()
    {
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 20, 41, 41})});
        const auto view = viewOf(layout, {400, 100});
        view->setMode(KeyboardViewMode::Captions);
        const QString beginning(60, u'o');
        view->setCaption(3, beginning);
        const QImage sixty = pictureOf(*view);
        view->setCaption(3, beginning + QStringLiteral("WWW"));
        QCOMPARE(pictureOf(*view), sixty); // the end is cut off
        view->setCaption(3, QStringLiteral("W") + beginning);
        QVERIFY(pictureOf(*view) != sixty); // the beginning is not
    }

    void selectedKeyHasAFrameInEveryMode_data()
    {
        QTest::addColumn<KeyboardViewMode>("mode");
        QTest::newRow("rainbow") << KeyboardViewMode::RainbowGlow;
        QTest::newRow("captions") << KeyboardViewMode::Captions;
        QTest::newRow("colors") << KeyboardViewMode::KeyColors;
    }

    void selectedKeyHasAFrameInEveryMode()
    {
        QFETCH(KeyboardViewMode, mode);
        useKeyboardPicture();
        const KeyboardLayout layout =
            board({400, 100}, {keyRecord(3, {100, 10, 60, 40}), keyRecord(4, {200, 10, 60, 40})});
        const auto view = viewOf(layout, {800, 200});
        view->setMode(mode);
        const QImage before = pictureOf(*view);
        press(*view, {250, 50}, Qt::MiddleButton);
        const QImage expected = paintedPicture(view->size(), capColor, [&](QPainter& painter) {
            painter.drawImage(0, 0, before);
            painter.setPen(QPen(frameColor, 2.0));
            painter.drawRoundedRect(QRect(QPoint(201, 21), QPoint(317, 97)), 10.0, 10.0);
        });
        QCOMPARE(largestDifference(pictureOf(*view), expected), 0);
        QCOMPARE(colorAt(pictureOf(*view), {201, 59}), frameColor);
        QCOMPARE(colorAt(pictureOf(*view), {200, 59}), frameColor);
        QCOMPARE(colorAt(pictureOf(*view), {259, 59}), colorAt(before, {259, 59}));

        press(*view, {450, 50}, Qt::MiddleButton);
        QCOMPARE(partOf(pictureOf(*view), {0, 0, 380, 200}), partOf(before, {0, 0, 380, 200}));
        QCOMPARE(colorAt(pictureOf(*view), {401, 59}), frameColor);
    }

    void nothingIsFramedBeforeTheFirstPress()
    {
        const KeyboardLayout layout = board({400, 100}, {keyRecord(-1, {100, 10, 60, 40})});
        const auto view = viewOf(layout, {800, 200});
        view->setMode(KeyboardViewMode::Captions);
        QVERIFY(paintedArea(*view).isEmpty()); // no key is selected, not even one numbered -1
    }

    void eachModeDrawsItsOwnDecorationOnly()
    {
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 10, 60, 40})});
        const auto view = viewOf(layout, {800, 200});
        const QImage rainbow = pictureOf(*view);
        view->setCaption(3, QStringLiteral("A"));
        view->setKeyColor(3, Qt::blue);
        QCOMPARE(pictureOf(*view), rainbow); // the first mode
        view->setMode(KeyboardViewMode::Captions);
        const QImage caption = pictureOf(*view);
        view->setMode(KeyboardViewMode::KeyColors);
        const QImage color = pictureOf(*view);
        QVERIFY(caption != rainbow && color != rainbow && caption != color);
        view->setKeyboardLayout(&layout); // forgets captions and colors
        QVERIFY(paintedArea(*view).isEmpty());
        view->setMode(KeyboardViewMode::Captions);
        QVERIFY(paintedArea(*view).isEmpty());
    }

    void fontSizesKeepTheirLimits()
    {
        QCOMPARE(keyboardBaseFontSize(0.0), 7.0);
        QCOMPARE(keyboardBaseFontSize(0.5), 7.0);
        QCOMPARE(keyboardBaseFontSize(1.0), 8.5);
        QCOMPARE(keyboardBaseFontSize(1.5), 12.75);
        QCOMPARE(keyboardBaseFontSize(1.6), 13.0);
        QCOMPARE(keyboardBaseFontSize(4000.0), 13.0);
        QCOMPARE(captionFontSize(0.0), 6);
        QCOMPARE(captionFontSize(0.9), 6);
        QCOMPARE(captionFontSize(1.0), 7);
        QCOMPARE(captionFontSize(1.5), 11); // 10.5
        QCOMPARE(captionFontSize(2.0), 14);
        QCOMPARE(captionFontSize(1000.0), 7000);
    }

    void anyNumbersAreDrawnAndHit_data()
    {
        QTest::addColumn<QSize>("design");
        QTest::addColumn<QSize>("viewSize");
        const int huge = std::numeric_limits<int>::max();
        for (const QSize& view : {QSize(880, 360), QSize(1, 1), QSize(2000, 3)}) {
            for (const QSize& design : {QSize(800, 300), QSize(1, 1), QSize(huge, huge),
                                        QSize(1, huge), QSize(huge, 1), QSize(-800, 300)})
                QTest::addRow("%d x %d in %d x %d", design.width(), design.height(), view.width(),
                              view.height())
                    << design << view;
        }
    }

    void anyNumbersAreDrawnAndHit()
    {
        QFETCH(QSize, design);
        QFETCH(QSize, viewSize);
        useKeyboardPicture();
        QList<KeyRecord> keys;
        const int huge = std::numeric_limits<int>::max();
        const QList<int> numbers{-huge, -1'000'000, -3, 0, 1, 40, 1'000'000, huge};
        int index = 0;
        for (const int left : numbers) {
            for (const int right : numbers)
                keys += keyRecord(index++ % 144, QRect(QPoint(left, left), QPoint(right, right)));
        }
        const KeyboardLayout layout = board(design, keys);
        const auto view = viewOf(layout, viewSize);
        for (int key = 0; key < 144; ++key) {
            view->setCaption(key, QStringLiteral("Ctrl+Shift+Print Screen"));
            view->setKeyColor(key, Qt::magenta);
        }
        for (const KeyboardViewMode mode :
             {KeyboardViewMode::RainbowGlow, KeyboardViewMode::Captions,
              KeyboardViewMode::KeyColors}) {
            view->setMode(mode);
            std::ignore = pictureOf(*view);
        }
        const int hit = view->keyAt({viewSize.width() / 2, viewSize.height() / 2});
        QVERIFY(hit >= -1 && hit < 144);
        QTest::keyClick(view.get(), Qt::Key_Right);
        QTest::keyClick(view.get(), Qt::Key_Down);
    }

    void aHundredThousandKeysArePainted()
    {
        if (qGuiApp->devicePixelRatio() > 1)
            QSKIP("Takes long and is about numbers, not pixels");
        useKeyboardPicture();
        KeyboardLayout layout = board({800, 300}, {});
        for (int index = 0; index < 100'000; ++index)
            layout.keys += keyRecord(index % 144, {index % 760, index % 260, 41, 41});
        const auto view = viewOf(layout, {880, 360});
        for (int key = 0; key < 144; ++key)
            view->setCaption(key, QStringLiteral("Ctrl+F1"));
        QVERIFY(pictureOf(*view) != plainPicture(*view));
        view->setMode(KeyboardViewMode::Captions);
        QVERIFY(!areaWhere(pictureOf(*view), isCaptionColor).isEmpty());
        QCOMPARE(view->keyAt({879, 1}), -1);
    }

    // The drawing may cut off what lies beyond the view, but nobody may see it.
    void aKeyBeyondTheViewLooksAsIfDrawnWhole_data()
    {
        QTest::addColumn<QSize>("design");
        QTest::addColumn<QRect>("keyRectangle");
        QTest::newRow("right and down") << QSize(400, 100) << QRect(100, 20, 30'000, 20'000);
        QTest::newRow("left and up") << QSize(400, 100) << QRect(-9'000, -8'000, 9'300, 8'080);
        QTest::newRow("tiny board") << QSize(4, 1) << QRect(1, 0, 600, 300);
    }

    void aKeyBeyondTheViewLooksAsIfDrawnWhole()
    {
        QFETCH(QSize, design);
        QFETCH(QRect, keyRectangle);
        useKeyboardPicture();
        const KeyboardLayout layout = board(design, {keyRecord(3, keyRectangle)});
        const auto view = viewOf(layout, {400, 100});
        view->setMode(KeyboardViewMode::KeyColors);
        view->setKeyColor(3, Qt::blue);
        press(*view, {200, 50}, Qt::MiddleButton);
        const QRect hit = view->hitRectangle(layout.keys.first());
        const QRect inner(hit.topLeft() + QPoint(1, 1), hit.size() - QSize(3, 3));
        const double corner = 5 * 400.0 / design.width();
        const QImage glow =
            pictureWithGlow(*view, inner, QColor(0, 0, 255, 112), inner.width() * 0.8, corner);
        const QImage expected = paintedPicture({400, 100}, capColor, [&](QPainter& painter) {
            painter.drawImage(0, 0, glow);
            painter.setPen(QPen(frameColor, 2.0));
            painter.drawRoundedRect(inner, corner, corner);
        });
        QVERIFY(largestDifference(pictureOf(*view), expected) <= 1);
    }

    void tabShowsAMarkOnTheFirstKey()
    {
        const KeyboardLayout layout =
            board({200, 100}, {keyRecord(200, {10, 10, 30, 30}), keyRecord(5, {111, 11, 29, 29})});
        openWindow(layout);
        const QImage before = pictureOf(*shownView);
        QTest::keyClick(fieldBefore, Qt::Key_Tab);
        QTRY_VERIFY(shownView->hasFocus());
        const QRect marked = markArea(before);
        QVERIFY(!marked.isEmpty());
        QVERIFY(
            shownView->hitRectangle(layout.keys.last()).adjusted(-3, -3, 3, 3).contains(marked));
        QCOMPARE(selectedKey(*shownView, layout), -1); // marked, not pressed

        QTest::keyClick(shownView, Qt::Key_Tab);
        QTRY_VERIFY(!shownView->hasFocus());
        QCOMPARE(pictureOf(*shownView), before);
    }

    void arrowsWalkAlongRowsAndColumns()
    {
        const KeyboardLayout layout = grid(3, 3);
        const auto view = viewOf(layout, {360, 360});
        const QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        QTest::keyClick(view.get(), Qt::Key_Right); // the first key
        const QList<std::pair<Qt::Key, int>> walk{
            {Qt::Key_Right, 1}, {Qt::Key_Down, 4}, {Qt::Key_Left, 3}, {Qt::Key_Left, 3},
            {Qt::Key_Up, 0},    {Qt::Key_Up, 0},   {Qt::Key_Down, 3}, {Qt::Key_Down, 6},
            {Qt::Key_Down, 6},  {Qt::Key_Right, 7}};
        QTest::keyClick(view.get(), Qt::Key_Return);
        QCOMPARE(selectedKey(*view, layout), 0);
        for (const auto& [key, expected] : walk) {
            QTest::keyClick(view.get(), key);
            QTest::keyClick(view.get(), Qt::Key_Return);
            QCOMPARE(selectedKey(*view, layout), expected);
        }
        QCOMPARE(activated.size(), walk.size() + 1);
    }

    void arrowsPassOverKeysThatAreNotReported()
    {
        KeyboardLayout layout = grid(3, 1);
        layout.keys[1].lightIndex = 144;
        const auto view = viewOf(layout, {360, 120});
        press(*view, {10, 10});
        QTest::keyClick(view.get(), Qt::Key_Right);
        QTest::keyClick(view.get(), Qt::Key_Space);
        QCOMPARE(selectedKey(*view, layout), 2);
    }

    void enteringKeysPressTheMarkedKey_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("return") << Qt::Key_Return;
        QTest::newRow("enter") << Qt::Key_Enter;
        QTest::newRow("space") << Qt::Key_Space;
    }

    void enteringKeysPressTheMarkedKey()
    {
        QFETCH(Qt::Key, key);
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {360, 120});
        QSignalSpy activated(view.get(), &KeyboardView::slotActivated);
        QTest::keyClick(view.get(), key); // nothing is marked yet
        QCOMPARE(activated.size(), 0);
        press(*view, {40 * 4, 10}, Qt::MiddleButton);
        QTest::keyClick(view.get(), Qt::Key_Right);
        QTest::keyClick(view.get(), key);
        QCOMPARE(activated.size(), 1);
        QCOMPARE(activated.first().first().toInt(), 2);
        QCOMPARE(selectedKey(*view, layout), 2);
    }

    void menuKeyAsksForTheMenuOfTheMarkedKey()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        QSignalSpy menu(view.get(), &KeyboardView::slotContextMenu);
        sendContextMenu(*view, QContextMenuEvent::Keyboard);
        QCOMPARE(menu.size(), 0);
        press(*view, {40, 10}, Qt::MiddleButton);
        QTest::keyClick(view.get(), Qt::Key_Right);
        sendContextMenu(*view, QContextMenuEvent::Keyboard);
        QCOMPARE(menu.size(), 1);
        QCOMPARE(menu.first().at(0).toInt(), 2);
        QCOMPARE(menu.first().at(1).toPoint(),
                 view->mapToGlobal(view->hitRectangle(layout.keys.last()).center()));
        QCOMPARE(selectedKey(*view, layout), 2);
        sendContextMenu(*view, QContextMenuEvent::Mouse); // the press has asked already
        QCOMPARE(menu.size(), 1);
    }

    void otherKeysGoOnToTheParent()
    {
        const KeyboardLayout layout = grid(3, 1);
        const auto view = viewOf(layout, {90, 30});
        QKeyEvent other(QEvent::KeyPress, Qt::Key_F5, Qt::NoModifier);
        other.accept();
        QCoreApplication::sendEvent(view.get(), &other);
        QVERIFY(!other.isAccepted());
        QKeyEvent arrow(QEvent::KeyPress, Qt::Key_Left, Qt::NoModifier);
        QCoreApplication::sendEvent(view.get(), &arrow);
        QVERIFY(arrow.isAccepted());
    }

    void anyPressTakesTheMarkAwayAtOnce_data()
    {
        QTest::addColumn<QPointF>("position");
        QTest::newRow("on the key") << QPointF(120, 20);
        QTest::newRow("between keys") << QPointF(190, 90);
    }

    void anyPressTakesTheMarkAwayAtOnce()
    {
        QFETCH(QPointF, position);
        const KeyboardLayout layout = board({200, 100}, {keyRecord(5, {110, 10, 30, 30})});
        openWindow(layout);
        press(*shownView, {120, 20}, Qt::MiddleButton);
        const QImage withoutMark = pictureOf(*shownView);
        shownView->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(shownView->hasFocus());
        QVERIFY(pictureOf(*shownView) != withoutMark);
        PaintRecord paints(*shownView);
        press(*shownView, position, Qt::MiddleButton);
        QVERIFY(!paints.taken().isEmpty());
        QCOMPARE(pictureOf(*shownView), withoutMark);
    }

    void aMenuOrDialogGivesTheMarkBack()
    {
        const KeyboardLayout layout = board({200, 100}, {keyRecord(5, {110, 10, 30, 30})});
        openWindow(layout);
        const QImage plain = pictureOf(*shownView);
        shownView->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(shownView->hasFocus());
        const QImage marked = pictureOf(*shownView);
        QVERIFY(marked != plain);
        for (const Qt::FocusReason reason : {Qt::PopupFocusReason, Qt::ActiveWindowFocusReason}) {
            QFocusEvent out(QEvent::FocusOut, reason);
            QCoreApplication::sendEvent(shownView, &out);
            QCOMPARE(pictureOf(*shownView), marked);
            QFocusEvent in(QEvent::FocusIn, reason);
            QCoreApplication::sendEvent(shownView, &in);
            QCOMPARE(pictureOf(*shownView), marked);
        }
        QFocusEvent out(QEvent::FocusOut, Qt::MouseFocusReason);
        QCoreApplication::sendEvent(shownView, &out);
        QCOMPARE(pictureOf(*shownView), plain);
    }

    void anEmptyCaptionIsNone()
    {
        useKeyboardPicture();
        const KeyboardLayout layout = board({400, 100}, {keyRecord(3, {100, 20, 41, 41})});
        const auto view = viewOf(layout, {400, 100});
        view->setMode(KeyboardViewMode::Captions);
        const QImage plain = pictureOf(*view);
        view->setCaption(3, QStringLiteral("A"));
        QVERIFY(pictureOf(*view) != plain);
        view->setCaption(3, QString());
        QCOMPARE(pictureOf(*view), plain);
    }

    void arrowKeysCopeWithHostileRectangles()
    {
        constexpr int most = std::numeric_limits<int>::max();
        QRect hostile;
        hostile.setCoords(-most, -most, most, most);
        const KeyboardLayout layout =
            board({200, 100}, {keyRecord(5, {110, 10, 30, 30}), keyRecord(6, hostile)});
        openWindow(layout);
        shownView->setFocus(Qt::TabFocusReason);
        for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Left, Qt::Key_Up, Qt::Key_Down})
            QTest::keyClick(shownView, key);
        QSignalSpy activated(shownView, &KeyboardView::slotActivated);
        QTest::keyClick(shownView, Qt::Key_Return);
        QCOMPARE(activated.size(), 1);
    }

private:
    QString skinPath(const QString& name) const
    {
        return directory->filePath("resources/official-skin/" + name);
    }

    void useKeyboardPicture(const QImage& picture) const
    {
        QVERIFY(picture.save(skinPath("img_keyboard_brix9.png")));
    }

    void useKeyboardPicture() const
    {
        QImage plain(40, 20, QImage::Format_ARGB32);
        plain.fill(capColor);
        useKeyboardPicture(plain);
    }

    static QImage colorfulPicture(QSize size)
    {
        QImage picture(size, QImage::Format_RGB32);
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x)
                picture.setPixelColor(x, y, QColor(x * 4, y * 6, 255 - x * 2));
        }
        return picture;
    }

    static std::unique_ptr<KeyboardView> shownViewOf(const KeyboardLayout& layout, QSize size)
    {
        auto view = viewOf(layout, size);
        view->show();
        view->activateWindow();
        if (!QTest::qWaitForWindowActive(view.get()))
            qFatal("The view does not become active");
        return view;
    }

    static std::unique_ptr<KeyboardView> viewOf(const KeyboardLayout& layout, QSize size)
    {
        auto view = std::make_unique<KeyboardView>();
        view->setMinimumSize(0, 0);
        view->resize(size);
        view->setKeyboardLayout(&layout);
        return view;
    }

    static QRect paintedArea(QWidget& view)
    {
        return areaWhere(pictureOf(view), [](const QColor& pixel) { return pixel.alpha() > 0; });
    }

    // The plain keyboard picture, where it fills the whole view.
    static QImage plainPicture(QWidget& view)
    {
        KeyboardView bare;
        bare.setMinimumSize(0, 0);
        bare.resize(view.size());
        const KeyboardLayout empty = board({800, 300}, {});
        const KeyboardLayout fitting = board(view.size(), {});
        bare.setKeyboardLayout(view.width() * 3 == view.height() * 8 ? &empty : &fitting);
        return pictureOf(bare);
    }

    static QImage pictureWithGlow(QWidget& view, const QRect& inner, const QColor& color,
                                  double radius, double corner)
    {
        const QImage plain = plainPicture(view);
        return paintedPicture(view.size(), Qt::transparent, [&](QPainter& painter) {
            painter.drawImage(0, 0, plain);
            QRadialGradient gradient(inner.left() + inner.width() / 2.0,
                                     inner.top() + inner.height() / 2.0, radius);
            QColor edge = color;
            edge.setAlpha(0);
            gradient.setColorAt(0, color);
            gradient.setColorAt(1, edge);
            painter.setPen(Qt::NoPen);
            painter.setBrush(gradient);
            painter.drawRoundedRect(inner, corner, corner);
        });
    }

    // The glow in the middle of a pixel, over a cap.
    static QColor glowAt(QPoint pixel, QPointF center, double radius, QColor color)
    {
        const QPointF step = QPointF(pixel) + QPointF(0.5, 0.5) - center;
        color.setAlphaF(float(color.alphaF() * (1 - std::hypot(step.x(), step.y()) / radius)));
        return laidOver(capColor, color);
    }

    static void useOpenSans(QWidget& view) { view.setFont(QFont(QStringLiteral("Open Sans"))); }

    static bool isCaptionColor(const QColor& pixel)
    {
        return largestDifference(pixel, captionColor) <= 60;
    }

    static void press(QWidget& view, QPointF position, Qt::MouseButton button = Qt::LeftButton,
                      QEvent::Type type = QEvent::MouseButtonPress)
    {
        const QPointF global = position + QPointF(1000.5, 2000.6);
        QMouseEvent event(type, position, global, button, button, {});
        QCoreApplication::sendEvent(&view, &event);
    }

    static void release(QWidget& view, QPointF position)
    {
        QMouseEvent event(QEvent::MouseButtonRelease, position, position, Qt::LeftButton, {}, {});
        QCoreApplication::sendEvent(&view, &event);
    }

    static void move(QWidget& view, QPointF position)
    {
        QMouseEvent event(QEvent::MouseMove, position, position, Qt::NoButton, {}, {});
        QCoreApplication::sendEvent(&view, &event);
    }

    static void sendContextMenu(QWidget& view, QContextMenuEvent::Reason reason)
    {
        QContextMenuEvent event(reason, QPoint(1, 1), view.mapToGlobal(QPoint(1, 1)));
        QCoreApplication::sendEvent(&view, &event);
    }

    static void showToolTip(QWidget& view, QPoint position)
    {
        QHelpEvent event(QEvent::ToolTip, position, view.mapToGlobal(position));
        QCoreApplication::sendEvent(&view, &event);
    }

    // The key that stands in the frame of the selection; -1 when none does.
    static int selectedKey(QWidget& view, const KeyboardLayout& layout)
    {
        const KeyboardGeometry geometry(&layout, view.size());
        const QImage picture = pictureOf(view);
        for (const KeyRecord& key : layout.keys) {
            const QRect inner = geometry.innerRectangle(key);
            const QPoint left(inner.left(), inner.center().y());
            if (view.rect().contains(left) && colorAt(picture, left) == frameColor)
                return key.lightIndex;
        }
        return -1;
    }

    // An active window with a text field before the view and one behind it.
    void openWindow(const KeyboardLayout& layout)
    {
        shownLayout = layout;
        window.reset(new QWidget);
        auto* column = new QVBoxLayout(window.data());
        fieldBefore = new QLineEdit;
        shownView = new KeyboardView;
        shownView->setFixedSize(200, 100);
        shownView->setKeyboardLayout(&shownLayout);
        column->addWidget(fieldBefore);
        column->addWidget(shownView);
        column->addWidget(new QLineEdit);
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.data()));
        fieldBefore->setFocus();
        QTRY_VERIFY(fieldBefore->hasFocus());
    }

    QRect markArea(const QImage& before) const
    {
        return changedArea(before, pictureOf(*shownView));
    }

    QScopedPointer<QTemporaryDir> directory;
    KeyboardLayout shownLayout; // outlives its view
    QScopedPointer<QWidget> window;
    QLineEdit* fieldBefore = nullptr;
    KeyboardView* shownView = nullptr;
};

QTEST_MAIN(KeyboardViewTest)
#include "keyboard_view_test.moc"
