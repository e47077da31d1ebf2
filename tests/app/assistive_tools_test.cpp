// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "device/device.h"
#include "model/app_state.h"
#include "model/edit_history.h"
#include "pages/keys/action_dialog.h"
#include "pages/lighting/palette_wheel.h"
#include "pages/macros/macro_widget.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/status_label.h"
#include "tests/app/window_pages.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"
#include "tests/support/named_keys.h"
#include "tests/support/page_view.h"
#include "tests/support/screen_reader.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QElapsedTimer>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>
#include <QThread>
#include <QToolButton>

#include <algorithm>
#include <memory>

using namespace tavik;
using namespace tavik::tests;

namespace {

enum Page { Keys = 1, Macros = 2, Lighting = 3, Screen = 4, Colors = 6, Settings = 8 };

// What a screen reader is told to say.
QStringList& announced()
{
    static QStringList texts;
    return texts;
}

// Of what else it is told, by name.
QStringList& told()
{
    static QStringList texts;
    return texts;
}

void hear(QAccessibleEvent* event)
{
    const auto tell = [event](const QString& kind) {
        if (const QAccessibleInterface* about = event->accessibleInterface())
            told() += kind + about->text(QAccessible::Name);
    };
    if (event->type() == QAccessible::Focus)
        tell(QStringLiteral("focus "));
    else if (event->type() == QAccessible::ValueChanged)
        tell(QStringLiteral("value "));
    else if (event->type() == QAccessible::DescriptionChanged)
        tell(QStringLiteral("words "));
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    const bool isHeard = event->type() == QAccessible::Announcement;
    if (isHeard)
        announced() += static_cast<QAccessibleAnnouncementEvent*>(event)->message();
#else
    const bool isHeard = event->type() == QAccessible::ObjectShow &&
                         event->accessibleInterface()->role() == QAccessible::Notification;
    if (isHeard)
        announced() += event->accessibleInterface()->text(QAccessible::Name);
#endif
    if (isHeard)
        told() += QStringLiteral("heard ") + announced().last();
}

// As an assistive tool does it: no click, no key.
void act(QAccessibleInterface* on, const QString& action)
{
    QVERIFY2(on->actionInterface()->actionNames().contains(action), qPrintable(action));
    on->actionInterface()->doAction(action);
}

void act(QWidget* widget, const QString& action)
{
    act(QAccessible::queryAccessibleInterface(widget), action);
}

void toggle(QWidget* widget)
{
    act(widget, QAccessibleActionInterface::toggleAction());
}

// By the widget's own ShowMenu.
QPointer<QMenu> openedMenu(QWidget* widget)
{
    act(widget, QAccessibleActionInterface::showMenuAction());
    if (!QTest::qWaitFor([] { return QApplication::activePopupWidget() != nullptr; }))
        qFatal("no menu has opened");
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

// The entry of an open menu.
void press(QMenu* menu, const QString& entry)
{
    QAccessibleInterface* known = QAccessible::queryAccessibleInterface(menu);
    for (int index = 0; index < known->childCount(); ++index) {
        if (known->child(index)->text(QAccessible::Name) == entry)
            return act(known->child(index), QAccessibleActionInterface::pressAction());
    }
    QFAIL(qPrintable(entry));
}

// As above, a row of a list.
void toggleRow(QWidget* list, int row)
{
    QAccessible::queryAccessibleInterface(list)->child(row)->actionInterface()->doAction(
        QAccessibleActionInterface::toggleAction());
}

} // namespace

// The window as those use it who do not see it or do not use a mouse.
class AssistiveToolsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        AppState::instance().macros = {{QStringLiteral("First"), {{0, 4, 0xB0}, {1, 4, 0x30}}},
                                       {QStringLiteral("Second"), {{2, 5, 0xB0}, {3, 5, 0x30}}}};
        applyApplicationStyle(*qApp);
        QVERIFY(Device::instance().ensureOpen());
        window = std::make_unique<MainWindow>();
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        hearAsAScreenReader(hear);
        bus().clearTrace();
    }
    void cleanupTestCase() { window.reset(); }

    void toggledSidebarButtonOpensItsPage()
    {
        const auto buttons = window->findChild<QWidget*>("sidebar")->findChildren<QToolButton*>();
        QCOMPARE(buttons.size(), 9);
        for (int page : {Colors, Keys, Settings, Lighting}) {
            toggle(buttons.at(page));
            QCOMPARE(stackOf(*window)->currentIndex(), page);
            QCOMPARE(window->findChild<QLabel*>("pageTitle")->text(), buttons.at(page)->toolTip());
        }
        QCOMPARE(busTrace(), QStringList());
    }

    void toggledLayerIsTheOneThatIsShown()
    {
        openPage(Keys);
        QPushButton* base = buttonOf(*page(), QStringLiteral("Base layer"));
        QPushButton* fn = buttonOf(*page(), QStringLiteral("Fn layer"));
        const auto shows = [&](const char* name) {
            const bool isFn = QLatin1String(name) == QLatin1String("Fn");
            buttonOf(*page(), QStringLiteral("Write layer to keyboard"))->click();
            return base->isChecked() == !isFn && fn->isChecked() == isFn &&
                   page()->findChild<StatusLabel*>()->text() ==
                       QStringLiteral("Layer %1 written.").arg(QLatin1String(name));
        };
        toggle(fn);
        QVERIFY(shows("Fn"));
        toggle(fn); // the chosen one stays so
        QVERIFY(shows("Fn"));
        toggle(base);
        QVERIFY(shows("base"));
        QTest::mouseClick(base, Qt::LeftButton);
        QVERIFY(shows("base"));
    }

    void toggledSleepTimeIsSentOnce()
    {
        openPage(Lighting);
        const auto choices = page()->findChildren<QRadioButton*>();
        QCOMPARE(choices.size(), 4);
        const auto sent = [] { return busSends().filter(QStringLiteral("04 17")).size(); };
        bus().clearTrace();
        toggle(choices.at(3));
        QTRY_COMPARE(sent(), 1);
        QCOMPARE(bus().keyboard().state().sleepCode, std::uint8_t{3});
        choices.at(3)->click(); // once more, as ever
        QCOMPARE(sent(), 2);
        choices.at(1)->click();
        QCOMPARE(sent(), 3);
        QCOMPARE(bus().keyboard().state().sleepCode, std::uint8_t{1});
        QTest::mouseClick(choices.at(0), Qt::LeftButton);
        // What would be sent twice would have been sent when the effect is, some time later.
        page()->findChild<QListWidget*>("effectList")->setCurrentRow(5);
        QTRY_VERIFY(!busSends().filter(QStringLiteral("04 13")).isEmpty());
        QCOMPARE(sent(), 4);
    }

    void toggledDirectionAndSelectedEffectAreSent()
    {
        openPage(Lighting);
        auto* effects = page()->findChild<QListWidget*>("effectList");
        toggleRow(effects, 7);
        QTRY_COMPARE(effects->currentRow(), 7);
        QCOMPARE(effects->selectedItems(), QList<QListWidgetItem*>{effects->item(7)});
        toggleRow(effects, 7); // the chosen one stays so
        QTRY_VERIFY(effects->item(7)->isSelected());
        for (QToolButton* button : page()->findChildren<QToolButton*>()) {
            if (button->accessibleName() == QStringLiteral("Direction up"))
                toggle(button);
        }
        bus().clearTrace();
        QTRY_VERIFY(!busSends().isEmpty());
        QCOMPARE(bus().keyboard().state().lighting[0],
                 static_cast<std::uint8_t>(effects->item(7)->data(Qt::UserRole).toInt()));
        QCOMPARE(bus().keyboard().state().lighting[11], std::uint8_t{2});
    }

    void selectedMacroIsTheOneThatIsDeleted()
    {
        openPage(Macros);
        auto* list = page()->findChild<QListWidget*>();
        list->setCurrentRow(1);
        toggleRow(list, 0);
        QTRY_COMPARE(list->currentRow(), 0);
        QCOMPARE(page()->findChild<QTableWidget*>()->item(1, 0)->text(), QStringLiteral("1"));
        buttonOf(*page(), QStringLiteral("Delete"))->click();
        QCOMPARE(AppState::instance().macros.size(), qsizetype{1});
        QCOMPARE(AppState::instance().macros.first().name, QStringLiteral("Second"));
    }

    void everySelectorHasALabel()
    {
        QHash<QString, QString> labels;
        const auto collect = [&](const QWidget& parent) {
            for (QComboBox* combo : parent.findChildren<QComboBox*>()) {
                QStringList texts;
                const auto* known = QAccessible::queryAccessibleInterface(combo);
                for (const auto& [other, kind] : known->relations(QAccessible::Label))
                    texts += other->text(QAccessible::Name);
                QVERIFY(!texts.isEmpty()); // behind it may stand that of the group
                labels.insert(texts.first(), combo->currentText());
            }
        };
        collect(*window);
        AppState::instance().macros = {{QStringLiteral("First"), {}}};
        const ActionDialog dialog({}, 1, window.get());
        collect(dialog);
        QStringList names = labels.keys();
        names.sort();
        QCOMPARE(names,
                 QStringList({"Assignment type", "Key", "Key / button", "Language", "Macro",
                              "Modifier (keyboard)", "Mouse action", "Multimedia key", "Type"}));
    }

    void selectedEntryOfASelectorIsChosen()
    {
        openPage(Macros);
        auto* type = page()->findChild<QComboBox*>();
        QAccessible::queryAccessibleInterface(type);
        QAbstractItemView* list = type->view();
        QTRY_COMPARE(list->accessibleName(), QStringLiteral("Type"));
        const QSignalSpy activated(type, &QComboBox::activated);
        const auto marked = [list] {
            return list->selectionModel()->selectedIndexes().value(0).row();
        };
        toggleRow(list, 3);
        QTRY_COMPARE(type->currentIndex(), 3);
        QCOMPARE(activated.size(), 1);
        type->setCurrentIndex(1);
        QCOMPARE(marked(), 1);
        toggleRow(list, 1); // the chosen one stays so
        QTRY_COMPARE(marked(), 1);
        QCOMPARE(type->currentIndex(), 1);
        list->selectionModel()->clearSelection();
        QTRY_VERIFY(!list->selectionModel()->selectedIndexes().isEmpty());
        QCOMPARE(marked(), 1);
        QCOMPARE(type->currentIndex(), 1);

        type->showPopup();
        QTest::keyClick(list, Qt::Key_Down); // marks only
        QCoreApplication::processEvents();
        QCOMPARE(type->currentIndex(), 1);
        toggleRow(list, 4);
        QTRY_COMPARE(type->currentIndex(), 4);
        QVERIFY(!list->isVisible());
        QCOMPARE(marked(), 4);

        type->showPopup();
        QTest::keyClick(list, Qt::Key_Up);
        QTest::keyClick(list, Qt::Key_Escape); // nothing is chosen
        QTRY_COMPARE(marked(), 4);
        QCOMPARE(type->currentIndex(), 4);
        toggleRow(list, 3);
        QTRY_COMPARE(type->currentIndex(), 3);
    }

    void everyMenuHasItsOwnEntries()
    {
        openPage(Colors);
        for (int time = 0; time < 2; ++time) {
            page()->findChild<KeyboardView*>()->openKeyMenu(0);
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            QVERIFY(menu != nullptr && menu->activeAction() == menu->actions().constFirst());
            QAccessibleInterface* known = QAccessible::queryAccessibleInterface(menu);
            QPointer<QMenu> open(menu);
            for (int index = 0; index < known->childCount(); ++index)
                QCOMPARE(known->child(index)->parent(), known);
            // Pressed by a tool, which leaves it open.
            known->child(0)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
            QTRY_VERIFY(open.isNull());
        }
    }

    void menusOpenWhereTheMenuKeyOpensThem_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QString>("owner");
        QTest::addColumn<QString>("entry");
        QTest::newRow("macros") << int{Macros} << "Macros"
                                << "Rename macro…";
        QTest::newRow("actions") << int{Macros} << "Actions"
                                 << "Change delay…";
        QTest::newRow("screen") << int{Screen} << "Preview"
                                << "Paste pictures";
        QTest::newRow("settings") << int{Settings} << "Reset Keyboard Data"
                                  << "Import settings…";
    }
    void menusOpenWhereTheMenuKeyOpensThem()
    {
        QFETCH(int, page);
        QFETCH(QString, owner);
        QFETCH(QString, entry);
        openPage(page);
        QPushButton* before = this->page()->findChild<QPushButton*>();
        before->setFocus();
        const QPointer<QMenu> menu = openedMenu(ownerOfMenu(owner));
        QVERIFY(!QAccessible::queryAccessibleInterface(menu)->text(QAccessible::Name).isEmpty());
        QVERIFY(std::ranges::any_of(
            menu->actions(), [&](const QAction* action) { return action->text() == entry; }));
        for (const QMenu* inner : menu->findChildren<QMenu*>())
            QCOMPARE(QAccessible::queryAccessibleInterface(const_cast<QMenu*>(inner))
                         ->text(QAccessible::Name),
                     inner->title());
        told().clear();
        QTest::keyClick(menu, Qt::Key_Escape);
        QTRY_VERIFY(menu.isNull());
        QTRY_COMPARE(told().filter(QStringLiteral("focus ")),
                     QStringList(QStringLiteral("focus ") + before->text()));
    }

    // Who pressed waits for an answer only. But the question stands by then, so that no key of
    // those who type fast is taken for something else.
    void questionsKeepNobodyWaiting_data()
    {
        QTest::addColumn<QString>("owner");
        QTest::addColumn<QString>("entry");
        QTest::newRow("name") << "Macros"
                              << "Rename macro…";
        QTest::newRow("recording") << "Macros"
                                   << "Record…";
        QTest::newRow("delay") << "Actions"
                               << "Change delay…";
    }
    void questionsKeepNobodyWaiting()
    {
        QFETCH(QString, owner);
        QFETCH(QString, entry);
        openPage(Macros);
        page()->findChild<QListWidget*>()->setCurrentRow(0);
        page()->findChild<QTableWidget*>()->selectRow(0);
        const QPointer<QMenu> menu = openedMenu(ownerOfMenu(owner));
        bool isBack = false;
        bool waited = true;
        onNextDialog([&](QWidget& dialog) {
            waited = !isBack;
            dialog.close();
        });
        press(menu, entry);
        isBack = true;
        QVERIFY(QApplication::activeModalWidget() != nullptr);
        QTRY_COMPARE(dialogsStillExpected(), 0);
        QVERIFY(!waited);
    }

    void aButtonAnswersBeforeItAsks()
    {
        openPage(Settings);
        bool isBack = false;
        bool waited = true;
        onNextDialog([&](QWidget& dialog) {
            waited = !isBack;
            dialog.close();
        });
        act(buttonOf(*page(), QStringLiteral("Reset Keyboard Data")),
            QAccessibleActionInterface::pressAction());
        isBack = true;
        QTRY_COMPARE(dialogsStillExpected(), 0);
        QVERIFY(!waited);
    }

    void theDialogSaysWhichKeyItIsFor()
    {
        openPage(Keys);
        QString words;
        onNextDialog([&](QWidget& dialog) {
            words = QAccessible::queryAccessibleInterface(&dialog)->text(QAccessible::Description);
            dialog.close();
        });
        page()->findChild<KeyboardView*>()->pressKey(keyNamed("Caps Lock").lightIndex);
        QTRY_COMPARE(dialogsStillExpected(), 0);
        QCOMPARE(words, QStringLiteral("Caps Lock"));
    }

    void theRequestForKeysIsHeardLast()
    {
        openPage(Keys);
        auto* view = page()->findChild<KeyboardView*>();
        view->focusKey(keyNamed("Caps Lock").lightIndex);
        view->openKeyMenu(keyNamed("Caps Lock").lightIndex);
        told().clear();
        press(qobject_cast<QMenu*>(QApplication::activePopupWidget()),
              QStringLiteral("Press the keys…"));
        const QString request = QStringLiteral("Press the keys that \"Caps Lock\" is to send. "
                                               "Hold Esc for a second to leave.");
        QTRY_VERIFY(announced().contains(request));
        QCoreApplication::processEvents();
        const qsizetype focus = told().lastIndexOf(QStringLiteral("focus Caps Lock"));
        QVERIFY2(focus >= 0 && focus < told().indexOf(QStringLiteral("heard ") + request),
                 qPrintable(told().join(u';')));
    }

    // Also what moves in a list that does not have it.
    void theFocusIsToldWhereItIs()
    {
        openPage(Macros);
        page()->findChild<QListWidget*>()->setCurrentRow(0);
        QPushButton* add = buttonOf(*page(), QStringLiteral("Add action"));
        add->setFocus();
        auto* table = page()->findChild<QTableWidget*>();
        told().clear();
        add->click();
        table->selectRow(table->rowCount() - 1);
        buttonOf(*page(), QStringLiteral("Remove action"))->click();
        EditHistory::instance().undo();
        EditHistory::instance().undo();
        QVERIFY2(told().filter(QStringLiteral("focus ")).isEmpty(), qPrintable(told().join(u';')));
        table->setFocus();
        table->setCurrentCell(1, 0);
        told().clear();
        QTest::keyClick(table, Qt::Key_Up);
        QVERIFY(!told().filter(QStringLiteral("focus ")).isEmpty());
    }

    void aRowIsHeardInWords()
    {
        openPage(Macros);
        page()->findChild<QListWidget*>()->setCurrentRow(1);
        auto* table = page()->findChild<QTableWidget*>();
        table->setFocus();
        table->setCurrentCell(0, 0);
        told().clear();
        QTest::keyClick(table, Qt::Key_Down);
        QCOMPARE(told().filter(QStringLiteral("focus ")),
                 QStringList(QStringLiteral("focus 3 ms, release B")));
    }

    void whatAButtonSaysOfItselfIsTold()
    {
        openPage(Macros);
        page()->findChild<QListWidget*>()->setCurrentRow(0);
        QPushButton* write = buttonOf(*page(), QStringLiteral("Write macros to keyboard"));
        told().clear();
        buttonOf(*page(), QStringLiteral("Add action"))->click();
        QVERIFY(told().contains(QStringLiteral("words Write macros to keyboard")));
        QVERIFY(QAccessible::queryAccessibleInterface(write)
                    ->text(QAccessible::Description)
                    .startsWith(QStringLiteral("Changed since it was last written")));
    }

    void whatToDoAboutAFailureIsItsDescription()
    {
        openPage(Macros);
        bus().unplug();
        buttonOf(*page(), QStringLiteral("Write macros to keyboard"))->click();
        auto* status = page()->findChild<StatusLabel*>();
        QTRY_VERIFY(!status->accessibleDescription().isEmpty());
        // It is not said of what comes before it is worked out.
        buttonOf(*page(), QStringLiteral("Write macros to keyboard"))->click();
        status->showStatus(StatusLook::Plain, QStringLiteral("All is well."));
        QCoreApplication::processEvents();
        QCOMPARE(status->accessibleDescription(), QString());
    }

    void recordingStartsWhereverTheFocusIs()
    {
        openPage(Macros);
        const auto all = std::initializer_list<QWidget*>{
            page()->findChild<QListWidget*>(), page()->findChild<QTableWidget*>(),
            page()->findChild<QComboBox*>(), page()->findChild<QSpinBox*>(),
            buttonOf(*page(), QStringLiteral("Delete"))};
        for (QWidget* focus : all) {
            window->activateWindow();
            QTRY_VERIFY(window->isActiveWindow());
            focus->setFocus();
            bool isOpen = false;
            onNextDialog([&](QWidget& dialog) {
                isOpen = dialog.windowTitle() == QStringLiteral("Record");
                dialog.close();
            });
            QTest::keyClick(focus, Qt::Key_R, Qt::ControlModifier);
            QTRY_COMPARE(dialogsStillExpected(), 0);
            QVERIFY(isOpen);
        }
    }

    void aStepOfTheWheelIsToldOnce()
    {
        openPage(Lighting);
        auto* wheel = page()->findChild<PaletteWheel*>();
        for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Left}) {
            told().clear();
            QTest::keyClick(wheel, key);
            QCOMPARE(told().filter(wheel->accessibleName()),
                     QStringList({"value Color wheel", "words Color wheel"}));
        }
    }

    void nothingIsCalledTwice()
    {
        int buttons = 0;
        for (QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
            const QAccessibleInterface* known = QAccessible::queryAccessibleInterface(button);
            const QString name = known->text(QAccessible::Name);
            if (name.isEmpty())
                continue; // a part of a dialog that nobody has opened
            QVERIFY2(known->text(QAccessible::Description) != name, qPrintable(name));
            ++buttons;
        }
        QVERIFY(buttons > 40);
    }

    void spinBoxesGoByTheirStep()
    {
        openPage(Screen);
        auto* slot = page()->findChild<QSpinBox*>();
        QCOMPARE(QAccessible::queryAccessibleInterface(slot)->valueInterface()->minimumStepSize(),
                 QVariant(1));
    }

    void toggledChoiceHasTheFocus()
    {
        const auto buttons = window->findChild<QWidget*>("sidebar")->findChildren<QToolButton*>();
        openPage(Colors);
        page()->findChild<QPushButton*>()->setFocus();
        toggle(buttons.at(Keys));
        QCOMPARE(QApplication::focusWidget(), buttons.at(Keys));
    }

    void whatWasDoneIsHeard()
    {
        openPage(Macros);
        page()->findChild<QListWidget*>()->setCurrentRow(0);
        buttonOf(*page(), QStringLiteral("Add action"))->click();
        EditHistory::instance().undo();
        EditHistory::instance().redo();
        buttonOf(*page(), QStringLiteral("Write macros to keyboard"))->click();
        QCOMPARE(announced(), QStringList({"Add action", "Undone: Add action", "Add action",
                                           "Macros written (428 bytes)."}));
        announced().clear();
        bus().unplug();
        buttonOf(*page(), QStringLiteral("Write macros to keyboard"))->click();
        QCOMPARE(announced().size(), 1);
        QVERIFY(announced().first().startsWith(QStringLiteral("Error: ")));
    }

    // Often enough to know that it goes on, and no oftener.
    void slowTransferIsHeardOncePerSecond()
    {
        openPage(Screen);
        QImage picture(4, 4, QImage::Format_RGB32);
        picture.fill(Qt::red);
        auto* pasted = new QMimeData;
        pasted->setData(QStringLiteral("image/png"), encodeImage(picture, "png"));
        QApplication::clipboard()->setMimeData(pasted);
        QTest::keyClick(page(), Qt::Key_V, Qt::ControlModifier);
        announced().clear();
        QElapsedTimer clock;
        clock.start();
        bus().setListener([&] {
            // A keyboard that takes its time; the thread is blocked by it.
            while (bus().count("block 4097 bytes") == 3 && !clock.hasExpired(1100))
                QThread::msleep(10);
        });
        buttonOf(*page(), QStringLiteral("Send to screen"))->click();
        bus().setListener({});
        const QStringList progress = announced().filter(QStringLiteral("Sending chunk"));
        QVERIFY2(progress.size() * 1000 <= clock.elapsed(), qPrintable(progress.join(u';')));
        QCOMPARE(progress.value(0), QStringLiteral("Sending chunk 5/9…"));
        QCOMPARE(announced().last(), QStringLiteral("Animation sent (slot 1, 1 frames). "
                                                    "Press Fn + Delete to display it."));
    }

    void keyNamesAreHeardAsTheyAre()
    {
        EditHistory::instance().edit(StatePart::Colors, QStringLiteral("Paint 7 &&"),
                                     [](SavedState& state) { state.customRgb[0] = 1; });
        QCOMPARE(announced(), QStringList({"Paint 7 &"}));
    }

    // With rows in every list, forwards and backwards.
    void tabComesRoundOnEveryPage_data() { addPageRows(); }
    void tabComesRoundOnEveryPage()
    {
        QFETCH(int, page);
        openPage(page);
        if (page == Macros)
            this->page()->findChild<QListWidget*>()->setCurrentRow(0);
        for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab}) {
            QWidget* const start = QApplication::focusWidget();
            QVERIFY(start != nullptr);
            QSet<QWidget*> seen;
            int steps = 0;
            do {
                seen.insert(QApplication::focusWidget());
                QTest::keyClick(QApplication::focusWidget(), key);
                ++steps;
            } while (QApplication::focusWidget() != start && steps < 100);
            QCOMPARE(QApplication::focusWidget(), start);
            QCOMPARE(steps, seen.size()); // nothing holds it for two steps
            if (page == Macros)
                QVERIFY(seen.contains(this->page()->findChild<QTableWidget*>()));
        }
    }

private:
    void openPage(int index)
    {
        const auto buttons = window->findChild<QWidget*>("sidebar")->findChildren<QToolButton*>();
        buttons.at(index)->click();
        buttons.at(index)->setFocus(Qt::TabFocusReason);
    }
    QWidget* page() const { return stackOf(*window)->currentWidget(); }
    // Of those that tools can ask for it.
    QWidget* ownerOfMenu(const QString& name) const
    {
        for (QWidget* widget : page()->findChildren<QWidget*>()) {
            QAccessibleInterface* known = QAccessible::queryAccessibleInterface(widget);
            if (known->text(QAccessible::Name) == name && known->actionInterface() != nullptr &&
                known->actionInterface()->actionNames().contains(
                    QAccessibleActionInterface::showMenuAction()))
                return widget;
        }
        qFatal("nothing called \"%s\" has a menu", qPrintable(name));
    }

    std::unique_ptr<MainWindow> window;
};

TAVIK_ISOLATED_TEST_MAIN(AssistiveToolsTest)

#include "assistive_tools_test.moc"
