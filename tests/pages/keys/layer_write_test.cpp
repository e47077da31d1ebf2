#include "device/device.h"
#include "pages/keys/layer_write.h"
#include "tests/pages/keys/layer_write_faults.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"

#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

// Every byte of the layer has a value of its own, as far as there are so many.
KeyLayer variedLayer()
{
    KeyLayer layer;
    std::uint8_t next = 1;
    for (KeyAction& action : layer) {
        action = {next, static_cast<std::uint8_t>(next + 1), static_cast<std::uint8_t>(next + 2),
                  static_cast<std::uint8_t>(next + 3)};
        next = static_cast<std::uint8_t>(next + 5);
    }
    return layer;
}

QString hexText(const std::uint8_t* bytes, std::size_t count)
{
    while (count > 1 && bytes[count - 1] == 0)
        --count;
    const QByteArray raw(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(count));
    return QString::fromLatin1(raw.toHex(' '));
}

// The thirteen reports of the write as they go over the wire.
QStringList reportsOf(LayerId id, const KeyLayer& layer)
{
    QStringList reports{QStringLiteral("04 18 00 00 00 00 00 00 01"),
                        id == LayerId::Base ? QStringLiteral("04 11 00 00 00 00 00 00 09")
                                            : QStringLiteral("04 27 00 00 00 00 00 00 09")};
    std::array<std::uint8_t, 576> block{};
    for (std::size_t key = 0; key < layer.size(); ++key) {
        block.at(4 * key) = layer.at(key).page;
        block.at(4 * key + 1) = layer.at(key).p1;
        block.at(4 * key + 2) = layer.at(key).p2;
        block.at(4 * key + 3) = layer.at(key).p3;
    }
    block[574] = 0xAA;
    block[575] = 0x55;
    for (std::size_t offset = 0; offset < block.size(); offset += 64)
        reports += hexText(block.data() + offset, 64);
    return reports << QStringLiteral("04 02") << QStringLiteral("04 f0 00 00 00 00 00 00 01");
}

QString answerTo(const QString& report, int step)
{
    const bool isData = step >= firstSliceStep && step <= lastSliceStep;
    return isData ? QStringLiteral("00") : report.left(5) + QStringLiteral(" 00 01");
}

// The keyboard's copy of a layer as the program would have to have sent it.
virtual_keyboard::KeyLayer heldAfter(const KeyLayer& layer)
{
    virtual_keyboard::KeyLayer held{};
    for (std::size_t key = 0; key < layer.size(); ++key)
        held.at(key) = {layer.at(key).page, layer.at(key).p1, layer.at(key).p2, layer.at(key).p3};
    return held;
}

void layerRows()
{
    QTest::addColumn<int>("layer");
    QTest::newRow("base") << 0;
    QTest::newRow("Fn") << 1;
}

} // namespace

class LayerWriteTest : public QObject
{
    Q_OBJECT

private slots:
    void imageOfAnEmptyLayerHoldsOnlyTheMarker()
    {
        TransferImage expected{};
        expected[574] = 0xAA;
        expected[575] = 0x55;
        QVERIFY(layerImage({}) == expected);
    }

    void imageHoldsFourBytesOfEachKeyInOrder()
    {
        const KeyLayer layer = variedLayer();
        const TransferImage image = layerImage(layer);
        for (std::size_t key = 0; key < 143; ++key) {
            const KeyAction read{image.at(4 * key), image.at(4 * key + 1), image.at(4 * key + 2),
                                 image.at(4 * key + 3)};
            QVERIFY2(read == layer.at(key), qPrintable(QString::number(key)));
        }
    }

    void markerTakesThePlaceOfTheLastKeysParameters()
    {
        KeyLayer layer{};
        layer[143] = {2, 3, 4, 5};
        const TransferImage image = layerImage(layer);
        QCOMPARE(image[572], 2);
        QCOMPARE(image[573], 3);
        QCOMPARE(image[574], 0xAA);
        QCOMPARE(image[575], 0x55);
    }

    void goodWriteOnTheWire_data() { layerRows(); }
    void goodWriteOnTheWire()
    {
        QFETCH(int, layer);
        const auto id = static_cast<LayerId>(layer);
        QVERIFY(writeLayer(id, variedLayer()));

        QStringList expected{QStringLiteral("init"), QStringLiteral("enumerate 8009"),
                             QStringLiteral("open config")};
        int step = openStep;
        for (const QString& report : reportsOf(id, variedLayer())) {
            expected << QStringLiteral("wait 35") << QStringLiteral("send ") + report
                     << QStringLiteral("wait 50")
                     << QStringLiteral("read ") + answerTo(report, step);
            if (step >= firstSliceStep && step <= lastSliceStep)
                expected << QStringLiteral("wait 2");
            ++step;
        }
        QCOMPARE(busTrace(), expected);
        QVERIFY(deviceLockIsFree());
    }

    void keyboardHoldsTheLayerAndNothingElseChanges_data() { layerRows(); }
    void keyboardHoldsTheLayerAndNothingElseChanges()
    {
        QFETCH(int, layer);
        QVERIFY(writeLayer(static_cast<LayerId>(layer), variedLayer()));

        KeyLayer sent = variedLayer();
        sent[143].p2 = 0; // where the marker travels, nothing is stored
        sent[143].p3 = 0;
        virtual_keyboard::KeyboardState expected;
        (layer == 0 ? expected.baseLayer : expected.fnLayer) = heldAfter(sent);
        QVERIFY(bus().keyboard().state() == expected);
        QVERIFY(!bus().keyboard().sessionOpen());
    }

