// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "model/app_state.h"
#include "model/edit_history.h"
#include "model/key_names.h"
#include "pages/keys/action_menu.h"
#include "pages/keys/chord_dialog.h"
#include "pages/keys/keymap_widget.h"
#include "pages/parts/caption_text.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/scan_codes.h"
#include "pages/parts/status_label.h"
#include "tests/pages/keys/layer_write_steps.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/menu_driver.h"
#include "tests/support/named_keys.h"
#include "tests/support/page_view.h"
#include "tests/support/pixel_probe.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMimeData>
#include <QTest>
#include <QTimer>
#include <QToolTip>

#include <csignal>
#include <linux/input-event-codes.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int lastKey = 143;

const KeyAction ctrlShiftB{2, 0x03, 0x05, 0};
const KeyAction mute{3, 0xE2, 0, 0};

// What the page has at a window of 1200 x 720.
constexpr QSize pageSize(1140, 671);

std::unique_ptr<KeymapWidget> openPage()
{
    auto page = std::make_unique<KeymapWidget>();
    page->resize(pageSize);
    page->show();
    return page;
}

void click(const KeymapWidget& page, const char* text)
{
    QTest::mouseClick(buttonOf(page, text), Qt::LeftButton);
}

KeyboardView* viewOf(const KeymapWidget& page)
{
    return page.findChild<KeyboardView*>();
}

QPoint centerOf(const KeyboardView& view, const QString& key)
{
    return view.hitRectangle(keyNamed(key)).center();
}

void clickKey(const KeymapWidget& page, const QString& key, Qt::MouseButton mouseButton)
{
    KeyboardView* view = viewOf(page);
    QTest::mouseClick(view, mouseButton, {}, centerOf(*view, key));
}

QLabel* statusLabel(const KeymapWidget& page)
{
    return page.findChild<StatusLabel*>();
}

using KeyCaptions = QMap<QString, QString>; // by the names of the keys

// How a view of this size looks that shows exactly these captions and marks this key.
QImage pictureWith(const KeyCaptions& captions, QSize size, const QString& markedKey = {})
{
    KeyboardView reference;
    reference.resize(size);
    reference.setKeyboardLayout(&KeyboardLayout::instance());
    reference.setMode(KeyboardViewMode::Captions);
    for (auto caption = captions.begin(); caption != captions.end(); ++caption)
        reference.setCaption(keyNamed(caption.key()).lightIndex, caption.value());
    if (!markedKey.isEmpty())
        QTest::mousePress(&reference, Qt::MiddleButton, {}, centerOf(reference, markedKey));
    return pictureOf(reference);
}

bool shows(const KeymapWidget& page, const KeyCaptions& captions, const QString& markedKey = {})
{
    KeyboardView* view = viewOf(page);
    return pictureOf(*view) == pictureWith(captions, view->size(), markedKey);
}

bool stateFileExists()
{
    return QFile::exists(stateFilePath());
}

void chooseInDialog(QWidget& dialog, const char* list, const char* text)
{
    for (QComboBox* candidate : dialog.findChildren<QComboBox*>()) {
        if (candidate->accessibleName() == QLatin1String(list))
            candidate->setCurrentIndex(candidate->findText(QLatin1String(text)));
    }
}

void assignCtrlInDialog(QWidget& dialog, const char* key)
{
    chooseInDialog(dialog, "Assignment type", "Keyboard key (+ modifiers)");
    chooseInDialog(dialog, "Key", key);
    chooseInDialog(dialog, "Modifier (keyboard)", "Ctrl");
    clickButton(dialog, QStringLiteral("OK"));
}

ActionMenu* openMenu()
{
    return qobject_cast<ActionMenu*>(QApplication::activePopupWidget());
}

// As the window does when the view has the focus.
void shortcut(const KeyboardView& view, QKeySequence keys)
{
    for (QAction* action : view.actions()) {
        if (action->shortcuts().contains(keys)) {
            QCOMPARE(action->shortcutContext(), Qt::WidgetShortcut);
            action->trigger();
            return;
        }
    }
    QFAIL("no such shortcut");
}

quint32 scanCodeOfUsage(int usage)
{
    quint32 scanCode = 0;
    while (usageOfScanCode(scanCode) != usage)
        ++scanCode;
    return scanCode;
}

void sendKey(QWidget& receiver, bool isPress, quint32 scanCode)
{
    QKeyEvent override(QEvent::ShortcutOverride, Qt::Key_unknown, {}, scanCode, 0, 0);
    override.ignore();
    if (isPress) {
        QApplication::sendEvent(&receiver, &override);
        QVERIFY(override.isAccepted()); // no shortcut takes it
    }
    QKeyEvent event(isPress ? QEvent::KeyPress : QEvent::KeyRelease, Qt::Key_unknown, {}, scanCode,
                    0, 0);
    QApplication::sendEvent(&receiver, &event);
}

QLabel* labelWith(const QWidget& parent, const char* text)
{
    for (QLabel* label : parent.findChildren<QLabel*>()) {
        if (label->text() == QLatin1String(text))
            return label;
    }
    return nullptr;
}

// The largest text of the dialog.
QString wordsIn(const ChordDialog& dialog)
{
    return dialog.findChildren<QLabel*>().at(0)->text();
}

QAction* item(const QMenu* menu, const QString& text)
{
    for (QAction* candidate : menu->actions()) {
        if (candidate->text() == text)
            return candidate;
    }
    qFatal("no item %s", qPrintable(text));
}

ChordDialog* askForChord(const KeymapWidget& page, const QString& key)
{
    clickKey(page, key, Qt::RightButton);
    chooseInMenu(openMenu(), QStringLiteral("Press the keys…"));
    return page.findChild<ChordDialog*>();
}

