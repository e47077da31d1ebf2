// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "pages/keys/layer_write.h"
#include "pages/parts/lighting_command.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"
#include "tests/support/named_keys.h"
#include "tests/support/page_view.h"
#include "tests/support/pixel_probe.h"
#include "virtual_keyboard/demo/demo_program.h"
#include "virtual_keyboard/demo/keyboard_window.h"
#include "virtual_keyboard/demo/lit_board.h"

#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QLayout>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;
using namespace std::chrono_literals;

namespace {

const LightingSettings steadyWhite{.effect = 1, .color = {0xFF, 0xFF, 0xFF}, .brightness = 5};

} // namespace

class KeyboardWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        lightUpKeyboard();
        openWindow();
    }

    void cleanup() { window.reset(); }

    void aClickedKeySaysWhatItSends()
    {
        change([](KeyboardState& state) { state.baseLayer.at(indexOf("A")) = {2, 0x01, 0x05, 0}; });
        setLight(steadyWhite);
        openWindow(); // the one that is there may show the change a moment later
        const QImage before = picture();
        QTest::mousePress(board(), Qt::LeftButton, {}, centerOf("A"));
        QCOMPARE(text("sent"), QString("The computer gets: Ctrl+B"));
        const QRect changed = changedArea(before, picture());
        QVERIFY(!changed.isEmpty());
        QVERIFY(capOf("A").contains(changed));
        QTest::mouseRelease(board(), Qt::LeftButton, {}, centerOf("A"));
        QCOMPARE(picture(), before);
    }

    void aPressedKeySinks()
    {
        setLight({.effect = 0});
        const auto legend = [this] {
            return areaWhere(picture().copy(capOf("A")),
                             [](const QColor& pixel) { return pixel.red() > 0x60; });
        };
        const QRect before = legend();
        QVERIFY(!before.isEmpty());
        QTest::mousePress(board(), Qt::LeftButton, {}, centerOf("A"));
        QVERIFY(legend().top() > before.top());
        QVERIFY(legend().bottom() > before.bottom());
        QTest::mouseRelease(board(), Qt::LeftButton, {}, centerOf("A"));
        QCOMPARE(legend(), before);
    }

    void theProgramHasTheFocusAtTheStart_data()
    {
        QTest::addColumn<int>("programWidth");
        QTest::addColumn<bool>("overlap");
        QTest::newRow("room for both") << 300 << false;
        QTest::newRow("a program that is not cut") << 700 << true;
    }
    void theProgramHasTheFocusAtTheStart()
    {
        QFETCH(const int, programWidth);
        QFETCH(const bool, overlap);
        QWidget program;
        program.resize(programWidth, 480);
        program.show();
        QVERIFY(QTest::qWaitForWindowActive(&program));
        window->hide();
        window->showBeside(program);
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        QTRY_COMPARE(QApplication::activeWindow(), &program);
        QTRY_COMPARE(window->frameGeometry().right() + 1,
                     program.screen()->availableGeometry().width());
        QCOMPARE(program.width(), programWidth);
        QCOMPARE(window->frameGeometry().intersects(program.frameGeometry()), overlap);
        // A click on the program brings it in front, as with any two windows.
        QVERIFY(window->parentWidget() == nullptr);
    }

    void onlyKeysAreClicked()
    {
        QTest::mouseClick(board(), Qt::LeftButton, {}, QPoint(2, 2));
        QTest::mouseClick(board(), Qt::RightButton, {}, centerOf("A"));
        QCOMPARE(text("sent"), QString("Click a key to see what it sends."));
    }

    void aMovingEffectAsksForPicturesAndAHiddenWindowForNone()
    {
        QTRY_VERIFY(timer().isActive());
        QVERIFY(timer().interval() <= 40);
        window->hide();
        QCoreApplication::processEvents();
        QVERIFY(!timer().isActive());
        window->show();
        QTRY_VERIFY(timer().isActive());
    }

    // Only the minute hand of the clock on the screen is waited for.
    void nothingIsPaintedWhileNothingMoves()
    {
        setLight({.effect = 1, .color = {0xFF, 0, 0}, .brightness = 5});
        QTRY_VERIFY(timer().remainingTime() > 1000); // also when a minute has just ended
        QVERIFY(timer().remainingTime() <= 60000);
        window->hide();
        QVERIFY(!timer().isActive());
    }

    void picturesFollowTheTime()
    {
        const QImage before = picture();
        QCOMPARE(picture(), before);
        bus().wait(400ms);
        QVERIFY(picture() != before);
    }

    void lightSleepsAndAKeyWakesIt()
    {
        setLight(steadyWhite);
        QVERIFY(sendLightingSleep(1));
        const QImage awake = picture();
        bus().wait(1500ms);
        const QImage asleep = picture();
        QVERIFY(brightness(asleep) < brightness(awake) / 2);
        QTRY_VERIFY(!timer().isActive());
        QVERIFY(text("state").contains("asleep"));
        QVERIFY(text("note").contains("A minute of sleep time lasts a second here"));
        QVERIFY(text("note").contains("not known"));
        click("A");
        QCOMPARE(picture(), awake);
        QVERIFY(text("state").contains("sleeps after 1 min"));
    }

    void anUnpluggedKeyboardIsDark()
    {
        setLight(steadyWhite);
        const QImage lit = picture();
        auto* plug = button("Unplug");
        plug->click();
        QVERIFY(!bus().plugged());
        QCOMPARE(plug->text(), QString("Plug in"));
        QCOMPARE(text("state"), QString("unplugged"));
        const double unplugged = brightness(picture());
        QVERIFY(!timer().isActive());
        click("A");
        QCOMPARE(text("sent"), QString("The computer gets nothing: the cable is out."));
        plug->click();
        QVERIFY(bus().plugged());
        QVERIFY(text("sent").contains("started again"));
        QCOMPARE(picture(), lit);
        QVERIFY(timer().isActive());
        change([](KeyboardState& state) { state.lighting[0] = 0; });
        QVERIFY(brightness(picture()) < brightness(lit) / 2);
        QVERIFY(unplugged < brightness(picture()) * 0.8);
    }

    void aCablePulledByOthersIsSeen()
    {
        const QPushButton* plug = button("Unplug");
        bus().unplug();
        QTRY_COMPARE(plug->text(), QString("Plug in"));
    }

    void lightFollowsThePlaceOfItsKey()
    {
        change([](KeyboardState& state) { state.lighting[0] = customEffect; });
        const QImage dark = picture();
        change([](KeyboardState& state) { state.colorBank.at(indexOf("G")) = {0, 0, 255}; });
        const QRect changed = changedArea(dark, picture());
        const QRect cap = capOf("G");
        QVERIFY(changed.contains(cap.adjusted(3, 3, -3, -3)));
        QVERIFY(cap.adjusted(-40, -40, 40, 40).contains(changed));
        // Between two caps the blue is seen well.
        const QColor gap = picture().pixelColor(cap.right() + 1, cap.center().y());
        QVERIFY2(gap.blue() > 90, qPrintable(gap.name()));
    }

    void theScreenShowsWhatFnAndDeleteAskFor()
    {
        change([](KeyboardState& state) {
            state.screenSlots[2] = {
                {std::vector<std::uint16_t>(screenWidth * screenHeight, 0x07E0), 100ms}};
            state.latestSlot = 3;
        });
        QVERIFY(screen().pixelColor(4, 4).green() < 20);
        click("Fn");
        click("Delete");
        QCOMPARE(screen().pixelColor(4, 4), QColor(0, 255, 0));
    }

    void theWireIsShownOnDemand()
    {
        auto* list = window->findChild<QListWidget*>();
        QVERIFY(!list->isVisible());
        window->findChild<QToolButton*>()->click();
        QVERIFY(list->isVisible());
        QVERIFY(writeLayer(tavik::LayerId::Base, {}));
        QCOMPARE(list->item(list->count() - 1)->text(), QString("finish"));
        QCOMPARE(list->item(list->count() - 3)->text(), QString("base layer, 9 reports"));

        setLight({.effect = 1, .brightness = 9});
        QCOMPARE(takeBusViolations().size(), 1);
        const auto redIn = [list](QListWidgetItem* line) {
            list->scrollToItem(line);
            return areaWhere(list->viewport()->grab(list->visualItemRect(line)).toImage(),
                             [](const QColor& pixel) {
                                 return pixel.red() > 0xA0 && pixel.blue() < pixel.red() / 2;
                             });
        };
        const auto wrong =
            list->findItems("lighting mode carries a value out of range", Qt::MatchExactly);
        QCOMPARE(wrong.size(), 1);
        QVERIFY(redIn(wrong.first()).width() > 100);
        QVERIFY(redIn(list->item(0)).isEmpty());
    }

    void whoReadsAnEarlierLineStaysThere()
    {
        auto* list = window->findChild<QListWidget*>();
        window->findChild<QToolButton*>()->click();
        for (int time = 0; time < 5; ++time)
            QVERIFY(writeLayer(tavik::LayerId::Base, {}));
        QScrollBar* bar = list->verticalScrollBar();
        QVERIFY(bar->maximum() > 3);
        QCOMPARE(bar->value(), bar->maximum());
        bar->setValue(2);
        QVERIFY(writeLayer(tavik::LayerId::Base, {}));
        QCOMPARE(bar->value(), 2);
    }

    void theWindowGrowsAndShrinksByTheWire()
    {
        window->resize(450, window->heightForWidth(450));
        QTRY_COMPARE(window->width(), 450);
        const int height = window->height();
        auto* wire = window->findChild<QToolButton*>();
        wire->click();
        QCOMPARE(window->height(), height + window->findChild<QListWidget*>()->height() + 5);
        wire->click();
        QTRY_COMPARE(window->height(), height);
    }

    // In a low window the board gives way.
    void linesStandUnderEachOther()
    {
        window->findChild<QToolButton*>()->click();
        setLight({.effect = 1, .color = {0xFF, 0, 0}, .brightness = 5}); // takes two lines
        window->resize(450, 10);
        const auto* state = window->findChild<QLabel*>("state");
        const auto* list = window->findChild<QListWidget*>();
        const auto* note = window->findChild<QLabel*>("note");
        QTRY_VERIFY(list->geometry().bottom() < note->geometry().top());
        QVERIFY(state->geometry().bottom() < list->geometry().top());
        QVERIFY(board()->QWidget::geometry().bottom() < state->geometry().top());
        for (const QLabel* label : {state, note})
            QVERIFY(label->height() >= label->heightForWidth(label->width()));
        QVERIFY(window->rect().contains(note->geometry()));
        QVERIFY(board()->height() >= 120);
    }

    // It is told so, and paints nothing by itself.
    void aWindowFromTheTaskBarMoves()
    {
        QTRY_VERIFY(timer().isActive());
        QHideEvent hidden;
        QApplication::sendEvent(window.get(), &hidden);
        QVERIFY(!timer().isActive());
        QShowEvent shown;
        QApplication::sendEvent(window.get(), &shown);
        QTRY_VERIFY(timer().isActive());
    }

    void theScreenShowsAClockWhileItIsOn()
    {
        setLight(steadyWhite);
        const auto hands = [this] {
            return areaWhere(screen(), [](const QColor& pixel) {
                return std::min({pixel.red(), pixel.green(), pixel.blue()}) > 0xD0;
            });
        };
        // Two hands from the middle: the shorter one takes a fifth of the dial at least.
        QVERIFY(std::max(hands().width(), hands().height()) > board()->glass().width() / 5);
        button("Unplug")->click();
        QVERIFY(hands().isEmpty());
    }

    void aPulledCableIsTold()
    {
        click("Fn");
        QVERIFY(text("state").startsWith("Fn is held"));
        click("A");
        button("Unplug")->click();
        QCOMPARE(text("sent"), QString("The cable is out."));
        button("Plug in")->click();
        QVERIFY(!text("state").contains("Fn is held"));
    }

    void noLineIsClipped()
    {
        window->resize(450, window->heightForWidth(450));
        QTRY_COMPARE(window->width(), 450);
        change([](KeyboardState& state) {
            state.baseLayer.at(indexOf("A")) = {6, 0, 0, 0};
            state.macroSpace = std::vector<std::uint8_t>(virtual_keyboard::macroSpaceSize);
            state.macroSpace[0] = 0x90; // behind the table of a hundred macros
            state.macroSpace[1] = 0x01;
            state.macroSpace[400] = 60; // half actions
            for (std::size_t action = 0; action < 30; ++action) {
                state.macroSpace[404 + action * 4] = 50; // ms
                state.macroSpace[406 + action * 4] = 0x0B;
                state.macroSpace[407 + action * 4] = action % 2 == 0 ? 0xB0 : 0x30;
            }
        });
        click("A");
        const auto* sent = window->findChild<QLabel*>("sent");
        const QString start = "The computer gets: macro 0: 50 ms H↓ 50 ms H↑";
        QVERIFY2(sent->text().startsWith(start), qPrintable(sent->text()));
        QVERIFY(sent->text().endsWith(u'…'));
        QVERIFY(sent->fontMetrics().horizontalAdvance(sent->text()) <= sent->width());
        QVERIFY(sent->toolTip().size() > sent->text().size());

        const auto* state = window->findChild<QLabel*>("state");
        const auto heightOfAll = [state] {
            return state->fontMetrics()
                .boundingRect(state->rect(), Qt::TextWordWrap, state->text())
                .height();
        };
        QTRY_VERIFY(heightOfAll() <= state->height());
        window->resize(window->screen()->availableSize());
        QTRY_VERIFY(sent->text().size() > start.size() + 10);
    }

    void aBusyKeyboardStaysBusyUntilItIsLetGo()
    {
        button("Busy")->click();
        for (int attempt = 0; attempt < 2; ++attempt)
            QVERIFY(!writeLayer(tavik::LayerId::Base, {}));
        button("Busy")->click();
        QVERIFY(writeLayer(tavik::LayerId::Base, {}));
    }

    void oneCommandIsRefused()
    {
        QPushButton* refuse = button("Refuse the next command");
        refuse->click();
        QVERIFY(refuse->isChecked());
        QVERIFY(!writeLayer(tavik::LayerId::Fn, {}));
        QVERIFY(!refuse->isChecked());
        QVERIFY(writeLayer(tavik::LayerId::Fn, {}));
    }

    void captionsAreCutAndNeverRunOver()
    {
        setLight({.effect = 0});
        const QImage before = picture();
        assign("G", {2, 0x0F, 0x04, 0});
        QTRY_COMPARE(toolTip("G"), QString("Ctrl+Shift+Alt+Win+A"));
        const QImage after = picture();
        QVERIFY(capOf("G").contains(changedArea(before, after)));
        QVERIFY(!changedArea(before, after).isEmpty());
        // Nobody sees in what it ends,
        assign("G", {2, 0x0F, 0x05, 0});
        QTRY_COMPARE(toolTip("G"), QString("Ctrl+Shift+Alt+Win+B"));
        QCOMPARE(picture(), after);
        // since the dots of an ellipsis stand there.
        const auto isCaption = [](const QColor& pixel) { return pixel.blue() > 0x60; };
        const QRect cap = capOf("G");
        const QImage lower = after.copy(cap.adjusted(0, cap.height() / 2, 0, 0));
        const QRect text = areaWhere(lower, isCaption);
        const QRect end(text.right() - 4, text.top(), 5, text.height());
        QVERIFY(text.height() >= 6);
        QVERIFY(areaWhere(lower.copy(end), isCaption).height() <= 2);
    }

    void aKeyWithoutACaptionHasNoToolTip()
    {
        assign("G", {2, 0x01, 0x05, 0});
        QTRY_COMPARE(toolTip("G"), QString("Ctrl+B"));
        QTRY_COMPARE(toolTip("H"), QString());
    }