    // Another page's reports must not come between, not even before the closing FINISH.
    void deviceIsLockedFromTheFirstReportToTheLast_data()
    {
        QTest::addColumn<int>("failingStep");
        QTest::newRow("good") << 0;
        QTest::newRow("header rejected") << headerStep;
        QTest::newRow("COMMIT rejected") << commitStep;
    }
    void deviceIsLockedFromTheFirstReportToTheLast()
    {
        QFETCH(int, failingStep);
        if (failingStep > 0)
            bus().failAt(failingStep, virtual_keyboard::answerStatus(5));
        int lines = 0;
        int unlockedLines = 0;
        bus().setListener([&] {
            ++lines;
            unlockedLines += deviceLockIsFree() ? 1 : 0;
        });
        QCOMPARE(writeLayer(LayerId::Base, variedLayer()), failingStep == 0);
        bus().setListener({});
        QVERIFY(lines > 0);
        QCOMPARE(unlockedLines, 0);
        QVERIFY(deviceLockIsFree());
    }

    void busySessionIsAskedAgain()
    {
        bus().failAt(openStep, virtual_keyboard::busy(), 2);
        QVERIFY(writeLayer(LayerId::Base, variedLayer()));
        QCOMPARE(bus().count("wait 300"), 2);
        QCOMPARE(bus().keyboard().state().baseLayer[0],
                 (virtual_keyboard::KeyActionBytes{1, 2, 3, 4}));
    }

    void sliceThatPassesAtTheTenthAttemptIsGood()
    {
        bus().failAt(firstSliceStep + 4, virtual_keyboard::sendError("send broke"), 9);
        QVERIFY(writeLayer(LayerId::Fn, variedLayer()));
        QCOMPARE(busSends(), reportsOf(LayerId::Fn, variedLayer()));
    }

    void failure_data() { layerWriteFaultRows(); }
    void failure()
    {
        QFETCH(int, row);
        const LayerWriteFault fault = allLayerWriteFaults().at(row);
        bus().failAt(fault.step, fault.fault, fault.times);
        QVERIFY(!writeLayer(LayerId::Base, variedLayer()));

        const QStringList reports = reportsOf(LayerId::Base, variedLayer());
        QStringList expected;
        for (const int step : fault.reportSteps)
            expected += reports.at(step - 1);
        QCOMPARE(busSends(), expected);
        QCOMPARE(Device::instance().lastError, fault.text);
        QVERIFY(deviceLockIsFree());
    }

    // A write whose only FINISH fails has no second one.
    void failureOfTheClosingFinishReplacesTheText_data() { layerWriteFaultRows(commitStep); }
    void failureOfTheClosingFinishReplacesTheText()
    {
        QFETCH(int, row);
        const LayerWriteFault fault = allLayerWriteFaults().at(row);
        bus().failAt(fault.step, fault.fault, fault.times);
        bus().failCommand(0xF0, virtual_keyboard::answerStatus(9));
        QVERIFY(!writeLayer(LayerId::Base, variedLayer()));
        QCOMPARE(Device::instance().lastError, QStringLiteral("FINISH rejected (status 09)"));
        QVERIFY(deviceLockIsFree());
    }

    void keyboardKeepsItsLayerUntilCommit_data() { layerWriteFaultRows(); }
    void keyboardKeepsItsLayerUntilCommit()
    {
        QFETCH(int, row);
        const LayerWriteFault fault = allLayerWriteFaults().at(row);
        bus().failAt(fault.step, fault.fault, fault.times);
        QVERIFY(!writeLayer(LayerId::Fn, variedLayer()));
        const bool committed = fault.reportSteps.contains(commitStep) &&
                               (fault.step == finishStep ||
                                fault.fault.kind == virtual_keyboard::Fault::Kind::ReadError ||
                                fault.fault.answer == virtual_keyboard::AnswerFault::WrongEcho);
        const bool changed =
            bus().keyboard().state().fnLayer != virtual_keyboard::KeyboardState().fnLayer;
        QCOMPARE(changed, committed);
    }

    void absentKeyboardGetsNothing()
    {
        bus().unplug();
        QVERIFY(!writeLayer(LayerId::Base, variedLayer()));
        QCOMPARE(
            Device::instance().lastError,
            QStringLiteral("Keyboard not found (vendor interface 0xFF13). Plug the USB-C cable "
                           "(wired mode)."));
        QCOMPARE(busWire(), QStringList());
        QVERIFY(deviceLockIsFree());
    }

    void failingLibraryGetsNothing()
    {
        bus().setInitFails(true);
        QVERIFY(!writeLayer(LayerId::Base, variedLayer()));
        QCOMPARE(Device::instance().lastError, QStringLiteral("hid_init failed"));
        QCOMPARE(busTrace(), QStringList{QStringLiteral("init failed")});
        QVERIFY(deviceLockIsFree());
    }
};

TAVIK_ISOLATED_TEST_MAIN(LayerWriteTest)

#include "layer_write_test.moc"
