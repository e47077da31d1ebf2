// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/skin/skin_files.h"
#include "device/device.h"
#include "pages/lighting/lighting_widget.h"
#include "pages/lighting/palette_wheel.h"
#include "pages/parts/color_names.h"
#include "tests/support/accessible_view.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"
#include "tests/support/pixel_probe.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QTest>
#include <QToolButton>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;

namespace {

// How the wheel looks that was given these colors one after the other.
QImage wheelShowing(const QList<QColor>& colors)
{
    PaletteWheel reference;
    for (const QColor& color : colors)
        reference.setColor(color);
    return pictureOf(reference);
}

constexpr int rounding = 2; // of colors under a soft edge

const tavik::Report startPayload{0x0B, 0xFF, 0, 0, 0, 0, 0, 0, 1, 5, 3, 3, 0, 0, 0xAA, 0x55};

} // namespace

class LightingWidgetTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        applyApplicationStyle(*qApp);
        page = std::make_unique<LightingWidget>();
        page->resize(1140, 680);
        page->show();
        QVERIFY(QTest::qWaitForWindowExposed(page.get()));
    }

    void cleanupTestCase() { page.reset(); }

    void creationSendsNothing()
    {
        QVERIFY(!timer()->isActive());
        QCOMPARE(busTrace(), QStringList());
        QCOMPARE(timer()->interval(), 180);
        QVERIFY(timer()->isSingleShot());
    }

    void controlsStandAtTheirDefaults()
    {
        QCOMPARE(list()->currentRow(), 10);
        QCOMPARE(list()->currentItem()->text(), QStringLiteral("Rolling"));
        QCOMPARE(rgb(), QList<int>({255, 0, 0}));
        QVERIFY(randomSwitch()->isChecked());
        QCOMPARE(slider("Brightness")->value(), 5);
        QCOMPARE(slider("Speed")->value(), 3);
        QVERIFY(direction("Direction left")->isChecked());
        QVERIFY(sleepChoice("5 min")->isChecked());
        for (const auto& [text, code] : {std::pair{"Not Sleep", 0}, std::pair{"1 min", 1},
                                         std::pair{"5 min", 2}, std::pair{"30 min", 3}})
            QCOMPARE(sleepChoice(text)->property("sleepCode").toInt(), code);
        QVERIFY(status()->isHidden());
        QCOMPARE(pictureOf(*wheel()), wheelShowing({Qt::red}));
    }

    void firstPayloadCarriesTheDefaults()
    {
        connectKeyboard();
        page->apply();
        QCOMPARE(bus().keyboard().state().lighting, startPayload);
    }

    void fiveSliderStepsGiveOneCommand()
    {
        connectKeyboard();
        for (int value = 4; value >= 0; --value)
            slider("Brightness")->setValue(value);
        QTRY_VERIFY(!timer()->isActive());
        QCOMPARE(busSends().count(QStringLiteral("04 13 00 00 00 00 00 00 01")), 1);
        tavik::Report expected = startPayload;
        expected[9] = 0;
        QCOMPARE(bus().keyboard().state().lighting, expected);
    }

    void aRunOfChangesGivesOneCommandWithTheFinalValues()
    {
        connectKeyboard();
        slider("Speed")->setValue(1);
        swatch("#29953c")->click();
        direction("Direction down")->click();
        list()->setCurrentRow(18);
        randomSwitch()->click();
        QTRY_VERIFY(!timer()->isActive());
        QCOMPARE(busSends().size(), 5);
        const tavik::Report expected{0x13, 0x29, 0x95, 0x3C, 0, 0, 0,    0,
                                     0,    5,    1,    1,    0, 0, 0xAA, 0x55};
        QCOMPARE(bus().keyboard().state().lighting, expected);
    }

    void eachControlRestartsTheTimer_data()
    {
        QTest::addColumn<QString>("control");
        for (const char* name :
             {"effect", "swatch", "spin", "switch", "brightness", "speed", "direction", "wheel"})
            QTest::newRow(name) << name;
    }

    void eachControlRestartsTheTimer()
    {
        QFETCH(QString, control);
        if (control == "effect")
            list()->setCurrentRow(3);
        else if (control == "swatch")
            swatch("#8d00ff")->click();
        else if (control == "spin")
            page->findChildren<QSpinBox*>("rgbInput").at(1)->setValue(9);
        else if (control == "switch")
            randomSwitch()->click();
        else if (control == "brightness")
            slider("Brightness")->setValue(1);
        else if (control == "speed")
            slider("Speed")->setValue(1);
        else if (control == "direction")
            direction("Direction left")->click(); // the chosen one
        else
            QTest::mouseClick(wheel(), Qt::LeftButton, {}, QPoint(120, 230));
        QVERIFY(timer()->isActive());
    }

    void ledOffIsCodeZero()
    {
        connectKeyboard();
        page->apply();
        QCOMPARE(int(bus().keyboard().state().lighting[0]), 0x0B);
        list()->setCurrentRow(list()->count() - 1);
        page->apply();
        QCOMPARE(int(bus().keyboard().state().lighting[0]), 0);
    }

    void effectOutsideTheListIsIgnored()
    {
        connectKeyboard();
        page->chooseEffect(list()->count());
        page->chooseEffect(-1);
        QVERIFY(!timer()->isActive());
        page->apply();
        QCOMPARE(int(bus().keyboard().state().lighting[0]), 0x0B);
    }

    void sleepIsSentAtOnceWithoutTheTimer()
    {
        connectKeyboard();
        sleepChoice("30 min")->click();
        QCOMPARE(int(bus().keyboard().state().sleepCode), 3);
        QCOMPARE(busSends().at(1), QStringLiteral("04 17 01 00 00 00 00 00 01"));
        QCOMPARE(busSends().size(), 5);
        QVERIFY(!timer()->isActive());
        QCOMPARE(bus().keyboard().state().lighting, tavik::Report{});
    }

    void sleepDoesNotRestartTheTimer()
    {
        timer()->setInterval(60'000);
        timer()->start();
        // A restart would take over the longer interval that is set behind the timer's back.
        const int idBefore = timer()->timerId();
        sleepChoice("30 min")->click();
        QCOMPARE(timer()->timerId(), idBefore);
        QVERIFY(timer()->isActive());
    }

    void failureWithoutTextIsShownToo()
    {
        connectKeyboard();
        bus().failAt(1, sendError(""));
        bus().failAt(2, sendError("")); // the closing FINISH
        page->apply();
        QVERIFY(status()->isVisible());
    }

    void clickingTheChosenSleepTimeSendsItAgain()
    {
        connectKeyboard();
        sleepChoice("5 min")->click();
        QCOMPARE(int(bus().keyboard().state().sleepCode), 2);
        QCOMPARE(busSends().size(), 5);
    }

    void failedSleepIsNotReported()
    {
        connectKeyboard();
        bus().failAt(2, answerStatus(0x05));
        sleepChoice("1 min")->click();
        QVERIFY(status()->isHidden());
        QVERIFY(sleepChoice("1 min")->isChecked());
    }

    void withoutConnectionChangesAreHeld()
    {
        slider("Brightness")->setValue(2);
        sleepChoice("1 min")->click();
        QTRY_VERIFY(!timer()->isActive());
        QCOMPARE(busTrace(), QStringList());
        QVERIFY(status()->isHidden());
        QCOMPARE(slider("Brightness")->value(), 2);
        // A keyboard that appears later is not told of what was changed before.
        QVERIFY(Device::instance().refresh());
        QCOMPARE(busSends(), QStringList());
    }

    void rejectionIsShownAndTheNextSuccessHidesIt()
    {
        connectKeyboard();
        bus().failAt(2, answerStatus(0x03));
        slider("Speed")->setValue(0);
        QTRY_VERIFY(status()->isVisible());
        QCOMPARE(status()->text(), QStringLiteral("Command 13 rejected (status 03)"));
        QCOMPARE(status()->toolTip(), status()->text());
        QCOMPARE(status()->pos(), QPoint(0, 0));
        QCOMPARE(status()->size(), QSize(100, 30));
        QCOMPARE(page->childAt(QPoint(5, 15)), status()); // lies over the list
        QCOMPARE(slider("Speed")->value(), 0);

        page->apply();
        QVERIFY(status()->isHidden());
        QCOMPARE(status()->text(), QString());
    }

    void swatchBecomesTheColorEverywhere()
    {
        connectKeyboard();
        swatch("#0090f3")->click();
        QCOMPARE(rgb(), QList<int>({0x00, 0x90, 0xF3}));
        QCOMPARE(pictureOf(*wheel()), wheelShowing({QColor("#0090f3")}));
        page->apply();
        const tavik::Report& sent = bus().keyboard().state().lighting;
        QCOMPARE(QColor(sent[1], sent[2], sent[3]), QColor("#0090f3"));
    }

    void wheelBecomesTheColorEverywhere()
    {
        connectKeyboard();
        const QPoint place(120, 225);
        const QColor picked = pictureOf(*wheel()).pixelColor(place);
        QTest::mouseClick(wheel(), Qt::LeftButton, {}, place);
        QCOMPARE(pictureOf(*wheel()).pixelColor(wheel()->rect().center()), picked);
        QCOMPARE(rgb(), QList<int>({picked.red(), picked.green(), picked.blue()}));
        page->apply();
        const tavik::Report& sent = bus().keyboard().state().lighting;
        QCOMPARE(QColor(sent[1], sent[2], sent[3]), picked);
    }

    void spinBoxesBecomeTheColor()
    {
        const QList<QSpinBox*> inputs = page->findChildren<QSpinBox*>("rgbInput");
        inputs.at(2)->setValue(255);
        QCOMPARE(pictureOf(*wheel()), wheelShowing({Qt::magenta}));
        inputs.at(1)->setValue(255); // white has no hue: the marker stays
        QCOMPARE(pictureOf(*wheel()), wheelShowing({Qt::magenta, Qt::white}));
    }

    void swatchesStandInTwoRows()
    {
        const QStringList colors{"#ff0000", "#ec00db", "#8d00ff", "#1515ec", "#0090f3",
                                 "#00dfe0", "#29953c", "#00e500", "#a4e900", "#f3e500",
                                 "#f2a000", "#e94f00", "#f4f4f4", "#090909"};
        for (int index = 0; index < colors.size(); ++index) {
            const QPushButton* button = swatch(colors.at(index));
            QVERIFY2(button != nullptr, qPrintable(colors.at(index)));
            QCOMPARE(button->size(), QSize(32, 30));
            const QPoint step = button->pos() - swatch("#ff0000")->pos();
            QCOMPARE(step, QPoint(index % 7 * 42, index / 7 * 35));
        }
    }

    void directionPadMirrorsItsPictures()
    {
        const QPoint left = direction("Direction left")->pos();
        const QPoint right = direction("Direction right")->pos();
        const QPoint up = direction("Direction up")->pos();
        const QPoint down = direction("Direction down")->pos();
        QVERIFY(right.x() < up.x() && up.x() < left.x());
        QVERIFY(up.y() < left.y() && left.y() < down.y());
        QCOMPARE(left.y(), right.y());
        QCOMPARE(up.x(), down.x());
    }

    void chosenDirectionShowsItsOwnFrame()
    {
        const QImage chosen = iconOf("Direction left");
        const QImage plain = iconOf("Direction up");
        direction("Direction up")->click();
        QVERIFY(iconOf("Direction left") != chosen);
        QVERIFY(iconOf("Direction up") != plain);
        direction("Direction left")->click();
        QCOMPARE(iconOf("Direction left"), chosen);
        QCOMPARE(iconOf("Direction up"), plain);
    }

    // From left to right a picture holds the plain arrow and, in the fifth place, the chosen one.
    void eachDirectionShowsItsPicture()
    {
        const std::array<std::pair<QString, QString>, 4> pictures{
            {{"Direction right", "img_direction_right.png"},
             {"Direction down", "img_direction_bottom.png"},
             {"Direction up", "img_direction_top.png"},
             {"Direction left", "img_direction_left.png"}}};
        for (const auto& [chosen, chosenPicture] : pictures) {
            direction(chosen)->click();
            for (const auto& [name, picture] : pictures) {
                const QImage strip(resolveSkinFile(picture));
                const QImage frame = strip.copy(name == chosen ? 120 : 0, 0, 30, 30);
                QVERIFY(largestDifference(iconOf(name), frame) <= rounding);
            }
        }
    }

    void effectsAreDrawnAsRowsOfTheirOwn()
    {
        const QRect chosen = list()->visualItemRect(list()->currentItem());
        const QImage picture = pictureOf(*list());
        QCOMPARE(picture.pixelColor(chosen.left() + 2, chosen.center().y()), QColor("#d85300"));
        QCOMPARE(picture.pixelColor(chosen.left() + 18, chosen.center().y()), QColor(Qt::white));
    }

    void switchShowsItsState()
    {
        const QImage on = randomSwitch()->icon().pixmap(44, 26).toImage();
        randomSwitch()->click();
        const QImage off = randomSwitch()->icon().pixmap(44, 26).toImage();
        const QImage onPicture(resolveSkinFile("img_switch_on.png"));
        const QImage offPicture(resolveSkinFile("img_switch_off.png"));
        QVERIFY(largestDifference(on, onPicture.copy(0, 0, 44, 26)) <= rounding);
        QVERIFY(largestDifference(off, offPicture.copy(0, 0, 44, 26)) <= rounding);
    }

    void sliderValuesAreShownBeside()
    {
        slider("Brightness")->setValue(1);
        QStringList texts;
        for (const QLabel* label : page->findChildren<QLabel*>())
            texts += label->text();
        QVERIFY(texts.contains("1") && texts.contains("3"));
        QVERIFY(!texts.contains("5"));
    }

    void nothingInThePanelIsCutOff()
    {
        for (const QRadioButton* button : page->findChildren<QRadioButton*>("sleepChoice"))
            QVERIFY2(button->width() >= button->sizeHint().width(), qPrintable(button->text()));
        const QWidget* panel = page->findChild<QWidget*>("lightingPanel");
        for (const QWidget* child : panel->findChildren<QWidget*>()) {
            const QRect area(child->mapTo(panel, QPoint()), child->size());
            QVERIFY2(panel->rect().contains(area), child->metaObject()->className());
        }
    }

    void swatchesHaveWords()
    {
        QCOMPARE(nameOf(tests::accessible(swatch("#8d00ff"))), QStringLiteral("violet, #8d00ff"));
        QCOMPARE(nameOf(tests::accessible(swatch("#29953c"))),
                 QStringLiteral("dark green, #29953c"));
    }

    void wheelIsADial()
    {
        QAccessibleInterface& dial = tests::accessible(wheel());
        QCOMPARE(dial.role(), QAccessible::Dial);
        QCOMPARE(nameOf(dial), QStringLiteral("Color wheel"));
        QAccessibleValueInterface* value = dial.valueInterface();
        QVERIFY(value != nullptr);
        QCOMPARE(value->minimumValue().toInt(), 0);
        QCOMPARE(value->maximumValue().toInt(), 359);
        QCOMPARE(value->minimumStepSize().toInt(), 5);
        QCOMPARE(value->currentValue().toInt(), 0);
        QCOMPARE(dial.text(QAccessible::Value), QStringLiteral("red, #ff0000"));

        value->setCurrentValue(240.0); // as the bus has it
        QCOMPARE(rgb(), QList<int>({0, 0, 255}));
        QCOMPARE(value->currentValue().toInt(), 240);
        QCOMPARE(dial.text(QAccessible::Description), QStringLiteral("blue, #0000ff"));
        QVERIFY(timer()->isActive());
        value->setCurrentValue(1000);
        QCOMPARE(value->currentValue().toInt(), 359);
        value->setCurrentValue(-1);
        QCOMPARE(value->currentValue().toInt(), 0);
    }

    void wheelTurnsByTheHueAlone()
    {
        QAccessibleValueInterface* value = tests::accessible(wheel()).valueInterface();
        page->setColor(QColor::fromHsv(120, 128, 200));
        value->setCurrentValue(300);
        QCOMPARE(rgb(), QList<int>({200, 100, 200}));
        page->setColor(QColor(128, 0, 0));
        value->setCurrentValue(120);
        QCOMPARE(rgb(), QList<int>({0, 128, 0}));
        page->setColor(QColor(20, 20, 20)); // of no hue
        QCOMPARE(value->currentValue().toInt(), 0);
        value->setCurrentValue(120);
        QCOMPARE(rgb(), QList<int>({0, 255, 0}));
    }

    void wheelIsTurnedStepByStep()
    {
        QAccessibleActionInterface* actions = tests::accessible(wheel()).actionInterface();
        const QString more = QAccessibleActionInterface::increaseAction();
        const QString less = QAccessibleActionInterface::decreaseAction();
        const QString focus = QAccessibleActionInterface::setFocusAction();
        QCOMPARE(actions->actionNames(), QStringList({more, less, focus}));
        actions->doAction(more);
        QCOMPARE(rgb(), QList<int>({255, 21, 0}));
        actions->doAction(less);
        actions->doAction(less);
        QCOMPARE(rgb(), QList<int>({255, 0, 21}));
        actions->doAction(focus);
        QTRY_VERIFY(wheel()->hasFocus());
    }

    void wheelTellsOfEveryHue()
    {
        Told told;
        swatch("#0090f3")->click();
        QTest::mouseClick(wheel(), Qt::LeftButton, {}, {120, 8});
        QStringList descriptions;
        for (const Told::Event& event : Told::events()) {
            if (event.name == QLatin1String("Color wheel"))
                descriptions += event.description;
        }
        QVERIFY(!descriptions.isEmpty());
        QCOMPARE(descriptions.last(), colorWords(wheel()->color()));
        QCOMPARE(Told::names(QAccessible::ValueChanged).count("Color wheel"), 2);
    }

    void choicesStandInNamedGroups_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("choices");
        QTest::addColumn<int>("chosen");
        QTest::newRow("sleep") << "Lighting sleep time"
                               << QStringList{"Not Sleep", "1 min", "5 min", "30 min"} << 2;
        QTest::newRow("direction")
            << "Direction"
            << QStringList{"Direction right", "Direction down", "Direction up", "Direction left"}
            << 3;
    }

    void choicesStandInNamedGroups()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, choices);
        QFETCH(int, chosen);
        QWidget* button = name == QStringLiteral("Direction")
                              ? static_cast<QWidget*>(direction("Direction up"))
                              : sleepChoice("1 min");
        QAccessibleInterface* group = tests::accessible(button).parent();
        QCOMPARE(group->role(), QAccessible::Grouping);
        QCOMPARE(nameOf(*group), name);
        QCOMPARE(namesIn(*group), choices);
        QVERIFY(group->isValid());
        QVERIFY(!group->state().invisible && !group->state().disabled);
        QCOMPARE(group->window(), page->windowHandle());

        QAccessibleInterface* column = group->parent();
        QCOMPARE(column->object(), button->parent());
        QVERIFY(column->indexOfChild(group) >= 0);
        QCOMPARE(column->child(column->indexOfChild(group)), group);
        int groups = 0;
        for (const QAccessibleInterface* child : childrenOf(*column)) {
            QCOMPARE(child->parent(), column); // no choice stands beside its group
            groups += child == group ? 1 : 0;
        }
        QCOMPARE(groups, 1);
        for (int index = 0; index < choices.size(); ++index) {
            QAccessibleInterface* choice = group->child(index);
            QCOMPARE(group->indexOfChild(choice), index);
            QCOMPARE(choice->role(), QAccessible::RadioButton);
            QVERIFY(choice->state().checkable && !choice->state().selectable);
            QCOMPARE(bool(choice->state().checked), index == chosen);
            QVERIFY(group->rect().contains(choice->rect()));
            QCOMPARE(column->childAt(choice->rect().center().x(), choice->rect().center().y()),
                     group);
        }
        group->child(0)->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(group->child(0)->state().checked && !group->child(chosen)->state().checked);
        page->hide();
        QVERIFY(group->state().invisible);
    }

    void heldGroupsEndWithThePage()
    {
        QAccessibleInterface* group = tests::accessible(sleepChoice("1 min")).parent();
        const QList<QAccessible::Id> ids{QAccessible::uniqueId(group),
                                         QAccessible::uniqueId(group->child(0)),
                                         QAccessible::uniqueId(&tests::accessible(wheel()))};
        Told told;
        page.reset();
        for (const QAccessible::Id id : ids)
            QCOMPARE(QAccessible::accessibleInterface(id), nullptr);
    }

