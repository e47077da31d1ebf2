// SPDX-License-Identifier: MIT
#include "model/key_names.h"
#include "pages/keys/action_menu.h"
#include "tests/support/isolated_main.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace tavik;

namespace {

const QString withModifiers = QStringLiteral("With modifiers");

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
    const auto menus = menu.findChildren<QMenu*>();
    const auto found = std::ranges::find(menus, title, &QMenu::title);
    return found == menus.end() ? nullptr : *found;
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

QStringList markedIn(const ActionMenu& menu)
{
    QStringList texts;
    for (const QAction* item : menu.findChildren<QAction*>()) {
        if (item->isChecked())
            texts += item->text();
    }
    texts.sort();
    return texts;
}

} // namespace

class ActionMenuTest : public QObject
{
    Q_OBJECT

private slots:
    void topLevel()
    {
        const ActionMenu menu(QStringLiteral("Caps Lock"), {},
                              macrosCalled({QStringLiteral("copy")}));
        QCOMPARE(textsOf(&menu),
                 QStringList({"Caps Lock: Default key", "-", "Assign…", "Press the keys…",
                              "With modifiers", "-", "Default key", "Disabled", "Macros", "-",
                              "Keys", "Multimedia", "Mouse"}));
    }

    void headingTellsTheKeyAndWhatItDoes()
    {
        const QList<MacroRecord> macros = macrosCalled({QStringLiteral("Greet <b>")});
        const ActionMenu menu(QStringLiteral("Tab"), macroKeyAction(0), macros);
        const auto* heading = menu.findChild<QLabel*>();
        QCOMPARE(heading->text(), QStringLiteral("Tab: Macro \"Greet <b>\""));
        QCOMPARE(heading->textFormat(), Qt::PlainText);
        QCOMPARE(heading->contentsMargins(), QMargins(14, 4, 14, 4)); // as the items below it
        QVERIFY(!menu.actions().first()->isEnabled());
        const ActionMenu long_(QStringLiteral("Tab"), macroKeyAction(0),
                               macrosCalled({QString(5000, u'n')}));
        QVERIFY(long_.sizeHint().width() < 450);
        auto* cut = long_.findChild<QLabel*>();
        cut->ensurePolished(); // the weight with which it is shown
        QCOMPARE(cut->font().weight(), QFont::DemiBold);
        QVERIFY(cut->fontMetrics().horizontalAdvance(cut->text()) <= 320);
    }

    void modifiersAreForKeyActionsOnly()
    {
        for (const KeyAction& current :
             {KeyAction(), disabledKeyAction(), consumerKeyAction(0xE2), macroKeyAction(0)}) {
            const ActionMenu menu(QStringLiteral("A"), current, {});
            QVERIFY(!group(menu, withModifiers)->isEnabled());
            // Assistive tools press what is in it without opening it.
            for (const QAction* modifier : group(menu, withModifiers)->actions())
                QVERIFY(!modifier->isEnabled());
        }
        QVERIFY(group(ActionMenu(QStringLiteral("A"), keyboardKeyAction(4, 0), {}), withModifiers)
                    ->isEnabled());
    }

    // Every key with every set of modifiers, one click for each modifier.
    void everySetOfModifiersCanBeChosen()
    {
        int sets = 0;
        for (const std::uint8_t usage : offeredKeyUsages()) {
            const KeyAction start = keyboardKeyAction(usage, 0);
            ActionMenu menu(QStringLiteral("A"), start, {});
            const QList<QAction*> items = group(menu, withModifiers)->actions();
            QCOMPARE(items.size(), 8);
            KeyAction chosen = start;
            int choices = 0;
            connect(&menu, &ActionMenu::actionChosen, &menu, [&](const KeyAction& action) {
                chosen = action;
                ++choices;
            });
            QSet<int> masks;
            // One item at a time changes, so that all sets come by.
            for (int step = 0; step < 256; ++step) {
                const int mask = chosen.p1;
                masks.insert(mask);
                QCOMPARE(chosen, (KeyAction{2, static_cast<std::uint8_t>(mask), start.p2, 0}));
                for (int bit = 0; bit < 8; ++bit)
                    QCOMPARE(items.at(bit)->isChecked(), (mask >> bit & 1) == 1);
                QAction* next = items.at(qCountTrailingZeroBits(quint32(step + 1)) % 8);
                const bool isLast =
                    start.p2 == 0 && (mask & ~next->data().toInt()) == 0 && mask != 0;
                QCOMPARE(next->isEnabled(), !isLast);
                next->trigger();
                QCOMPARE(choices, isLast ? 0 : 1);
                choices = 0;
            }
            QCOMPARE(masks.size(), start.p2 == 0 ? 255 : 256);
            sets += static_cast<int>(masks.size());
        }
        QCOMPARE(sets, 112 * 256 + 8 * 255);
    }

