// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "model/edit_history.h"
#include "pages/parts/keyboard_view.h"
#include "tests/app/window_pages.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/menu_driver.h"
#include "tests/support/named_keys.h"
#include "tests/support/page_view.h"
#include "tests/support/pixel_probe.h"

#include <QApplication>
#include <QComboBox>
#include <QInputDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>
#include <QToolButton>

#include <memory>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int keysPage = 1;
constexpr int macrosPage = 2;
constexpr int lightingPage = 3;
constexpr int colorsPage = 6;
constexpr int settingsPage = 8;

const QList<QKeyCombination> undoKeys{Qt::CTRL | Qt::Key_Z};
const QList<QKeyCombination> redoKeys{Qt::CTRL | Qt::SHIFT | Qt::Key_Z, Qt::CTRL | Qt::Key_Y};

SavedState startState()
{
    SavedState state;
    state.layerBase.at(indexOf(QStringLiteral("S"))) = {6, 0, 0, 0};
    state.layerBase.at(indexOf(QStringLiteral("D"))) = {3, 0xE2, 0, 0};
    state.layerFn.at(indexOf(QStringLiteral("A"))) = {2, 1, 5, 0};
    state.macros = {{QStringLiteral("First"), {{0, 4, 0xB0}, {10, 4, 0x30}}},
                    {QStringLiteral("Second"), {{65535, 1, 0x90}}},
                    {QStringLiteral("Third"), {}}};
    state.customRgb.fill(77);
    return state;
}

} // namespace

class UndoTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { applyApplicationStyle(*qApp); }

    void init()
    {
        static_cast<SavedState&>(AppState::instance()) = startState();
        AppState::instance().save();
        window = std::make_unique<MainWindow>();
        window->show();
    }

    void cleanup() { window.reset(); }

    void everyKindOfStepIsUndoneAndRedone_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("name");
        QTest::newRow("assigned by the dialog") << keysPage << "Assign A";
        QTest::newRow("assigned by the menu") << keysPage << "Assign Caps Lock";
        QTest::newRow("reset layer") << keysPage << "Reset base layer";
        QTest::newRow("reset Fn layer") << keysPage << "Reset Fn layer";
        QTest::newRow("painted") << colorsPage << "Paint A";
        QTest::newRow("filled") << colorsPage << "Fill all keys";
        QTest::newRow("read") << colorsPage << "Read from keyboard";
        QTest::newRow("new macro") << macrosPage << "New macro";
        QTest::newRow("deleted macro") << macrosPage << "Delete macro";
        QTest::newRow("added action") << macrosPage << "Add action";
        QTest::newRow("removed action") << macrosPage << "Remove action";
        QTest::newRow("cleared") << settingsPage << "Reset Keyboard Data";
    }
    void everyKindOfStepIsUndoneAndRedone()
    {
        QFETCH(int, page);
        QFETCH(QString, name);
        openPage(page);
        if (name == QLatin1String("Reset Fn layer"))
            press("Fn layer");
        const QList<QVariant> before = look();
        make(name);
        QCOMPARE(dialogsStillExpected(), 0);
        const SavedState edited = stateInMemory();
        QVERIFY(edited != startState());
        QVERIFY(stateOnDisk() == edited);
        QCOMPARE(EditHistory::instance().undoText(), name);
        const QList<QVariant> after = look();
        const QStringList wire = busWire();
        const AppState& state = AppState::instance();
        const QSignalSpy layers(&state, &AppState::layersChanged);
        const QSignalSpy macros(&state, &AppState::macrosChanged);
        const QSignalSpy colors(&state, &AppState::rgbChanged);

        for (const QKeyCombination redo : redoKeys) {
            leave(page);
            type(undoKeys.first());
            QCOMPARE(shownPage(), page);
            QCOMPARE(QApplication::focusWidget(), sidebarButton(page));
            QVERIFY(stateInMemory() == startState());
            QVERIFY(stateOnDisk() == startState());
            QVERIFY(look() == before);

            leave(page);
            type(redo);
            QCOMPARE(shownPage(), page);
            QVERIFY(stateInMemory() == edited);
            QVERIFY(stateOnDisk() == edited);
            QVERIFY(look() == after);
        }
        QCOMPARE(busWire(), wire);
        QCOMPARE(layers.count() + macros.count() + colors.count(), 0);
    }

    void manyStepsAreUndoneOneByOne()
    {
        openPage(colorsPage);
        QList<SavedState> states{stateInMemory()};
        for (const KeyRecord& key : KeyboardLayout::instance().keys) {
            clickKey(key.desc, Qt::LeftButton);
            states += stateInMemory();
        }
        press("Fill all keys");
        openPage(keysPage);
        press("Reset all to default");
        QVERIFY(states.size() > 60);
        type(undoKeys.first());
        type(undoKeys.first());
        for (qsizetype step = states.size() - 1; step > 0; --step) {
            QVERIFY(stateInMemory() == states.at(step));
            type(undoKeys.first());
        }
        QVERIFY(stateOnDisk() == startState());
        type(undoKeys.first());
        QVERIFY(stateInMemory() == startState());
    }

    void stepOfEverythingStaysOnAPageThatShowsIt()
    {
        openPage(settingsPage);
        make(QStringLiteral("Reset Keyboard Data"));
        for (const int page : {keysPage, macrosPage, colorsPage}) {
            openPage(page);
            type(undoKeys.first());
            QCOMPARE(shownPage(), page);
            type(redoKeys.first());
            QCOMPARE(shownPage(), page);
        }
    }

    void macroThatComesBackIsSelected()
    {
        openPage(macrosPage);
        list()->setCurrentRow(1);
        press("Delete");
        type(undoKeys.first());
        QCOMPARE(list()->currentRow(), 1);
        QVERIFY(list()->item(1)->isSelected());
        QCOMPARE(table()->rowCount(), 1);
        type(redoKeys.first());
        QCOMPARE(list()->currentRow(), -1);
        QCOMPARE(table()->rowCount(), 0);
        press("Delete");
        QCOMPARE(AppState::instance().macros.size(), 2);
    }

    void actionThatComesBackIsSelected()
    {
        openPage(macrosPage);
        list()->setCurrentRow(0);
        table()->selectRow(0);
        press("Remove action");
        list()->setCurrentRow(2);
        type(undoKeys.first());
        QCOMPARE(list()->currentRow(), 0);
        QCOMPARE(selectedRows(), QList<int>{0});
        type(redoKeys.first());
        QCOMPARE(list()->currentRow(), 0);
        QCOMPARE(selectedRows(), QList<int>());
    }

    void captionsFollowTheNamesOfMacros()
    {
        openPage(keysPage);
        const QList<QVariant> before = look();
        openPage(macrosPage);
        list()->setCurrentRow(0);
        press("Delete");
        type(undoKeys.first());
        openPage(keysPage);
        QVERIFY(look() == before);
        openPage(macrosPage);
        type(redoKeys.first());
        openPage(keysPage);
        QVERIFY(look() != before);
    }

    void layerThatChangedIsShown()
    {
        openPage(keysPage);
        press("Fn layer");
        press("Reset all to default");
        press("Base layer");
        type(undoKeys.first());
        QVERIFY(button("Fn layer")->isChecked());
        QVERIFY(!button("Base layer")->isChecked());
    }

    void statusOfThePageIsCleared_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("edit");
        QTest::addColumn<QString>("send");
        QTest::addColumn<QString>("text");
        QTest::newRow("keys") << keysPage << "Reset all to default"
                              << "Write layer to keyboard"
                              << "Layer base written.";
        QTest::newRow("colors") << colorsPage << "Fill all keys"
                                << "Send painting to keyboard"
                                << "Painting sent.";
        QTest::newRow("macros") << macrosPage << "Delete"
                                << "Write macros to keyboard"
                                << "Macros written (400 bytes).";
    }
    void statusOfThePageIsCleared()
    {
        QFETCH(int, page);
        QFETCH(QString, edit);
        QFETCH(QString, send);
        QFETCH(QString, text);
        AppState::instance().macros.last().actions.clear();
        openPage(page);
        for (const QList<QKeyCombination>& keys : {undoKeys, redoKeys}) {
            if (keys == undoKeys) {
                list()->setCurrentRow(0);
                press(edit);
            }
            press(send);
            QLabel* status = statusLabel();
            QVERIFY(!status->text().isEmpty());
            QCOMPARE(status->styleSheet(), successStyle);
            bus().clearTrace();
            type(keys.first());
            QCOMPARE(status->text(), QString());
            QCOMPARE(status->styleSheet(), QString());
            QCOMPARE(busTrace(), QStringList());
        }
    }

    void statusOfAnotherPageStays()
    {
        openPage(keysPage);
        press("Write layer to keyboard");
        const QLabel* status = statusLabel();
        openPage(colorsPage);
        press("Fill all keys");
        type(undoKeys.first());
        QCOMPARE(status->text(), QStringLiteral("Layer base written."));
    }

    void keysWorkWhateverHasTheFocus_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("widget");
        QTest::newRow("keyboard") << colorsPage << "tavik::KeyboardView";
        QTest::newRow("button") << colorsPage << "QPushButton";
        QTest::newRow("slider") << colorsPage << "QSlider";
        QTest::newRow("list") << macrosPage << "QListWidget";
        QTest::newRow("table") << macrosPage << "QTableWidget";
        QTest::newRow("selector") << macrosPage << "QComboBox";
        QTest::newRow("spin box") << macrosPage << "QSpinBox";
        QTest::newRow("effects") << lightingPage << "QListWidget";
        QTest::newRow("text field") << settingsPage << "QLineEdit";
    }
    void keysWorkWhateverHasTheFocus()
    {
        QFETCH(int, page);
        QFETCH(QString, widget);
        if (widget == QLatin1String("QLineEdit"))
            new QLineEdit(QStringLiteral("a text"), stackOf(*window)->widget(page));
        openPage(colorsPage);
        press("Fill all keys");
        for (const QList<QKeyCombination>& keys : {undoKeys, redoKeys}) {
            for (const QKeyCombination key : keys) {
                EditHistory::instance().setIndex(keys == undoKeys ? 1 : 0);
                const SavedState before = stateInMemory();
                openPage(page);
                focus(widget);
                type(key);
                QVERIFY(stateInMemory() != before);
            }
        }
    }

    void textWithSomethingToUndoComesFirst_data()
    {
        QTest::addColumn<QString>("field");
        QTest::newRow("text field") << "QLineEdit";
        QTest::newRow("spin box") << "QSpinBox";
    }
    void textWithSomethingToUndoComesFirst()
    {
        QFETCH(QString, field);
        openPage(macrosPage);
        new QLineEdit(stackOf(*window)->currentWidget());
        list()->setCurrentRow(0);
        press("Delete");
        const SavedState edited = stateInMemory();
        focus(field);
        QWidget* widget = QApplication::focusWidget();
        auto* text = qobject_cast<QLineEdit*>(widget);
        if (text == nullptr)
            text = widget->findChild<QLineEdit*>();
        const QString before = text->text();
        QTest::keyClick(widget, Qt::Key_1);
        const QString typed = text->text();
        QVERIFY(typed != before);

        type(undoKeys.first());
        QCOMPARE(text->text(), before);
        QVERIFY(stateInMemory() == edited);
        type(undoKeys.first()); // nothing is left to undo in the field
        QVERIFY(stateInMemory() == startState());
        widget->setFocus();
        type(redoKeys.first()); // but something to redo
        QCOMPARE(text->text(), typed);
        QVERIFY(stateInMemory() == startState());
        type(redoKeys.first());
        QVERIFY(stateInMemory() == edited);
    }

    void nothingIsUndoneBehindADialog()
    {
        openPage(colorsPage);
        press("Fill all keys");
        const SavedState edited = stateInMemory();
        openPage(macrosPage);
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            for (QWidget* widget : {&dialog, static_cast<QWidget*>(dialog.findChild<QLineEdit*>())})
                QTest::keyClick(widget, Qt::Key_Z, Qt::ControlModifier);
        });
        press("New macro");
        QCOMPARE(dialogsStillExpected(), 0);
        QVERIFY(stateInMemory() == edited);
    }

    void menusOfKeyboardsAndMacroListsOfferBoth_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("widget");
        QTest::addColumn<bool>("fromKeyboard");
        for (const bool fromKeyboard : {false, true}) {
            const char* by = fromKeyboard ? "key" : "mouse";
            QTest::addRow("keys, %s", by) << keysPage << "tavik::KeyboardView" << fromKeyboard;
            QTest::addRow("colors, %s", by) << colorsPage << "tavik::KeyboardView" << fromKeyboard;
            QTest::addRow("list, %s", by) << macrosPage << "QListWidget" << fromKeyboard;
            QTest::addRow("table, %s", by) << macrosPage << "QTableWidget" << fromKeyboard;
        }
    }
    void menusOfKeyboardsAndMacroListsOfferBoth()
    {
        QFETCH(int, page);
        QFETCH(QString, widget);
        QFETCH(bool, fromKeyboard);
        openPage(colorsPage);
        clickKey(QStringLiteral("A"), Qt::LeftButton);
        press("Fill all keys");
        const SavedState edited = stateInMemory();

        QPointer<QMenu> menu = openMenu(page, widget, fromKeyboard);
        QVERIFY(menu != nullptr);
        QCOMPARE(lastTwo(menu), QStringList({"Undo Fill all keys", "Redo"}));
        QVERIFY(menu->actions().at(menu->actions().size() - 2)->isEnabled());
        QVERIFY(!menu->actions().constLast()->isEnabled());
        QVERIFY(menu->actions().size() > 2);
        chooseInMenu(menu, QStringLiteral("Undo Fill all keys"));
        QVERIFY(stateInMemory() != edited);
        QCOMPARE(shownPage(), colorsPage);
        QTRY_VERIFY(menu.isNull());

        menu = openMenu(page, widget, fromKeyboard);
        QCOMPARE(lastTwo(menu), QStringList({"Undo Paint A", "Redo Fill all keys"}));
        chooseInMenu(menu, QStringLiteral("Redo Fill all keys"));
        QVERIFY(stateInMemory() == edited);
    }

    void rightClickPaintsNothing()
    {
        openPage(colorsPage);
        clickKey(QStringLiteral("A"), Qt::RightButton);
        QVERIFY(stateInMemory() == startState());
        QCOMPARE(EditHistory::instance().count(), 0);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu != nullptr);
        QCOMPARE(lastTwo(menu), QStringList({"Undo", "Redo"}));
        for (const QAction* entry : menu->actions().last(2))
            QVERIFY(!entry->isEnabled());
    }

