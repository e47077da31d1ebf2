// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "pages/keys/layer_write.h"
#include "tests/pages/keys/layer_write_steps.h"
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

// The keyboard's copy of a layer as the program would have to have sent it.
virtual_keyboard::KeyLayer heldAfter(const KeyLayer& layer)
{
    virtual_keyboard::KeyLayer held{};
    for (std::size_t key = 0; key < layer.size(); ++key)
        held.at(key) = {layer.at(key).page, layer.at(key).p1, layer.at(key).p2, layer.at(key).p3};
    return held;
}

QList<SequenceFault> faults(LayerId id)
{
    return faultsOfSession(layerWriteSteps(id, variedLayer()));
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
        for (const SequenceStep& step : layerWriteSteps(id, variedLayer())) {
            expected += exchangeTrace(step);
            if (step.name.startsWith("slice"))
                expected += QStringLiteral("wait 2");
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
        QTest::addColumn<int>("failingExchange");
        QTest::newRow("good") << 0;
        QTest::newRow("header rejected") << headerExchange;
        QTest::newRow("COMMIT rejected") << commitExchange;
    }
    void deviceIsLockedFromTheFirstReportToTheLast()
    {
        QFETCH(int, failingExchange);
        if (failingExchange > 0)
            bus().failAt(failingExchange, virtual_keyboard::answerStatus(5));
        int lines = 0;
        int unlockedLines = 0;
        bus().setListener([&] {
            ++lines;
            unlockedLines += deviceLockIsFree() ? 1 : 0;
        });
        QCOMPARE(writeLayer(LayerId::Base, variedLayer()), failingExchange == 0);
        bus().setListener({});
        QVERIFY(lines > 0);
        QCOMPARE(unlockedLines, 0);
        QVERIFY(deviceLockIsFree());
    }

    void busySessionIsAskedAgain()
    {
        bus().failAt(openExchange, virtual_keyboard::busy(), 2);
        QVERIFY(writeLayer(LayerId::Base, variedLayer()));
        QCOMPARE(bus().count("wait 300"), 2);
        QCOMPARE(bus().keyboard().state().baseLayer[0],
                 (virtual_keyboard::KeyActionBytes{1, 2, 3, 4}));
    }

    void sliceThatPassesAtTheTenthAttemptIsGood()
    {
        bus().failAt(firstSliceExchange + 4, virtual_keyboard::sendError("send broke"), 9);
        QVERIFY(writeLayer(LayerId::Fn, variedLayer()));
        QCOMPARE(busSends(), reportsOf(layerWriteSteps(LayerId::Fn, variedLayer())));
    }

    void failure_data() { addFaultRows(faults(LayerId::Base)); }
    void failure()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        QVERIFY(!writeLayer(LayerId::Base, variedLayer()));
        QCOMPARE(busSends(), fault.sends);
        QCOMPARE(Device::instance().lastError, fault.text);
        QVERIFY(deviceLockIsFree());
    }

    // A write whose only FINISH fails has no second one.
    void failureOfTheClosingFinishReplacesTheText_data()
    {
        QList<SequenceFault> beforeFinish = faults(LayerId::Base);
        beforeFinish.removeIf(
            [](const SequenceFault& fault) { return fault.exchange == finishExchange; });
        addFaultRows(beforeFinish);
    }
    void failureOfTheClosingFinishReplacesTheText()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        bus().failCommand(0xF0, virtual_keyboard::answerStatus(9));
        QVERIFY(!writeLayer(LayerId::Base, variedLayer()));
        QCOMPARE(Device::instance().lastError, QStringLiteral("FINISH rejected (status 09)"));
        QVERIFY(deviceLockIsFree());
    }

    void keyboardKeepsItsLayerUntilCommit_data() { addFaultRows(faults(LayerId::Fn)); }
    void keyboardKeepsItsLayerUntilCommit()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        QVERIFY(!writeLayer(LayerId::Fn, variedLayer()));
        const bool committed = fault.sends.contains("04 02") &&
                               (fault.exchange == finishExchange ||
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
        QCOMPARE(Device::instance().lastError, notFoundText);
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