    void modifiersStayOpenForTheNext()
    {
        QWidget page;
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        ActionMenu menu(QStringLiteral("A"), keyboardKeyAction(5, 0), {}, &page);
        QList<int> masks;
        connect(&menu, &ActionMenu::actionChosen, &menu,
                [&](const KeyAction& action) { masks += action.p1; });
        QMenu* modifiers = group(menu, withModifiers);
        modifiers->popup({10, 10});
        QTRY_VERIFY(modifiers->isVisible());
        // Let go over it after the menu was dragged open; a whole click of a test's making would
        // close the menu in some versions of Qt.
        QTest::mouseRelease(modifiers, Qt::LeftButton, {},
                            modifiers->actionGeometry(modifiers->actions().at(0)).center());
        QCOMPARE(masks, QList<int>({0x01}));
        QVERIFY(modifiers->isVisible());
        QTest::keyClick(modifiers, Qt::Key_Down);
        QTest::keyClick(modifiers, Qt::Key_Down);
        QTest::keyClick(modifiers, Qt::Key_Space);
        QCOMPARE(masks, QList<int>({0x01, 0x03}));
        QVERIFY(modifiers->isVisible());
        QTest::keyClick(modifiers, Qt::Key_Escape);
        QVERIFY(!modifiers->isVisible());
    }

    void chordIsAskedFor()
    {
        ActionMenu menu(QStringLiteral("A"), {}, {});
        QSignalSpy requests(&menu, &ActionMenu::chordRequested);
        menu.actions().at(3)->trigger();
        QCOMPARE(requests.count(), 1);
    }

    // Also where none of them is the current one.
    void itemsStandInLine()
    {
        const ActionMenu menu(QStringLiteral("A"), disabledKeyAction(), numberedMacros(2));
        for (QAction* item : choicesOf(menu).mid(3))
            QVERIFY2(item->isCheckable(), qPrintable(item->text()));
    }

    void keysAreInGroups()
    {
        const ActionMenu menu(QStringLiteral("Caps Lock"), {}, {});
        QCOMPARE(textsOf(group(menu, QStringLiteral("Keys"))),
                 QStringList({"Letters A to M", "Letters N to Z", "Digits", "Punctuation",
                              "Editing", "Navigation", "Function keys", "Modifiers",
                              "Locks and system", "Keypad", "Unnamed keys"}));
    }

    void groupsHoldTheirKeys()
    {
        const ActionMenu menu(QStringLiteral("Caps Lock"), {}, {});
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
        ActionMenu menu(QStringLiteral("Caps Lock"), {}, numberedMacros(3));
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
        items.remove(0, 11); // the heading, the two dialogs, the modifiers
        const QList<KeyAction> offered = actionsChosenBy(menu, items);
        QCOMPARE(offered.size(), expected.size());
        for (const KeyAction& action : expected)
            QVERIFY2(offered.contains(action),
                     qPrintable(QString::number(action.page) + u'/' + QString::number(action.p1) +
                                u'/' + QString::number(action.p2)));
    }

    void itemsAreCalledWhatTheyDo()
    {
        ActionMenu menu(QStringLiteral("Caps Lock"), {}, {});
        QList<QAction*> keyItems = choicesOf(*group(menu, QStringLiteral("Keys")));
        const QList<KeyAction> actions = actionsChosenBy(menu, keyItems);
        int compared = 0;
        for (int index = 0; index < keyItems.size(); ++index) {
            const KeyAction& action = actions.at(index);
            if (action.page != 2)
                continue;
            // A lone modifier is stored as its bit; its usages start at 0xE0.
            const unsigned usage =
                action.p2 != 0 ? action.p2 : 0xE0 + qCountTrailingZeroBits(action.p1);
            QCOMPARE(keyItems.at(index)->text(), keyName(static_cast<std::uint8_t>(usage)));
            ++compared;
        }
        QCOMPARE(compared, 120);
    }

