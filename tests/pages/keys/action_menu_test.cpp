#include "model/key_names.h"
#include "pages/keys/action_menu.h"
#include "tests/support/isolated_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace tavik;

namespace {

QList<MacroRecord> macrosCalled(const QStringList& names)
{
    QList<MacroRecord> macros;
    for (const QString& name : names)
        macros += MacroRecord{name, {}};
    return macros;
}

QList<MacroRecord> numberedMacros(int count)
{
    QStringList names;
    for (int index = 0; index < count; ++index)
        names += QStringLiteral("macro number %1").arg(index);
    return macrosCalled(names);
}

QMenu* group(const QMenu& menu, const QString& title)
{
    for (const QAction* item : menu.actions()) {
        if (item->menu() != nullptr && item->text() == title)
            return item->menu();
    }
    return nullptr;
}

QStringList textsOf(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* item : menu->actions())
        texts += item->isSeparator() ? QStringLiteral("-") : item->text();
    return texts;
}

// Every item of the menu and of its sub-menus that is neither a sub-menu nor a line.
QList<QAction*> choicesOf(const QMenu& menu)
{
    QList<QAction*> choices;
    for (QAction* item : menu.actions()) {
        if (item->menu() != nullptr)
            choices += choicesOf(*item->menu());
        else if (!item->isSeparator())
            choices += item;
    }
    return choices;
}

QList<KeyAction> actionsChosenBy(ActionMenu& menu, const QList<QAction*>& items)
{
    QList<KeyAction> actions;
    QObject::connect(&menu, &ActionMenu::actionChosen, &menu,
                     [&actions](const KeyAction& action) { actions += action; });
    for (QAction* item : items)
        item->trigger();
    return actions;
}

} // namespace

class ActionMenuTest : public QObject
{
    Q_OBJECT

private slots:
    void topLevel()
    {
        const ActionMenu menu({}, macrosCalled({QStringLiteral("copy")}));
        QCOMPARE(textsOf(&menu), QStringList({"Assign…",
                                              "-",
                                              "Default key",
                                              "Disabled",
                                              "-",
                                              "Letters A to M",
                                              "Letters N to Z",
                                              "Digits",
                                              "Punctuation",
                                              "Editing",
                                              "Navigation",
                                              "Function keys",
                                              "Modifiers",
                                              "Locks and system",
                                              "Keypad",
                                              "Unnamed keys",
                                              "-",
                                              "Multimedia",
                                              "Mouse",
                                              "Macros"}));
    }

    void subMenusHaveNoSubMenus()
    {
        const ActionMenu menu({}, numberedMacros(100));
        for (const QAction* item : menu.actions()) {
            if (item->menu() == nullptr)
                continue;
            for (const QAction* inner : item->menu()->actions())
                QVERIFY2(inner->menu() == nullptr, qPrintable(item->text()));
        }
    }

    void groupsHoldTheirKeys()
    {
        const ActionMenu menu({}, {});
        QCOMPARE(textsOf(group(menu, QStringLiteral("Editing"))),
                 QStringList({"Enter", "Esc", "Backspace", "Tab", "Space", "Insert", "Delete"}));
        QCOMPARE(textsOf(group(menu, QStringLiteral("Navigation"))),
                 QStringList({"→", "←", "↓", "↑", "Home", "PgUp", "End", "PgDn"}));
        QCOMPARE(textsOf(group(menu, QStringLiteral("Locks and system"))),
                 QStringList({"Caps Lock", "Num Lock", "Print Screen", "Scroll Lock", "Pause"}));
        QCOMPARE(textsOf(group(menu, QStringLiteral("Digits"))),
                 QStringList({"1", "2", "3", "4", "5", "6", "7", "8", "9", "0"}));
        QCOMPARE(textsOf(group(menu, QStringLiteral("Modifiers"))),
                 QStringList({"L Ctrl", "L Shift", "L Alt", "L Win", "R Ctrl", "R Shift", "R Alt",
                              "R Win"}));
    }

    // Each action that the dialog can make without a modifier, and each once.
    void everyActionIsThereOnce()
    {
        ActionMenu menu({}, numberedMacros(3));
        QList<KeyAction> expected{{}, disabledKeyAction()};
        for (const std::uint8_t usage : offeredKeyUsages())
            expected += keyboardKeyAction(usage, 0);
        for (const MediaChoice& choice : mediaChoices)
            expected += consumerKeyAction(choice.usage);
        for (const MouseChoice& choice : mouseChoices)
            expected += mouseKeyAction(choice.value);
        for (int index = 0; index < 3; ++index)
            expected += macroKeyAction(index);

        QList<QAction*> items = choicesOf(menu);
        items.removeFirst(); // "Assign…"
        const QList<KeyAction> offered = actionsChosenBy(menu, items);
        QCOMPARE(offered.size(), expected.size());
        for (const KeyAction& action : expected)
            QVERIFY2(offered.contains(action),
                     qPrintable(QString::number(action.page) + u'/' + QString::number(action.p1) +
                                u'/' + QString::number(action.p2)));
    }

    void itemsAreCalledWhatTheyDo()
    {
        ActionMenu menu({}, {});
        QList<QAction*> keyItems;
        for (const QString& title : textsOf(&menu)) {
            if (const QMenu* keys = group(menu, title))
                keyItems += keys->actions();
        }
        const QList<KeyAction> actions = actionsChosenBy(menu, keyItems);
        int compared = 0;
        for (int index = 0; index < keyItems.size(); ++index) {
            const KeyAction& action = actions.at(index);
            if (action.page != 2)
                continue;
            // A lone modifier is stored as its bit; its usages start at 0xE0.
            const int usage = action.p2 != 0 ? action.p2 : 0xE0 + qCountTrailingZeroBits(action.p1);
            QCOMPARE(keyItems.at(index)->text(), keyName(static_cast<std::uint8_t>(usage)));
            ++compared;
        }
        QCOMPARE(compared, 120);
    }

