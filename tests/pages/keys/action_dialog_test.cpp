// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "model/key_names.h"
#include "pages/keys/action_dialog.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

Q_DECLARE_METATYPE(tavik::KeyAction)

namespace {

const QString nothing = QStringLiteral("nothing is selected");

// A list of the dialog, and the item that is chosen in it.
using List = QComboBox* (*)(QWidget& dialog);
using Choices = QList<std::pair<List, QString>>;

QComboBox* listOf(QWidget& dialog, const char* accessibleName)
{
    for (QComboBox* list : dialog.findChildren<QComboBox*>()) {
        if (list->accessibleName() == QLatin1String(accessibleName))
            return list;
    }
    qFatal("no list called %s", accessibleName);
}

QComboBox* types(QWidget& dialog)
{
    return listOf(dialog, "Assignment type");
}
QComboBox* keys(QWidget& dialog)
{
    return listOf(dialog, "Key");
}
QComboBox* modifiers(QWidget& dialog)
{
    return listOf(dialog, "Modifier (keyboard)");
}
QComboBox* media(QWidget& dialog)
{
    return listOf(dialog, "Multimedia key");
}
QComboBox* mouse(QWidget& dialog)
{
    return listOf(dialog, "Mouse action");
}
QComboBox* macros(QWidget& dialog)
{
    return listOf(dialog, "Macro");
}

int shownPage(QWidget& dialog)
{
    return dialog.findChild<QStackedWidget*>()->currentIndex();
}

QStringList textsOf(const QComboBox* list)
{
    QStringList texts;
    for (int index = 0; index < list->count(); ++index)
        texts += list->itemText(index);
    return texts;
}

QList<int> dataOf(const QComboBox* list)
{
    QList<int> data;
    for (int index = 0; index < list->count(); ++index)
        data += list->itemData(index).toInt();
    return data;
}

void giveMacros(const QStringList& names)
{
    AppState::instance().macros.clear();
    for (const QString& name : names)
        AppState::instance().macros += MacroRecord{name, {}};
}

int macroCount()
{
    return static_cast<int>(AppState::instance().macros.size());
}

// What the list shows when the dialog opens on the action.
QString preset(const KeyAction& current, List list)
{
    ActionDialog dialog(current, macroCount());
    return list(dialog)->currentIndex() < 0 ? nothing : list(dialog)->currentText();
}

// Runs the dialog on the action; what is done in it happens while it is open.
KeyAction run(const KeyAction& current, const std::function<void(QWidget&)>& inDialog,
              const QString& button)
{
    ActionDialog dialog(current, macroCount());
    onNextDialog([&](QWidget& opened) {
        inDialog(opened);
        clickButton(opened, button);
    });
    const int result = dialog.exec();
    if ((result == QDialog::Accepted) != (button == QLatin1String("OK")))
        qFatal("the dialog did not end as its button says");
    return dialog.action();
}

KeyAction accepted(
    const KeyAction& current, const std::function<void(QWidget&)>& inDialog = [](QWidget&) {})
{
    return run(current, inDialog, QStringLiteral("OK"));
}

void choose(QComboBox* list, const QString& text)
{
    const int index = list->findText(text);
    if (index < 0)
        qFatal("no item %s", qPrintable(text));
    list->setCurrentIndex(index);
}

QByteArray nameOf(const KeyAction& action)
{
    return QByteArray::number(action.page) + "/" + QByteArray::number(action.p1) + "/" +
           QByteArray::number(action.p2) + "/" + QByteArray::number(action.p3);
}

} // namespace

class ActionDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void looks()
    {
        ActionDialog dialog({}, 0);
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Assign key"));
        QCOMPARE(dialog.minimumWidth(), 460);
        auto* form = dialog.findChild<QFormLayout*>();
        QCOMPARE(form->spacing(), 10);
        QCOMPARE(form->rowCount(), 3);
        const auto labelOf = [form](QWidget* field) {
            return qobject_cast<QLabel*>(form->labelForField(field))->text();
        };
        QCOMPARE(labelOf(types(dialog)), QStringLiteral("Assignment type"));
        QCOMPARE(labelOf(modifiers(dialog)), QStringLiteral("Modifier (keyboard)"));
        QVERIFY(form->labelForField(dialog.findChild<QStackedWidget*>()) == nullptr);
    }

    void typesWithoutMacros()
    {
        ActionDialog dialog({}, 0);
        QCOMPARE(textsOf(types(dialog)),
                 QStringList({"Default key", "Keyboard key (+ modifiers)", "Multimedia key",
                              "Mouse action", "Disabled"}));
        QCOMPARE(dataOf(types(dialog)), QList<int>({0, 2, 3, 1, 5}));
    }

    void typesWithMacros()
    {
        giveMacros({QStringLiteral("copy"), QStringLiteral("paste")});
        ActionDialog dialog({}, 2);
        QCOMPARE(textsOf(types(dialog)).last(), QStringLiteral("Macro"));
        QCOMPARE(dataOf(types(dialog)), QList<int>({0, 2, 3, 1, 5, 6}));
        QCOMPARE(textsOf(macros(dialog)), QStringList({"copy", "paste"}));
        QCOMPARE(dataOf(macros(dialog)), QList<int>({0, 1}));
    }

    void keysAndTheirNames()
    {
        ActionDialog dialog({}, 0);
        QList<int> usages;
        for (int usage = 0x04; usage <= 0x73; ++usage)
            usages += usage;
        for (int usage = 0xE0; usage <= 0xE7; ++usage)
            usages += usage;
        QCOMPARE(dataOf(keys(dialog)), usages);
        for (int index = 0; index < usages.size(); ++index)
            QCOMPARE(keys(dialog)->itemText(index),
                     keyName(static_cast<std::uint8_t>(usages.at(index))));
        QCOMPARE(keys(dialog)->itemText(0), QStringLiteral("A"));
        QCOMPARE(keys(dialog)->itemText(96), QStringLiteral("0x64"));
        QCOMPARE(keys(dialog)->itemText(118), QStringLiteral("R Alt"));
    }

    void otherLists()
    {
        ActionDialog dialog({}, 0);
        QCOMPARE(textsOf(modifiers(dialog)),
                 QStringList({"None", "Ctrl", "Shift", "Alt", "Win", "Right Ctrl", "Right Shift",
                              "Right Alt", "Right Win"}));
        QCOMPARE(dataOf(modifiers(dialog)), QList<int>({0, 1, 2, 4, 8, 16, 32, 64, 128}));
        QCOMPARE(textsOf(media(dialog)),
                 QStringList({"Next track", "Previous track", "Stop", "Play / Pause", "Mute",
                              "Volume up", "Volume down", "Calculator", "Mail", "Sleep"}));
        QCOMPARE(dataOf(media(dialog)),
                 QList<int>({0xB5, 0xB6, 0xB7, 0xCD, 0xE2, 0xE9, 0xEA, 0x92, 0x9C, 0x83}));
        QCOMPARE(textsOf(mouse(dialog)),
                 QStringList({"Left click", "Right click", "Middle click", "Scroll up",
                              "Scroll down", "Mouse button 4", "Mouse button 5"}));
        QCOMPARE(dataOf(mouse(dialog)),
                 QList<int>({0x0101, 0x0102, 0x0104, 0x0301, 0x03FF, 0x0108, 0x0110}));
    }

    void stackOrder()
    {
        giveMacros({QStringLiteral("copy")});
        ActionDialog dialog({}, 1);
        auto* stack = dialog.findChild<QStackedWidget*>();
        QCOMPARE(stack->count(), 6);
        const auto holds = [stack](int page, const QWidget* control) {
            return stack->widget(page)->isAncestorOf(control);
        };
        QCOMPARE(stack->widget(0)->findChild<QLabel*>()->text(),
                 QStringLiteral("The key keeps its factory function."));
        QVERIFY(holds(1, mouse(dialog)));
        QVERIFY(holds(2, keys(dialog)));
        QVERIFY(holds(3, media(dialog)));
        QCOMPARE(stack->widget(4)->findChild<QLabel*>()->text(),
                 QStringLiteral("The key will do nothing."));
        QVERIFY(holds(5, macros(dialog)));
    }

    void chosenTypeBringsUpItsPage_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("page");
        QTest::newRow("keyboard") << QStringLiteral("Keyboard key (+ modifiers)") << 1;
        QTest::newRow("multimedia") << QStringLiteral("Multimedia key") << 2;
        QTest::newRow("disabled") << QStringLiteral("Disabled") << 3;
        QTest::newRow("macro") << QStringLiteral("Macro") << 4;
    }
    void chosenTypeBringsUpItsPage()
    {
        QFETCH(QString, type);
        QFETCH(int, page);
        giveMacros({QStringLiteral("copy")});
        accepted({}, [&](QWidget& dialog) {
            QCOMPARE(shownPage(dialog), 0);
            choose(types(dialog), type);
            QCOMPARE(shownPage(dialog), page);
            choose(types(dialog), QStringLiteral("Mouse action")); // leaves the page as it was
            QCOMPARE(shownPage(dialog), page);
            choose(types(dialog), QStringLiteral("Default key"));
            QCOMPARE(shownPage(dialog), 0);
        });
        QCOMPARE(dialogsStillExpected(), 0);
    }

    void presetTypeAndPage_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("page");
        const QHash<int, std::pair<QString, int>> offered{
            {1, {QStringLiteral("Mouse action"), 0}},
            {2, {QStringLiteral("Keyboard key (+ modifiers)"), 1}},
            {3, {QStringLiteral("Multimedia key"), 2}},
            {5, {QStringLiteral("Disabled"), 3}},
            {6, {QStringLiteral("Macro"), 4}},
        };
        const std::pair<QString, int> other{QStringLiteral("Default key"), 0};
        for (const int kind : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 127, 128, 255}) {
            const auto expected = offered.value(kind, other);
            QTest::addRow("kind %d", kind) << kind << expected.first << expected.second;
        }
    }
    void presetTypeAndPage()
    {
        QFETCH(int, kind);
        QFETCH(QString, type);
        QFETCH(int, page);
        giveMacros({QStringLiteral("copy")});
        ActionDialog dialog({static_cast<std::uint8_t>(kind), 0, 0, 0}, 1);
        QCOMPARE(types(dialog)->currentText(), type);
        QCOMPARE(shownPage(dialog), page);
    }

    void macroActionWithoutMacrosOpensAsDefault()
    {
        ActionDialog dialog({6, 0, 0, 0}, 0);
        QCOMPARE(types(dialog)->count(), 5);
        QCOMPARE(types(dialog)->currentText(), QStringLiteral("Default key"));
        QCOMPARE(shownPage(dialog), 0);
    }

    void presetChoices()
    {
        giveMacros({QStringLiteral("copy"), QStringLiteral("paste")});
        QCOMPARE(preset({1, 3, 0xFF, 0}, mouse), QStringLiteral("Scroll down"));
        QCOMPARE(preset({1, 9, 9, 0}, mouse), nothing);
        QCOMPARE(preset({2, 0x40, 0x04, 0}, keys), QStringLiteral("A"));
        QCOMPARE(preset({2, 0x40, 0x04, 0}, modifiers), QStringLiteral("Right Alt"));
        QCOMPARE(preset({2, 0, 0x2C, 0}, keys), QStringLiteral("Space"));
        QCOMPARE(preset({2, 0, 0x2C, 0}, modifiers), QStringLiteral("None"));
        QCOMPARE(preset({2, 3, 0x90, 0}, keys), nothing);
        QCOMPARE(preset({2, 3, 0x90, 0}, modifiers), nothing);
        QCOMPARE(preset({3, 0x9C, 0, 0}, media), QStringLiteral("Mail"));
        QCOMPARE(preset({3, 0x23, 0, 0}, media), nothing);
        QCOMPARE(preset({6, 1, 0, 0}, macros), QStringLiteral("paste"));
        QCOMPARE(preset({6, 2, 0, 0}, macros), nothing);
    }

    // What the action says nothing of keeps its first choice.
    void otherListsStandOnTheirFirstChoice()
    {
        giveMacros({QStringLiteral("copy"), QStringLiteral("paste")});
        for (const KeyAction& current : {KeyAction{},
                                         {1, 1, 1, 0},
                                         {2, 1, 4, 0},
                                         {3, 0xB5, 0, 0},
                                         {5, 0, 0, 0},
                                         {6, 0, 0, 0}}) {
            QCOMPARE(preset(current, macros), QStringLiteral("copy"));
            QCOMPARE(preset(current, media), QStringLiteral("Next track"));
            QCOMPARE(preset(current, mouse), QStringLiteral("Left click"));
            QCOMPARE(preset(current, keys), QStringLiteral("A"));
        }
    }

    void acceptedUnchanged_data()
    {
        QTest::addColumn<KeyAction>("current");
        QTest::addColumn<KeyAction>("expected");
        const auto row = [](const KeyAction& current, const KeyAction& expected) {
            QTest::newRow(nameOf(current).constData()) << current << expected;
        };
        row({}, {});
        row({0, 1, 2, 3}, {});
        row({1, 3, 0xFF, 0}, {1, 3, 0xFF, 0});
        row({1, 9, 9, 0}, {1, 0, 0, 0});
        row({2, 0x02, 0x04, 0}, {2, 0x02, 0x04, 0});
        row({2, 0x02, 0x04, 7}, {2, 0x02, 0x04, 0});
        row({2, 0x03, 0x04, 0}, {2, 0, 0x04, 0}); // two modifiers are not in the list
        row({2, 0x40, 0, 0}, {2, 0x40, 0, 0});    // a lone modifier has no key
        row({2, 0x01, 0xE5, 0}, {2, 0x20, 0, 0}); // such a key is its own modifier
        row({3, 0xE2, 5, 5}, {3, 0xE2, 0, 0});
        row({3, 0x23, 0, 0}, {3, 0, 0, 0});
        row({4, 1, 2, 3}, {});
        row({5, 3, 0, 0}, {5, 0, 0, 0});
        row({6, 1, 0, 0}, {6, 1, 0, 0});
        row({6, 2, 0, 0}, {6, 0, 0, 0}); // no such macro
        row({6, 255, 1, 1}, {6, 0, 0, 0});
        row({7, 1, 2, 3}, {});
        row({8, 1, 2, 3}, {});
        row({255, 1, 2, 3}, {});
    }
    void acceptedUnchanged()
    {
        QFETCH(KeyAction, current);
        QFETCH(KeyAction, expected);
        giveMacros({QStringLiteral("copy"), QStringLiteral("paste")});
        QCOMPARE(nameOf(accepted(current)), nameOf(expected));
    }

    void choicesMakeTheAction_data()
    {
        QTest::addColumn<Choices>("choices");
        QTest::addColumn<KeyAction>("expected");
        const auto row = [](const char* name, const Choices& choices, const KeyAction& expected) {
            QTest::newRow(name) << choices << expected;
        };
        const QString key = QStringLiteral("Keyboard key (+ modifiers)");
        row("key with modifier", {{types, key}, {keys, "A"}, {modifiers, "Shift"}},
            {2, 0x02, 0x04, 0});
        row("modifier key drops the modifier", {{types, key}, {keys, "R Alt"}, {modifiers, "Ctrl"}},
            {2, 0x40, 0, 0});
        row("mouse action", {{types, "Mouse action"}, {mouse, "Scroll down"}}, {1, 0x03, 0xFF, 0});
        // The lists start on their first items, which is what an untouched one yields.
        row("untouched keyboard", {{types, key}}, {2, 0, 0x04, 0});
        row("untouched multimedia", {{types, "Multimedia key"}}, {3, 0xB5, 0, 0});
        row("untouched mouse", {{types, "Mouse action"}}, {1, 1, 1, 0});
        row("disabled", {{types, "Disabled"}}, {5, 0, 0, 0});
        row("untouched macro", {{types, "Macro"}}, {6, 0, 0, 0});
        row("lists of other types",
            {{keys, "Z"},
             {modifiers, "Win"},
             {mouse, "Scroll up"},
             {macros, "paste"},
             {media, "Mute"},
             {types, "Multimedia key"}},
            {3, 0xE2, 0, 0});
    }
    void choicesMakeTheAction()
    {
        QFETCH(Choices, choices);
        QFETCH(KeyAction, expected);
        giveMacros({QStringLiteral("copy"), QStringLiteral("paste")});
        const KeyAction action = accepted({9, 9, 9, 9}, [&](QWidget& dialog) {
            for (const auto& [list, text] : choices)
                choose(list(dialog), text);
        });
        QCOMPARE(nameOf(action), nameOf(expected));
    }

    void everyOfferedKeyComesBack()
    {
        for (const std::uint8_t usage : offeredKeyUsages()) {
            const KeyAction action = keyboardKeyAction(usage, 0x08);
            ActionDialog dialog(action, 0);
            dialog.accept();
            QCOMPARE(nameOf(dialog.action()), nameOf(action));
        }
    }

    void cancelledDialogHasNoAction()
    {
        const KeyAction action = run(
            {2, 0x02, 0x04, 0},
            [](QWidget& dialog) { choose(types(dialog), QStringLiteral("Disabled")); },
            QStringLiteral("Cancel"));
        QCOMPARE(nameOf(action), nameOf({}));
    }

    // Neither width nor layout depends on what a macro is called.
    void longMacroNamesDoNotWidenTheDialog()
    {
        giveMacros({QString(600, u'W')});
        ActionDialog dialog({6, 0, 0, 0}, 1);
        QVERIFY(dialog.sizeHint().width() < 700);
        QCOMPARE(macros(dialog)->currentText(), QString(600, u'W'));
    }

    void escapeAndReturn()
    {
        ActionDialog dialog({3, 0xE2, 0, 0}, 0);
        onNextDialog([](QWidget& opened) { QTest::keyClick(&opened, Qt::Key_Escape); });
        QCOMPARE(dialog.exec(), int{QDialog::Rejected});
        ActionDialog second({3, 0xE2, 0, 0}, 0);
        onNextDialog([](QWidget& opened) { QTest::keyClick(&opened, Qt::Key_Return); });
        QCOMPARE(second.exec(), int{QDialog::Accepted});
        QCOMPARE(nameOf(second.action()), nameOf({3, 0xE2, 0, 0}));
    }
};

TAVIK_ISOLATED_TEST_MAIN(ActionDialogTest)

#include "action_dialog_test.moc"
