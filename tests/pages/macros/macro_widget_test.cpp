// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "model/app_state.h"
#include "model/edit_history.h"
#include "model/key_names.h"
#include "pages/macros/action_picture.h"
#include "pages/macros/macro_widget.h"
#include "pages/macros/record_dialog.h"
#include "pages/parts/accent_button.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/page_view.h"
#include "tests/support/pixel_probe.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QFile>
#include <QGroupBox>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>

using namespace tavik;
using namespace tavik::tests;

namespace {

const QString newMacroText = QStringLiteral("New macro");

QList<MacroRecord>& macros()
{
    return AppState::instance().macros;
}

QList<MacroRecord> threeMacros()
{
    return {{QStringLiteral("First"), {{0, 4, 0xB0}, {10, 4, 0x30}}},
            {QStringLiteral("Second"), {{65535, 1, 0x90}, {7, 0, 0x50}, {8, 0x2C, 0x20}}},
            {QStringLiteral("Third"), {}}};
}

MacroRecord macroWithActions(int count)
{
    return {QStringLiteral("Long"), QList<MacroAction>(count, {1, 4, 0xB0})};
}

} // namespace

class MacroWidgetTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { page.reset(); }

    void creationShowsTheMacrosAndWritesNothing()
    {
        showPage(threeMacros());
        QCOMPARE(listed(), QStringList({"First", "Second", "Third"}));
        QCOMPARE(list()->currentRow(), -1);
        QCOMPARE(table()->rowCount(), 0);
        QCOMPARE(status()->text(), QString());
        QCOMPARE(busTrace(), QStringList());
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void partsHaveTheirTextsAndLimits()
    {
        showPage({});
        QCOMPARE(page->layout()->contentsMargins(), QMargins(12, 12, 12, 12));
        const auto groups = page->findChildren<QGroupBox*>();
        QCOMPARE(groups.size(), 2);
        QCOMPARE(groups.at(0)->title(), QStringLiteral("Macros"));
        QCOMPARE(groups.at(0)->maximumWidth(), 280);
        QCOMPARE(groups.at(1)->title(), QStringLiteral("Actions"));
        QCOMPARE(headers(), QStringList({"Delay (ms)", "Action", "Type"}));
        QCOMPARE(table()->horizontalHeader()->sectionResizeMode(1), QHeaderView::Stretch);
        QCOMPARE(table()->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(table()->selectionBehavior(), QAbstractItemView::SelectRows);
        QCOMPARE(delay()->minimum(), 0);
        QCOMPARE(delay()->maximum(), 65535);
        QCOMPARE(delay()->suffix(), QStringLiteral(" ms"));
        QCOMPARE(button("Write macros to keyboard")->objectName(), QStringLiteral("accent"));
        const auto* hint = page->findChild<QLabel*>(QStringLiteral("hint"));
        QCOMPARE(hint->text(), QStringLiteral("Macros play from keys assigned in the Keys tab "
                                              "(assignment type: Macro)."));
    }

    void selectorsOfferTypesAndKeys()
    {
        showPage({});
        QCOMPARE(texts(typeSelect()), QStringList({"Key press", "Key release", "Mouse click",
                                                   "Mouse release", "Pause"}));
        const QList<int> flags{0xB0, 0x30, 0x90, 0x10, 0x50};
        for (int index = 0; index < flags.size(); ++index)
            QCOMPARE(typeSelect()->itemData(index).toInt(), flags.at(index));

        QCOMPARE(keySelect()->count(), 120);
        QList<int> usages;
        for (int usage = 4; usage <= 115; ++usage)
            usages += usage;
        for (int usage = 224; usage <= 231; ++usage)
            usages += usage;
        for (int index = 0; index < usages.size(); ++index) {
            QCOMPARE(keySelect()->itemData(index).toInt(), usages.at(index));
            QCOMPARE(keySelect()->itemText(index),
                     keyName(static_cast<std::uint8_t>(usages.at(index))));
        }
    }

    void newMacroProposesTheNextNumber_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("proposal");
        QTest::newRow("none") << 0 << "Macro 1";
        QTest::newRow("three") << 3 << "Macro 4";
    }
    void newMacroProposesTheNextNumber()
    {
        QFETCH(int, count);
        QFETCH(QString, proposal);
        showPage(threeMacros().first(count));
        onNextDialog([proposal](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            const auto* input = qobject_cast<QInputDialog*>(&dialog);
            QVERIFY(input != nullptr);
            QCOMPARE(input->windowTitle(), QStringLiteral("New macro"));
            QCOMPARE(input->labelText(), QStringLiteral("Name:"));
            QCOMPARE(input->textValue(), proposal);
            clickButton(dialog, QStringLiteral("OK"));
        });
        button(newMacroText)->click();
        QCOMPARE(dialogsStillExpected(), 0);
        const QList<MacroRecord> expected =
            threeMacros().first(count) + QList<MacroRecord>{{proposal, {}}};
        QCOMPARE(macros(), expected);
        QCOMPARE(stateOnDisk().macros, expected);
        QCOMPARE(listed().constLast(), proposal);
        QCOMPARE(list()->currentRow(), count);
        QVERIFY(list()->currentItem()->isSelected());
        QCOMPARE(EditHistory::instance().undoText(), QStringLiteral("New macro"));
    }

    void newMacroTakesAnyNameButTheEmptyOne_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("taken");
        QTest::newRow("empty") << "" << false;
        QTest::newRow("blank") << " " << true;
        QTest::newRow("used before") << "First" << true;
        QTest::newRow("non-Latin") << QStringLiteral("宏 Ä") << true;
    }
    void newMacroTakesAnyNameButTheEmptyOne()
    {
        QFETCH(QString, name);
        QFETCH(bool, taken);
        showPage(threeMacros());
        onNextDialog([name](QWidget& dialog) {
            qobject_cast<QInputDialog*>(&dialog)->setTextValue(name);
            clickButton(dialog, QStringLiteral("OK"));
        });
        button(newMacroText)->click();
        QCOMPARE(dialogsStillExpected(), 0);
        const QList<MacroRecord> added{{name, {}}};
        QCOMPARE(macros(), taken ? threeMacros() + added : threeMacros());
        QCOMPARE(QFile::exists(stateFilePath()), taken);
    }

    void cancelledNewMacroChangesNothing()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("Cancel")); });
        button(newMacroText)->click();
        QCOMPARE(dialogsStillExpected(), 0);
        QCOMPARE(macros(), threeMacros());
        QCOMPARE(list()->currentRow(), 1);
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void selectionShowsTheActions()
    {
        showPage(threeMacros());
        list()->setCurrentRow(0);
        QCOMPARE(rows(), QList<QStringList>(
                             {{"0", "mouse 0x04", "press"}, {"10", "mouse 0x04", "release"}}));
        list()->setCurrentRow(1);
        QCOMPARE(rows(), QList<QStringList>({{"65535", "mouse 0x01", "press"},
                                             {"7", "pause", "release"},
                                             {"8", keyName(0x2C), "release"}}));
        list()->setCurrentRow(2);
        QCOMPARE(rows(), QList<QStringList>());
        list()->setCurrentRow(0);
        list()->setCurrentRow(-1);
        QCOMPARE(rows(), QList<QStringList>());
    }

    void currentMacroIsMarkedHoweverItBecameCurrent()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1, QItemSelectionModel::NoUpdate);
        QVERIFY(list()->item(1)->isSelected());
        QCOMPARE(table()->rowCount(), 3);
    }

    void focusAloneSelectsNothing()
    {
        showPage(threeMacros());
        list()->clearFocus();
        list()->setFocus(Qt::TabFocusReason);
        QTRY_VERIFY(list()->hasFocus());
        QCOMPARE(list()->currentRow(), -1);
        QTest::keyClick(list(), Qt::Key_Down);
        QCOMPARE(list()->currentRow(), 0);
        QVERIFY(list()->item(0)->isSelected());
    }

    void deletingTakesTheSelectedMacroOnly()
    {
        AppState::instance().layerBase[5] = {6, 2, 0, 0};
        showPage(threeMacros());
        list()->setCurrentRow(1);
        button("Delete")->click();
        const QList<MacroRecord> expected{threeMacros().at(0), threeMacros().at(2)};
        QCOMPARE(macros(), expected);
        QCOMPARE(stateOnDisk().macros, expected);
        QCOMPARE(listed(), QStringList({"First", "Third"}));
        QCOMPARE(table()->rowCount(), 0);
        // Keys keep their number, whatever stands there now.
        QCOMPARE(AppState::instance().layerBase[5], (KeyAction{6, 2, 0, 0}));
        // A second click has nothing to take.
        button("Delete")->click();
        QCOMPARE(macros(), expected);
    }

    void deletingTheOnlyMacroLeavesNothing()
    {
        showPage({macroWithActions(3)});
        list()->setCurrentRow(0);
        QCOMPARE(table()->rowCount(), 3);
        button("Delete")->click();
        QCOMPARE(list()->count(), 0);
        QCOMPARE(table()->rowCount(), 0);
        QCOMPARE(macros(), QList<MacroRecord>());
        QCOMPARE(stateOnDisk().macros, QList<MacroRecord>());
    }

    void deletingWithoutSelectionDoesNothing()
    {
        showPage(threeMacros());
        button("Delete")->click();
        QCOMPARE(macros(), threeMacros());
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void actionIsAddedAsTheFormSays()
    {
        showPage(threeMacros());
        list()->setCurrentRow(2);
        button("Add action")->click();
        QCOMPARE(rows(), QList<QStringList>({{"0", "mouse 0x04", "press"}}));

        typeSelect()->setCurrentIndex(3);
        keySelect()->setCurrentIndex(119);
        delay()->setValue(65535);
        button("Add action")->click();
        const QList<MacroAction> expected{{0, 0x04, 0xB0}, {65535, 231, 0x10}};
        QCOMPARE(macros().at(2).actions, expected);
        QCOMPARE(stateOnDisk().macros.at(2).actions, expected);
        QCOMPARE(rows().at(1), QStringList({"65535", "mouse 0xe7", "release"}));
        QCOMPARE(EditHistory::instance().undoText(), QStringLiteral("Add action"));
        QCOMPARE(macros().first(2), threeMacros().first(2));
        QCOMPARE(list()->currentRow(), 2);
        QCOMPARE(status()->text(), QString());
        QCOMPARE(busTrace(), QStringList());
    }

    void addingWithoutSelectionOnlyWarns()
    {
        showPage(threeMacros());
        button("Add action")->click();
        QCOMPARE(status()->text(), QStringLiteral("Select a macro first."));
        QCOMPARE(status()->styleSheet(), warningStyle);
        QCOMPARE(macros(), threeMacros());
        QCOMPARE(table()->rowCount(), 0);
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void removingTakesTheSelectedActionOnly()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        table()->selectRow(1);
        button("Remove action")->click();
        QList<MacroRecord> expected = threeMacros();
        expected[1].actions.removeAt(1);
        QCOMPARE(macros(), expected);
        QCOMPARE(stateOnDisk().macros, expected);
        QCOMPARE(table()->rowCount(), 2);
        QCOMPARE(list()->currentRow(), 1);
        QCOMPARE(EditHistory::instance().undoText(), QStringLiteral("Remove action"));
    }

    void severalActionsAreSelectedByTheUsualKeys()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        clickRow(0);
        clickRow(2, Qt::ControlModifier);
        QCOMPARE(selected(), QList<int>({0, 2}));
        button("Remove action")->click();
        QCOMPARE(macros().at(1).actions, (QList<MacroAction>{{7, 0, 0x50}}));
        QCOMPARE(stateOnDisk().macros, macros());
        QCOMPARE(selected(), QList<int>({0}));
        EditHistory::instance().undo();
        QCOMPARE(macros(), threeMacros());
    }

    void headersLookTheSameOverSelectedRows()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        const QImage before = table()->horizontalHeader()->grab().toImage();
        clickRow(1);
        QCOMPARE(selected(), QList<int>({1}));
        QCOMPARE(table()->horizontalHeader()->grab().toImage(), before);
    }

    void rowSaysWhatItsActionDoes()
    {
        showPage(threeMacros());
        QCOMPARE(table()->iconSize(), actionPictureSize);
        list()->setCurrentRow(1);
        const QStringList words{"press left button", "pause 7 ms", "release Space"};
        for (int row = 0; row < words.size(); ++row) {
            for (int column = 0; column < 3; ++column)
                QCOMPARE(table()->item(row, column)->toolTip(), words.at(row));
            // In the row itself, before the text of the cell.
            const QIcon picture = table()->item(row, 1)->icon();
            QImage shown(actionPictureSize, QImage::Format_RGB32);
            QImage expected(actionPictureSize, QImage::Format_RGB32);
            for (QImage* image : {&shown, &expected}) {
                image->fill(Qt::black);
                QPainter painter(image);
                painter.setFont(table()->font());
                const QIcon& icon = image == &shown ? picture : actionPicture(words.at(row));
                icon.paint(&painter, image->rect());
            }
            QCOMPARE(shown, expected);
            const QRect written =
                areaWhere(shown, [](const QColor& pixel) { return pixel.value() > 0xA0; });
            QVERIFY(written.width() > 40);
            // What it is called in the keyboard's memory stands behind it, more quietly.
            QCOMPARE(table()->item(row, 1)->foreground().color(), QColor(0xB8, 0xB8, 0xBA));
        }
    }

    void listEntryMakesItsEdit_data()
    {
        QTest::addColumn<int>("current");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QList<int>>("order"); // of the macros that there were; -1 for the copy
        QTest::addColumn<int>("currentAfter");
        QTest::addColumn<QString>("name"); // by which it is undone
        QTest::newRow("duplicate")
            << 1 << "Duplicate macro" << QList<int>{0, 1, 2, -1} << 3 << "Duplicate macro";
        QTest::newRow("up") << 1 << "Move macro up" << QList<int>{1, 0, 2} << 0 << "Move macro";
        QTest::newRow("down") << 1 << "Move macro down" << QList<int>{0, 2, 1} << 2 << "Move macro";
        QTest::newRow("delete") << 1 << "Delete macro" << QList<int>{0, 2} << -1 << "Delete macro";
    }
    void listEntryMakesItsEdit()
    {
        QFETCH(int, current);
        QFETCH(QString, entry);
        QFETCH(QList<int>, order);
        QFETCH(int, currentAfter);
        QFETCH(QString, name);
        showPage(threeMacros());
        list()->setCurrentRow(current);
        chooseEntry(*list(), entry);
        QList<MacroRecord> expected;
        for (const int index : order) {
            expected += threeMacros().at(index < 0 ? current : index);
            if (index < 0)
                expected.last().name += QStringLiteral(" copy");
        }
        QCOMPARE(macros(), expected);
        QCOMPARE(stateOnDisk().macros, expected);
        QCOMPARE(list()->currentRow(), currentAfter);
        QCOMPARE(EditHistory::instance().count(), 1);
        QCOMPARE(EditHistory::instance().undoText(), name);
        QCOMPARE(busTrace(), QStringList());
        EditHistory::instance().undo();
        QCOMPARE(macros(), threeMacros());
        QCOMPARE(listed(), QStringList({"First", "Second", "Third"}));
    }

    void moveThatNoLongerFitsSaysSo()
    {
        QList<MacroRecord> many(100, {QStringLiteral("Empty"), {}});
        many.append(macroWithActions(700));
        showPage(many);
        list()->setCurrentRow(100);
        chooseEntry(*list(), QStringLiteral("Move macro up"));
        QCOMPARE(status()->text(),
                 QStringLiteral("The macros take 3204 of 3072 bytes: too many to write."));
    }

    void undoneMoveLeavesTheMovedMacroCurrent_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::newRow("up") << "Move macro up";
        QTest::newRow("down") << "Move macro down";
    }
    void undoneMoveLeavesTheMovedMacroCurrent()
    {
        QFETCH(QString, entry);
        showPage(threeMacros());
        list()->setCurrentRow(1);
        chooseEntry(*list(), entry);
        EditHistory::instance().undo();
        QCOMPARE(list()->currentItem()->text(), QStringLiteral("Second"));
        QCOMPARE(selected(), QList<int>());
        EditHistory::instance().redo();
        QCOMPARE(list()->currentItem()->text(), QStringLiteral("Second"));
    }

    void recordingIsAddedToTheCurrentMacro_data()
    {
        QTest::addColumn<int>("current");
        QTest::addColumn<QString>("words");
        QTest::addColumn<int>("row");
        QTest::newRow("current") << 1 << "What you press is added to \"Second\"." << 1;
        QTest::newRow("none") << -1 << "What you press is added to \"Macro 4\"." << 3;
    }
    void recordingIsAddedToTheCurrentMacro()
    {
        QFETCH(int, current);
        QFETCH(QString, words);
        QFETCH(int, row);
        showPage(threeMacros());
        list()->setCurrentRow(current);
        chooseEntry(*list(), QStringLiteral("Record…"));
        QTRY_VERIFY(page->findChild<RecordDialog*>() != nullptr);
        auto* dialog = page->findChild<RecordDialog*>();
        QVERIFY(dialog->isVisible());
        QCOMPARE(dialog->findChild<QLabel*>()->text(), words);
        const QList<MacroAction> recorded(40, {3, 4, 0xB0});
        emit dialog->recorded(recorded);
        dialog->close();
        QList<MacroRecord> expected = threeMacros();
        if (row == expected.size())
            expected.append({QStringLiteral("Macro 4"), {}});
        expected[row].actions += recorded;
        QCOMPARE(macros(), expected);
        QCOMPARE(stateOnDisk().macros, expected);
        QCOMPARE(list()->currentRow(), row);
        const QScrollBar* bar = table()->verticalScrollBar();
        QCOMPARE(bar->value(), bar->maximum());
        QCOMPARE(EditHistory::instance().count(), 1);
        QCOMPARE(EditHistory::instance().undoText(), QStringLiteral("Record actions"));
        EditHistory::instance().undo();
        QCOMPARE(macros(), threeMacros());
    }

    void recordingThatDoesNotFitSaysSo()
    {
        showPage({macroWithActions(660)});
        list()->setCurrentRow(0);
        chooseEntry(*list(), QStringLiteral("Record…"));
        QTRY_VERIFY(page->findChild<RecordDialog*>() != nullptr);
        emit page->findChild<RecordDialog*>()->recorded(QList<MacroAction>(10, {3, 4, 0xB0}));
        QCOMPARE(status()->text(),
                 QStringLiteral("The macros take 3084 of 3072 bytes: too many to write."));
    }

    void keysFollowAMovedMacro()
    {
        SavedState& state = AppState::instance();
        const KeyAction special{5, 1, 0, 0}; // no macro, whatever its byte
        state.layerBase[5] = macroKeyAction(1);
        state.layerBase[6] = macroKeyAction(0);
        state.layerBase[7] = special;
        state.layerFn[8] = macroKeyAction(1);
        state.layerFn[9] = macroKeyAction(2);
        showPage(threeMacros());
        const SavedState before = state;
        const QSignalSpy changed(&EditHistory::instance(), &EditHistory::changed);
        list()->setCurrentRow(1);
        chooseEntry(*list(), QStringLiteral("Move macro up"));
        QCOMPARE(stateOnDisk().layerBase[5], macroKeyAction(0));
        QCOMPARE(stateOnDisk().layerBase[6], macroKeyAction(1));
        QCOMPARE(stateOnDisk().layerBase[7], special);
        QCOMPARE(stateOnDisk().layerFn[8], macroKeyAction(0));
        QCOMPARE(stateOnDisk().layerFn[9], macroKeyAction(2));
        QCOMPARE(changed.size(), 3); // macros and both layers
        EditHistory::instance().undo();
        QVERIFY(stateInMemory() == before);
        QCOMPARE(changed.size(), 6);
    }

    void entriesAreOfferedWhereTheyDoSomething_data()
    {
        QTest::addColumn<int>("current");
        QTest::addColumn<QStringList>("disabled");
        QTest::newRow("none") << -1
                              << QStringList{"Rename macro…", "Duplicate macro", "Move macro up",
                                             "Move macro down", "Delete macro"};
        QTest::newRow("first") << 0 << QStringList{"Move macro up"};
        QTest::newRow("middle") << 1 << QStringList();
        QTest::newRow("last") << 2 << QStringList{"Move macro down"};
    }
    void entriesAreOfferedWhereTheyDoSomething()
    {
        QFETCH(int, current);
        QFETCH(QStringList, disabled);
        showPage(threeMacros());
        list()->setCurrentRow(current);
        QCOMPARE(disabledEntries(*list()), disabled);
        for (const QAction* entry : table()->actions())
            QCOMPARE(entry->isEnabled(), entry->text() == QStringLiteral("Record…"));
    }

    void actionsMoveWhereThereIsAPlace()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        for (const auto& [row, disabled] :
             {std::pair(0, QStringList("Move actions up")), std::pair(1, QStringList()),
              std::pair(2, QStringList("Move actions down"))}) {
            clickRow(row);
            QCOMPARE(disabledEntries(*table()), disabled);
        }
    }

    void macroIsRenamed_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("taken");
        QTest::newRow("other") << "Greeting" << true;
        QTest::newRow("empty") << "" << false;
    }
    void macroIsRenamed()
    {
        QFETCH(QString, name);
        QFETCH(bool, taken);
        showPage(threeMacros());
        list()->setCurrentRow(1);
        onNextDialog([name](QWidget& dialog) {
            auto* input = qobject_cast<QInputDialog*>(&dialog);
            QCOMPARE(input->windowTitle(), QStringLiteral("Rename macro"));
            QCOMPARE(input->labelText(), QStringLiteral("Name:"));
            QCOMPARE(input->textValue(), QStringLiteral("Second"));
            input->setTextValue(name);
            clickButton(dialog, QStringLiteral("OK"));
        });
        chooseEntry(*list(), QStringLiteral("Rename macro…"));
        QTRY_COMPARE(dialogsStillExpected(), 0);
        QList<MacroRecord> expected = threeMacros();
        if (taken)
            expected[1].name = name;
        QCOMPARE(macros(), expected);
        QCOMPARE(list()->item(1)->text(), expected.at(1).name);
        QCOMPARE(list()->currentRow(), 1);
        QCOMPARE(QFile::exists(stateFilePath()), taken);
        QCOMPARE(EditHistory::instance().undoText(),
                 taken ? QStringLiteral("Rename macro") : QString());
    }

    void tableEntryMakesItsEdit_data()
    {
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QList<int>>("order"); // of the actions that there were; -1 for the form's
        QTest::addColumn<QList<int>>("rowsAfter");
        QTest::addColumn<QString>("name"); // by which it is undone
        using Rows = QList<int>;
        QTest::newRow("insert") << Rows{1} << "Insert action above" << Rows{0, -1, 1, 2} << Rows{1}
                                << "Insert action";
        QTest::newRow("duplicate one")
            << Rows{1} << "Duplicate actions" << Rows{0, 1, 1, 2} << Rows{2} << "Duplicate actions";
        QTest::newRow("duplicate several")
            << Rows{0, 1} << "Duplicate actions" << Rows{0, 1, 0, 1, 2} << Rows{2, 3}
            << "Duplicate actions";
        QTest::newRow("duplicate apart") << Rows{0, 2} << "Duplicate actions" << Rows{0, 1, 2, 0, 2}
                                         << Rows{3, 4} << "Duplicate actions";
        QTest::newRow("up") << Rows{1} << "Move actions up" << Rows{1, 0, 2} << Rows{0}
                            << "Move actions";
        QTest::newRow("several up")
            << Rows{1, 2} << "Move actions up" << Rows{1, 2, 0} << Rows{0, 1} << "Move actions";
        QTest::newRow("several down")
            << Rows{0, 1} << "Move actions down" << Rows{2, 0, 1} << Rows{1, 2} << "Move actions";
        QTest::newRow("remove several")
            << Rows{0, 1} << "Remove actions" << Rows{2} << Rows{0} << "Remove action";
    }
    void tableEntryMakesItsEdit()
    {
        QFETCH(QList<int>, rows);
        QFETCH(QString, entry);
        QFETCH(QList<int>, order);
        QFETCH(QList<int>, rowsAfter);
        QFETCH(QString, name);
        showPage(threeMacros());
        list()->setCurrentRow(1);
        typeSelect()->setCurrentIndex(4);
        delay()->setValue(77);
        for (const int row : rows)
            clickRow(row, row == rows.first() ? Qt::NoModifier : Qt::ControlModifier);
        chooseEntry(*table(), entry);
        QList<MacroRecord> expected = threeMacros();
        expected[1].actions.clear();
        for (const int index : order)
            expected[1].actions +=
                index < 0 ? MacroAction{77, 4, 0x50} : threeMacros().at(1).actions.at(index);
        QCOMPARE(macros(), expected);
        QCOMPARE(stateOnDisk().macros, expected);
        QCOMPARE(selected(), rowsAfter);
        // From the first cell on, as a screen reader reads the row.
        QVERIFY(rowsAfter.contains(table()->currentRow()));
        QCOMPARE(table()->currentColumn(), 0);
        QCOMPARE(EditHistory::instance().count(), 1);
        QCOMPARE(EditHistory::instance().undoText(), name);
        EditHistory::instance().undo();
        QCOMPARE(macros(), threeMacros());
    }

    void insertedActionIsInSight()
    {
        showPage({macroWithActions(60)});
        list()->setCurrentRow(0);
        table()->selectRow(50);
        table()->verticalScrollBar()->setValue(0);
        chooseEntry(*table(), QStringLiteral("Insert action above"));
        QCOMPARE(selected(), QList<int>({50}));
        const QRect cell = table()->visualItemRect(table()->item(50, 0));
        QVERIFY(table()->viewport()->rect().contains(cell));
    }

    void actionsThatHaveNoPlaceToGoStay()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        clickRow(0);
        clickRow(1, Qt::ControlModifier);
        chooseEntry(*table(), QStringLiteral("Move actions up"));
        clickRow(2);
        chooseEntry(*table(), QStringLiteral("Move actions down"));
        list()->setCurrentRow(2);
        chooseEntry(*list(), QStringLiteral("Move macro down"));
        list()->setCurrentRow(0);
        chooseEntry(*list(), QStringLiteral("Move macro up"));
        QCOMPARE(macros(), threeMacros());
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void delayOfSeveralActionsIsChanged()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        clickRow(0);
        clickRow(2, Qt::ControlModifier);
        onNextDialog([](QWidget& dialog) {
            auto* input = qobject_cast<QInputDialog*>(&dialog);
            QCOMPARE(input->windowTitle(), QStringLiteral("Change delay"));
            QCOMPARE(input->labelText(), QStringLiteral("Delay before (ms):"));
            QCOMPARE(input->intValue(), 65535);
            QCOMPARE(input->intMinimum(), 0);
            QCOMPARE(input->intMaximum(), 65535);
            input->setIntValue(250);
            clickButton(dialog, QStringLiteral("OK"));
        });
        chooseEntry(*table(), QStringLiteral("Change delay…"));
        QTRY_COMPARE(dialogsStillExpected(), 0);
        QList<MacroRecord> expected = threeMacros();
        expected[1].actions[0].delay = 250;
        expected[1].actions[2].delay = 250;
        QCOMPARE(macros(), expected);
        QCOMPARE(selected(), QList<int>({0, 2}));
        QCOMPARE(EditHistory::instance().undoText(), QStringLiteral("Change delay"));
    }

    void menusOpenWithTheirEntriesAndUndo_data()
    {
        QTest::addColumn<bool>("byKey");
        QTest::newRow("by the mouse") << false;
        QTest::newRow("by the menu key") << true;
    }
    void menusOpenWithTheirEntriesAndUndo()
    {
        QFETCH(bool, byKey);
        showPage(threeMacros());
        list()->setCurrentRow(1);
        for (QAbstractScrollArea* area : {static_cast<QAbstractScrollArea*>(list()),
                                          static_cast<QAbstractScrollArea*>(table())}) {
            const QPoint place(5, 5);
            QContextMenuEvent request(byKey ? QContextMenuEvent::Keyboard
                                            : QContextMenuEvent::Mouse,
                                      place, area->viewport()->mapToGlobal(place));
            // By a key, it comes to the list itself, with the place of the row in the viewport.
            QCoreApplication::sendEvent(byKey ? area : area->viewport(), &request);
            QTRY_VERIFY(QApplication::activePopupWidget() != nullptr);
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            QCOMPARE(menu->pos(), request.globalPos());
            QCOMPARE(menu->actions().first(area->actions().size()), area->actions());
            QVERIFY(menu->actions().constLast()->text().startsWith(QStringLiteral("Redo")));
            menu->close();
            QVERIFY(!area->actions().isEmpty()); // they outlive their menu
        }
    }

    void spaceUsedIsToldByTheWriteButton()
    {
        showPage(threeMacros());
        AccentButton* write = page->findChild<AccentButton*>();
        QCOMPARE(write->toolTip(), QStringLiteral("428 of 3072 bytes"));
        list()->setCurrentRow(2);
        button("Add action")->click();
        QCOMPARE(write->toolTip(),
                 QStringLiteral("Changed since it was last written\n436 of 3072 bytes"));
    }

    void editThatWouldNotFitSaysSo()
    {
        showPage({macroWithActions(667)});
        list()->setCurrentRow(0);
        button("Add action")->click();
        const QString warning =
            QStringLiteral("The macros take 3076 of 3072 bytes: too many to write.");
        QCOMPARE(status()->text(), warning);
        QCOMPARE(status()->styleSheet(), warningStyle);
        QCOMPARE(macros().at(0).actions.size(), 668);
        EditHistory::instance().undo();
        QCOMPARE(status()->text(), QString());
        EditHistory::instance().redo();
        QCOMPARE(status()->text(), warning);
        table()->selectRow(3);
        button("Remove action")->click();
        QCOMPARE(status()->text(), QString());
        button("Write macros to keyboard")->click();
        QCOMPARE(status()->text(), QStringLiteral("Macros written (3072 bytes)."));
    }

    void macroBeyondTheTableSaysSo()
    {
        showPage(QList<MacroRecord>(100, {QStringLiteral("Empty"), {}}));
        list()->setCurrentRow(0);
        chooseEntry(*list(), QStringLiteral("Duplicate macro"));
        QCOMPARE(status()->text(), QStringLiteral("Only the first 100 macros are written."));
        QCOMPARE(status()->styleSheet(), warningStyle);
    }

    void removingSelectsTheNextAction()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        table()->selectRow(1);
        for (const int selected : {1, 0}) { // the last one has none after it
            button("Remove action")->click();
            QCOMPARE(table()->selectionModel()->selectedRows().size(), 1);
            QCOMPARE(table()->selectionModel()->selectedRows().first().row(), selected);
        }
        QCOMPARE(rows(), QList<QStringList>({{"65535", "mouse 0x01", "press"}}));
        button("Remove action")->click();
        button("Remove action")->click(); // nothing is left
        QCOMPARE(table()->rowCount(), 0);
        QVERIFY(macros().at(1).actions.isEmpty());
    }

    void longNameEndsInAnEllipsis()
    {
        const QString longName = QStringLiteral("A <macro> whose name is longer than the list");
        showPage({{QStringLiteral("Greet"), {}}, {longName, {}}});
        page->resize(900, 600);
        page->show();
        QVERIFY(QTest::qWaitForWindowExposed(page.get()));
        QVERIFY(!list()->horizontalScrollBar()->isVisible());
        QCOMPARE(list()->horizontalScrollBar()->maximum(), 0);
        // The row ends inside the list, where the delegate puts the ellipsis.
        const QRect row = list()->visualItemRect(list()->item(1));
        QVERIFY(list()->viewport()->rect().contains(row));
        QVERIFY(list()->fontMetrics().horizontalAdvance(longName) > row.width());
        QCOMPARE(list()->textElideMode(), Qt::ElideRight);
        QCOMPARE(list()->item(1)->text(), longName);
        QVERIFY(list()->item(1)->toolTip().contains(longName.toHtmlEscaped()));
    }

    void rowsAreOfOneHeight()
    {
        showPage(threeMacros());
        page->resize(900, 600);
        page->show();
        QVERIFY(QTest::qWaitForWindowExposed(page.get()));
        list()->setCurrentRow(1);
        for (int row = 0; row < 3; ++row) {
            QCOMPARE(list()->visualItemRect(list()->item(row)).height(), 30);
            QCOMPARE(table()->rowHeight(row), 30);
        }
    }

    void headingsStandOverWhatTheyHead()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        const QList<Qt::Alignment> expected{Qt::AlignRight, Qt::AlignLeft, Qt::AlignLeft};
        for (int column = 0; column < expected.size(); ++column) {
            const Qt::Alignment wanted = expected.at(column) | Qt::AlignVCenter;
            QCOMPARE(Qt::Alignment(table()->horizontalHeaderItem(column)->textAlignment()), wanted);
            for (int row = 0; row < table()->rowCount(); ++row)
                QCOMPARE(Qt::Alignment(table()->item(row, column)->textAlignment()), wanted);
        }
    }

    void removingWithoutSelectionDoesNothing_data()
    {
        QTest::addColumn<int>("macro");
        QTest::newRow("no macro") << -1;
        QTest::newRow("no action") << 1;
    }
    void removingWithoutSelectionDoesNothing()
    {
        QFETCH(int, macro);
        showPage(threeMacros());
        list()->setCurrentRow(macro);
        button("Remove action")->click();
        QCOMPARE(macros(), threeMacros());
        QVERIFY(!QFile::exists(stateFilePath()));
        QCOMPARE(status()->text(), QString());
    }

    void clearedMacrosAreNoLongerShown()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        macros().clear();
        emit AppState::instance().macrosChanged();
        QCOMPARE(list()->count(), 0);
        QCOMPARE(table()->rowCount(), 0);
        pressEverything();
        QCOMPARE(macros(), QList<MacroRecord>());
        QCOMPARE(status()->text(), QStringLiteral("Select a macro first."));
    }

    // The list still shows what the model no longer has.
    void rowsBehindTheModelDoNothing()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        table()->selectRow(2);
        macros().removeLast();
        macros()[1].actions.resize(2);
        const QList<MacroRecord> shorter = macros();
        button("Remove action")->click();
        QCOMPARE(macros(), shorter);

        macros().clear();
        pressEverything();
        QCOMPARE(macros(), QList<MacroRecord>());
        list()->setCurrentRow(2);
        QCOMPARE(table()->rowCount(), 0);
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void uploadIsShownInGreen_data()
    {
        QTest::addColumn<int>("actions");
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << -1 << "Macros written (400 bytes).";
        QTest::newRow("empty") << 0 << "Macros written (400 bytes).";
        QTest::newRow("whole reports") << 11 << "Macros written (448 bytes).";
        QTest::newRow("largest") << 667 << "Macros written (3072 bytes).";
    }
    void uploadIsShownInGreen()
    {
        QFETCH(int, actions);
        QFETCH(QString, text);
        const QList<MacroRecord> list =
            actions < 0 ? QList<MacroRecord>() : QList<MacroRecord>{macroWithActions(actions)};
        showPage(list);
        button("Write macros to keyboard")->click();
        QCOMPARE(status()->text(), text);
        QCOMPARE(status()->styleSheet(), successStyle);
        QCOMPARE(macros(), list);
        QVERIFY(!bus().keyboard().state().macroSpace.empty());
        QCOMPARE(bus().keyboard().playMacro(0).size(),
                 static_cast<std::size_t>(std::max(actions, 0)));
        QVERIFY(!QFile::exists(stateFilePath()));
    }

    void tooManyActionsAreRefusedBeforeTheKeyboardIsTouched()
    {
        showPage({macroWithActions(668)});
        button("Write macros to keyboard")->click();
        QCOMPARE(status()->text(), QStringLiteral("Macro space exceeded (3072 bytes)."));
        QCOMPARE(status()->styleSheet(), errorStyle);
        QCOMPARE(busTrace(), QStringList());
        QCOMPARE(macros(), QList<MacroRecord>{macroWithActions(668)});
    }

    void failedUploadIsShownInRed_data()
    {
        QTest::addColumn<int>("exchange");
        QTest::addColumn<int>("times");
        QTest::newRow("session") << 1 << 1;
        QTest::newRow("macro session") << 2 << 1;
        QTest::newRow("announcement") << 3 << 1;
        for (int piece = 1; piece <= 7; ++piece)
            QTest::addRow("piece %d", piece) << 3 + piece << 10;
        QTest::newRow("COMMIT") << 11 << 1;
        QTest::newRow("FINISH") << 12 << 1;
    }
    void failedUploadIsShownInRed()
    {
        QFETCH(int, exchange);
        QFETCH(int, times);
        showPage(threeMacros());
        bus().failAt(exchange, virtual_keyboard::sendError("Broken pipe"), times);
        button("Write macros to keyboard")->click();
        QCOMPARE(status()->text(), QStringLiteral("Error: Broken pipe"));
        QCOMPARE(status()->styleSheet(), errorStyle);
        QCOMPARE(macros(), threeMacros());
        QVERIFY(deviceLockIsFree());
    }

    void refusedMacroSessionIsShownWithItsStatus()
    {
        showPage(threeMacros());
        bus().failCommand(0x19, virtual_keyboard::answerStatus(2));
        button("Write macros to keyboard")->click();
        QCOMPARE(status()->text(), QStringLiteral("Error: Macro session rejected (status 02)"));
        QCOMPARE(status()->styleSheet(), errorStyle);
        QCOMPARE(busSends().constLast(), QStringLiteral("04 f0 00 00 00 00 00 00 01"));
    }

    void clickBelowTheListLeavesTheMacroMarked()
    {
        showPage(threeMacros());
        list()->setCurrentRow(1);
        const QPoint below(20, list()->viewport()->height() - 5);
        QVERIFY(list()->itemAt(below) == nullptr);
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, below);
        QCOMPARE(list()->currentRow(), 1);
        QTRY_VERIFY(list()->currentItem()->isSelected());
    }

    void absentKeyboardIsShownInRed()
    {
        showPage(threeMacros());
        bus().unplug();
        button("Write macros to keyboard")->click();
        QCOMPARE(status()->text(), QStringLiteral("Error: ") + notFoundText);
        QCOMPARE(status()->styleSheet(), errorStyle);
        QCOMPARE(busWire(), QStringList());
    }

