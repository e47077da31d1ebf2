// SPDX-License-Identifier: MIT
#include "pages/macros/record_dialog.h"
#include "tests/support/isolated_main.h"
#include "tests/support/pixel_probe.h"
#include "tests/support/screen_reader.h"

#include <QCheckBox>
#include <QContextMenuEvent>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QThread>

using namespace tavik;
using namespace tavik::tests;

namespace {

using Actions = QList<MacroAction>;

// By where they lie: the scan codes of X11.
constexpr quint32 scanA = 38;
constexpr quint32 scanShift = 50;
constexpr quint32 scanTab = 23;
constexpr quint32 scanEscape = 9;
constexpr quint32 scanSpace = 65;
constexpr quint32 scanEnter = 36;
constexpr quint32 scanMute = 121; // no usage of a keyboard

// What they stand for.
int symbolOf(quint32 scanCode)
{
    switch (scanCode) {
    case scanA:
        return Qt::Key_A;
    case scanSpace:
        return Qt::Key_Space;
    case scanEnter:
        return Qt::Key_Return;
    case scanTab:
        return Qt::Key_Tab;
    default:
        return Qt::Key_Escape;
    }
}

} // namespace

class RecordDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { delete dialog; }

    void keysAndButtonsBecomeActions()
    {
        open();
        key(scanShift, true, 1000);
        key(scanA, true, 1040);
        key(scanA, false, 1100);
        key(scanShift, false, 1100);
        key(scanTab, true, 1200); // moves no focus
        key(scanTab, false, 1201);
        mouse(Qt::LeftButton, true, 1300);
        mouse(Qt::LeftButton, false, 1350);
        QCOMPARE(shown(), QStringList({"press L Shift", "40 ms, press A", "60 ms, release A",
                                       "release L Shift", "100 ms, press Tab", "1 ms, release Tab",
                                       "99 ms, press left button", "50 ms, release left button"}));
        press("Stop");
        QVERIFY(label(QStringLiteral("Stopped.")));
        QCOMPARE(QApplication::focusWidget(), buttonWith("Add to macro"));
        QCOMPARE(take(), (Actions{{0, 0xE1, 0xB0},
                                  {40, 0x04, 0xB0},
                                  {60, 0x04, 0x30},
                                  {0, 0xE1, 0x30},
                                  {100, 0x2B, 0xB0},
                                  {1, 0x2B, 0x30},
                                  {99, 0x01, 0x90},
                                  {50, 0x01, 0x10}}));
    }

    void buttonsHaveTheCodesOfMouseKeys_data()
    {
        QTest::addColumn<Qt::MouseButton>("button");
        QTest::addColumn<int>("code"); // 0: not recorded
        QTest::newRow("left") << Qt::LeftButton << 0x01;
        QTest::newRow("right") << Qt::RightButton << 0x02;
        QTest::newRow("middle") << Qt::MiddleButton << 0x04;
        QTest::newRow("back") << Qt::BackButton << 0x08;
        QTest::newRow("forward") << Qt::ForwardButton << 0x10;
        QTest::newRow("task") << Qt::TaskButton << 0;
    }
    void buttonsHaveTheCodesOfMouseKeys()
    {
        QFETCH(Qt::MouseButton, button);
        QFETCH(int, code);
        open();
        mouse(button, true, 10);
        mouse(button, false, 15);
        press("Stop");
        if (code == 0) {
            QVERIFY(!buttonWith("Add to macro")->isVisible());
            return;
        }
        const auto byte = static_cast<std::uint8_t>(code);
        QCOMPARE(take(), (Actions{{0, byte, 0x90}, {5, byte, 0x10}}));
    }

    // They come without a time then.
    void keysHaveTheirTimeWhileAScreenReaderListens()
    {
        hearAsAScreenReader([](QAccessibleEvent*) {});
        open();
        QElapsedTimer clock;
        clock.start();
        const auto later = [&clock] {
            const qint64 now = clock.elapsed();
            QVERIFY(QTest::qWaitFor([&] { return clock.elapsed() > now + 20; }));
        };
        for (const bool isPress : {true, false, true, false}) {
            key(scanA, isPress, 0);
            later();
        }
        mouse(Qt::LeftButton, true, 900000000);
        mouse(Qt::LeftButton, false, 900000001);
        press("Stop");
        const Actions actions = take();
        QCOMPARE(actions.size(), 6);
        for (qsizetype index = 1; index < 5; ++index)
            QVERIFY(actions.at(index).delay > 2 && actions.at(index).delay < 65535);
    }

    void repeatsMayComeApart()
    {
        MacroRecording recording(15);
        const auto key = MacroRecording::Input::Key;
        QVERIFY(recording.press(key, 4, 100));
        recording.release(key, 4, 160);
        QVERIFY(!recording.press(key, 4, 175));
        recording.release(key, 4, 200);
        QVERIFY(recording.press(key, 4, 216));
        QCOMPARE(recording.actions({}), (Actions{{0, 4, 0xB0}, {100, 4, 0x30}, {16, 4, 0xB0}}));
    }

    void keysAndButtonsOfOneCodeAreNotTheSame()
    {
        MacroRecording recording;
        recording.release(MacroRecording::Input::Key, 4, 100);
        QVERIFY(recording.press(MacroRecording::Input::Button, 4, 100));
        QVERIFY(!recording.press(MacroRecording::Input::Key, 4, 100));
    }

    // Its repeats come some milliseconds apart then; where the test itself was too slow, once more.
    void aHeldKeyIsHeldWhileAScreenReaderListens()
    {
        hearAsAScreenReader([](QAccessibleEvent*) {});
        open();
        bool isQuick = false;
        for (int attempt = 0; attempt < 100 && !isQuick; ++attempt) {
            press("Stop");
            press("Record again");
            key(scanA, true, 0);
            QElapsedTimer apart;
            apart.start();
            key(scanA, false, 0);
            while (apart.elapsed() < 4)
                QThread::yieldCurrentThread();
            key(scanA, true, 0);
            isQuick = apart.elapsed() <= 15;
        }
        if (!isQuick)
            QSKIP("This machine is too slow");
        key(scanA, false, 0);
        press("Stop");
        QCOMPARE(take().size(), 2);
    }

    void delaysAreThoseOfTheKeysOrOneForAll()
    {
        open();
        key(scanA, true, 1000);
        key(scanA, false, 1000 + 70000); // more than an action can say
        key(scanShift, true, 71010);
        key(scanShift, false, 71005); // a clock that has been set back
        press("Stop");
        auto* fixed = dialog->findChild<QCheckBox*>();
        auto* delay = dialog->findChild<QSpinBox*>();
        QCOMPARE(delay->minimum(), 0);
        QCOMPARE(delay->maximum(), 65535);
        QCOMPARE(shown(), QStringList({"press A", "65535 ms, release A", "10 ms, press L Shift",
                                       "release L Shift"}));
        delay->setValue(25);
        QVERIFY(fixed->isChecked()); // who gives one wants it
        QCOMPARE(shown(), QStringList({"press A", "25 ms, release A", "25 ms, press L Shift",
                                       "25 ms, release L Shift"}));
        fixed->setChecked(false);
        QCOMPARE(shown().at(1), QStringLiteral("65535 ms, release A"));
        fixed->setChecked(true);
        const Actions expected{
            {0, 0x04, 0xB0}, {25, 0x04, 0x30}, {25, 0xE1, 0xB0}, {25, 0xE1, 0x30}};
        QCOMPARE(take(), expected);
    }

    void whatIsHeldAtTheEndIsLetGo()
    {
        open();
        key(scanShift, true, 10);
        key(scanA, true, 30);
        stopAt(330);
        QCOMPARE(take(),
                 (Actions{{0, 0xE1, 0xB0}, {20, 0x04, 0xB0}, {300, 0xE1, 0x30}, {0, 0x04, 0x30}}));
        open();
        key(scanA, true, 10);
        mouse(Qt::LeftButton, true, 30);
        stopAt(50);
        QCOMPARE(take(),
                 (Actions{{0, 0x04, 0xB0}, {20, 0x01, 0x90}, {20, 0x04, 0x30}, {0, 0x01, 0x10}}));
    }

    // As long as it is known to be held, be it by something that is not recorded.
    void whatIsHeldIsLetGoWithTheLastThatCame()
    {
        open();
        key(scanA, true, 10);
        key(scanMute, true, 500);
        leaveWindow();
        QCOMPARE(take(), (Actions{{0, 0x04, 0xB0}, {490, 0x04, 0x30}}));
        open();
        key(scanA, true, 10);
        mouse(Qt::TaskButton, true, 300);
        leaveWindow();
        QCOMPARE(take(), (Actions{{0, 0x04, 0xB0}, {290, 0x04, 0x30}}));
    }

    void whatWasHeldBeforeAndWhatRepeatsIsLeftOut()
    {
        open();
        key(scanTab, false, 5); // the end of what has opened the dialog
        key(scanA, true, 10);
        key(scanA, true, 510, true);
        key(scanA, false, 540); // a repeat that is not known as one
        key(scanA, true, 540);
        key(scanA, false, 600);
        key(scanA, true, 600 + 1); // pressed quickly once more
        key(scanA, false, 610);
        press("Stop");
        QCOMPARE(take(),
                 (Actions{{0, 0x04, 0xB0}, {590, 0x04, 0x30}, {1, 0x04, 0xB0}, {9, 0x04, 0x30}}));
    }

    // Ctrl+R or the Space on "Record again" may be held for a while.
    void whatRepeatsFromBeforeIsLeftOut()
    {
        open();
        for (const quint64 timeMs : {510, 540, 570}) {
            key(scanSpace, false, timeMs);
            key(scanSpace, true, timeMs);
        }
        key(scanA, true, 575);
        key(scanSpace, false, 580);
        key(scanA, false, 600);
        key(scanSpace, true, 700);
        key(scanSpace, false, 720);
        press("Stop");
        QCOMPARE(take(),
                 (Actions{{0, 0x04, 0xB0}, {25, 0x04, 0x30}, {100, 0x2C, 0xB0}, {20, 0x2C, 0x30}}));
    }

    void keysThatTheKeyboardDoesNotHaveAreRefusedInWords()
    {
        open();
        key(scanMute, true, 10);
        QVERIFY(label(QStringLiteral("This key cannot be recorded.")));
        key(scanMute, false, 20);
        QCOMPARE(shown(), QStringList());
        key(scanA, true, 30);
        QVERIFY(!label(QStringLiteral("This key cannot be recorded.")));
        QCOMPARE(shown(), QStringList({"press A"}));
        key(scanMute, true, 40);
        mouse(Qt::LeftButton, true, 50);
        QVERIFY(!label(QStringLiteral("This key cannot be recorded.")));
    }

    void heldEscapeStopsAndIsNoPartOfIt()
    {
        open();
        key(scanEscape, true, 10, false, Qt::Key_Escape);
        key(scanEscape, false, 60, false, Qt::Key_Escape);
        key(scanEscape, true, 100, false, Qt::Key_Escape);
        QTRY_VERIFY(buttonWith("Add to macro")->isVisible());
        // Still held, whether a repeat is known as one or not.
        key(scanEscape, true, 1200, true, Qt::Key_Escape);
        key(scanEscape, false, 1300, false, Qt::Key_Escape);
        key(scanEscape, true, 1300, false, Qt::Key_Escape);
        key(scanEscape, false, 1400, false, Qt::Key_Escape);
        QVERIFY(dialog->isVisible());
        QVERIFY(label(QStringLiteral("Stopped.")));
        QCOMPARE(take(), (Actions{{0, 0x29, 0xB0}, {50, 0x29, 0x30}}));
    }

    // Whenever the timer looks, the key may just be let go to be pressed again.
    void heldEscapeStopsByItsRepeats_data()
    {
        QTest::addColumn<bool>("isKnown");
        QTest::newRow("known as repeats") << true;
        QTest::newRow("like keys") << false;
    }
    void heldEscapeStopsByItsRepeats()
    {
        QFETCH(bool, isKnown);
        open();
        key(scanA, true, 5);
        key(scanA, false, 7);
        const quint64 start = 70000;
        key(scanEscape, true, start, false, Qt::Key_Escape);
        for (quint64 timeMs = start + 500; timeMs < start + 1000; timeMs += 50) {
            key(scanEscape, false, timeMs, isKnown, Qt::Key_Escape);
            key(scanEscape, true, timeMs, isKnown, Qt::Key_Escape);
            QVERIFY(!buttonWith("Add to macro")->isVisible());
        }
        key(scanEscape, false, start + 1000, isKnown, Qt::Key_Escape);
        key(scanEscape, true, start + 1000, isKnown, Qt::Key_Escape);
        QVERIFY(buttonWith("Add to macro")->isVisible());
        QCOMPARE(shown(), QStringList({"press A", "2 ms, release A"}));
    }

    // The second in which it is held belongs to nothing.
    void whatIsHeldIsLetGoWithTheEscapeThatStops()
    {
        open();
        key(scanA, true, 100);
        key(scanEscape, true, 350, false, Qt::Key_Escape);
        for (const quint64 timeMs : {850, 1350}) {
            key(scanEscape, false, timeMs, false, Qt::Key_Escape);
            key(scanEscape, true, timeMs, false, Qt::Key_Escape);
        }
        QCOMPARE(shown(), QStringList({"press A", "250 ms, release A"}));
        QVERIFY(dialog->isVisible());
    }

    // Its repeats would close the dialog anyway, sooner or later.
    void heldEscapeLeavesWhatHasNothingToLose()
    {
        open();
        const QSignalSpy recorded(dialog, &RecordDialog::recorded);
        key(scanEscape, true, 10, false, Qt::Key_Escape);
        key(scanEscape, true, 1010, true, Qt::Key_Escape);
        QVERIFY(dialog == nullptr || !dialog->isVisible());
        QCOMPARE(recorded.size(), 0);
    }

    // Who types meanwhile would go on typing in the window.
    void heldEscapeWithOtherKeysLeavesTheDialogOpen()
    {
        open();
        key(scanEscape, true, 10, false, Qt::Key_Escape);
        key(scanA, true, 300);
        key(scanA, false, 350);
        key(scanEscape, true, 1010, true, Qt::Key_Escape);
        QVERIFY(dialog != nullptr && dialog->isVisible());
        QVERIFY(label(QStringLiteral("Stopped.")));
        QCOMPARE(shown(), QStringList());
    }

    // "Record again" would take it all away.
    void secondClickOnStopPressesNothing()
    {
        open();
        key(scanA, true, 10);
        const QPoint place = buttonWith("Stop")->geometry().center();
        stopAt(10);
        QCOMPARE(dialog->childAt(place), buttonWith("Stop"));
        QTest::mouseDClick(buttonWith("Stop"), Qt::LeftButton);
        QCOMPARE(shown(), QStringList({"press A", "release A"}));
        QVERIFY(label(QStringLiteral("Stopped.")));
    }

    // The mark stands round it, and a screen reader says what it asks for.
    void fieldHasTheFocusWhileItRecords()
    {
        open();
        QCOMPARE(QApplication::focusWidget(), field());
        press("Stop");
        press("Record again");
        QCOMPARE(QApplication::focusWidget(), field());
    }

    // Who presses it once too often loses nothing.
    void escapeClosesWhatHasNothingToLose()
    {
        open();
        key(scanA, true, 10);
        press("Stop");
        key(scanA, true, 20);
        QCOMPARE(shown().size(), 2);
        key(scanEscape, true, 1000, false, Qt::Key_Escape);
        QVERIFY(dialog->isVisible());
        press("Record again");
        press("Stop");
        key(scanEscape, true, 2000, false, Qt::Key_Escape);
        QTRY_VERIFY(dialog == nullptr || !dialog->isVisible());
    }

    // None of them presses a button, moves in the list or is a shortcut.
    void keysAreRecordedWhateverHasTheFocus()
    {
        open();
        const QShortcut shortcut(QKeySequence(Qt::Key_A), dialog);
        const QSignalSpy activated(&shortcut, &QShortcut::activated);
        QStringList expected;
        for (QWidget* part : dialog->findChildren<QWidget*>()) {
            if (part->focusPolicy() == Qt::NoFocus || !part->isVisible() || !part->isEnabled())
                continue;
            part->setFocus();
            for (const quint32 scanCode : {scanA, scanSpace, scanEnter, scanTab, scanEscape}) {
                key(scanCode, true, 0, false, symbolOf(scanCode), QApplication::focusWidget());
                key(scanCode, false, 0, false, symbolOf(scanCode), QApplication::focusWidget());
            }
            expected += QStringList{"press A",     "release A",     "press Space", "release Space",
                                    "press Enter", "release Enter", "press Tab",   "release Tab",
                                    "press Esc",   "release Esc"};
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_A);
        }
        QCOMPARE(shown(), expected);
        QVERIFY(expected.size() >= 40);
        QCOMPARE(activated.size(), 0);
    }

    void opensInTheMiddleOfItsWindow()
    {
        QWidget window;
        window.setGeometry(100, 60, 600, 500);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        dialog = new RecordDialog(QString(), &window);
        dialog->open();
        const QPoint off = dialog->geometry().center() - window.geometry().center();
        QVERIFY2(off.manhattanLength() < 60, qPrintable(QString::number(off.manhattanLength())));
    }

    // Its input method would compose letters, and its menu would take keys.
    void numberIsTypedAfterTheRecordingOnly()
    {
        open();
        auto* number = dialog->findChild<QSpinBox*>();
        QTest::mouseClick(number, Qt::LeftButton);
        QVERIFY(!number->hasFocus());
        QContextMenuEvent request(QContextMenuEvent::Mouse, {5, 5},
                                  number->mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(number, &request);
        QVERIFY(QApplication::activePopupWidget() == nullptr);
        press("Stop");
        QTest::mouseClick(number, Qt::LeftButton);
        QVERIFY(number->hasFocus());
    }

    void fieldIsOrangeWhileItRecords()
    {
        open();
        const auto edge = [this] { return colorAt(field()->grab().toImage(), {100, 0}); };
        QCOMPARE(edge(), QColor(0xDA, 0x52, 0x00));
        press("Stop");
        QCOMPARE(edge(), QColor(0x3A, 0x3D, 0x47));
        press("Record again");
        QCOMPARE(edge(), QColor(0xDA, 0x52, 0x00));
    }

    void recordingStartsAgain()
    {
        open();
        key(scanA, true, 10);
        press("Stop");
        press("Record again");
        QCOMPARE(shown(), QStringList());
        QVERIFY(!buttonWith("Add to macro")->isVisible());
        key(scanTab, true, 20);
        key(scanTab, false, 30);
        press("Stop");
        QCOMPARE(take(), (Actions{{0, 0x2B, 0xB0}, {10, 0x2B, 0x30}}));
    }

    void enterPressesTheButtonThatHasTheFocus()
    {
        open();
        key(scanA, true, 10);
        press("Stop");
        const QSignalSpy recorded(dialog, &RecordDialog::recorded);
        buttonWith("Cancel")->setFocus();
        QTest::keyClick(buttonWith("Cancel"), Qt::Key_Return);
        QVERIFY(dialog == nullptr || !dialog->isVisible());
        QCOMPARE(recorded.size(), 0);
    }

    void nothingIsAddedWithoutARecording()
    {
        open();
        press("Stop");
        QVERIFY(!buttonWith("Add to macro")->isVisible());
        QCOMPARE(QApplication::focusWidget(), buttonWith("Record again"));
        QSignalSpy recorded(dialog, &RecordDialog::recorded);
        press("Cancel");
        QCOMPARE(recorded.size(), 0);
    }

    // What is pressed in another window is not meant, and what is let go there is not heard of.
    void anotherWindowStopsIt()
    {
        open();
        key(scanA, true, 10);
        leaveWindow();
        QVERIFY(label(QStringLiteral("Stopped, because another window was chosen.")));
        QCOMPARE(shown(), QStringList({"press A", "release A"}));
        QVERIFY(buttonWith("Record again")->isVisible());
    }

private:
    void open()
    {
        dialog = new RecordDialog(QStringLiteral("Greet <b>"), nullptr);
        dialog->open();
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        QVERIFY(label(QStringLiteral("What you press is added to \"Greet <b>\".")));
        QVERIFY(label(QStringLiteral("Press keys now. Mouse buttons count in this field.\n"
                                     "Hold Esc for a second to stop.")));
    }

    void key(quint32 scanCode, bool isPress, quint64 timeMs, bool isRepeat = false,
             int symbol = Qt::Key_unknown, QWidget* receiver = nullptr)
    {
        QKeyEvent event(isPress ? QEvent::KeyPress : QEvent::KeyRelease, symbol, Qt::NoModifier,
                        scanCode, 0, 0, {}, isRepeat);
        event.setTimestamp(timeMs);
        QCoreApplication::sendEvent(receiver != nullptr ? receiver : dialog, &event);
    }

    void leaveWindow() const
    {
        QEvent leaving(QEvent::WindowDeactivate);
        QCoreApplication::sendEvent(dialog, &leaving);
    }

    [[nodiscard]] QLabel* field() const { return dialog->findChildren<QLabel*>().at(1); }

    void mouse(Qt::MouseButton button, bool isPress, quint64 timeMs) const
    {
        mouseOn(*field(), button, isPress, timeMs);
    }

    static void mouseOn(QWidget& widget, Qt::MouseButton button, bool isPress, quint64 timeMs)
    {
        const QPointF center = widget.rect().center();
        QMouseEvent event(isPress ? QEvent::MouseButtonPress : QEvent::MouseButtonRelease, center,
                          widget.mapToGlobal(center), button, isPress ? button : Qt::NoButton,
                          Qt::NoModifier);
        event.setTimestamp(timeMs);
        QCoreApplication::sendEvent(&widget, &event);
    }

    QPushButton* buttonWith(const char* text) const
    {
        for (QPushButton* button : dialog->findChildren<QPushButton*>()) {
            if (button->text() == QLatin1String(text))
                return button;
        }
        qFatal("no button \"%s\"", text);
    }
    void press(const char* text) const
    {
        QVERIFY(buttonWith(text)->isVisible());
        QTest::mouseClick(buttonWith(text), Qt::LeftButton);
    }

    // With a time of the test's own, as its keys have.
    void stopAt(quint64 timeMs) const
    {
        mouseOn(*buttonWith("Stop"), Qt::LeftButton, true, timeMs);
        mouseOn(*buttonWith("Stop"), Qt::LeftButton, false, timeMs);
        QVERIFY(label(QStringLiteral("Stopped.")));
    }

    Actions take()
    {
        const QSignalSpy recorded(dialog, &RecordDialog::recorded);
        press("Add to macro");
        return recorded.size() == 1 ? recorded.first().first().value<Actions>() : Actions();
    }

    QStringList shown() const
    {
        const auto* list = dialog->findChild<QListWidget*>();
        QStringList texts;
        for (int row = 0; row < list->count(); ++row)
            texts += list->item(row)->text();
        return texts;
    }

    bool label(const QString& text) const
    {
        for (const QLabel* label : dialog->findChildren<QLabel*>()) {
            if (label->text() == text && label->isVisible())
                return true;
        }
        return false;
    }

    QPointer<RecordDialog> dialog;
};

TAVIK_ISOLATED_TEST_MAIN(RecordDialogTest)

#include "record_dialog_test.moc"
