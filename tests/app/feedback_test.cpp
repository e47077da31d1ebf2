// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "device/device.h"
#include "model/edit_history.h"
#include "pages/colors/color_preview.h"
#include "pages/parts/busy_wait.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/lighting_command.h"
#include "tests/app/window_pages.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"
#include "tests/support/named_keys.h"
#include "tests/support/page_view.h"
#include "tests/support/pixel_probe.h"

#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QScreen>
#include <QShortcutEvent>
#include <QSlider>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QToolTip>

#include <memory>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int homePage = 0;
constexpr int keysPage = 1;
constexpr int macrosPage = 2;
constexpr int lightingPage = 3;
constexpr int screenPage = 4;
constexpr int colorsPage = 6;
constexpr int settingsPage = 8;

const QString markText = QStringLiteral("Changed since it was last written");
const QString sleepText = QStringLiteral("1 min");

void postClick(QWidget* widget)
{
    const QPointF center = QRectF(widget->rect()).center();
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
        QCoreApplication::postEvent(
            widget,
            new QMouseEvent(type, center, widget->mapToGlobal(center), Qt::LeftButton,
                            type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                            Qt::NoModifier));
}

void postKey(QWidget* widget, Qt::Key key)
{
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
        QCoreApplication::postEvent(widget, new QKeyEvent(type, key, Qt::NoModifier));
}

// Of the green of a success.
int coloredPixels(const QImage& picture)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor color = picture.pixelColor(x, y);
            count += color.green() > color.red() + 40 ? 1 : 0;
        }
    }
    return count;
}

QString toolTipAt(QWidget& widget, QPoint position)
{
    QHelpEvent event(QEvent::ToolTip, position, widget.mapToGlobal(position));
    QCoreApplication::sendEvent(&widget, &event);
    QString text = QToolTip::text();
    return text.remove(QStringLiteral("<font color=\"#f1f1f1\">"))
        .remove(QStringLiteral("</font>"));
}

} // namespace

