// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "model/keyboard_layout.h"
#include "pages/colors/rgb_widget.h"
#include "pages/keys/keymap_widget.h"
#include "pages/parts/keyboard_view.h"
#include "tests/support/accessible_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_board.h"
#include "tests/support/named_keys.h"
#include "tests/support/page_view.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

using namespace tavik;
using namespace tavik::tests;

namespace {

const QString press = QAccessibleActionInterface::pressAction();
const QString showMenu = QAccessibleActionInterface::showMenuAction();
const QString setFocus = QAccessibleActionInterface::setFocusAction();

QAccessibleInterface& childNamed(QObject* view, const char* name)
{
    for (QAccessibleInterface* child : childrenOf(accessible(view))) {
        if (nameOf(*child) == QLatin1String(name))
            return *child;
    }
    qFatal("no key \"%s\" to be seen", name);
}

QString wordsOn(QObject* view, const char* name)
{
    const QAccessibleInterface& key = childNamed(view, name);
    const QString words = key.text(QAccessible::Value);
    return words == key.text(QAccessible::Description) ? words : QStringLiteral("two answers");
}

} // namespace

class KeyboardAccessibleTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        window = std::make_unique<QWidget>();
        auto* column = new QVBoxLayout(window.get());
        field = new QLineEdit(window.get());
        view = new KeyboardView(window.get());
        view->setKeyboardLayout(&KeyboardLayout::instance());
        column->addWidget(field);
        column->addWidget(view);
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        field->setFocus();
    }

    void cleanup() { window.reset(); }

    void everyKeyOfTheBoardIsAButton()
    {
        const QAccessibleInterface& keyboard = accessible(view);
        QCOMPARE(keyboard.role(), QAccessible::Grouping);
        QCOMPARE(nameOf(keyboard), QStringLiteral("Keyboard"));
        const QList<KeyRecord>& keys = KeyboardLayout::instance().keys;
        QCOMPARE(keyboard.childCount(), static_cast<int>(keys.size()));
        QVERIFY(keyboard.childCount() > 60);
        for (int index = 0; index < keyboard.childCount(); ++index) {
            QAccessibleInterface* key = keyboard.child(index);
            QCOMPARE(nameOf(*key), keys.at(index).desc);
            QCOMPARE(key->role(), QAccessible::PushButton);
            QCOMPARE(key->parent(), &keyboard);
            QCOMPARE(keyboard.indexOfChild(key), index);
            QCOMPARE(keyboard.child(index), key); // the same one
            QCOMPARE(key->window(), window->windowHandle());
            QCOMPARE(key->childCount(), 0);
            QVERIFY(key->isValid());
        }
        QCOMPARE(keyboard.child(-1), nullptr);
        QCOMPARE(keyboard.child(keyboard.childCount()), nullptr);
        QCOMPARE(keyboard.indexOfChild(&keyboard), -1);
    }

    void keysStandWhereTheyAreFound()
    {
        window->move(30, 40);
        const QAccessibleInterface& keyboard = accessible(view);
        for (QAccessibleInterface* key : childrenOf(keyboard)) {
            const QRect place = key->rect();
            QCOMPARE(place.topLeft(),
                     view->mapToGlobal(view->hitRectangle(keyNamed(nameOf(*key))).topLeft()));
            for (const QPoint corner : {place.center(), place.topLeft(), place.bottomRight()})
                QCOMPARE(keyboard.childAt(corner.x(), corner.y()), key);
        }
        for (int y = 0; y < view->height(); y += 3) {
            for (int x = 0; x < view->width(); x += 3) {
                const QPoint global = view->mapToGlobal(QPoint(x, y));
                const QAccessibleInterface* found = keyboard.childAt(global.x(), global.y());
                const auto expected = view->keys().indexOf(view->keyAt({x, y}));
                QCOMPARE(found == nullptr ? -1 : keyboard.indexOfChild(found), expected);
            }
        }
    }

    void keysOutsideTheTablesAreNotThere()
    {
        const KeyboardLayout layout =
            board({200, 100}, {keyRecord(144, {0, 0, 20, 20}), keyRecord(7, {30, 0, 20, 20}),
                               keyRecord(-1, {60, 0, 20, 20}), keyRecord(7, {90, 0, 20, 20}),
                               keyRecord(0, {120, 0, 20, 20})});
        view->setKeyboardLayout(&layout);
        const QAccessibleInterface& keyboard = accessible(view);
        QCOMPARE(keyboard.childCount(), 2); // 7 once
        QCOMPARE(keyboard.child(0)->rect().topLeft(),
                 view->mapToGlobal(view->hitRectangle(layout.keys.at(1)).topLeft()));
        view->setKeyboardLayout(nullptr);
        QCOMPARE(keyboard.childCount(), 0);
    }

    void aKeyThatIsGoneSaysSo()
    {
        QAccessibleInterface& key = childNamed(view, "Caps Lock");
        QVERIFY(!key.state().invalid);
        view->setKeyboardLayout(nullptr);
        QVERIFY(!key.isValid());
        QVERIFY(key.state().invalid);
        QVERIFY(key.rect().isNull());
        QVERIFY(key.actionInterface()->actionNames().isEmpty());
        QVERIFY(nameOf(key).isEmpty());
    }

    void keysSayWhatIsShownOnThem()
    {
        QCOMPARE(wordsOn(view, "Caps Lock"), QString()); // a picture of the keyboard only
        const int key = keyNamed("Caps Lock").lightIndex;
        view->setCaption(key, "Ctrl\nX");
        view->setKeyColor(key, QColor("#8d00ff"));
        QCOMPARE(wordsOn(view, "Caps Lock"), QString());
        view->setMode(KeyboardViewMode::Captions);
        QCOMPARE(wordsOn(view, "Caps Lock"), QStringLiteral("Ctrl X"));
        QCOMPARE(wordsOn(view, "A"), QStringLiteral("factory function"));
        view->setCaption(key, QString(500, u'W'));
        QCOMPARE(wordsOn(view, "Caps Lock"), QString(80, u'W') + u'…');
        view->setMode(KeyboardViewMode::KeyColors);
        QCOMPARE(wordsOn(view, "Caps Lock"), QStringLiteral("violet, #8d00ff"));
        QCOMPARE(wordsOn(view, "A"), QString());
    }

    void statesFollowTheView()
    {
        const QAccessibleInterface& key = childNamed(view, "G");
        QVERIFY(key.state().focusable && !key.state().focused);
        QVERIFY(key.state().selectable && !key.state().selected);
        QVERIFY(!key.state().disabled && !key.state().invisible);

        view->pressKey(keyNamed("G").lightIndex);
        QVERIFY(key.state().selected);
        QVERIFY(!key.state().focused); // the field has the focus
        view->setFocus();
        QVERIFY(key.state().focused);
        QCOMPARE(accessible(view).focusChild(), &key);
        QTest::keyClick(view, Qt::Key_Right);
        QVERIFY(key.state().selected && !key.state().focused);
        QVERIFY(childNamed(view, "H").state().focused);

        view->setFocusPolicy(Qt::NoFocus);
        QVERIFY(!key.state().focusable);
        QVERIFY(!const_cast<QAccessibleInterface&>(key).actionInterface()->actionNames().contains(
            setFocus));
        view->setEnabled(false);
        QVERIFY(key.state().disabled);
        view->hide();
        QVERIFY(key.state().invisible);
    }

    void aKeyCanBePressedAndNothingElse()
    {
        QAccessibleInterface& key = childNamed(view, "G");
        QVERIFY(key.actionInterface() != nullptr);
        QVERIFY(key.textInterface() == nullptr);
        QVERIFY(key.editableTextInterface() == nullptr);
        QVERIFY(key.valueInterface() == nullptr);
        QVERIFY(key.tableInterface() == nullptr);
        QVERIFY(key.tableCellInterface() == nullptr);
        QVERIFY(key.imageInterface() == nullptr);
    }

    void pressIsAClickLater()
    {
        QSignalSpy activated(view, &KeyboardView::slotActivated);
        QAccessibleInterface& key = childNamed(view, "G");
        QCOMPARE(key.actionInterface()->actionNames(), QStringList({press, setFocus}));
        key.actionInterface()->doAction(press);
        QCOMPARE(activated.size(), 0); // whoever asked has his answer before
        QTRY_COMPARE(activated.size(), 1);
        QCOMPARE(activated.first().first().toInt(), keyNamed("G").lightIndex);
        QVERIFY(key.state().selected);
    }

    void showMenuIsTheMenuKeyOnThatKey()
    {
        QAccessibleInterface& key = childNamed(view, "G");
        QVERIFY(!key.actionInterface()->actionNames().contains(showMenu)); // nobody has one
        QSignalSpy menu(view, &KeyboardView::slotContextMenu);
        key.actionInterface()->doAction(showMenu);
        QTRY_COMPARE(menu.size(), 1);
        QCOMPARE(menu.first().at(0).toInt(), keyNamed("G").lightIndex);
        QCOMPARE(menu.first().at(1).toPoint(), key.rect().center());
        QVERIFY(key.state().selected);
    }

    void focusGoesToAKey()
    {
        childNamed(view, "G").actionInterface()->doAction(setFocus);
        QTRY_VERIFY(view->hasFocus());
        QVERIFY(childNamed(view, "G").state().focused);
        QVERIFY(!childNamed(view, "G").state().selected);
    }

    void theFocusIsSeenOnAKeyThatWasClicked()
    {
        const QPoint place = view->hitRectangle(keyNamed("G")).center();
        QTest::mouseClick(view, Qt::LeftButton, {}, place);
        QVERIFY(view->hasFocus());
        const QImage clicked = view->grab().toImage();
        childNamed(view, "G").actionInterface()->doAction(setFocus);
        QTRY_VERIFY(view->grab().toImage() != clicked);
    }

    void aDisabledKeyDoesNothing()
    {
        const QSignalSpy activated(view, &KeyboardView::slotActivated);
        QAccessibleInterface& key = childNamed(view, "G");
        view->setEnabled(false);
        QVERIFY(key.actionInterface()->actionNames().isEmpty());
        key.actionInterface()->doAction(press);
        QCoreApplication::processEvents();
        QCOMPARE(activated.size(), 0);
    }

    void aPressOutlivedByNothingIsForgotten()
    {
        childNamed(view, "G").actionInterface()->doAction(press);
        delete view;
        QCoreApplication::processEvents();
    }

    void theMarkIsFollowed_data()
    {
        QTest::addColumn<QList<Qt::Key>>("keys");
        QTest::addColumn<QStringList>("heard");
        using Keys = QList<Qt::Key>;
        QTest::newRow("arrows") << Keys{Qt::Key_Right, Qt::Key_Down, Qt::Key_Left, Qt::Key_Up}
                                << QStringList{"H", "B", "V", "F"};
        QTest::newRow("no key there") << Keys{Qt::Key_End, Qt::Key_End} << QStringList{"PgDn"};
        QTest::newRow("row") << Keys{Qt::Key_Home, Qt::Key_End} << QStringList{"Caps Lock", "PgDn"};
        QTest::newRow("another row")
            << Keys{Qt::Key_Up, Qt::Key_Home, Qt::Key_End} << QStringList{"T", "Tab", "PgUp"};
        QTest::newRow("another column") << Keys{Qt::Key_Left, Qt::Key_PageDown, Qt::Key_PageUp}
                                        << QStringList{"F", "Space", "F5"};
        QTest::newRow("column") << Keys{Qt::Key_PageUp, Qt::Key_PageDown}
                                << QStringList{"F5", "Space"};
        QTest::newRow("letter") << Keys{Qt::Key_X, Qt::Key_Q} << QStringList{"X", "Q"};
        QTest::newRow("the letter itself before longer names")
            << Keys{Qt::Key_F, Qt::Key_F, Qt::Key_F} << QStringList{"F", "F1", "F2"};
        QTest::newRow("once round") << Keys{Qt::Key_C, Qt::Key_C, Qt::Key_C, Qt::Key_C, Qt::Key_C}
                                    << QStringList{"C", "Caps Lock", "L Ctrl", "R Ctrl", "C"};
        QTest::newRow("digit") << Keys{Qt::Key_7} << QStringList{"7"};
        QTest::newRow("press") << Keys{Qt::Key_Space, Qt::Key_Return} << QStringList{};
    }

    void theMarkIsFollowed()
    {
        QFETCH(QList<Qt::Key>, keys);
        QFETCH(QStringList, heard);
        childNamed(view, "G").actionInterface()->doAction(setFocus);
        QTRY_VERIFY(view->hasFocus());
        QCoreApplication::processEvents();
        Told told;
        for (const Qt::Key key : keys)
            QTest::keyClick(view, key);
        QCOMPARE(Told::names(QAccessible::Focus), heard);
        QCOMPARE(nameOf(*accessible(view).focusChild()), heard.isEmpty() ? "G" : heard.last());
    }

    void nothingIsMarkedBeforeTheFirstKey_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("home") << Qt::Key_Home;
        QTest::newRow("end") << Qt::Key_End;
        QTest::newRow("page up") << Qt::Key_PageUp;
        QTest::newRow("page down") << Qt::Key_PageDown;
    }

    void nothingIsMarkedBeforeTheFirstKey()
    {
        QFETCH(Qt::Key, key);
        QTest::keyClick(view, key);
        QCOMPARE(view->markedKey(), keyNamed("Esc").lightIndex);
    }

    void otherKeysAreLeftAlone_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<QString>("text");
        using Modifiers = Qt::KeyboardModifiers;
        QTest::newRow("next page") << Qt::Key_PageDown << Modifiers(Qt::ControlModifier) << "";
        QTest::newRow("copy") << Qt::Key_C << Modifiers(Qt::ControlModifier) << "c";
        QTest::newRow("menu letter") << Qt::Key_F << Modifiers(Qt::AltModifier) << "f";
        QTest::newRow("delete") << Qt::Key_Delete << Modifiers() << "\x7f";
        QTest::newRow("escape") << Qt::Key_Escape << Modifiers() << "\x1b";
        QTest::newRow("on no key") << Qt::Key_Udiaeresis << Modifiers() << "ü";
        QTest::newRow("function key") << Qt::Key_F5 << Modifiers() << "";
    }

    void otherKeysAreLeftAlone()
    {
        QFETCH(Qt::Key, key);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(QString, text);
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        event.accept();
        QCoreApplication::sendEvent(view, &event);
        QVERIFY(!event.isAccepted());
        QCOMPARE(view->markedKey(), -1);
    }

    void theKeyIsHeardLastWhenTheFocusComes()
    {
        Told told;
        QTest::keyClick(field, Qt::Key_Tab);
        QTRY_VERIFY(view->hasFocus());
        QCoreApplication::processEvents();
        QCOMPARE(Told::names(QAccessible::Focus), QStringList({"Keyboard", "Esc"}));
        field->setFocus();
        QCoreApplication::processEvents();
        QCOMPARE(Told::names(QAccessible::Focus), QStringList(QString()));
        QTest::mouseClick(view, Qt::MiddleButton, {}, view->hitRectangle(keyNamed("G")).center());
        QCoreApplication::processEvents();
        QCOMPARE(Told::names(QAccessible::Focus).last(), QStringLiteral("G"));
    }

    void aPressIsHeardOfBothKeys()
    {
        view->pressKey(keyNamed("A").lightIndex);
        Told told;
        view->pressKey(keyNamed("B").lightIndex);
        view->pressKey(keyNamed("B").lightIndex);
        QCOMPARE(Told::names(QAccessible::StateChanged), QStringList({"A", "B"}));
        QCOMPARE(Told::names(QAccessible::Focus), QStringList()); // the field has it
    }

    void whatIsNewOnAKeyIsHeard()
    {
        const int key = keyNamed("Caps Lock").lightIndex;
        view->setMode(KeyboardViewMode::Captions);
        Told told;
        view->setCaption(key, "Ctrl");
        view->setCaption(key, "Ctrl"); // not new
        view->setCaption(142, "Ctrl"); // on no key of this board
        QCOMPARE(Told::events().size(), 1);
        QCOMPARE(Told::events().first().description, QStringLiteral("Ctrl"));
        QCOMPARE(Told::names(QAccessible::DescriptionChanged), QStringList("Caps Lock"));
        view->setMode(KeyboardViewMode::KeyColors);
        view->setKeyColor(key, Qt::red);
        QCOMPARE(Told::events().size(), 1);
        QCOMPARE(Told::events().first().description, QStringLiteral("red, #ff0000"));
    }

    void aHeldKeyEndsWithItsView()
    {
        QList<QAccessible::Id> ids;
        for (QAccessibleInterface* key : childrenOf(accessible(view)))
            ids += QAccessible::uniqueId(key);
        QCOMPARE(QAccessible::accessibleInterface(ids.last()),
                 accessible(view).child(accessible(view).childCount() - 1));
        Told told; // who listens asks back in the middle of it
        delete view;
        for (const QAccessible::Id id : ids)
            QCOMPARE(QAccessible::accessibleInterface(id), nullptr);
    }

    void aKeyIsAssignedByPressAlone()
    {
        KeymapWidget page;
        page.resize(1140, 671);
        page.show();
        auto* keys = page.findChild<KeyboardView*>();
        QCOMPARE(wordsOn(keys, "Caps Lock"), QStringLiteral("factory function"));
        onNextDialog([](QWidget& dialog) {
            const auto close = closeAtTheEnd(dialog);
            for (QComboBox* list : dialog.findChildren<QComboBox*>()) {
                if (list->accessibleName() == QStringLiteral("Assignment type"))
                    list->setCurrentText(QStringLiteral("Keyboard key (+ modifiers)"));
                else if (list->accessibleName() == QStringLiteral("Key"))
                    list->setCurrentText(QStringLiteral("B"));
            }
            clickButton(dialog, QStringLiteral("OK"));
        });
        childNamed(keys, "Caps Lock").actionInterface()->doAction(press);
        QTRY_COMPARE(dialogsStillExpected(), 0);
        QTRY_VERIFY(stateInMemory().layerBase.at(indexOf("Caps Lock")) != KeyAction());
        QCOMPARE(wordsOn(keys, "Caps Lock"), QStringLiteral("B"));

        bool isOpen = false;
        onNextDialog([&](QWidget& menu) {
            isOpen = qobject_cast<QMenu*>(&menu) != nullptr;
            menu.close();
        });
        childNamed(keys, "Caps Lock").actionInterface()->doAction(showMenu);
        QTRY_VERIFY(isOpen);
    }

    void aKeyIsPaintedByPressAlone()
    {
        RgbWidget page;
        page.resize(1140, 671);
        page.show();
        auto* keys = page.findChild<KeyboardView*>();
        QCOMPARE(wordsOn(keys, "Caps Lock"), QStringLiteral("black, #000000"));
        childNamed(keys, "Caps Lock").actionInterface()->doAction(press);
        QTRY_COMPARE(wordsOn(keys, "Caps Lock"), QStringLiteral("red, #ff3c3c"));
        const auto place = 3 * indexOf("Caps Lock");
        QCOMPARE(stateInMemory().customRgb.at(place), 0xFF);
        QCOMPARE(stateInMemory().customRgb.at(place + 2), 0x3C);
        QCOMPARE(wordsOn(keys, "A"), QStringLiteral("black, #000000"));
    }

private:
    std::unique_ptr<QWidget> window;
    QLineEdit* field = nullptr;
    KeyboardView* view = nullptr;
};

TAVIK_ISOLATED_TEST_MAIN(KeyboardAccessibleTest)
#include "keyboard_accessible_test.moc"