private:
    static void connectKeyboard()
    {
        QVERIFY(Device::instance().refresh());
        bus().clearTrace();
    }

    QTimer* timer() const { return page->findChild<QTimer*>(); }
    QListWidget* list() const { return page->findChild<QListWidget*>("effectList"); }
    PaletteWheel* wheel() const { return page->findChild<PaletteWheel*>(); }
    QLabel* status() const { return page->findChild<QLabel*>("lightingStatus"); }

    template <typename Widget>
    Widget* accessible(const QString& name) const
    {
        for (Widget* widget : page->findChildren<Widget*>()) {
            if (widget->accessibleName() == name)
                return widget;
        }
        return nullptr;
    }

    QSlider* slider(const QString& name) const { return accessible<QSlider>(name); }
    QPushButton* randomSwitch() const { return accessible<QPushButton>("Random Color"); }
    QToolButton* direction(const QString& name) const { return accessible<QToolButton>(name); }

    QPushButton* swatch(const QString& color) const
    {
        for (QPushButton* button : page->findChildren<QPushButton*>()) {
            if (button->property("swatchColor").value<QColor>() == QColor(color))
                return button;
        }
        return nullptr;
    }

    QRadioButton* sleepChoice(const QString& text) const
    {
        for (QRadioButton* button : page->findChildren<QRadioButton*>("sleepChoice")) {
            if (button->text() == text)
                return button;
        }
        return nullptr;
    }

    QList<int> rgb() const
    {
        QList<int> values;
        for (const QSpinBox* input : page->findChildren<QSpinBox*>("rgbInput"))
            values += input->value();
        return values;
    }

    QImage iconOf(const QString& name) const
    {
        return direction(name)->icon().pixmap(30, 30).toImage();
    }

    std::unique_ptr<LightingWidget> page;
};

TAVIK_ISOLATED_TEST_MAIN(LightingWidgetTest)
#include "lighting_widget_test.moc"