    void dialogIsAskedFor()
    {
        ActionMenu menu({}, {});
        QSignalSpy requests(&menu, &ActionMenu::assignRequested);
        QSignalSpy choices(&menu, &ActionMenu::actionChosen);
        menu.actions().first()->trigger();
        QCOMPARE(requests.count(), 1);
        QCOMPARE(choices.count(), 0);
    }

    void withoutMacrosThereIsNoMacroMenu()
    {
        const ActionMenu menu({}, {});
        QCOMPARE(textsOf(&menu).last(), QStringLiteral("Mouse"));
    }

    void macroNamesAreShownAsTheyAre()
    {
        const QString longName(60, u'W');
        ActionMenu menu({}, macrosCalled({QStringLiteral("cut & paste"), QStringLiteral("a\tb\nc"),
                                          QString(), QStringLiteral("  "), longName,
                                          QStringLiteral("نسخ"), QStringLiteral("🎮")}));
        const QMenu* macros = group(menu, QStringLiteral("Macros"));
        QStringList shown = textsOf(macros);
        QVERIFY(shown.at(4).endsWith(u'…'));
        QVERIFY(longName.startsWith(shown.at(4).chopped(1)));
        QVERIFY(macros->actions().at(4)->toolTip().contains(longName));
        shown.removeAt(4);
        QCOMPARE(shown, QStringList({"cut && paste", "a b c", "Macro 2", "Macro 3", "نسخ", "🎮"}));
        QVERIFY(macros->sizeHint().width() < 450);
    }

    void toolTipShowsMarkupOfANameAsText()
    {
        const ActionMenu menu({},
                              macrosCalled({QStringLiteral("<b>%1</b>").arg(QString(60, u'W'))}));
        const QMenu* macros = group(menu, QStringLiteral("Macros"));
        QVERIFY(macros->actions().first()->toolTip().contains(QLatin1String("&lt;b&gt;WWW")));
    }

    void manyMacrosAreDividedAmongSubMenus()
    {
        ActionMenu menu({}, numberedMacros(41));
        QCOMPARE(textsOf(&menu).mid(19),
                 QStringList({"Macros 1 to 20", "Macros 21 to 40", "Macros 41 to 41"}));
        QCOMPARE(group(menu, QStringLiteral("Macros 21 to 40"))->actions().size(), 20);
        const QList<KeyAction> chosen =
            actionsChosenBy(menu, group(menu, QStringLiteral("Macros 41 to 41"))->actions());
        QCOMPARE(chosen, QList<KeyAction>{macroKeyAction(40)});
    }

    void twentyMacrosFitOneSubMenu()
    {
        const ActionMenu menu({}, numberedMacros(20));
        QCOMPARE(group(menu, QStringLiteral("Macros"))->actions().size(), 20);
    }

    // The 257th would be stored as the first.
    void macrosBeyondEightBitsAreNotOffered()
    {
        ActionMenu menu({}, numberedMacros(300));
        QCOMPARE(textsOf(&menu).last(), QStringLiteral("Macros 241 to 256"));
        const QList<KeyAction> chosen = actionsChosenBy(
            menu, group(menu, QStringLiteral("Macros 241 to 256"))->actions().mid(15));
        QCOMPARE(chosen, QList<KeyAction>{macroKeyAction(255)});
    }

    void markLeadsToTheCurrentAction_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("p1");
        QTest::addColumn<int>("p2");
        QTest::addColumn<QStringList>("marked");
        QTest::newRow("default") << 0 << 0 << 0 << QStringList{"Default key"};
        QTest::newRow("disabled") << 5 << 0 << 0 << QStringList{"Disabled"};
        QTest::newRow("key") << 2 << 0 << 0x28 << QStringList{"Editing", "Enter"};
        QTest::newRow("modifier") << 2 << 0x40 << 0 << QStringList{"Modifiers", "R Alt"};
        QTest::newRow("media") << 3 << 0xE2 << 0 << QStringList{"Multimedia", "Mute"};
        QTest::newRow("mouse") << 1 << 3 << 0xFF << QStringList{"Mouse", "Scroll down"};
        QTest::newRow("macro") << 6 << 1 << 0 << QStringList{"Macros", "macro number 1"};
        QTest::newRow("combination") << 2 << 3 << 0x04 << QStringList();
        QTest::newRow("unknown") << 9 << 0 << 0 << QStringList();
    }
    void markLeadsToTheCurrentAction()
    {
        QFETCH(int, page);
        QFETCH(int, p1);
        QFETCH(int, p2);
        QFETCH(QStringList, marked);
        const KeyAction current{static_cast<std::uint8_t>(page), static_cast<std::uint8_t>(p1),
                                static_cast<std::uint8_t>(p2), 0};
        const ActionMenu menu(current, numberedMacros(2));
        QStringList found;
        for (const QAction* item : menu.findChildren<QAction*>()) {
            if (item->isChecked())
                found += item->text();
        }
        found.sort();
        marked.sort();
        QCOMPARE(found, marked);
    }
};

TAVIK_ISOLATED_TEST_MAIN(ActionMenuTest)

#include "action_menu_test.moc"