private:
    QWidget* currentPage() const { return stackOf(*window)->currentWidget(); }
    int shownPage() const
    {
        const int page = stackOf(*window)->currentIndex();
        const QToolButton* checked = nullptr;
        for (const QToolButton* candidate : window->findChildren<QToolButton*>()) {
            if (candidate->isChecked())
                checked = candidate;
        }
        const auto* title = window->findChild<QLabel*>(QStringLiteral("pageTitle"));
        return checked != nullptr && checked->toolTip() == title->text() &&
                       sidebarButton(page) == checked
                   ? page
                   : -1;
    }

    QToolButton* sidebarButton(int page) const
    {
        QList<QToolButton*> buttons =
            window->findChild<QWidget*>(QStringLiteral("sidebar"))->findChildren<QToolButton*>();
        std::ranges::sort(buttons, {}, [](const QToolButton* each) { return each->y(); });
        return buttons.at(page);
    }

    void openPage(int page)
    {
        // Without a window manager nobody does that after a dialog or a menu.
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTest::mouseClick(sidebarButton(page), Qt::LeftButton);
    }

    // To a page that shows nothing of the state, unless the step belongs to none but that.
    void leave(int page)
    {
        if (page == keysPage)
            press("Base layer");
        openPage(lightingPage);
    }

    void type(QKeyCombination keys)
    {
        QWidget* target = QApplication::focusWidget();
        QTest::keyClick(target != nullptr ? target : window.get(), keys.key(),
                        keys.keyboardModifiers());
    }

    QPushButton* button(const QString& text) const { return buttonOf(*currentPage(), text); }
    void press(const QString& text) { QTest::mouseClick(button(text), Qt::LeftButton); }

    KeyboardView* view() const { return currentPage()->findChild<KeyboardView*>(); }
    QPoint centerOf(const QString& key) const
    {
        return view()->hitRectangle(keyNamed(key)).center();
    }
    void clickKey(const QString& key, Qt::MouseButton mouseButton)
    {
        QTest::mouseClick(view(), mouseButton, {}, centerOf(key));
    }

    QListWidget* list() const
    {
        return stackOf(*window)->widget(macrosPage)->findChild<QListWidget*>();
    }
    QTableWidget* table() const { return window->findChild<QTableWidget*>(); }
    QList<int> selectedRows() const
    {
        QList<int> rows;
        for (const QModelIndex& index : table()->selectionModel()->selectedRows())
            rows += index.row();
        return rows;
    }
    QLabel* statusLabel() const
    {
        const QLayout* column = currentPage()->layout();
        return qobject_cast<QLabel*>(column->itemAt(column->count() - 1)->widget());
    }

    // What the page shows of the state, whatever key and row are selected.
    QList<QVariant> look()
    {
        if (shownPage() == macrosPage) {
            QList<QVariant> texts;
            for (int row = 0; row < list()->count(); ++row) {
                list()->setCurrentRow(row);
                texts += list()->item(row)->text();
                for (int cell = 0; cell < 3 * table()->rowCount(); ++cell)
                    texts += table()->item(cell / 3, cell % 3)->text();
            }
            return texts;
        }
        if (shownPage() == settingsPage)
            return {};
        // A text takes room, with or without a color.
        statusLabel()->setText(QStringLiteral("text"));
        QCoreApplication::processEvents();
        QTest::mousePress(view(), Qt::MiddleButton, {}, centerOf(QStringLiteral("Space")));
        return {pictureOf(*view())};
    }

    // Makes the step of this name on the page shown.
    void make(const QString& name)
    {
        if (name == QLatin1String("Assign A")) {
            onNextDialog([](QWidget& dialog) {
                dialog.findChild<QComboBox*>()->setCurrentIndex(4);
                clickButton(dialog, QStringLiteral("OK"));
            });
            clickKey(QStringLiteral("A"), Qt::LeftButton);
        } else if (name == QLatin1String("Assign Caps Lock")) {
            clickKey(QStringLiteral("Caps Lock"), Qt::RightButton);
            chooseInMenu(qobject_cast<QMenu*>(QApplication::activePopupWidget()),
                         QStringLiteral("Disabled"));
        } else if (name.startsWith(QLatin1String("Reset ")) && name.endsWith(u'r')) {
            press("Reset all to default");
        } else if (name == QLatin1String("Paint A")) {
            clickKey(QStringLiteral("A"), Qt::LeftButton);
        } else if (name == QLatin1String("New macro")) {
            onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("OK")); });
            press(name);
        } else if (name == QLatin1String("Reset Keyboard Data")) {
            onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("Yes")); });
            press(name);
        } else {
            list()->setCurrentRow(0);
            table()->selectRow(1);
            press(name == QLatin1String("Delete macro") ? QStringLiteral("Delete") : name);
        }
    }

    void focus(const QString& className)
    {
        for (QWidget* widget : currentPage()->findChildren<QWidget*>()) {
            const bool isInside =
                qobject_cast<QAbstractSpinBox*>(widget->parentWidget()) != nullptr;
            if (widget->inherits(qPrintable(className)) && !isInside) {
                widget->show();
                widget->setFocus();
                QCOMPARE(QApplication::focusWidget(), widget);
                return;
            }
        }
        QFAIL("no such widget");
    }

    QMenu* openMenu(int page, const QString& widget, bool fromKeyboard)
    {
        openPage(page);
        focus(widget);
        QWidget* target = QApplication::focusWidget();
        if (view() != nullptr) {
            QTest::mousePress(target, Qt::MiddleButton, {}, centerOf(QStringLiteral("A")));
            if (!fromKeyboard)
                clickKey(QStringLiteral("A"), Qt::RightButton);
        } else if (!fromKeyboard) {
            QWidget* viewport = qobject_cast<QAbstractScrollArea*>(target)->viewport();
            const QPoint middle = viewport->rect().center();
            QContextMenuEvent event(QContextMenuEvent::Mouse, middle,
                                    viewport->mapToGlobal(middle));
            QApplication::sendEvent(viewport, &event);
        }
        if (fromKeyboard)
            QTest::keyClick(target, Qt::Key_F10, Qt::ShiftModifier);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }

    static QStringList lastTwo(const QMenu* menu)
    {
        QStringList texts;
        for (const QAction* entry : menu->actions().last(2))
            texts += entry->text();
        return texts;
    }

    std::unique_ptr<MainWindow> window;
};

TAVIK_ISOLATED_TEST_MAIN(UndoTest)

#include "undo_test.moc"
