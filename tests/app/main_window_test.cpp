// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "app/skin/skin_files.h"
#include "app/skin/skin_icons.h"
#include "device/device.h"
#include "pages/parts/keyboard_view.h"
#include "tests/app/window_pages.h"
#include "tests/support/accessible_view.h"
#include "tests/support/bus_view.h"
#include "tests/support/files.h"
#include "tests/support/isolated_main.h"
#include "tests/support/named_keys.h"
#include "tests/support/pixel_probe.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QTest>
#include <QToolButton>
#include <QtEndian>

#include <algorithm>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;

namespace {

struct Entry
{
    const char* title;
    const char* pageClass;
};

const QList<Entry> entries{
    {"Home", "QWidget"},
    {"Keys", "tavik::KeymapWidget"},
    {"Macros", "tavik::MacroWidget"},
    {"Light Effect Mode", "tavik::LightingWidget"},
    {"TFT Screen", "tavik::ScreenWidget"},
    {"Favorites", "QWidget"},
    {"Custom Lighting", "tavik::RgbWidget"},
    {"Music", "QWidget"},
    {"Keyboard Settings", "tavik::SettingsWidget"},
};

QList<QToolButton*> sidebarButtons(const QWidget& window)
{
    QList<QToolButton*> buttons =
        window.findChild<QWidget*>("sidebar")->findChildren<QToolButton*>();
    std::sort(buttons.begin(), buttons.end(),
              [](const QWidget* a, const QWidget* b) { return a->y() < b->y(); });
    return buttons;
}

QString titleOf(const QWidget& window)
{
    return window.findChild<QLabel*>("pageTitle")->text();
}

QWidget* titleBarOf(const QWidget& window)
{
    return window.findChild<QWidget*>("titleBar");
}

// The picture brings itself along at this size, with the pixels that scaling it would give.
void checkReadyMade(const QString& name, SkinPicture::Scaling scaling, QSize size)
{
    const QString path = resolveSkinFile(name);
    const auto number = [](int value) {
        const quint32 bytes = qToBigEndian(static_cast<quint32>(value));
        return QByteArray(reinterpret_cast<const char*>(&bytes), sizeof bytes);
    };
    const QByteArray start = SkinPicture::preparedChunk(scaling) +
                             QByteArray::fromHex("89504e470d0a1a0a0000000d") + "IHDR" +
                             number(size.width()) + number(size.height());
    QVERIFY(readFile(path).contains(start));

    const auto pixels = [](const QPixmap& picture) {
        return picture.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    };
    QCOMPARE(pixels(*SkinPicture(name, scaling).scaled(size)),
             pixels(SkinPicture::scaled(QPixmap(path), size, scaling)));
}

// Moves the pointer while a button is held, as a drag does.
void dragTo(QWidget* widget, Qt::MouseButton button, QPoint from, QPoint to)
{
    QTest::mousePress(widget, button, {}, from);
    QMouseEvent move(QEvent::MouseMove, to, widget->mapToGlobal(to), Qt::NoButton, button,
                     Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
    QTest::mouseRelease(widget, button, {}, to);
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        applyApplicationStyle(*qApp);
        window = std::make_unique<MainWindow>();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }

    void cleanupTestCase() { window.reset(); }

    void taskListsHaveAnIcon()
    {
        const QPixmap icon = loadSkinPixmap(QStringLiteral("icons/tavik-center.png"));
        QVERIFY(!icon.isNull());
        QCOMPARE(window->windowIcon().pixmap(icon.size()).toImage(), icon.toImage());
    }

    void groundIsReadyMade()
    {
        checkReadyMade("keyboard_bkg.png", SkinPicture::Scaling::Stretched,
                       window->findChild<QWidget*>("workspace")->size());
    }

    void boardOfTheFirstPageIsReadyMade()
    {
        const auto* view = stackOf(*window)->currentWidget()->findChild<KeyboardView*>();
        const QSizeF board =
            KeyboardGeometry(&KeyboardLayout::instance(), view->size()).boardRectangle().size();
        for (const int pixelRatio : {1, 2})
            checkReadyMade("img_keyboard_brix9.png", SkinPicture::Scaling::Averaged,
                           (board * pixelRatio).toSize());
    }

    void windowIsFramelessAndSized()
    {
        QCOMPARE(window->windowTitle(), QStringLiteral("ZEROLT TAVIK Pro"));
        QVERIFY(window->windowFlags().testFlag(Qt::FramelessWindowHint));
        QCOMPARE(window->size(), QSize(1200, 720));
        window->resize(100, 100);
        QCOMPARE(window->size(), QSize(900, 620));
    }

    void sidebarFollowsItsTable()
    {
        const QList<QToolButton*> buttons = sidebarButtons(*window);
        QCOMPARE(buttons.size(), entries.size());
        QCOMPARE(stackOf(*window)->count(), static_cast<int>(entries.size()));
        for (int index = 0; index < buttons.size(); ++index) {
            const QToolButton* button = buttons.at(index);
            QCOMPARE(button->toolTip(), QLatin1String(entries.at(index).title));
            QCOMPARE(button->objectName(), index == 8 ? "settingsNavButton" : "navButton");
            QCOMPARE(button->size(), QSize(48, 48));
            QCOMPARE(button->iconSize(), QSize(24, 24));
            QVERIFY(!button->icon().isNull());
            QCOMPARE(button->x(), 5);
            QCOMPARE(stackOf(*window)->widget(index)->metaObject()->className(),
                     entries.at(index).pageClass);
        }
        QCOMPARE(buttons.at(0)->y(), 9);
        QWidget* sidebar = window->findChild<QWidget*>("sidebar");
        QCOMPARE(buttons.at(8)->geometry().bottom(), sidebar->height() - 8 - 1);
        QCOMPARE(sidebar->width(), 58);
    }

    void sidebarShowsTheIconsOfTheSkin()
    {
        const auto showsFrame = [](const QIcon& icon, QIcon::State state, const QImage& frame) {
            const QImage shown = icon.pixmap(frame.size(), QIcon::Normal, state).toImage();
            return largestDifference(shown, frame) <= 2; // colors under a soft edge are rounded
        };
        for (const auto& [index, name] :
             {std::pair{0, "tab_home"}, std::pair{1, "tab_customkey"}, std::pair{2, "tab_macro"},
              std::pair{3, "tab_light"}, std::pair{4, "tab_lcd"}, std::pair{6, "tab_customlight"},
              std::pair{8, "tab_config"}}) {
            const QImage strip(resolveSkinFile(QStringLiteral("icons/%1.png").arg(name)));
            const QSize frame = index == 4 ? QSize(32, 22) : QSize(36, 36);
            const QIcon icon = sidebarButtons(*window).at(index)->icon();
            QVERIFY(showsFrame(icon, QIcon::Off, strip.copy({{0, 0}, frame})));
            QVERIFY(showsFrame(icon, QIcon::On, strip.copy({{2 * frame.width(), 0}, frame})));
        }
        for (const auto& [index, name] : {std::pair{5, "favorites"}, std::pair{7, "music"}}) {
            const QImage whole(resolveSkinFile(QStringLiteral("icons/icon_%1.png").arg(name)));
            const QIcon icon = sidebarButtons(*window).at(index)->icon();
            QVERIFY(
                showsFrame(icon, QIcon::Off,
                           whole.scaled(24, 24, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
        }
    }

    void startsOnTheLightingPage()
    {
        for (const QToolButton* button : sidebarButtons(*window))
            QCOMPARE(button->isChecked(), button->toolTip() == "Light Effect Mode");
        QCOMPARE(stackOf(*window)->currentIndex(), 3);
        QVERIFY(stackOf(*window)->currentWidget()->isVisible());
        QCOMPARE(titleOf(*window), QStringLiteral("Light Effect Mode"));
    }

    void firstFocusIsTheChosenEffect()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("effectList"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QVERIFY(!window->isMinimized());
    }

    void titleBarButtonsComeLastInTheTabOrder()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QStringList names;
        for (int step = 0; step < 200 && !names.contains("navButton"); ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            names += QApplication::focusWidget()->objectName();
        }
        QVERIFY(names.size() > 10);
        QCOMPARE(names.last(3), QStringList({"windowMinimize", "windowClose", "navButton"}));
        QCOMPARE(names.count("windowMinimize"), 1);
    }

    void spaceOnTheSidebarGoesIntoThePage_data() { everyPageWithControls(); }
    void spaceOnTheSidebarGoesIntoThePage()
    {
        QFETCH(int, index);
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QToolButton* button = sidebarButtons(*window).at(index);
        button->setFocus(Qt::TabFocusReason);
        QTest::keyClick(button, Qt::Key_Space);
        const QWidget* page = stackOf(*window)->widget(index);
        QTRY_VERIFY(page->isAncestorOf(QApplication::focusWidget()));
        QCOMPARE(stackOf(*window)->currentIndex(), index);

        // It is the first one: going back from there leaves the page.
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        QVERIFY(!page->isAncestorOf(QApplication::focusWidget()));
    }

    void arrowKeysWalkTheSidebarAndShowWhere()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        const auto buttons = sidebarButtons(*window);
        QTest::mouseClick(buttons.at(1), Qt::LeftButton);
        for (const int index : {2, 3}) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
            QCOMPARE(stackOf(*window)->currentIndex(), index);
            QCOMPARE(QApplication::focusWidget(), buttons.at(index));
            const auto* ring = window->findChild<QWidget*>(QStringLiteral("focusRing"));
            QVERIFY(ring->isVisible());
            const QRect place(buttons.at(index)->mapTo(window.get(), QPoint()),
                              buttons.at(index)->size());
            QVERIFY(ring->geometry().contains(place.center()));
        }
    }

    void tabComesToTheChosenOneOfAGroup_data() { everyPageWithControls(); }
    void tabComesToTheChosenOneOfAGroup()
    {
        QFETCH(int, index);
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTest::keyClick(window.get(), static_cast<Qt::Key>(Qt::Key_1 + index), Qt::ControlModifier);
        int groups = 0;
        for (QWidget* stop : tabStops()) {
            const auto* button = qobject_cast<QAbstractButton*>(stop);
            if (button == nullptr || !(button->autoExclusive() || button->group() != nullptr))
                continue;
            QVERIFY2(button->isChecked(), qPrintable(button->accessibleName() + button->text()));
            ++groups;
        }
        // Layers, sleep time and direction besides the sidebar.
        QCOMPARE(groups, index == 3 ? 3 : index == 1 ? 2 : 1);
    }

    void settingsAreWalkedFromTopToBottom()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTest::keyClick(window.get(), Qt::Key_9, Qt::ControlModifier);
        const QWidget* page = stackOf(*window)->currentWidget();
        QStringList names{QApplication::focusWidget()->objectName()};
        for (int step = 0; step < 3; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            names += QApplication::focusWidget()->objectName();
        }
        QVERIFY(page->isAncestorOf(QApplication::focusWidget()));
        QCOMPARE(names, QStringList({"languageSelect", "autoRunOption", "settingsAction",
                                     "settingsAction"}));
    }