    void dialogIsAskedFor()
    {
        ActionMenu menu(QStringLiteral("Caps Lock"), {}, {});
        QSignalSpy requests(&menu, &ActionMenu::assignRequested);
        QSignalSpy choices(&menu, &ActionMenu::actionChosen);
        menu.actions().at(2)->trigger();
        QCOMPARE(requests.count(), 1);
        QCOMPARE(choices.count(), 0);
    }

    void withoutMacrosThereIsNoMacroMenu()
    {
        const ActionMenu menu(QStringLiteral("Caps Lock"), {}, {});
        QVERIFY(group(menu, QStringLiteral("Macros")) == nullptr);
    }

    void macroNamesAreShownAsTheyAre()
    {
        const QString longName(60, u'W');
        ActionMenu menu(QStringLiteral("Caps Lock"), {},
                        macrosCalled({QStringLiteral("cut & paste"), QStringLiteral("a\tb\nc"),
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
        const ActionMenu menu(QStringLiteral("Caps Lock"), {},
                              macrosCalled({QStringLiteral("<b>%1</b>").arg(QString(60, u'W'))}));
        const QMenu* macros = group(menu, QStringLiteral("Macros"));
        QVERIFY(macros->actions().first()->toolTip().contains(QLatin1String("&lt;b&gt;WWW")));
        QVERIFY(macros->toolTipsVisible());
    }

    void manyMacrosAreDividedAmongSubMenus()
    {
        ActionMenu menu(QStringLiteral("Caps Lock"), {}, numberedMacros(41));
        QCOMPARE(textsOf(&menu).mid(8, 3),
                 QStringList({"Macros 1 to 20", "Macros 21 to 40", "Macros 41 to 41"}));
        QCOMPARE(group(menu, QStringLiteral("Macros 21 to 40"))->actions().size(), 20);
        const QList<KeyAction> chosen =
            actionsChosenBy(menu, group(menu, QStringLiteral("Macros 41 to 41"))->actions());
        QCOMPARE(chosen, QList<KeyAction>{macroKeyAction(40)});
    }

    void twentyMacrosFitOneSubMenu()
    {
        const ActionMenu menu(QStringLiteral("Caps Lock"), {}, numberedMacros(20));
        QCOMPARE(group(menu, QStringLiteral("Macros"))->actions().size(), 20);
    }

    // The 257th would be stored as the first.
    void macrosBeyondEightBitsAreNotOffered()
    {
        ActionMenu menu(QStringLiteral("Caps Lock"), {}, numberedMacros(300));
        QVERIFY(group(menu, QStringLiteral("Macros 257 to 276")) == nullptr);
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
        QTest::newRow("key") << 2 << 0 << 0x28 << QStringList{"Editing", "Enter", "Keys"};
        QTest::newRow("modifier") << 2 << 0x40 << 0
                                  << QStringList{"Keys", "Modifiers", "R Alt", "Right Alt"};
        QTest::newRow("media") << 3 << 0xE2 << 0 << QStringList{"Multimedia", "Mute"};
        QTest::newRow("mouse") << 1 << 3 << 0xFF << QStringList{"Mouse", "Scroll down"};
        QTest::newRow("macro") << 6 << 1 << 0 << QStringList{"Macros", "macro number 1"};
        QTest::newRow("combination") << 2 << 3 << 0x04 << QStringList{"Ctrl", "Shift"};
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
        const ActionMenu menu(QStringLiteral("Caps Lock"), current, numberedMacros(2));
        marked.sort();
        QCOMPARE(markedIn(menu), marked);
    }

    void markGoesWithWhatWasTheAction()
    {
        ActionMenu menu(QStringLiteral("Caps Lock"), keyboardKeyAction(0x28, 0), {});
        QCOMPARE(markedIn(menu), QStringList({"Editing", "Enter", "Keys"}));
        group(menu, withModifiers)->actions().first()->trigger();
        QCOMPARE(markedIn(menu), QStringList({"Ctrl"}));
        group(menu, withModifiers)->actions().first()->trigger();
        QCOMPARE(markedIn(menu), QStringList({"Editing", "Enter", "Keys"}));
    }
};

TAVIK_ISOLATED_TEST_MAIN(ActionMenuTest)

#include "action_menu_test.moc"