// The dialog's timer of this interval, when it runs.
QTimer* isWaitingFor(const ChordDialog& dialog, int milliseconds)
{
    for (QTimer* timer : dialog.findChildren<QTimer*>()) {
        if (timer->isActive() && timer->interval() == milliseconds)
            return timer;
    }
    return nullptr;
}

// Ends such a wait.
void passTime(const ChordDialog& dialog, int milliseconds)
{
    if (QTimer* timer = isWaitingFor(dialog, milliseconds)) {
        QTimerEvent event(timer->timerId());
        QCoreApplication::sendEvent(timer, &event);
    }
}

void layerRows()
{
    QTest::addColumn<int>("layer");
    QTest::newRow("base") << 0;
    QTest::newRow("Fn") << 1;
}

KeyLayer& layerOf(SavedState& state, int layer)
{
    return layer == 0 ? state.layerBase : state.layerFn;
}

// Ends the process by abort() inside, so the call is made in a copy of the process.
bool aborts(const std::function<void()>& call)
{
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGABRT, SIG_DFL);
        [&]() noexcept { call(); }();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
}

} // namespace

class KeymapWidgetTest : public QObject
{
    Q_OBJECT

private slots:
    void opensOnTheBaseLayer()
    {
        AppState::instance().layerBase.at(indexOf("A")) = ctrlShiftB;
        AppState::instance().layerFn.at(indexOf("A")) = mute;
        const auto page = openPage();
        QVERIFY(buttonOf(*page, "Base layer")->isChecked());
        QVERIFY(!buttonOf(*page, "Fn layer")->isChecked());
        QVERIFY(shows(*page, {{"A", QStringLiteral("Ctrl+Shift+B")}}));
        QCOMPARE(statusLabel(*page)->text(), QString());
        QCOMPARE(buttonOf(*page, "Write layer to keyboard")->objectName(),
                 QStringLiteral("accent"));
        QCOMPARE(page->findChild<QLabel*>(QStringLiteral("hint"))->text(),
                 QStringLiteral("Click a key to assign an action. Base layer = normal keys, Fn "
                                "layer = hold Fn."));
    }

    void openingSendsAndWritesNothing()
    {
        const auto page = openPage();
        QCOMPARE(busTrace(), QStringList());
        QVERIFY(!stateFileExists());
    }

    void partsStandBelowOneAnother()
    {
        const auto page = openPage();
        const QList<QWidget*> parts{buttonOf(*page, "Base layer"), viewOf(*page),
                                    page->findChild<QLabel*>(QStringLiteral("hint")),
                                    buttonOf(*page, "Write layer to keyboard"), statusLabel(*page)};
        QCOMPARE(parts.first()->pos(), QPoint(12, 12));
        QCOMPARE(parts.last()->geometry().bottom(), page->height() - 12 - 1);
        for (qsizetype index = 1; index < parts.size(); ++index)
            QCOMPARE(parts.at(index)->y(), parts.at(index - 1)->geometry().bottom() + 1 + 8);
        QCOMPARE(buttonOf(*page, "Base layer")->y(), buttonOf(*page, "Fn layer")->y());
        QCOMPARE(buttonOf(*page, "Write layer to keyboard")->y(),
                 buttonOf(*page, "Reset all to default")->y());
    }

    void switchingShowsTheOtherLayerWithoutTraffic()
    {
        AppState::instance().layerBase.at(indexOf("A")) = ctrlShiftB;
        AppState::instance().layerFn.at(indexOf("S")) = mute;
        const auto page = openPage();
        click(*page, "Fn layer");
        QVERIFY(shows(*page, {{"S", QStringLiteral("Mute")}}));
        QVERIFY(!buttonOf(*page, "Base layer")->isChecked());
        QVERIFY(buttonOf(*page, "Fn layer")->isChecked());
        click(*page, "Base layer");
        QVERIFY(shows(*page, {{"A", QStringLiteral("Ctrl+Shift+B")}}));
        QVERIFY(buttonOf(*page, "Base layer")->isChecked());
        QVERIFY(!buttonOf(*page, "Fn layer")->isChecked());
        QCOMPARE(busTrace(), QStringList());
        QVERIFY(!stateFileExists());
    }

    void clickOnTheCheckedLayerKeepsItChecked()
    {
        const auto page = openPage();
        click(*page, "Base layer");
        QVERIFY(buttonOf(*page, "Base layer")->isChecked());
        click(*page, "Fn layer");
        click(*page, "Fn layer");
        QVERIFY(buttonOf(*page, "Fn layer")->isChecked());
        QVERIFY(!buttonOf(*page, "Base layer")->isChecked());
    }

    void everyKindOfCaption()
    {
        AppState& state = AppState::instance();
        state.macros = {{QStringLiteral("copy"), {}}, {QString(), {}}};
        state.layerBase.at(indexOf("A")) = {6, 0, 0, 0};
        state.layerBase.at(indexOf("S")) = {6, 1, 0, 0}; // an empty name is no caption
        state.layerBase.at(indexOf("D")) = {6, 2, 0, 0};
        state.layerBase.at(indexOf("F")) = {5, 0, 0, 0};
        state.layerBase.at(indexOf("G")) = {9, 0, 0, 0};
        state.layerBase.at(indexOf("H")) = {1, 1, 1, 0};
        const auto page = openPage();
        QVERIFY(shows(*page, {{"A", QStringLiteral("copy")},
                              {"D", QStringLiteral("Macro 2")},
                              {"F", QStringLiteral("Special")},
                              {"G", QStringLiteral("Page 9")},
                              {"H", QStringLiteral("Mouse")}}));
    }