// What the window says of what was done, of what is not done yet, and while something is done.
class FeedbackTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { applyApplicationStyle(*qApp); }

    void init()
    {
        AppState& state = AppState::instance();
        state.layerBase.at(indexOf(QStringLiteral("A"))) = {6, 0, 0, 0};
        state.layerFn.at(indexOf(QStringLiteral("S"))) = {3, 0xE2, 0, 0};
        state.macros = {{QStringLiteral("First"), {{0, 4, 0xB0}}}, {QStringLiteral("Second"), {}}};
        state.customRgb.fill(77);
        window = std::make_unique<MainWindow>();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }

    void cleanup()
    {
        bus().setListener({});
        window.reset();
    }

    // Statuses

    void anEditClearsTheStatus_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("send");
        QTest::addColumn<QString>("edit");
        QTest::newRow("layer") << keysPage << "Write layer to keyboard"
                               << "Reset all to default";
        QTest::newRow("macros") << macrosPage << "Write macros to keyboard"
                                << "Delete";
        QTest::newRow("painting sent") << colorsPage << "Send painting to keyboard"
                                       << "Fill all keys";
        QTest::newRow("painting read") << colorsPage << "Read from keyboard"
                                       << "Fill all keys";
    }
    void anEditClearsTheStatus()
    {
        QFETCH(int, page);
        QFETCH(QString, send);
        QFETCH(QString, edit);
        for (const bool succeeds : {true, false}) {
            openPage(page);
            list()->setCurrentRow(0);
            bus().clearFaults();
            if (!succeeds)
                bus().failAt(1, virtual_keyboard::sendError("broken"), 20);
            press(send);
            QCOMPARE(status()->styleSheet(), succeeds ? successStyle : errorStyle);
            press(edit);
            QCOMPARE(status()->text(), QString());
            QCOMPARE(status()->styleSheet(), QString());
            EditHistory::instance().undo();
        }
    }

    void anEditOfTheOtherLayerClearsNothing()
    {
        openPage(keysPage);
        press("Write layer to keyboard");
        press("Fn layer");
        press("Reset all to default");
        QCOMPARE(status()->text(), QStringLiteral("Layer base written."));
    }

    void selectingAMacroClearsTheRequestForOne()
    {
        openPage(macrosPage);
        press("Add action");
        QCOMPARE(status()->styleSheet(), warningStyle);
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {},
                          list()->visualItemRect(list()->item(1)).center());
        QCOMPARE(status()->text(), QString());
        QCOMPARE(status()->styleSheet(), QString());
    }

    void anotherBrightnessClearsTheCustomMode()
    {
        openPage(colorsPage);
        press("Enable custom mode");
        press("Fill all keys");
        QCOMPARE(status()->text(), QStringLiteral("Custom mode enabled."));
        QTest::keyClick(page()->findChild<QSlider*>(), Qt::Key_Left);
        QCOMPARE(status()->text(), QString());
    }

    void tooMuchForTheMacroSpaceTellsWhatToDo()
    {
        AppState::instance().macros.first().actions.fill({1, 4, 0xB0}, 1000);
        openPage(macrosPage);
        press("Write macros to keyboard");
        QCOMPARE(status()->styleSheet(), errorStyle);
        QCOMPARE(toolTipAt(*status(), {2, 2}),
                 QStringLiteral("<qt>Remove some actions or macros, then write again.</qt>"));
        list()->setCurrentRow(0);
        press("Delete");
        QCOMPARE(status()->text(), QString());
        QCOMPARE(status()->toolTip(), QString());
    }

    void noFramesTellsWhatToDo()
    {
        openPage(screenPage);
        press("Send to screen");
        QLabel* label = labelWith(QStringLiteral("no frames"));
        QCOMPARE(toolTipAt(*label, {2, 2}),
                 QStringLiteral("<qt>Import between 1 and 30 frames first.</qt>"));
    }

    void redTellsWhatToDo_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("send");
        QTest::newRow("layer") << keysPage << "Write layer to keyboard";
        QTest::newRow("macros") << macrosPage << "Write macros to keyboard";
        QTest::newRow("custom mode") << colorsPage << "Enable custom mode";
        QTest::newRow("painting") << colorsPage << "Send painting to keyboard";
        QTest::newRow("reading") << colorsPage << "Read from keyboard";
    }
    void redTellsWhatToDo()
    {
        QFETCH(int, page);
        QFETCH(QString, send);
        bus().unplug();
        openPage(page);
        press(send);
        QVERIFY(toolTipAt(*status(), {2, 2})
                    .contains(QStringLiteral("The keyboard was unplugged. "
                                             "Start the program again.")));
    }

    void redOfTheLightingPageTellsWhatToDoBehindItsText()
    {
        bus().failAt(2, virtual_keyboard::answerStatus(3));
        page()->findChild<QSlider*>()->setValue(0);
        QLabel* label = page()->findChild<QLabel*>(QStringLiteral("lightingStatus"));
        QTRY_VERIFY(label->isVisible());
        QVERIFY(toolTipAt(*label, {2, 2})
                    .startsWith(QStringLiteral("<qt>Command 13 rejected (status 03)<br>The "
                                               "keyboard is there and may be used.")));
    }

    // Marks

    void whatIsNotWrittenIsMarked_data() { addWritingRows(); }
    void whatIsNotWrittenIsMarked()
    {
        QFETCH(int, page);
        QFETCH(QString, send);
        QFETCH(QString, edit);
        openPage(page);
        list()->setCurrentRow(0);
        QPushButton* button = buttonOf(*this->page(), send);
        const QSize size = button->size();
        QVERIFY(!isMarked(*button));
        press(edit);
        QVERIFY(isMarked(*button));
        QCOMPARE(button->text(), send);
        QCOMPARE(button->size(), size);
        EditHistory::instance().undo();
        QVERIFY(!isMarked(*button));
        EditHistory::instance().redo();
        QVERIFY(isMarked(*button));
        bus().failAt(1, virtual_keyboard::sendError("broken"), 20);
        press(send);
        QVERIFY(isMarked(*button));
        bus().clearFaults();
        press(send);
        QVERIFY(!isMarked(*button));
        EditHistory::instance().undo();
        QVERIFY(isMarked(*button));
        EditHistory::instance().redo();
        QVERIFY(!isMarked(*button));
    }

    void eachLayerHasItsMark()
    {
        openPage(keysPage);
        const QPushButton* button = buttonOf(*page(), QStringLiteral("Write layer to keyboard"));
        press("Reset all to default");
        press("Fn layer");
        QVERIFY(!isMarked(*button));
        press("Reset all to default");
        press("Write layer to keyboard");
        QVERIFY(!isMarked(*button));
        press("Base layer");
        QVERIFY(isMarked(*button));
    }

    void whatWasReadIsNotMarked()
    {
        openPage(colorsPage);
        const QPushButton* button = buttonOf(*page(), QStringLiteral("Send painting to keyboard"));
        press("Fill all keys");
        press("Read from keyboard");
        QVERIFY(!isMarked(*button));
        EditHistory::instance().undo();
        QVERIFY(isMarked(*button));
    }

    void clearedDataAreMarkedEverywhere()
    {
        AppState::instance().replace(QStringLiteral("Reset Keyboard Data"), {});
        for (const int number : {keysPage, macrosPage, colorsPage}) {
            openPage(number);
            QVERIFY(isMarked(*page()->findChild<QPushButton*>(QStringLiteral("accent"))));
        }
    }

    void theMarkIsADotBesideTheText()
    {
        openPage(colorsPage);
        QPushButton* button = buttonOf(*page(), QStringLiteral("Send painting to keyboard"));
        const QImage before = button->grab().toImage();
        press("Fill all keys");
        const QImage after = button->grab().toImage();
        const QRect dot = changedArea(before, after);
        QVERIFY2(dot.width() >= 4 && dot.width() <= 6 && dot.height() >= 4 && dot.height() <= 6,
                 qPrintable(QStringLiteral("%1 x %2").arg(dot.width()).arg(dot.height())));
        QVERIFY(dot.left() > button->width() - 10 && dot.right() < button->width() - 1);
        QVERIFY(dot.top() > 1 && dot.bottom() < 10);
        QVERIFY(largestDifference(after.pixelColor(dot.center()), QColor(Qt::white)) < 8);
    }

    // Waits

    void whileTheKeyboardIsWrittenNothingElseHappens_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("send");
        QTest::newRow("layer") << keysPage << "Write layer to keyboard";
        QTest::newRow("macros") << macrosPage << "Write macros to keyboard";
        QTest::newRow("screen") << screenPage << "Send to screen";
        QTest::newRow("custom mode") << colorsPage << "Enable custom mode";
        QTest::newRow("painting") << colorsPage << "Send painting to keyboard";
        QTest::newRow("reading") << colorsPage << "Read from keyboard";
        QTest::newRow("sleep") << lightingPage << sleepText;
    }
    void whileTheKeyboardIsWrittenNothingElseHappens()
    {
        QFETCH(int, page);
        QFETCH(QString, send);
        EditHistory::instance().edit(StatePart::Macros, QStringLiteral("edit"),
                                     [](SavedState& state) { state.macros.removeLast(); });
        openPage(page);
        importAFrame();
        QWidget* button = sender(send);
        if (page != lightingPage) // a text that must not be on show during the operation
            run(button);
        if (page != lightingPage && page != screenPage)
            QVERIFY(!status()->text().isEmpty());
        const SavedState before = stateInMemory();
        bus().clearTrace();
        run(button);
        const int calls = bus().count("wait 35");
        QVERIFY(calls > 0);
        bus().clearTrace();

        const QWidget* focus = QApplication::focusWidget();
        int looks = 0;
        int waits = 0;
        QStringList texts;
        bus().setListener([&] {
            waits += QApplication::overrideCursor() != nullptr &&
                             QApplication::overrideCursor()->shape() == Qt::WaitCursor
                         ? 1
                         : 0;
            if (page != lightingPage && page != screenPage)
                texts += status()->text();
            if (++looks != 3)
                return;
            disturb(button);
        });
        run(button);
        bus().setListener({});
        QTRY_VERIFY(QApplication::overrideCursor() == nullptr);
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        QVERIFY(looks > 3);
        QCOMPARE(waits, looks);
        texts.removeAll(QString());
        QCOMPARE(texts, QStringList());
        QCOMPARE(bus().count("wait 35"), calls); // a single run
        QCOMPARE(stackOf(*window)->currentIndex(), page);
        QVERIFY(stateInMemory() == before);
        QVERIFY(!BusyWait::isRunning());
        QCOMPARE(QApplication::focusWidget(), focus);

        // And afterwards everything is as it was.
        QTest::mouseClick(sidebarButton(homePage), Qt::LeftButton);
        QCOMPARE(stackOf(*window)->currentIndex(), homePage);
    }

    // The page sends by itself a while after a choice. The next choice may fall into that.
    void whatIsChosenWhileAnEffectIsSentIsSentNext()
    {
        auto* list = page()->findChild<QListWidget*>(QStringLiteral("effectList"));
        bool isTyped = false;
        bool waits = true;
        bus().setListener([&] {
            if (std::exchange(isTyped, true))
                return;
            waits = QApplication::overrideCursor() != nullptr;
            postKey(list, Qt::Key_Down);
            postKey(list, Qt::Key_Down);
        });
        list->setCurrentRow(0);
        QTRY_VERIFY(isTyped);
        QVERIFY(waits);
        QTRY_COMPARE(list->currentRow(), 2);
        const std::uint8_t chosen = lightingEffects.at(2).code;
        QTRY_COMPARE(int{bus().keyboard().state().lighting.at(0)}, int{chosen});
        QVERIFY(QApplication::overrideCursor() == nullptr);
        bus().setListener({});
    }

    // Not only forgotten: what the screen shows while the keyboard is written is without it.
    void theOldTextIsOffTheScreenFirst()
    {
        openPage(keysPage);
        press("Write layer to keyboard");
        QCoreApplication::processEvents();
        const QRect place(status()->mapTo(window.get(), QPoint()), status()->sizeHint());
        const auto shownOnScreen = [this, place] {
            return window->screen()
                ->grabWindow(window->winId(), place.x(), place.y(), place.width(), place.height())
                .toImage();
        };
        const QImage withText = shownOnScreen();
        QVERIFY(!withText.isNull());
        QImage meanwhile;
        bus().setListener([&] {
            if (meanwhile.isNull())
                meanwhile = shownOnScreen();
        });
        press("Write layer to keyboard");
        bus().setListener({});
        QVERIFY(meanwhile != withText);
        QCOMPARE(coloredPixels(meanwhile), 0);
        QVERIFY(coloredPixels(withText) > 20);
    }

    void closingMeanwhileClosesAfterwards()
    {
        openPage(keysPage);
        bool asked = false;
        bool visibleToTheEnd = true;
        bus().setListener([&] {
            if (!std::exchange(asked, true))
                postClick(window->findChild<QToolButton*>(QStringLiteral("windowClose")));
            visibleToTheEnd = visibleToTheEnd && window->isVisible();
        });
        press("Write layer to keyboard");
        QVERIFY(asked && visibleToTheEnd);
        QTRY_VERIFY(!window->isVisible());
        QCOMPARE(busSends().constLast().left(5), QStringLiteral("04 f0"));
    }

    void aSliderIsNotHeldForEver()
    {
        auto* slider = page()->findChild<QSlider*>();
        bool released = false;
        bus().setListener([&] {
            if (std::exchange(released, true))
                return;
            const QPointF place = QRectF(slider->rect()).center();
            QCoreApplication::postEvent(slider,
                                        new QMouseEvent(QEvent::MouseButtonRelease, place,
                                                        slider->mapToGlobal(place), Qt::LeftButton,
                                                        Qt::NoButton, Qt::NoModifier));
        });
        // On its handle, which stands at the right end.
        QTest::mousePress(slider, Qt::LeftButton, {},
                          QPoint(slider->width() - 8, slider->height() / 2));
        slider->setValue(0);
        QVERIFY(slider->isSliderDown());
        QTRY_VERIFY(released);
        QTRY_VERIFY(!slider->isSliderDown());
    }

    void aButtonThatAKeyHoldsIsNotHeldForEver()
    {
        openPage(keysPage);
        QPushButton* held = buttonOf(*page(), QStringLiteral("Base layer"));
        held->setFocus();
        QTest::keyPress(held, Qt::Key_Space);
        QVERIFY(held->isDown());
        bool released = false;
        bus().setListener([&] {
            if (std::exchange(released, true))
                return;
            postKey(held, Qt::Key_A); // which goes with its release
            QCoreApplication::postEvent(
                held, new QKeyEvent(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier));
        });
        buttonOf(*page(), QStringLiteral("Write layer to keyboard"))->click();
        bus().setListener({});
        QVERIFY(released);
        QTRY_VERIFY(!held->isDown());
    }

    // Keys of the keyboard

    void onlyTheKeyboardsThatTakeKeysAreTabStops_data() { addPageRows(); }
    void onlyTheKeyboardsThatTakeKeysAreTabStops()
    {
        QFETCH(int, page);
        openPage(page);
        auto* view = this->page()->findChild<KeyboardView*>();
        if (view == nullptr)
            return;
        window->activateWindow();
        QTRY_VERIFY(window->isActiveWindow());
        bool reached = false;
        for (int step = 0; step < 80; ++step) {
            QTest::keyClick(window.get(), Qt::Key_Tab);
            reached = reached || view->hasFocus();
        }
        QCOMPARE(reached, page == keysPage || page == colorsPage);
        QTest::mouseClick(view, Qt::MiddleButton, {}, view->rect().center());
        QVERIFY(view->hasFocus());
    }

    void captionsFollowTheMacros()
    {
        openPage(keysPage);
        auto* view = page()->findChild<KeyboardView*>();
        const QImage first = pictureOf(*view);
        EditHistory::instance().edit(
            StatePart::Macros, QStringLiteral("edit"),
            [](SavedState& state) { state.macros.first().name = QStringLiteral("Second"); });
        const QImage second = pictureOf(*view);
        QVERIFY(second != first);
        EditHistory::instance().undo();
        QVERIFY(pictureOf(*view) == first);
        openPage(macrosPage);
        list()->setCurrentRow(0);
        press("Delete");
        openPage(keysPage);
        QVERIFY(pictureOf(*view) == second); // the second macro has become the first
    }

    void keysHaveWords()
    {
        openPage(keysPage);
        QCOMPARE(keyToolTip(QStringLiteral("W")),
                 QStringLiteral("Click to assign, right click for a menu"));
        openPage(colorsPage);
        QCOMPARE(keyToolTip(QStringLiteral("W")), QStringLiteral("W  #4d4d4d"));
        press("Fill all keys");
        QCOMPARE(keyToolTip(QStringLiteral("W")), QStringLiteral("W  #ff3c3c"));
        QCOMPARE(page()->findChild<ColorPreview*>()->toolTip(), QStringLiteral("Brush  #ff3c3c"));
    }

    void swatchesHaveWords()
    {
        QStringList words;
        for (const QPushButton* button : page()->findChildren<QPushButton*>()) {
            const QColor color = button->property("swatchColor").value<QColor>();
            if (!color.isValid())
                continue;
            QVERIFY(button->toolTip().endsWith(QStringLiteral("  ") + color.name()));
            words += button->toolTip().section(u' ', 0, 0);
        }
        QCOMPARE(words.size(), 14);
        QCOMPARE(words.first(), QStringLiteral("Red"));
        QVERIFY(!words.contains(QString()));
    }

