// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "model/edit_history.h"
#include "pages/parts/status_label.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"
#include "tests/support/page_view.h"

#include <QHelpEvent>
#include <QSlider>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

using namespace tavik;
using namespace tavik::tests;

namespace {

const QString cutOffAdvice =
    QStringLiteral("<qt>The keyboard was unplugged. Start the program again.</qt>");

void edit(StatePart part)
{
    EditHistory::instance().edit(part, QStringLiteral("edit"), [part](SavedState& state) {
        if (part == StatePart::Colors)
            ++state.customRgb.front();
        else
            ++state.layerBase.front().p1;
    });
}

// What a user reads who lets the pointer rest on the label.
QString askedToolTip(QWidget& label)
{
    QHelpEvent event(QEvent::ToolTip, {3, 3}, label.mapToGlobal(QPoint(3, 3)));
    QCoreApplication::sendEvent(&label, &event);
    QString text = QToolTip::text();
    return text.remove(QStringLiteral("<font color=\"#f1f1f1\">"))
        .remove(QStringLiteral("</font>"));
}

// Opens hidapi, as every page has before.
void fail(StatusLabel& label)
{
    label.showOutcome(Device::instance().refresh(), QStringLiteral("written"));
}

} // namespace

class StatusLabelTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        label = std::make_unique<StatusLabel>(nullptr);
        label->show();
    }
    void cleanup() { label.reset(); }

    void eachLookHasItsColor_data()
    {
        QTest::addColumn<StatusLook>("look");
        QTest::addColumn<QString>("styleSheet");
        QTest::newRow("plain") << StatusLook::Plain << QString();
        QTest::newRow("success") << StatusLook::Success << QStringLiteral("color:#7ec97e;");
        QTest::newRow("warning") << StatusLook::Warning << QStringLiteral("color:#e0a050;");
        QTest::newRow("error") << StatusLook::Error << QStringLiteral("color:#e07070;");
    }

    void eachLookHasItsColor()
    {
        QFETCH(StatusLook, look);
        QFETCH(QString, styleSheet);
        label->showStatus(look, QStringLiteral("Layer 1 written."));
        QCOMPARE(label->text(), QStringLiteral("Layer 1 written."));
        QCOMPARE(label->styleSheet(), styleSheet);
    }

    void theNextLookReplacesTheOneBefore()
    {
        label->showStatus(StatusLook::Error, QStringLiteral("gone"));
        label->showStatus(StatusLook::Success, QStringLiteral("written"));
        QCOMPARE(label->styleSheet(), successStyle);
        label->showStatus(StatusLook::Plain, QString());
        QCOMPARE(label->styleSheet(), QString());
        QCOMPARE(label->text(), QString());
    }

    // Else the page would jump whenever a text comes or goes.
    void takesTheSameRoomWithoutAText_data()
    {
        QTest::addColumn<bool>("wraps");
        QTest::newRow("one line") << false;
        QTest::newRow("wrapped") << true;
    }
    void takesTheSameRoomWithoutAText()
    {
        QFETCH(bool, wraps);
        QWidget page;
        QVBoxLayout column(&page);
        auto* status = new StatusLabel(&page);
        status->setWordWrap(wraps);
        column.addWidget(status);
        column.addStretch();
        page.resize(400, 200);
        page.show();
        const int atFirst = status->height();
        for (const QString& text : {QStringLiteral("written"), QString()}) {
            status->showStatus(StatusLook::Success, text);
            column.activate();
            QCOMPARE(status->height(), atFirst);
        }
    }

    void anOutcomeIsTheTextOrTheDevicesReason_data()
    {
        QTest::addColumn<QString>("reason");
        QTest::newRow("rejected") << QStringLiteral("Command 11 rejected (status 03)");
        QTest::newRow("with a placeholder") << QStringLiteral("50 %1");
    }

    void anOutcomeIsTheTextOrTheDevicesReason()
    {
        QFETCH(QString, reason);
        Device::instance().lastError = reason;
        label->showOutcome(false, QStringLiteral("written"));
        QCOMPARE(label->text(), QStringLiteral("Error: ") + reason);
        QCOMPARE(label->styleSheet(), errorStyle);
        label->showOutcome(true, QStringLiteral("written"));
        QCOMPARE(label->text(), QStringLiteral("written"));
        QCOMPARE(label->styleSheet(), successStyle);
    }

    void textsAreShownAsTheyStand() { QCOMPARE(label->textFormat(), Qt::PlainText); }

    void anEditOfTheSubjectClearsIt_data()
    {
        QTest::addColumn<StatePart>("edited");
        QTest::addColumn<bool>("clears");
        QTest::newRow("the subject") << StatePart::BaseLayer << true;
        QTest::newRow("everything") << StatePart::Everything << true;
        QTest::newRow("something else") << StatePart::Colors << false;
    }
    void anEditOfTheSubjectClearsIt()
    {
        QFETCH(StatePart, edited);
        QFETCH(bool, clears);
        for (const bool succeeded : {true, false}) {
            label->showOutcome(succeeded, QStringLiteral("written"), StatePart::BaseLayer);
            edit(edited);
            QCOMPARE(label->text().isEmpty(), clears);
            QCOMPARE(label->styleSheet().isEmpty(), clears);
        }
    }

    void anEditWithoutAnyDifferenceClearsNothing()
    {
        label->showOutcome(true, QStringLiteral("written"), StatePart::BaseLayer);
        EditHistory::instance().edit(StatePart::BaseLayer, QStringLiteral("edit"),
                                     [](SavedState&) {});
        QCOMPARE(label->text(), QStringLiteral("written"));
    }

    void aSignalClearsTheTextItWasNamedFor()
    {
        QSlider slider;
        label->showStatus(StatusLook::Success, QStringLiteral("first"));
        label->clearOn(&slider, &QSlider::valueChanged);
        label->showStatus(StatusLook::Success, QStringLiteral("second"));
        slider.setValue(1);
        QCOMPARE(label->text(), QStringLiteral("second"));
        label->clearOn(&slider, &QSlider::valueChanged);
        slider.setValue(2);
        QCOMPARE(label->text(), QString());
    }

    void redTellsWhatToDo_data()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("advice");
        QTest::newRow("not plugged in") << "unplugged"
                                        << "The keyboard is not on USB. Plug in its USB-C cable";
        QTest::newRow("no permission") << "closed"
                                       << "Install the tavik-center package, then unplug";
        QTest::newRow("wireless") << "wireless"
                                  << "it is in wireless mode, or another model";
        QTest::newRow("in use") << "in use"
                                << "in use: a &lt;b&gt; (process 1) holds /dev/hidraw1. Close all";
        QTest::newRow("none of these") << "fine"
                                       << "The keyboard is there and may be used. Try again";
    }
    void redTellsWhatToDo()
    {
        QFETCH(QString, state);
        QFETCH(QString, advice);
        virtual_keyboard::BusInterface& configuration = bus().interfaces().at(1);
        configuration.opens = state == QLatin1String("fine") || state == QLatin1String("in use");
        if (state == QLatin1String("unplugged"))
            bus().unplug();
        if (state == QLatin1String("wireless"))
            bus().interfaces().resize(1);
        if (state == QLatin1String("in use"))
            configuration.holder = "a <b>";
        label->showStatus(StatusLook::Error, QStringLiteral("Error: whatever"));
        const QString text = askedToolTip(*label);
        QVERIFY2(text.startsWith(QLatin1String("<qt>")) && text.contains(advice), qPrintable(text));
    }

    // The handle in this process is of no use any more, whatever is plugged in.
    void aReplugWantsANewStart()
    {
        QVERIFY(Device::instance().refresh());
        bus().unplug();
        label->showStatus(StatusLook::Error, QStringLiteral("Error: ioctl: No such device"));
        QCOMPARE(askedToolTip(*label), cutOffAdvice);
        bus().plug();
        QCOMPARE(askedToolTip(*label), cutOffAdvice);
    }

    void theKeyboardIsLookedAtOnlyWhenAsked()
    {
        fail(*label);
        label->showStatus(StatusLook::Error, QStringLiteral("Error: whatever"));
        bus().clearTrace();
        QCoreApplication::processEvents();
        QCOMPARE(label->toolTip(), QString());
        QCOMPARE(busTrace(), QStringList());
        QVERIFY(!askedToolTip(*label).isEmpty());
        QCOMPARE(busTrace(), QStringList({"init", "enumerate 0000"}));
    }

    void onlyRedTells()
    {
        for (const StatusLook look :
             {StatusLook::Plain, StatusLook::Success, StatusLook::Warning}) {
            label->showStatus(StatusLook::Error, QStringLiteral("gone"));
            QVERIFY(!askedToolTip(*label).isEmpty());
            label->showStatus(look, QStringLiteral("text"));
            QCOMPARE(label->toolTip(), QString());
            bus().clearTrace();
            askedToolTip(*label);
            QCOMPARE(busTrace(), QStringList());
        }
    }

    // Small type in the red of the status would be hard to read.
    void adviceIsWrittenInTheColorOfToolTips()
    {
        label->showRefusal(QStringLiteral("no frames"), QStringLiteral("Import some first."));
        QVERIFY(!askedToolTip(*label).isEmpty());
        const QWidgetList shown = QApplication::topLevelWidgets();
        const auto tip = std::ranges::find_if(shown, [](const QWidget* widget) {
            return widget->objectName() == QLatin1String("qtooltip_label");
        });
        QVERIFY(tip != shown.end());
        // Without its frame.
        const QImage picture = (*tip)->grab((*tip)->rect().adjusted(2, 2, -2, -2)).toImage();
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                const QColor color = picture.pixelColor(x, y);
                QVERIFY2(color.red() - color.green() < 40, qPrintable(color.name()));
            }
        }
    }

    void aRefusalBringsItsOwnAdvice()
    {
        label->showRefusal(QStringLiteral("no frames"), QStringLiteral("Import some first."));
        QCOMPARE(label->text(), QStringLiteral("no frames"));
        QCOMPARE(label->styleSheet(), errorStyle);
        QCOMPARE(askedToolTip(*label), QStringLiteral("<qt>Import some first.</qt>"));
        QCOMPARE(busTrace(), QStringList());
    }

private:
    std::unique_ptr<StatusLabel> label;
};

TAVIK_ISOLATED_TEST_MAIN(StatusLabelTest)
#include "status_label_test.moc"