    void acceptedDialogIsStoredSavedAndShown_data() { layerRows(); }
    void acceptedDialogIsStoredSavedAndShown()
    {
        QFETCH(int, layer);
        const auto page = openPage();
        page->switchLayer(layer);
        SavedState expected = stateInMemory();
        layerOf(expected, layer).at(indexOf("A")) = {2, 0x01, 0x05, 0};

        onNextDialog([](QWidget& dialog) {
            QCOMPARE(dialog.windowTitle(), QStringLiteral("Assign key"));
            assignCtrlInDialog(dialog, "B");
        });
        clickKey(*page, "A", Qt::LeftButton);
        QCOMPARE(dialogsStillExpected(), 0);
        QVERIFY(stateInMemory() == expected);
        QVERIFY(stateOnDisk() == expected);
        QVERIFY(shows(*page, {{"A", QStringLiteral("Ctrl+B")}}, "A"));
        QCOMPARE(busTrace(), QStringList());
    }

    void dialogStartsFromTheKeysActionOnTheCurrentLayer()
    {
        AppState::instance().layerBase.at(indexOf("A")) = ctrlShiftB;
        AppState::instance().layerFn.at(indexOf("A")) = mute;
        const auto page = openPage();
        page->switchLayer(1);
        onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("OK")); });
        clickKey(*page, "A", Qt::LeftButton);
        QVERIFY(AppState::instance().layerFn.at(indexOf("A")) == mute);
        QVERIFY(AppState::instance().layerBase.at(indexOf("A")) == ctrlShiftB);
    }

    void cancelledDialogChangesNothing()
    {
        AppState::instance().layerBase.at(indexOf("A")) = ctrlShiftB;
        const auto page = openPage();
        const SavedState before = stateInMemory();
        onNextDialog([](QWidget& dialog) {
            chooseInDialog(dialog, "Assignment type", "Disabled");
            clickButton(dialog, QStringLiteral("Cancel"));
        });
        clickKey(*page, "A", Qt::LeftButton);
        QCOMPARE(dialogsStillExpected(), 0);
        QVERIFY(stateInMemory() == before);
        QVERIFY(!stateFileExists());
        QVERIFY(shows(*page, {{"A", QStringLiteral("Ctrl+Shift+B")}}, "A"));
    }

    void storedDisabledTurnsIntoWhatTheDialogMakes()
    {
        AppState::instance().layerBase.at(indexOf("A")) = {5, 3, 0, 7};
        const auto page = openPage();
        QVERIFY(shows(*page, {{"A", QStringLiteral("Disabled")}}));
        onNextDialog([](QWidget& dialog) { clickButton(dialog, QStringLiteral("OK")); });
        clickKey(*page, "A", Qt::LeftButton);
        QVERIFY((AppState::instance().layerBase.at(indexOf("A")) == KeyAction{5, 0, 0, 0}));
        QVERIFY(shows(*page, {{"A", QStringLiteral("Special")}}, "A"));
    }

    void spaceBarOpensTheDialogOfTheMarkedKey()
    {
        const auto page = openPage();
        KeyboardView* view = viewOf(*page);
        QTest::mousePress(view, Qt::MiddleButton, {}, centerOf(*view, "A"));
        onNextDialog([](QWidget& dialog) { assignCtrlInDialog(dialog, "C"); });
        QTest::keyClick(view, Qt::Key_Space);
        QCOMPARE(dialogsStillExpected(), 0);
        QVERIFY((AppState::instance().layerBase.at(indexOf("A")) == KeyAction{2, 0x01, 0x06, 0}));
    }

    void pressBetweenKeysAsksNothing()
    {
        const auto page = openPage();
        KeyboardView* view = viewOf(*page);
        QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(1, 1));
        QTest::mouseClick(view, Qt::RightButton, {}, QPoint(1, 1));
        QVERIFY(QApplication::activePopupWidget() == nullptr);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QVERIFY(shows(*page, {}));
    }

    void menuChoiceIsStoredSavedAndShown_data()
    {
        QTest::addColumn<int>("layer");
        QTest::addColumn<QString>("group");
        QTest::addColumn<QString>("choice");
        QTest::addColumn<QList<int>>("bytes");
        QTest::addColumn<QString>("caption");
        const auto row = [](const char* name, int layer, const char* group, const char* choice,
                            const QList<int>& bytes, const char* caption) {
            QTest::newRow(name) << layer << QString::fromUtf8(group) << QString::fromUtf8(choice)
                                << bytes << QString::fromUtf8(caption);
        };
        row("default", 0, "", "Default key", {0, 0, 0, 0}, "");
        row("disabled", 1, "", "Disabled", {5, 0, 0, 0}, "Special");
        row("letter", 0, "Keys/Letters A to M", "B", {2, 0, 5, 0}, "B");
        row("modifier", 1, "Keys/Modifiers", "R Ctrl", {2, 0x10, 0, 0}, "M");
        row("multimedia", 1, "Multimedia", "Next track", {3, 0xB5, 0, 0}, "Next Track");
        row("mouse", 0, "Mouse", "Scroll up", {1, 3, 1, 0}, "Mouse");
        row("second macro", 0, "Macros", "paste", {6, 1, 0, 0}, "paste");
    }
    void menuChoiceIsStoredSavedAndShown()
    {
        QFETCH(int, layer);
        QFETCH(QString, group);
        QFETCH(QString, choice);
        QFETCH(QList<int>, bytes);
        QFETCH(QString, caption);
        AppState& state = AppState::instance();
        state.macros = {{QStringLiteral("copy"), {}}, {QStringLiteral("paste"), {}}};
        state.layerBase.at(indexOf("A")) = ctrlShiftB;
        state.layerFn.at(indexOf("A")) = ctrlShiftB;
        const auto page = openPage();
        page->switchLayer(layer);
        SavedState expected = stateInMemory();
        layerOf(expected, layer).at(indexOf("A")) = {
            static_cast<std::uint8_t>(bytes.at(0)), static_cast<std::uint8_t>(bytes.at(1)),
            static_cast<std::uint8_t>(bytes.at(2)), static_cast<std::uint8_t>(bytes.at(3))};

        clickKey(*page, "A", Qt::RightButton); // returns: the menu does not block
        QMenu* menu = openMenu();
        QVERIFY(menu != nullptr);
        const QPointer<QMenu> guard(menu);
        for (const QString& title : group.split(u'/', Qt::SkipEmptyParts)) {
            chooseInMenu(menu, title);
            menu = item(menu, title)->menu();
            QTRY_VERIFY(menu->isVisible()); // a sub-menu waits a moment
        }
        chooseInMenu(menu, choice);
        QVERIFY(stateInMemory() == expected);
        QVERIFY(stateOnDisk() == expected);
        QVERIFY(shows(*page, caption.isEmpty() ? KeyCaptions() : KeyCaptions{{"A", caption}}, "A"));
        QVERIFY(QApplication::activePopupWidget() == nullptr);
        QTRY_VERIFY(guard.isNull());
        QCOMPARE(busTrace(), QStringList());
    }

    void menuOpensAtThePointer()
    {
        const auto page = openPage();
        KeyboardView* view = viewOf(*page);
        clickKey(*page, "A", Qt::RightButton);
        QVERIFY(openMenu() != nullptr);
        const QPoint pointer = view->mapToGlobal(centerOf(*view, "A"));
        // The screen's lower edge may push it up.
        QCOMPARE(openMenu()->pos().x(), pointer.x());
        QStringList entries;
        for (const QAction* entry : openMenu()->actions())
            entries += entry->isSeparator() ? QStringLiteral("-") : entry->text();
        QCOMPARE(entries.last(6), QStringList({"-", "Copy", "Paste", "-", "Undo", "Redo"}));
        QVERIFY(shows(*page, {}, "A"));
    }

    void closedMenuChangesNothing()
    {
        AppState::instance().layerBase.at(indexOf("A")) = ctrlShiftB;
        const auto page = openPage();
        const SavedState before = stateInMemory();
        clickKey(*page, "A", Qt::RightButton);
        const QPointer<QMenu> menu(openMenu());
        QTest::keyClick(menu, Qt::Key_Escape);
        QTRY_VERIFY(menu.isNull());
        QVERIFY(stateInMemory() == before);
        QVERIFY(!stateFileExists());
    }

    void menuLeadsToTheDialog()
    {
        const auto page = openPage();
        clickKey(*page, "A", Qt::RightButton);
        QMenu* menu = openMenu();
        chooseInMenu(menu, QStringLiteral("Assign…"));
        onNextDialog([](QWidget& dialog) { assignCtrlInDialog(dialog, "D"); });
        QTRY_VERIFY(
            (AppState::instance().layerBase.at(indexOf("A")) == KeyAction{2, 0x01, 0x07, 0}));
        QVERIFY(stateOnDisk() == stateInMemory());
    }

    void menuKeyOpensTheMenuOfTheMarkedKey()
    {
        const auto page = openPage();
        KeyboardView* view = viewOf(*page);
        QTest::mousePress(view, Qt::MiddleButton, {}, centerOf(*view, "A"));
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
        QApplication::sendEvent(view, &event);
        QMenu* menu = openMenu();
        QVERIFY(menu != nullptr);
        for (int step = 0; step < 4; ++step) // behind the two dialogs and "Default key"
            QTest::keyClick(menu, Qt::Key_Down);
        QTest::keyClick(menu, Qt::Key_Return);
        QVERIFY((AppState::instance().layerBase.at(indexOf("A")) == KeyAction{5, 0, 0, 0}));
        QVERIFY(stateOnDisk() == stateInMemory());
    }

    void resetClearsOnlyTheCurrentLayer_data() { layerRows(); }
    void resetClearsOnlyTheCurrentLayer()
    {
        QFETCH(int, layer);
        AppState& state = AppState::instance();
        state.layerBase.fill(ctrlShiftB);
        state.layerFn.fill(mute);
        state.macros = {{QStringLiteral("copy"), {}}};
        const auto page = openPage();
        page->switchLayer(layer);
        SavedState expected = stateInMemory();
        layerOf(expected, layer) = {};

        click(*page, "Reset all to default");
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QVERIFY(stateInMemory() == expected);
        QVERIFY(stateOnDisk() == expected);
        QVERIFY(shows(*page, {}));
        QCOMPARE(busTrace(), QStringList());

        // Zeros in the file itself, not only what a shorter file would be read as.
        QFile file(stateFilePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QJsonObject saved = QJsonDocument::fromJson(file.readAll()).object();
        const QJsonArray keys = saved.value(layer == 0 ? "layerBase" : "layerFn").toArray();
        QCOMPARE(keys.size(), 144);
        const QJsonObject zero{{"page", 0}, {"p1", 0}, {"p2", 0}, {"p3", 0}};
        for (const QJsonValue& key : keys)
            QCOMPARE(key.toObject(), zero);
    }

    void captionsFollowAReplacedState()
    {
        AppState& state = AppState::instance();
        state.layerBase.at(indexOf("A")) = {6, 0, 0, 0};
        state.macros = {{QStringLiteral("copy"), {}}};
        const auto page = openPage();
        state.macros.clear();
        emit state.macrosChanged();
        QVERIFY(shows(*page, {{"A", QStringLiteral("Macro 0")}}));
        state.layerBase.fill({});
        emit state.layersChanged();
        QVERIFY(shows(*page, {}));
    }

    void writtenLayerIsOnTheKeyboard_data() { layerRows(); }
    void writtenLayerIsOnTheKeyboard()
    {
        QFETCH(int, layer);
        AppState& state = AppState::instance();
        state.layerBase.at(indexOf("A")) = ctrlShiftB;
        state.layerFn.at(indexOf("S")) = mute;
        state.layerBase.at(lastKey) = {2, 1, 4, 9};
        state.layerFn.at(lastKey) = {2, 1, 4, 9};
        const auto page = openPage();
        page->switchLayer(layer);
        const SavedState before = stateInMemory();
        click(*page, "Write layer to keyboard");

        QCOMPARE(statusLabel(*page)->text(), layer == 0 ? QStringLiteral("Layer base written.")
                                                        : QStringLiteral("Layer Fn written."));
        QCOMPARE(statusLabel(*page)->styleSheet(), successStyle);
        using virtual_keyboard::KeyActionBytes;
        const virtual_keyboard::KeyboardState& held = bus().keyboard().state();
        virtual_keyboard::KeyboardState expected;
        (layer == 0 ? expected.baseLayer : expected.fnLayer)[lastKey] = {2, 1, 0, 0};
        if (layer == 0)
            expected.baseLayer[indexOf("A")] = KeyActionBytes{2, 3, 5, 0};
        else
            expected.fnLayer[indexOf("S")] = KeyActionBytes{3, 0xE2, 0, 0};
        QVERIFY(held == expected);
        QVERIFY(stateInMemory() == before);
        QCOMPARE(busSends().at(1), layer == 0 ? QStringLiteral("04 11 00 00 00 00 00 00 09")
                                              : QStringLiteral("04 27 00 00 00 00 00 00 09"));
        QVERIFY(deviceLockIsFree());
    }

    void failedWrite_data()
    {
        KeyLayer layer{};
        layer.at(indexOf("A")) = ctrlShiftB;
        addFaultRows(faultsOfSession(layerWriteSteps(LayerId::Base, layer)));
    }
    void failedWrite()
    {
        QFETCH(SequenceFault, fault);
        AppState::instance().layerBase.at(indexOf("A")) = ctrlShiftB;
        const auto page = openPage();
        const SavedState before = stateInMemory();
        arrange(fault);
        click(*page, "Write layer to keyboard");
        QCOMPARE(statusLabel(*page)->text(), QStringLiteral("Error: ") + fault.text);
        QCOMPARE(statusLabel(*page)->styleSheet(), errorStyle);
        QCOMPARE(busSends(), fault.sends);
        QVERIFY(deviceLockIsFree());
        QVERIFY(stateInMemory() == before);
    }

    void successAfterAFailureIsGreenAgain()
    {
        const auto page = openPage();
        bus().failAt(headerExchange, virtual_keyboard::answerStatus(5));
        click(*page, "Write layer to keyboard");
        QCOMPARE(statusLabel(*page)->text(),
                 QStringLiteral("Error: Keymap command rejected (status 05)"));
        click(*page, "Write layer to keyboard");
        QCOMPARE(statusLabel(*page)->text(), QStringLiteral("Layer base written."));
        QCOMPARE(statusLabel(*page)->styleSheet(), successStyle);
    }

    void errorTextIsShownLiterally()
    {
        const auto page = openPage();
        bus().failAt(openExchange, virtual_keyboard::sendError("<b>5 & 6</b>"));
        click(*page, "Write layer to keyboard");
        QCOMPARE(statusLabel(*page)->text(), QStringLiteral("Error: <b>5 & 6</b>"));
        QCOMPARE(statusLabel(*page)->textFormat(), Qt::PlainText);
    }

    void keyOutsideTheLayerAborts_data()
    {
        QTest::addColumn<int>("lightIndex");
        QTest::newRow("below") << -1;
        QTest::newRow("above") << 144;
    }
    void keyOutsideTheLayerAborts()
    {
        QFETCH(int, lightIndex);
        KeymapWidget page;
        QVERIFY(aborts([&] { page.keyClicked(lightIndex); }));
        QVERIFY(aborts([&] { page.showKeyMenu(lightIndex, {}); }));
        QVERIFY(!aborts([&] { page.showKeyMenu(0, {}); }));
        QVERIFY(!aborts([&] { page.showKeyMenu(lastKey, {}); }));
    }

    void longCaptionsStayInsideTheirBox_data()
    {
        QTest::addColumn<QString>("caption");
        QTest::newRow("combination") << QStringLiteral("Ctrl+Shift+Print Screen");
        QTest::newRow("all modifiers") << QStringLiteral("Ctrl+Shift+Alt+Win+Scroll Lock");
        QTest::newRow("one long word") << QString(60, u'W');
        QTest::newRow("sixty letters")
            << QStringLiteral("A macro whose name is made of sixty letters in several words");
        QTest::newRow("Arabic") << QStringLiteral("نسخ النص ولصقه في المستند الجديد");
        QTest::newRow("emoji") << QStringLiteral("🚀🎮🎲🚀🎮🎲🚀🎮🎲🚀🎮🎲");
        QTest::newRow("Japanese") << QStringLiteral("コピーして貼り付けるマクロです");
        QTest::newRow("accents") << QStringLiteral("Ẫ̂̂̂̂ḡ̣̣̣̣ j̣̣̣y̱̱̱ÅÅÅ");
        QTest::newRow("lines") << QStringLiteral("a\nb\nc\nd\ne\nf\ng");
    }
    // Text may change pixels only between the frame and itself, on the smallest caps as on the
    // widest.
    void longCaptionsStayInsideTheirBox()
    {
        QFETCH(QString, caption);
        const auto page = openPage();
        const KeyboardView* view = viewOf(*page);
        for (const char* key : {"Esc", "A", "Enter", "Space"}) {
            const QImage box = pictureWith({{key, " "}}, view->size());
            const QImage text = pictureWith({{key, caption}}, view->size());
            const QRect changed = changedArea(box, text);
            const QRect hit = view->hitRectangle(keyNamed(key));
            const QRect inside(QPoint(hit.left() + 3, hit.top() + 2),
                               QPoint(hit.left() + hit.width() - 5, hit.top() + hit.height() - 4));
            QVERIFY2(!changed.isEmpty(), "nothing was drawn");
            QVERIFY2(inside.contains(changed), key);
        }
    }

    // What is cut off is the end, so two captions with a long common beginning look the same.
    void longCaptionsShowTheirBeginning()
    {
        const auto page = openPage();
        const KeyboardView* view = viewOf(*page);
        const QString digits = QStringLiteral("0123456789").repeated(6);
        QVERIFY(pictureWith({{"A", digits}}, view->size()) ==
                pictureWith({{"A", digits.left(45)}}, view->size()));
        QVERIFY(pictureWith({{"A", digits}}, view->size()) !=
                pictureWith({{"A", digits.mid(1)}}, view->size()));
    }

    void toolTipTellsBothLayers()
    {
        AppState& state = AppState::instance();
        const QString name = QStringLiteral("<i>%1</i>").arg(QString(60, u'W'));
        state.macros = {{name, {}}};
        state.layerBase.at(indexOf("A")) = {6, 0, 0, 0};
        state.layerFn.at(indexOf("S")) = {2, 0x10, 5, 0};
        const auto page = openPage();
        KeyboardView* view = viewOf(*page);
        const auto hover = [view](QPoint position) {
            QHelpEvent event(QEvent::ToolTip, position, view->mapToGlobal(position));
            QApplication::sendEvent(view, &event);
        };
        hover(centerOf(*view, "D"));
        QCOMPARE(QToolTip::text(), QStringLiteral("Click to assign, right click for a menu"));
        hover({1, 1}); // beside the keys
        QTRY_VERIFY(!QToolTip::isVisible());
        hover(centerOf(*view, "A"));
        QCOMPARE(QToolTip::text(), QStringLiteral("<qt>A<br>Base layer: Macro &quot;%1&quot;<br>"
                                                  "Fn layer: Default key</qt>")
                                       .arg(name.toHtmlEscaped()));
        hover(centerOf(*view, "S")); // on both layers, whichever is shown
        QCOMPARE(QToolTip::text(), QStringLiteral("<qt>S<br>Base layer: Default key<br>"
                                                  "Fn layer: Right Ctrl+B</qt>"));
    }

    void keysAreCopiedPastedAndCleared()
    {
        AppState& state = AppState::instance();
        state.layerBase.at(indexOf("A")) = ctrlShiftB;
        const auto page = openPage();
        KeyboardView* view = viewOf(*page);
        for (const QKeySequence& keys : {QKeySequence(Qt::CTRL | Qt::Key_C),
                                         QKeySequence(Qt::CTRL | Qt::Key_V),
                                         {Qt::Key_Delete}})
            shortcut(*view, keys); // no key is marked yet
        clickKey(*page, "A", Qt::MiddleButton);
        shortcut(*view, Qt::CTRL | Qt::Key_C);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("Ctrl+Shift+B"));
        click(*page, "Fn layer");
        clickKey(*page, "S", Qt::MiddleButton);
        shortcut(*view, Qt::CTRL | Qt::Key_V);
        QCOMPARE(state.layerFn.at(indexOf("S")), ctrlShiftB);
        QVERIFY(shows(*page, {{"S", "Ctrl+Shift+B"}}, "S"));
        QCOMPARE(EditHistory::instance().undoText(), QStringLiteral("Assign S"));
        shortcut(*view, Qt::Key_Delete);
        QCOMPARE(state.layerFn.at(indexOf("S")), KeyAction());
        clickKey(*page, "Esc", Qt::MiddleButton); // the first light
        shortcut(*view, Qt::CTRL | Qt::Key_V);
        QCOMPARE(state.layerFn.at(indexOf("Esc")), ctrlShiftB);
        QCOMPARE(state.layerBase.at(indexOf("A")), ctrlShiftB);
        QVERIFY(bus().trace().empty());
    }

    // Undo shows the layer that it changes, and leaves the shown one when it changes none.
    void restoredLayerIsShown()
    {
        const auto page = openPage();
        EditHistory& history = EditHistory::instance();
        const auto change = [](SavedState& state) {
            state.layerFn.at(0).page = state.layerBase.at(0).page = 5;
            state.macros.append({QStringLiteral("new"), {}});
        };
        for (const auto& [part, shown] :
             {std::pair{StatePart::Macros, "Base layer"}, std::pair{StatePart::FnLayer, "Fn layer"},
              std::pair{StatePart::Macros, "Fn layer"},
              std::pair{StatePart::BaseLayer, "Base layer"}}) {
            history.edit(part, QStringLiteral("Edit"), change);
            history.undo();
            QVERIFY2(buttonOf(*page, shown)->isChecked(), shown);
        }
    }

    void onlyAnActionIsPasted()
    {
        const auto page = openPage();
        clickKey(*page, "S", Qt::MiddleButton);
        for (const QByteArray& content : {QByteArray(), QByteArray(3, 2), QByteArray(5, 2)}) {
            auto* copied = new QMimeData;
            copied->setData(QStringLiteral("application/x-tavik-key-action"), content);
            copied->setText(QStringLiteral("B"));
            QApplication::clipboard()->setMimeData(copied);
            shortcut(*viewOf(*page), Qt::CTRL | Qt::Key_V);
            clickKey(*page, "S", Qt::RightButton);
            QVERIFY(!item(openMenu(), QStringLiteral("Paste"))->isEnabled());
            openMenu()->close();
        }
        QVERIFY(!stateFileExists());

        // What the menu offered then says nothing about what is copied later.
        AppState& state = AppState::instance();
        state.layerBase.at(indexOf("A")) = ctrlShiftB;
        clickKey(*page, "A", Qt::MiddleButton);
        shortcut(*viewOf(*page), Qt::CTRL | Qt::Key_C);
        clickKey(*page, "S", Qt::MiddleButton);
        shortcut(*viewOf(*page), Qt::CTRL | Qt::Key_V);
        QCOMPARE(state.layerBase.at(indexOf("S")), ctrlShiftB);
    }

    void chordIsPressed_data()
    {
        QTest::addColumn<QList<int>>("presses"); // usages, negative for a release
        QTest::addColumn<int>("p1");
        QTest::addColumn<int>("p2");
        QTest::addColumn<QString>("shown");
        QTest::newRow("key") << QList{0x05, -0x05} << 0 << 0x05 << "B";
        QTest::newRow("modifiers and key")
            << QList{0xE0, 0xE1, 0x05, -0x05} << 0x03 << 0x05 << "Ctrl+Shift+B";
        QTest::newRow("modifier let go first")
            << QList{0xE4, 0x05, -0xE4, -0x05} << 0x10 << 0x05 << "Right Ctrl+B";
        QTest::newRow("left and right")
            << QList{0xE1, 0xE5, 0x4C, -0x4C} << 0x22 << 0x4C << "Shift+Right Shift+Delete";
        QTest::newRow("modifier alone") << QList{0xE6, -0xE6} << 0x40 << 0 << "Right Alt";
        QTest::newRow("modifiers alone") << QList{0xE3, 0xE2, -0xE3} << 0x0C << 0 << "Alt+Win";
        QTest::newRow("first key counts") << QList{0x05, 0x06, -0x06, -0x05} << 0 << 0x05 << "B";
        QTest::newRow("Escape") << QList{0x29, -0x29} << 0 << 0x29 << "Esc";
        QTest::newRow("Tab") << QList{0x2B, -0x2B} << 0 << 0x2B << "Tab";
        QTest::newRow("Enter") << QList{0x28, -0x28} << 0 << 0x28 << "Enter";
        QTest::newRow("Ctrl+Z") << QList{0xE0, 0x1D, -0x1D} << 0x01 << 0x1D << "Ctrl+Z";
        QTest::newRow("a release from before") << QList{-0x28, 0x05, -0x05} << 0 << 0x05 << "B";
        QTest::newRow("a modifier from before") << QList{-0xE0, 0x05, -0x05} << 0 << 0x05 << "B";
    }
    void chordIsPressed()
    {
        QFETCH(QList<int>, presses);
        QFETCH(int, p1);
        QFETCH(int, p2);
        QFETCH(QString, shown);
        const auto page = openPage();
        const QPointer<ChordDialog> dialog = askForChord(*page, "Caps Lock");
        QString words;
        for (const int press : presses) {
            QVERIFY(dialog->isVisible());
            sendKey(*dialog, press > 0, scanCodeOfUsage(std::abs(press)));
            if (press > 0)
                words = wordsIn(*dialog);
        }
        QCOMPARE(words, shown);
        const KeyAction expected{2, static_cast<std::uint8_t>(p1), static_cast<std::uint8_t>(p2),
                                 0};
        passTime(*dialog, 40); // Esc has to be let go for so long
        QCOMPARE(AppState::instance().layerBase.at(indexOf("Caps Lock")), expected);
        QTRY_VERIFY(dialog.isNull());
        QVERIFY(bus().trace().empty());
        QVERIFY(stateFileExists());
        EditHistory::instance().undo();
        QCOMPARE(AppState::instance().layerBase.at(indexOf("Caps Lock")), KeyAction());
    }

    void everyOfferedKeyHasAPlace()
    {
        QSet<std::uint8_t> found;
        for (quint32 scanCode = 0; scanCode < 300; ++scanCode) {
            if (const auto usage = usageOfScanCode(scanCode))
                found.insert(*usage);
        }
        // The two keys beside Enter have one place.
        QCOMPARE(found.size(), static_cast<qsizetype>(offeredKeyUsageCount) - 1);
        QVERIFY(!found.contains(0x32));
        QVERIFY(!usageOfScanCode(0) && !usageOfScanCode(8) && !usageOfScanCode(0xFFFFFFFF));
    }

    void keysAreThoseOfTheKernelsNames()
    {
        const QList<int> named{
            KEY_A,         KEY_B,          KEY_C,          KEY_D,          KEY_E,
            KEY_F,         KEY_G,          KEY_H,          KEY_I,          KEY_J,
            KEY_K,         KEY_L,          KEY_M,          KEY_N,          KEY_O,
            KEY_P,         KEY_Q,          KEY_R,          KEY_S,          KEY_T,
            KEY_U,         KEY_V,          KEY_W,          KEY_X,          KEY_Y,
            KEY_Z,         KEY_1,          KEY_2,          KEY_3,          KEY_4,
            KEY_5,         KEY_6,          KEY_7,          KEY_8,          KEY_9,
            KEY_0,         KEY_ENTER,      KEY_ESC,        KEY_BACKSPACE,  KEY_TAB,
            KEY_SPACE,     KEY_MINUS,      KEY_EQUAL,      KEY_LEFTBRACE,  KEY_RIGHTBRACE,
            KEY_BACKSLASH, KEY_RESERVED,   KEY_SEMICOLON,  KEY_APOSTROPHE, KEY_GRAVE,
            KEY_COMMA,     KEY_DOT,        KEY_SLASH,      KEY_CAPSLOCK,   KEY_F1,
            KEY_F2,        KEY_F3,         KEY_F4,         KEY_F5,         KEY_F6,
            KEY_F7,        KEY_F8,         KEY_F9,         KEY_F10,        KEY_F11,
            KEY_F12,       KEY_SYSRQ,      KEY_SCROLLLOCK, KEY_PAUSE,      KEY_INSERT,
            KEY_HOME,      KEY_PAGEUP,     KEY_DELETE,     KEY_END,        KEY_PAGEDOWN,
            KEY_RIGHT,     KEY_LEFT,       KEY_DOWN,       KEY_UP,         KEY_NUMLOCK,
            KEY_KPSLASH,   KEY_KPASTERISK, KEY_KPMINUS,    KEY_KPPLUS,     KEY_KPENTER,
            KEY_KP1,       KEY_KP2,        KEY_KP3,        KEY_KP4,        KEY_KP5,
            KEY_KP6,       KEY_KP7,        KEY_KP8,        KEY_KP9,        KEY_KP0,
            KEY_KPDOT,     KEY_102ND,      KEY_COMPOSE,    KEY_POWER,      KEY_KPEQUAL,
            KEY_F13,       KEY_F14,        KEY_F15,        KEY_F16,        KEY_F17,
            KEY_F18,       KEY_F19,        KEY_F20,        KEY_F21,        KEY_F22,
            KEY_F23,       KEY_F24};
        const QList<int> modifiers{KEY_LEFTCTRL,  KEY_LEFTSHIFT,  KEY_LEFTALT,  KEY_LEFTMETA,
                                   KEY_RIGHTCTRL, KEY_RIGHTSHIFT, KEY_RIGHTALT, KEY_RIGHTMETA};
        for (const auto& [codes, firstUsage] :
             {std::pair(named, 0x04), std::pair(modifiers, 0xE0)}) {
            for (int index = 0; index < codes.size(); ++index) {
                const auto scanCode = static_cast<quint32>(codes.at(index) + 8);
                if (codes.at(index) != KEY_RESERVED) // the other key beside Enter
                    QCOMPARE(int{usageOfScanCode(scanCode).value_or(0)}, firstUsage + index);
            }
        }
    }

    void unknownKeyIsRefusedInWords()
    {
        const auto page = openPage();
        ChordDialog* dialog = askForChord(*page, "Caps Lock");
        sendKey(*dialog, true, 8 + 113); // mute
        QLabel* note = labelWith(*dialog, "This key cannot be assigned. Press another one.");
        QVERIFY(note != nullptr);
        QCOMPARE(note->palette().color(QPalette::WindowText), QColor(0xe0a050));
        sendKey(*dialog, false, 8 + 113);
        QVERIFY(dialog->isVisible());
        sendKey(*dialog, true, scanCodeOfUsage(5));
        QVERIFY(labelWith(*dialog, "This key cannot be assigned. Press another one.") == nullptr);
        QCOMPARE(note->palette().color(QPalette::WindowText), QColor(0xb8b8ba));
        sendKey(*dialog, false, scanCodeOfUsage(5));
        QVERIFY(!dialog->isVisible());
    }

    void modifiersLetGoElsewhereDoNotCount()
    {
        const auto page = openPage();
        ChordDialog* dialog = askForChord(*page, "Caps Lock");
        sendKey(*dialog, true, scanCodeOfUsage(0xE4));
        QCOMPARE(wordsIn(*dialog), QStringLiteral("Right Ctrl"));
        QFocusEvent leaving(QEvent::FocusOut);
        QCoreApplication::sendEvent(dialog, &leaving);
        sendKey(*dialog, true, scanCodeOfUsage(5));
        QCOMPARE(wordsIn(*dialog), QStringLiteral("B"));
    }

    // Who cannot point needs a key that leaves, and Esc may be meant.
    void chordIsLeftByEscapeHeld()
    {
        const auto page = openPage();
        ChordDialog* dialog = askForChord(*page, "Caps Lock");
        QVERIFY(labelWith(*dialog, "Modifiers alone count when you let them go.\n"
                                   "Hold Esc for a second to leave.") != nullptr);
        const quint32 escape = scanCodeOfUsage(0x29);
        QFocusEvent leaving(QEvent::FocusOut);
        for (const quint32 key : {scanCodeOfUsage(5), escape}) {
            sendKey(*dialog, true, key);
            QCOMPARE(isWaitingFor(*dialog, 1000) != nullptr, key == escape);
            QCoreApplication::sendEvent(dialog, &leaving);
            QVERIFY(!isWaitingFor(*dialog, 1000));
        }
        sendKey(*dialog, true, escape);
        const int begun = isWaitingFor(*dialog, 1000)->timerId();
        // Held, it is let go and pressed again, and nobody says that these are repeats.
        sendKey(*dialog, false, escape);
        sendKey(*dialog, true, escape);
        QVERIFY(!isWaitingFor(*dialog, 40));
        QCOMPARE(isWaitingFor(*dialog, 1000)->timerId(), begun); // the second has not begun anew
        passTime(*dialog, 1000);
        QVERIFY(!dialog->isVisible());
        QVERIFY(!stateFileExists());
    }

    void chordIsCancelled_data()
    {
        QTest::addColumn<bool>("byButton");
        QTest::newRow("button") << true;
        QTest::newRow("click beside it") << false;
    }
    void chordIsCancelled()
    {
        QFETCH(bool, byButton);
        const auto page = openPage();
        ChordDialog* dialog = askForChord(*page, "Caps Lock");
        sendKey(*dialog, true, scanCodeOfUsage(0xE0));
        if (byButton)
            clickButton(*dialog, QStringLiteral("Cancel"));
        else
            QTest::mouseClick(dialog, Qt::LeftButton, {}, QPoint(-20, -20));
        QVERIFY(!dialog->isVisible());
        QVERIFY(!stateFileExists());
    }
};

TAVIK_ISOLATED_TEST_MAIN(KeymapWidgetTest)

#include "keymap_widget_test.moc"