private:
    void showPage(const QList<MacroRecord>& shown)
    {
        macros() = shown;
        page = std::make_unique<MacroWidget>();
        page->resize(1140, 670);
        page->show();
        QVERIFY(QTest::qWaitForWindowExposed(page.get()));
    }

    // Everything but the upload and the question for a name.
    void pressEverything()
    {
        for (const char* text : {"Delete", "Add action", "Remove action"})
            button(QLatin1String(text))->click();
    }

    QStringList listed() const
    {
        QStringList names;
        for (int row = 0; row < list()->count(); ++row)
            names += list()->item(row)->text();
        return names;
    }

    QList<QStringList> rows() const
    {
        QList<QStringList> result;
        for (int row = 0; row < table()->rowCount(); ++row)
            result += QStringList{table()->item(row, 0)->text(), table()->item(row, 1)->text(),
                                  table()->item(row, 2)->text()};
        return result;
    }

    QStringList headers() const
    {
        QStringList result;
        for (int column = 0; column < table()->columnCount(); ++column)
            result += table()->horizontalHeaderItem(column)->text();
        return result;
    }

    static QStringList texts(const QComboBox* box)
    {
        QStringList result;
        for (int index = 0; index < box->count(); ++index)
            result += box->itemText(index);
        return result;
    }

    void clickRow(int row, Qt::KeyboardModifiers keys = {}) const
    {
        const QRect cell = table()->visualItemRect(table()->item(row, 1));
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, keys, cell.center());
    }

    QList<int> selected() const
    {
        QList<int> result;
        for (const QModelIndex& row : table()->selectionModel()->selectedRows())
            result += row.row();
        std::ranges::sort(result);
        return result;
    }

    static QStringList disabledEntries(const QWidget& widget)
    {
        QStringList texts;
        for (const QAction* entry : widget.actions()) {
            if (!entry->isEnabled())
                texts += entry->text();
        }
        return texts;
    }

    // By its keys, as the window does when the widget has the focus.
    static void chooseEntry(QWidget& widget, const QString& text)
    {
        for (const QAction* entry : widget.actions()) {
            if (entry->text() != text)
                continue;
            const QKeyCombination keys = entry->shortcut()[0];
            widget.setFocus();
            QTest::keyClick(&widget, keys.key(), keys.keyboardModifiers());
            return;
        }
        QFAIL(qPrintable(text));
    }

    QPushButton* button(const QString& text) const { return buttonOf(*page, text); }
    QListWidget* list() const { return page->findChild<QListWidget*>(); }
    QTableWidget* table() const { return page->findChild<QTableWidget*>(); }
    QComboBox* typeSelect() const { return page->findChildren<QComboBox*>().at(0); }
    QComboBox* keySelect() const { return page->findChildren<QComboBox*>().at(1); }
    QSpinBox* delay() const { return page->findChild<QSpinBox*>(); }
    QLabel* status() const
    {
        const QLayout* column = page->layout();
        return qobject_cast<QLabel*>(column->itemAt(column->count() - 1)->widget());
    }

    std::unique_ptr<MacroWidget> page;
};

TAVIK_ISOLATED_TEST_MAIN(MacroWidgetTest)

#include "macro_widget_test.moc"