private:
    [[nodiscard]] LitBoard* board() const { return window->findChild<LitBoard*>(); }
    [[nodiscard]] const QTimer& timer() const { return *window->findChild<QTimer*>("nextPicture"); }
    [[nodiscard]] QString text(const char* label) const
    {
        return window->findChild<QLabel*>(label)->text();
    }
    [[nodiscard]] QPushButton* button(const QString& caption) const
    {
        return buttonOf(*window, caption);
    }
    [[nodiscard]] QRect capOf(const char* key) const
    {
        return board()->keyRectangle(keyNamed(key).lightIndex);
    }
    [[nodiscard]] QPoint centerOf(const char* key) const { return capOf(key).center(); }
    void click(const char* key) const
    {
        QTest::mouseClick(board(), Qt::LeftButton, {}, centerOf(key));
    }
    // What the keyboard holds for a key of its base layer; the window hears of it.
    static void assign(const char* key, const KeyActionBytes& action)
    {
        change([&](KeyboardState& state) { state.baseLayer.at(indexOf(key)) = action; });
        bus().wait(1ms);
    }
    [[nodiscard]] QString toolTip(const char* key) const
    {
        QHelpEvent asked(QEvent::ToolTip, centerOf(key), board()->mapToGlobal(centerOf(key)));
        QApplication::sendEvent(board(), &asked);
        return QToolTip::text();
    }
    // Of the board without its screen, painted now.
    [[nodiscard]] QImage picture() const
    {
        QImage picture = pictureOf(*board());
        QPainter(&picture).fillRect(board()->glass(), Qt::black); // a minute may pass on its clock
        return picture;
    }
    [[nodiscard]] QImage screen() const
    {
        return pictureOf(*board()).copy(board()->glass().toRect());
    }

    // All channels of the board without its screen.
    [[nodiscard]] static double brightness(const QImage& image)
    {
        double sum = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width() * 4 / 5; ++x) {
                const QColor color = image.pixelColor(x, y);
                sum += color.red() + color.green() + color.blue();
            }
        }
        return sum;
    }

    void openWindow()
    {
        window = std::make_unique<KeyboardWindow>();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }

    // What the keyboard holds, without a word over the wire.
    static void change(const std::function<void(KeyboardState&)>& edit)
    {
        KeyboardState state = bus().keyboard().state();
        edit(state);
        bus().keyboard().setState(state);
    }

    static void setLight(const LightingSettings& settings)
    {
        QVERIFY(Device::instance().refresh());
        std::ignore = sendLightingMode(settings);
    }

    std::unique_ptr<KeyboardWindow> window;
};

TAVIK_ISOLATED_TEST_MAIN(KeyboardWindowTest)
#include "keyboard_window_test.moc"
