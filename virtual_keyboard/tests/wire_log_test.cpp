// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "model/macro_record.h"
#include "pages/colors/color_transfer.h"
#include "pages/keys/layer_write.h"
#include "pages/macros/macro_upload.h"
#include "pages/parts/lighting_command.h"
#include "pages/screen/screen_transfer.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"
#include "virtual_keyboard/demo/wire_log.h"

#include <QTest>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;

namespace {

const QString connects = QStringLiteral("— the computer connects");

QStringList texts(const WireLog& log)
{
    QStringList all;
    for (const WireLine& line : log.lines())
        all += line.text;
    return all;
}

// What the log says of everything so far.
QStringList wireTexts()
{
    WireLog log;
    log.update(bus());
    return texts(log);
}

} // namespace

class WireLogTest : public QObject
{
    Q_OBJECT

private slots:
    void aLayerReadsAsInTheProtocol_data()
    {
        QTest::addColumn<int>("layer");
        QTest::addColumn<QString>("line");
        QTest::newRow("base") << 0 << "base layer, 9 reports";
        QTest::newRow("Fn") << 1 << "Fn layer, 9 reports";
    }
    void aLayerReadsAsInTheProtocol()
    {
        QFETCH(const int, layer);
        QFETCH(const QString, line);
        QVERIFY(writeLayer(static_cast<tavik::LayerId>(layer), {}));
        QCOMPARE(wireTexts(), QStringList({connects, "open session", line, "commit", "finish"}));
    }

    void lightIsNamed()
    {
        QVERIFY(Device::instance().refresh());
        QVERIFY(
            sendLightingMode({.effect = 7, .color = {0xFF, 0, 0}, .brightness = 4, .speed = 2}));
        QVERIFY(sendLightingSleep(2));
        QCOMPARE(wireTexts(),
                 QStringList({connects, "open session",
                              "lighting mode: Breath, #ff0000, brightness 4, speed 2, direction "
                              "right",
                              "commit", "finish", "open session", "lighting sleep", "commit",
                              "finish"}));
    }

    void colorsAreWrittenAndRead()
    {
        QVERIFY(writeColorBank({}));
        QVERIFY(readColorBank().has_value());
        QCOMPARE(wireTexts(), QStringList({connects, "open session", "color bank, 9 reports",
                                           "commit", "finish", "read color bank", "commit"}));
    }

    void theReportThatIsNeverSentIsNotCounted()
    {
        QVERIFY(writeMacroSpace(*encodeMacroSpace({})));
        QCOMPARE(wireTexts(), QStringList({connects, "open session", "open macros",
                                           "macros, 7 reports", "commit", "finish"}));
    }

    void aScreenTransferCountsItsBlocks()
    {
        ScreenStream stream(9 * blockSize, 0xFF);
        stream[0] = 1; // picture
        stream[1] = 50;
        stream[2] = 0;
        WireLog log;
        QStringList seen;
        bus().setListener([&] {
            if (log.update(bus()))
                seen += log.lines().last().text;
        });
        QVERIFY(sendToScreen(stream, 2, [](const QString&) {}).ok);
        bus().setListener({});
        QVERIFY(seen.contains("screen, slot 2, 3 of 9 blocks"));
        QVERIFY(texts(log).contains("screen, slot 2, 9 blocks"));
        QCOMPARE(texts(log).last(), QString("commit"));
    }

    void aBusyKeyboardAndARefusalAreSaid()
    {
        bus().failCommand(0x18, busy());
        bus().failCommand(0x11, answerStatus(0x05));
        QVERIFY(!writeLayer(tavik::LayerId::Base, {}));
        WireLog log;
        QVERIFY(log.update(bus()));
        QCOMPARE(texts(log), QStringList({connects, "open session: busy", "open session",
                                          "base layer: refused (05)", "finish"}));
        QCOMPARE(log.refusals(), 1);
    }

    void lostReportsAreSaid()
    {
        bus().failAt(1, emptyAnswer());
        bus().failAt(3, readError("lost"));
        QVERIFY(!writeLayer(tavik::LayerId::Base, {}));
        QCOMPARE(wireTexts(), QStringList({connects, "open session: no answer", "open session",
                                           "base layer: the answer was lost", "finish"}));
    }

    void violationsAreMarked()
    {
        QVERIFY(Device::instance().refresh());
        std::ignore = sendLightingMode({.effect = 1, .brightness = 6});
        WireLog log;
        log.update(bus());
        std::ignore = bus().exit(); // another kind, which the bus tells of first
        log.update(bus());
        log.update(bus());
        QList<QString> wrong;
        for (const WireLine& line : log.lines()) {
            if (line.isWrong)
                wrong += line.text;
        }
        QCOMPARE(wrong, QList<QString>({"lighting mode carries a value out of range",
                                        "hid_exit() while the configuration interface is open"}));
        QCOMPARE(takeBusViolations().size(), 2);
    }

    void onlyNewsChangeTheLog()
    {
        QVERIFY(writeLayer(tavik::LayerId::Base, {}));
        WireLog log;
        QVERIFY(log.update(bus()));
        QVERIFY(!log.update(bus()));
        bus().clearTrace();
        QVERIFY(!log.update(bus()));
        QVERIFY(writeLayer(tavik::LayerId::Fn, {}));
        QVERIFY(log.update(bus()));
        QCOMPARE(log.lines().size(), 9);
    }

    void theLogForgetsWhatIsOld()
    {
        for (int time = 0; time < 80; ++time)
            QVERIFY(writeLayer(tavik::LayerId::Base, {}));
        const QStringList lines = wireTexts();
        QCOMPARE(lines.size(), 300);
        QCOMPARE(lines.mid(296),
                 QStringList({"open session", "base layer, 9 reports", "commit", "finish"}));
    }
};

TAVIK_ISOLATED_TEST_MAIN(WireLogTest)
#include "wire_log_test.moc"