    void shortcutsOpenThePages()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        const auto open = [this] { return stackOf(*window)->currentIndex(); };
        for (int page = 0; page < 9; ++page) {
            QTest::keyClick(window.get(), static_cast<Qt::Key>(Qt::Key_1 + page),
                            Qt::ControlModifier);
            QCOMPARE(open(), page);
            QVERIFY(sidebarButtons(*window).at(page)->isChecked());
        }
        QTest::keyClick(window.get(), Qt::Key_PageDown, Qt::ControlModifier);
        QCOMPARE(open(), 0);
        QTest::keyClick(window.get(), Qt::Key_PageUp, Qt::ControlModifier);
        QCOMPARE(open(), 8);
        QTest::keyClick(window.get(), Qt::Key_PageUp, Qt::ControlModifier);
        QCOMPARE(open(), 7);
        QTest::keyClick(window.get(), Qt::Key_2, Qt::ControlModifier);
        QVERIFY(stackOf(*window)->currentWidget()->isAncestorOf(QApplication::focusWidget()));
    }

    void enterOnTheSidebarGoesIntoThePage()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QToolButton* button = sidebarButtons(*window).at(2);
        button->setFocus(Qt::TabFocusReason);
        QTest::keyClick(button, Qt::Key_Return);
        QCOMPARE(stackOf(*window)->currentIndex(), 2);
        QVERIFY(stackOf(*window)->currentWidget()->isAncestorOf(QApplication::focusWidget()));
    }

    void shortcutPressesTheOrangeButton()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        bus().clearTrace();
        QTest::keyClick(window.get(), Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(bus().sends().empty()); // the Lighting page has none
        QTest::keyClick(window.get(), Qt::Key_2, Qt::ControlModifier);
        QTest::keyClick(window.get(), Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(bus().sends().size(), std::size_t{13}); // the base layer
        QVERIFY(bus().sends().at(1).starts_with("04 11"));
    }

    void shortcutThatIsHeldPressesOnce()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTest::keyClick(window.get(), Qt::Key_2, Qt::ControlModifier);
        bus().clearTrace();
        for (const bool repeated : {false, true, true})
            QTest::simulateEvent(window.get(), true, Qt::Key_Return, Qt::ControlModifier, {},
                                 repeated);
        QCOMPARE(bus().sends().size(), std::size_t{13});
    }

    void shortcutClosesTheWindow()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTest::keyClick(window.get(), Qt::Key_Q, Qt::ControlModifier);
        QVERIFY(!window->isVisible());
    }

    // Made from the actions, so that none is forgotten.
    void sheetListsEveryShortcut()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTest::keyClick(window.get(), Qt::Key_F1);
        QWidget* sheet = QApplication::activeModalWidget();
        QVERIFY(sheet != nullptr);
        QStringList texts;
        QWidgetList parts{sheet->findChild<QDialogButtonBox*>()};
        for (QLabel* label : sheet->findChildren<QLabel*>()) {
            texts += label->text();
            parts += label;
        }
        for (const QWidget* part : parts) {
            const auto lies = std::ranges::count_if(parts, [part](const QWidget* other) {
                return other->geometry().intersects(part->geometry());
            });
            QCOMPARE(lies, 1); // over itself alone
        }
        const auto place = [&](const char* text) {
            return std::ranges::find(parts, QLatin1String(text), [](QWidget* part) {
                return part->property("text").toString();
            });
        };
        const QRect name = (*place("Undo"))->geometry();
        const QRect keys = (*place("Ctrl+Z"))->geometry();
        const QLayout* rows = sheet->layout();
        QCOMPARE(rows->contentsMargins(), QMargins(22, 16, 22, 16));
        QCOMPARE(rows->spacing(), 16);
        QCOMPARE(rows->itemAt(0)->layout()->spacing(), 44);
        QCOMPARE(keys.top(), name.top());
        QVERIFY(keys.left() > name.right());
        for (const char* text : {"Everywhere",
                                 "Ctrl+Z",
                                 "Ctrl+Shift+Z, Ctrl+Y",
                                 "Home",
                                 "Ctrl+1",
                                 "Keyboard Settings",
                                 "Ctrl+9",
                                 "Previous page",
                                 "Ctrl+PgUp",
                                 "Next page",
                                 "Ctrl+PgDown",
                                 "Orange button of the page",
                                 "Ctrl+Return, Ctrl+Enter",
                                 "Menu of what has the focus",
                                 "Shift+F10",
                                 "Close",
                                 "Ctrl+Q",
                                 "All shortcuts",
                                 "F1",
                                 "Keys",
                                 "Copy",
                                 "Ctrl+C",
                                 "Paste",
                                 "Ctrl+V",
                                 "Default key",
                                 "Del"})
            QVERIFY2(texts.contains(QLatin1String(text)), text);
        for (const QAction* action : window->findChildren<QAction*>()) {
            if (!action->shortcut().isEmpty() && qobject_cast<QMenu*>(action->parent()) == nullptr)
                QVERIFY2(texts.contains(action->text()), qPrintable(action->text()));
        }
        QTest::keyClick(sheet, Qt::Key_Escape);
        QVERIFY(!sheet->isVisible());
    }

    void emptyPageLeavesTheFocusOnTheSidebar()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QToolButton* button = sidebarButtons(*window).at(5);
        button->setFocus(Qt::TabFocusReason);
        QTest::keyClick(button, Qt::Key_Space);
        QCoreApplication::processEvents();
        QCOMPARE(QApplication::focusWidget(), button);
    }

    void clickOnTheSidebarKeepsTheFocusThere()
    {
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        for (QToolButton* button : sidebarButtons(*window)) {
            QTest::mouseClick(button, Qt::LeftButton);
            QCoreApplication::processEvents();
            QCOMPARE(QApplication::focusWidget(), button);
        }
    }

    void buttonsShowTheirPageAndTitle()
    {
        const QList<QToolButton*> buttons = sidebarButtons(*window);
        for (int index = 0; index < buttons.size(); ++index) {
            QTest::mouseClick(buttons.at(index), Qt::LeftButton);
            QCOMPARE(stackOf(*window)->currentIndex(), index);
            QCOMPARE(titleOf(*window), QLatin1String(entries.at(index).title));
            for (const QToolButton* button : buttons)
                QCOMPARE(button->isChecked(), button == buttons.at(index));
        }
    }

    void emptyPagesShowTheirCenteredTitle_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("text");
        QTest::newRow("favorites") << 5 << "Favorites";
        QTest::newRow("music") << 7 << "Music mode";
    }

    void emptyPagesShowTheirCenteredTitle()
    {
        QFETCH(int, index);
        QFETCH(QString, text);
        QTest::mouseClick(sidebarButtons(*window).at(index), Qt::LeftButton);
        const QWidget* page = stackOf(*window)->widget(index);
        const QList<QLabel*> labels = page->findChildren<QLabel*>();
        QCOMPARE(labels.size(), 1);
        QCOMPARE(labels.at(0)->text(), text);
        QCOMPARE(labels.at(0)->objectName(), QStringLiteral("emptyPageTitle"));
        const QPoint middle = labels.at(0)->geometry().center() - page->rect().center();
        QVERIFY(middle.manhattanLength() <= 2);
        QCOMPARE(labels.at(0)->alignment(), Qt::AlignCenter);
    }

    void everyPageKeepsClearOfTheSidebar()
    {
        for (const QSize size : {QSize(1200, 720), QSize(900, 620)}) {
            window->resize(size);
            const QWidget* sidebar = window->findChild<QWidget*>("sidebar");
            QCOMPARE(sidebar->width(), 58);
            QCOMPARE(stackOf(*window)->x(), 58);
            QCOMPARE(stackOf(*window)->width(), size.width() - 2 - 58);
            QCOMPARE(stackOf(*window)->height(), size.height() - 2 - 48);
        }
    }

    void draggingTheTitleBarMovesTheWindow()
    {
        window->move(50, 60);
        dragTo(titleBarOf(*window), Qt::LeftButton, {400, 20}, {430, 35});
        QCOMPARE(window->frameGeometry().topLeft(), QPoint(80, 75));
    }

    void draggingWithAnotherButtonDoesNot()
    {
        window->move(50, 60);
        for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton}) {
            dragTo(titleBarOf(*window), button, {400, 20}, {430, 35});
            QCOMPARE(window->frameGeometry().topLeft(), QPoint(50, 60));
        }
    }

    void titleLabelPassesTheDragOn()
    {
        window->move(50, 60);
        auto* label = window->findChild<QLabel*>("pageTitle");
        QTest::mousePress(label, Qt::LeftButton, {}, {5, 5});
        const QPoint to(25, 15);
        QMouseEvent move(QEvent::MouseMove,
                         titleBarOf(*window)->mapFromGlobal(label->mapToGlobal(to)),
                         label->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(titleBarOf(*window), &move);
        QCOMPARE(window->frameGeometry().topLeft(), QPoint(70, 70));
    }

    void titleStaysWhateverTheConnectionDoes()
    {
        for (const bool connected : {false, true}) {
            window->setWindowTitle("something else");
            emit Device::instance().connectedChanged(connected);
            QCOMPARE(window->windowTitle(), QStringLiteral("ZEROLT TAVIK Pro"));
        }
    }

    void windowButtonsMinimizeAndClose()
    {
        auto* minimize = window->findChild<QToolButton*>("windowMinimize");
        auto* close = window->findChild<QToolButton*>("windowClose");
        QCOMPARE(minimize->toolTip(), QStringLiteral("Minimize"));
        QCOMPARE(close->toolTip(), QStringLiteral("Close"));
        for (const QToolButton* button : {minimize, close}) {
            QCOMPARE(button->size(), QSize(30, 30));
            QVERIFY(!button->icon().isNull());
        }
        QTest::mouseClick(minimize, Qt::LeftButton);
        QVERIFY(window->isMinimized());
        window->showNormal();
        QTest::mouseClick(close, Qt::LeftButton);
        QVERIFY(!window->isVisible());
    }

    void constructionSendsNothingAndWritesNothing()
    {
        QCOMPARE(bus().sentReports().size(), std::size_t{0});
        QVERIFY(QDir(qEnvironmentVariable("XDG_CONFIG_HOME"))
                    .entryList(QDir::NoDotAndDotDot | QDir::AllEntries)
                    .isEmpty());
    }

    void titleBarAndWorkspaceFillTheShell()
    {
        QCOMPARE(titleBarOf(*window)->geometry(), QRect(1, 1, 1198, 48));
        QCOMPARE(window->findChild<QWidget*>("workspace")->geometry(), QRect(1, 49, 1198, 670));
        // The line under the title bar comes from its style sheet.
        const QImage picture = window->grab().toImage();
        QCOMPARE(picture.pixelColor(600, 48), QColor(0x20, 0x20, 0x20));
        QCOMPARE(picture.pixelColor(600, 0), QColor(0x48, 0x48, 0x48));
        QCOMPARE(picture.pixelColor(600, 5), QColor(0x11, 0x11, 0x11));
    }

    void titleBarHoldsLogoTitleAndButtonsInTheirPlaces()
    {
        const QWidget* bar = titleBarOf(*window);
        const auto* logo = qobject_cast<QLabel*>(bar->childAt(20, 24));
        QVERIFY(logo != nullptr);
        QCOMPARE(logo->geometry(), QRect(7, 10, 62, 28));
        QVERIFY(!logo->pixmap().isNull());
        QVERIFY(logo->pixmap().width() <= 62 && logo->pixmap().height() <= 26);
        const QWidget* title = window->findChild<QWidget*>("pageTitle");
        const QWidget* minimize = window->findChild<QWidget*>("windowMinimize");
        const QWidget* close = window->findChild<QWidget*>("windowClose");
        QVERIFY(logo->geometry().right() < title->x());
        QVERIFY(title->geometry().right() < minimize->x());
        QVERIFY(minimize->geometry().right() < close->x());
        QCOMPARE(close->geometry().right(), bar->width() - 5 - 1);
    }

    void homePageShowsTheKeyboardAndOnlyShowsIt()
    {
        QTest::mouseClick(sidebarButtons(*window).at(0), Qt::LeftButton);
        auto* view = stackOf(*window)->widget(0)->findChild<KeyboardView*>();
        QVERIFY(view != nullptr);
        QCOMPARE(view->minimumSize(), QSize(600, 350));
        QCOMPARE(view->x(), 30);
        QCOMPARE(view->width(), stackOf(*window)->width() - 60);
        const QRect key = view->hitRectangle(keyNamed("Esc"));
        const QImage before = pictureOf(*view);
        QTest::mouseClick(view, Qt::LeftButton, {}, key.center());
        const QRect frame = changedArea(before, pictureOf(*view));
        QVERIFY(!frame.isEmpty() && key.contains(frame));
        QCOMPARE(bus().sentReports().size(), std::size_t{0});
    }

    void everyIconOnlyControlHasAName()
    {
        for (const QToolButton* button : window->findChildren<QToolButton*>()) {
            if (!button->objectName().startsWith("qt_"))
                QVERIFY2(!button->accessibleName().isEmpty(), qPrintable(button->objectName()));
        }
    }

    void sidebarIsAListOfPageTabs()
    {
        auto* sidebar = window->findChild<QWidget*>(QStringLiteral("sidebar"));
        const QAccessibleInterface& tabs = accessible(sidebar);
        QCOMPARE(tabs.role(), QAccessible::PageTabList);
        QCOMPARE(nameOf(tabs), QStringLiteral("Pages"));
        QCOMPARE(tabs.childCount(), 9);
        for (int page = 0; page < tabs.childCount(); ++page) {
            QAccessibleInterface* tab = tabs.child(page);
            QCOMPARE(tab->role(), QAccessible::PageTab);
            QCOMPARE(nameOf(*tab), sidebarButtons(*window).at(page)->toolTip());
            tab->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
            QCOMPARE(stackOf(*window)->currentIndex(), page);
            for (int other = 0; other < tabs.childCount(); ++other) {
                const QAccessible::State state = tabs.child(other)->state();
                QVERIFY(state.selectable);
                QCOMPARE(bool(state.selected), other == page);
                QCOMPARE(bool(state.checked), other == page);
            }
        }
        sidebarButtons(*window).at(0)->setEnabled(false);
        QVERIFY(!tabs.child(0)->actionInterface()->actionNames().contains(
            QAccessibleActionInterface::toggleAction()));
    }

private:
    static void everyPageWithControls()
    {
        QTest::addColumn<int>("index");
        QTest::newRow("Keys") << 1;
        QTest::newRow("Macros") << 2;
        QTest::newRow("Light Effect Mode") << 3;
        QTest::newRow("TFT Screen") << 4;
        QTest::newRow("Custom Lighting") << 6;
        QTest::newRow("Keyboard Settings") << 8;
    }
    // Every stop of Tab in the window, once round.
    static QList<QWidget*> tabStops()
    {
        QList<QWidget*> stops;
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        while (!stops.contains(QApplication::focusWidget()) && stops.size() < 100) {
            stops += QApplication::focusWidget();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        return stops;
    }

    std::unique_ptr<MainWindow> window;
};

TAVIK_ISOLATED_TEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