private:
    // What writes something to the keyboard, and what edits it afterwards.
    static void addWritingRows()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("send");
        QTest::addColumn<QString>("edit");
        QTest::newRow("layer") << keysPage << "Write layer to keyboard"
                               << "Reset all to default";
        QTest::newRow("macros") << macrosPage << "Write macros to keyboard"
                                << "Delete";
        QTest::newRow("painting") << colorsPage << "Send painting to keyboard"
                                  << "Fill all keys";
    }
    QWidget* page() const { return stackOf(*window)->currentWidget(); }
    void openPage(int number) { QTest::mouseClick(sidebarButton(number), Qt::LeftButton); }
    QToolButton* sidebarButton(int number) const
    {
        QList<QToolButton*> buttons =
            window->findChild<QWidget*>(QStringLiteral("sidebar"))->findChildren<QToolButton*>();
        std::ranges::sort(buttons, {}, [](const QToolButton* each) { return each->y(); });
        return buttons.at(number);
    }
    void press(const QString& text) { QTest::mouseClick(buttonOf(*page(), text), Qt::LeftButton); }
    QListWidget* list() const
    {
        return stackOf(*window)->widget(macrosPage)->findChild<QListWidget*>();
    }
    QLabel* status() const
    {
        const QLayout* column = page()->layout();
        return qobject_cast<QLabel*>(column->itemAt(column->count() - 1)->widget());
    }
    QLabel* labelWith(const QString& text) const
    {
        for (QLabel* label : page()->findChildren<QLabel*>()) {
            if (label->text() == text)
                return label;
        }
        qFatal("no label \"%s\"", qPrintable(text));
    }
    QString keyToolTip(const QString& key) const
    {
        auto* view = page()->findChild<KeyboardView*>();
        return toolTipAt(*view, view->hitRectangle(keyNamed(key)).center());
    }
    static bool isMarked(const QPushButton& button)
    {
        return button.toolTip().split(u'\n').contains(markText);
    }

    // What starts the operation.
    QWidget* sender(const QString& send) const
    {
        if (send == sleepText) {
            for (QRadioButton* choice : page()->findChildren<QRadioButton*>()) {
                if (choice->text() == send)
                    return choice;
            }
        }
        return buttonOf(*page(), send);
    }
    // To the end of the operation.
    static void run(QWidget* button)
    {
        QTest::mouseClick(button, Qt::LeftButton, {},
                          QPoint(std::min(10, button->width() / 2), button->height() / 2));
    }
    // All that a user may do while the keyboard is written.
    void disturb(QWidget* button)
    {
        postClick(button);
        postKey(button, Qt::Key_Space);
        postClick(sidebarButton(keysPage));
        postClick(sidebarButton(settingsPage));
        postKey(sidebarButton(homePage), Qt::Key_Space);
        for (QAction* action : window->actions())
            QCoreApplication::postEvent(action, new QShortcutEvent(action->shortcut(), 1));
        // As they come from the display.
        QWindow* handle = window->windowHandle();
        const QPoint place = sidebarButton(colorsPage)->mapTo(window.get(), QPoint(20, 20));
        qt_handleMouseEvent(handle, place, handle->mapToGlobal(place), Qt::LeftButton,
                            Qt::LeftButton, QEvent::MouseButtonPress, Qt::NoModifier, 1);
        qt_handleMouseEvent(handle, place, handle->mapToGlobal(place), Qt::NoButton, Qt::LeftButton,
                            QEvent::MouseButtonRelease, Qt::NoModifier, 2);
        qt_handleKeyEvent(handle, QEvent::KeyPress, Qt::Key_Z, Qt::ControlModifier);
        qt_handleKeyEvent(handle, QEvent::KeyRelease, Qt::Key_Z, Qt::ControlModifier);
        // And what acts as if it were asked at once.
        if (auto* asked = qobject_cast<QAbstractButton*>(button);
            asked != nullptr && !asked->isCheckable())
            asked->click();
    }
    void importAFrame()
    {
        if (stackOf(*window)->currentIndex() != screenPage)
            return;
        const QString path = directory.filePath(QStringLiteral("a.png"));
        QImage picture(4, 4, QImage::Format_RGB32);
        picture.fill(Qt::red);
        writeFile(path, encodeImage(picture, "png"));
        onNextDialog([path](QWidget& dialog) {
            dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
            QMetaObject::invokeMethod(&dialog, "accept");
        });
        press(QStringLiteral("Import GIF / images (resized to 128×128)…"));
    }

    std::unique_ptr<MainWindow> window;
    QTemporaryDir directory;
};

TAVIK_ISOLATED_TEST_MAIN(FeedbackTest)
#include "feedback_test.moc"
