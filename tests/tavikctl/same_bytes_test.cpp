// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "device/device.h"
#include "model/app_state.h"
#include "pages/colors/rgb_widget.h"
#include "pages/keys/keymap_widget.h"
#include "pages/lighting/lighting_widget.h"
#include "pages/macros/macro_widget.h"
#include "pages/screen/screen_widget.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"
#include "tests/support/page_view.h"
#include "tests/tavikctl/command_run.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace tavik;
using namespace tavik::tests;

namespace {

using Bytes = std::vector<std::vector<std::uint8_t>>;

template <typename Act>
Bytes reportsOf(const Act& act)
{
    bus().clearTrace();
    act();
    Bytes reports = bus().sentReports();
    reports.push_back(bus().sentBlocks());
    return reports;
}

Bytes reportsOfCommand(const QString& line)
{
    return reportsOf([&] {
        const Ran ran = run(line);
        if (ran.code != 0)
            qFatal("tavikctl %s: %s", qPrintable(line), qPrintable(ran.err));
    });
}

template <typename Widget>
Widget* accessible(const QWidget& page, const QString& name)
{
    for (Widget* widget : page.findChildren<Widget*>()) {
        if (widget->accessibleName() == name)
            return widget;
    }
    qFatal("no \"%s\" on the page", qPrintable(name));
}

} // namespace

// Page and command send the same bytes for the same intent.
class SameBytesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        applyApplicationStyle(*qApp);
        QVERIFY(Device::instance().refresh());
    }

    void lighting_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<std::function<void(LightingWidget&)>>("choose");
        const auto effect = [](LightingWidget& page, const QString& name) {
            auto* list = page.findChild<QListWidget*>("effectList");
            list->setCurrentItem(list->findItems(name, Qt::MatchExactly).constFirst());
        };
        const auto row = [](const QByteArray& line, std::function<void(LightingWidget&)> choose) {
            QTest::newRow(line.constData()) << QString::fromLatin1(line) << std::move(choose);
        };
        row("light rolling", [](LightingWidget&) {});
        row("light LED-Off", [=](LightingWidget& page) { effect(page, "LED Off"); });
        row("light static --color 0090f3", [=](LightingWidget& page) {
            effect(page, "Static");
            accessible<QAbstractButton>(page, "Random Color")->click();
            accessible<QAbstractButton>(page, "sky blue, #0090f3")->click();
        });
        row("light breath --color random --brightness 0 --speed 5 --direction up",
            [=](LightingWidget& page) {
                effect(page, "Breath");
                accessible<QSlider>(page, "Brightness")->setValue(0);
                accessible<QSlider>(page, "Speed")->setValue(5);
                accessible<QAbstractButton>(page, "Direction up")->click();
            });
        for (const char* direction : {"left", "right", "down"}) {
            const QByteArray line = QByteArray("light tilt --direction ") + direction;
            row(line, [=](LightingWidget& page) {
                effect(page, "Tilt");
                accessible<QAbstractButton>(page,
                                            QLatin1String("Direction ") + QLatin1String(direction))
                    ->click();
            });
        }
    }
    void lighting()
    {
        QFETCH(QString, line);
        QFETCH(std::function<void(LightingWidget&)>, choose);
        LightingWidget page;
        choose(page);
        page.findChild<QTimer*>()->stop();
        const Bytes wanted = reportsOf([&] { page.apply(); });
        QCOMPARE(wanted.size(), std::size_t{6});
        QCOMPARE(reportsOfCommand(line), wanted);
    }

    void sleepTime_data()
    {
        QTest::addColumn<QString>("choice");
        QTest::newRow("sleep never") << "Not Sleep";
        QTest::newRow("sleep 1") << "1 min";
        QTest::newRow("sleep 5") << "5 min";
        QTest::newRow("sleep 30") << "30 min";
    }
    void sleepTime()
    {
        QFETCH(QString, choice);
        LightingWidget page;
        const Bytes wanted = reportsOf([&] {
            for (QRadioButton* button : page.findChildren<QRadioButton*>("sleepChoice")) {
                if (button->text() == choice)
                    button->click();
            }
        });
        QCOMPARE(wanted.size(), std::size_t{6});
        QCOMPARE(reportsOfCommand(QTest::currentDataTag()), wanted);
    }

    void keys_data()
    {
        QTest::addColumn<QString>("layer");
        QTest::newRow("keys write") << "Base layer";
        QTest::newRow("keys write --layer fn") << "Fn layer";
    }
    void keys()
    {
        QFETCH(QString, layer);
        QCOMPARE(run("keys set caps=disabled a=ctrl+shift+b").code, 0);
        QCOMPARE(run("keys set --layer fn f5=volume-up").code, 0);
        KeymapWidget page;
        buttonOf(page, layer)->click();
        const Bytes wanted = reportsOf([&] { buttonOf(page, "Write layer to keyboard")->click(); });
        QCOMPARE(wanted.size(), std::size_t{14});
        QCOMPARE(reportsOfCommand(QTest::currentDataTag()), wanted);
    }

    void colors_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("brightness");
        QTest::newRow("colors write") << "Send painting to keyboard" << 5;
        QTest::newRow("colors read") << "Read from keyboard" << 5;
        QTest::newRow("colors on") << "Enable custom mode" << 5;
        QTest::newRow("colors on --brightness 2") << "Enable custom mode" << 2;
    }
    void colors()
    {
        QFETCH(QString, text);
        QFETCH(int, brightness);
        QCOMPARE(run("colors set w,a,s,d=ff8800 all=102030").code, 0);
        RgbWidget page;
        page.findChild<QSlider*>()->setValue(brightness);
        const Bytes wanted = reportsOf([&] { buttonOf(page, text)->click(); });
        QVERIFY(wanted.size() > 5);
        QCOMPARE(reportsOfCommand(QTest::currentDataTag()), wanted);
    }

    void macros()
    {
        QCOMPARE(run("macros set Greet press h, 40, release h, 500, pause").code, 0);
        QCOMPARE(run("macros set Empty 0").code, 0);
        QCOMPARE(run("macros set Click click 1, 20, unclick 1, 65535").code, 0);
        MacroWidget page;
        const Bytes wanted =
            reportsOf([&] { buttonOf(page, "Write macros to keyboard")->click(); });
        QVERIFY(wanted.size() > 8);
        QCOMPARE(reportsOfCommand("macros write"), wanted);
    }

    void screen()
    {
        const QTemporaryDir folder;
        const QString film = folder.filePath("film.gif");
        tests::writeFile(film, encodePlainGif({20, 30}, manyColors(5), 7));
        ScreenWidget page;
        onNextDialog([&](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            dialog.findChild<QLineEdit*>()->setText(film);
            clickButton(dialog, "Open");
        });
        page.importFiles();
        page.findChild<QSpinBox*>()->setValue(3);
        const Bytes wanted = reportsOf([&] { buttonOf(page, "Send to screen")->click(); });
        QVERIFY(wanted.back().size() > 5 * 32768);
        QCOMPARE(reportsOfCommand("screen --slot 3 \"" + film + u'"'), wanted);
    }

    // All that there is, in one go: what the pages would send one after the other.
    void apply()
    {
        QCOMPARE(run("keys set caps=disabled").code, 0);
        QCOMPARE(run("keys set --layer fn caps=a").code, 0);
        QCOMPARE(run("macros set Greet press h, 40, release h").code, 0);
        QCOMPARE(run("colors set all=102030").code, 0);
        const Bytes wanted = reportsOf([&] {
            KeymapWidget keys;
            buttonOf(keys, "Write layer to keyboard")->click();
            buttonOf(keys, "Fn layer")->click();
            buttonOf(keys, "Write layer to keyboard")->click();
            MacroWidget macros;
            buttonOf(macros, "Write macros to keyboard")->click();
            RgbWidget colors;
            buttonOf(colors, "Send painting to keyboard")->click();
        });
        QCOMPARE(reportsOfCommand("apply"), wanted);
    }
};

TAVIK_ISOLATED_TEST_MAIN(SameBytesTest)
#include "same_bytes_test.moc"
