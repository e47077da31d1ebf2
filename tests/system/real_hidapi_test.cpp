// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "model/macro_record.h"
#include "pages/colors/color_transfer.h"
#include "pages/keys/layer_write.h"
#include "pages/macros/macro_upload.h"
#include "pages/parts/lighting_command.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_transfer.h"
#include "tests/support/isolated_main.h"
#include "tests/system/emulated_keyboard.h"
#include "tests/system/testbed_process.h"

#include <QSignalSpy>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;
using virtual_keyboard::KeyboardModel;

namespace {

KeyLayer variedLayer()
{
    KeyLayer layer;
    for (std::size_t key = 0; key < layer.size(); ++key)
        layer.at(key) = {2, static_cast<std::uint8_t>(key), static_cast<std::uint8_t>(255 - key),
                         0};
    return layer;
}

ColorBank variedBank()
{
    ColorBank bank{};
    for (std::size_t byte = 0; byte < bank.size(); ++byte)
        bank.at(byte) = static_cast<std::uint8_t>(byte * 7);
    return bank;
}

// One frame whose pixels all differ from their neighbors.
ScreenStream oneFrame()
{
    QImage image(128, 128, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixelColor(x, y, QColor(2 * x, 2 * y, (x + y) & 0xFF));
    }
    return buildScreenStream({{image, 100}});
}

} // namespace

// Every operation of the program over the real library, with its real pauses: the keyboard model
// objects to any report that comes too early or is not as it must be.
class RealHidapiTest : public QObject
{
    Q_OBJECT

private slots:
    void findsTheConfigurationInterface()
    {
        EmulatedKeyboard keyboard;
        QSignalSpy connected(&Device::instance(), &Device::connectedChanged);

        QVERIFY(Device::instance().refresh());

        QCOMPARE(Device::instance().path, QStringLiteral("/dev/hidraw1"));
        QCOMPARE(connected.count(), 2);
        QCOMPARE(keyboard.transfers(), 0);
    }

    void findsTheSecondProduct()
    {
        EmulatedKeyboard keyboard(wholeKeyboard(0x800A));

        QVERIFY(Device::instance().refresh());
        QCOMPARE(Device::instance().path, QStringLiteral("/dev/hidraw1"));
    }

    void findsNothingOnAnEmptyBus()
    {
        EmulatedKeyboard keyboard(EmulatedDevice{});

        QVERIFY(!Device::instance().refresh());
        QVERIFY(Device::instance().lastError.startsWith(QLatin1String("Keyboard not found")));
    }

    void passesOverAKeyboardWithoutConfiguration()
    {
        EmulatedDevice device = wholeKeyboard();
        device.interfaces.erase(device.interfaces.begin() + 1);
        EmulatedKeyboard keyboard(device);

        QVERIFY(!Device::instance().refresh());
        QVERIFY(!keyboard.waitUntilOpened(0, std::chrono::milliseconds(0)));
    }

    void writesBothLayers()
    {
        EmulatedKeyboard keyboard;
        const KeyLayer layer = variedLayer();

        QVERIFY2(writeLayer(LayerId::Base, layer), qPrintable(Device::instance().lastError));
        QVERIFY2(writeLayer(LayerId::Fn, layer), qPrintable(Device::instance().lastError));

        keyboard.withModel([&](const KeyboardModel& model) {
            for (std::size_t key = 0; key + 1 < layer.size(); ++key) {
                const KeyAction& action = layer.at(key);
                const virtual_keyboard::KeyActionBytes bytes{action.page, action.p1, action.p2,
                                                             action.p3};
                QCOMPARE(model.keyAction(virtual_keyboard::LayerId::Base, key), bytes);
                QCOMPARE(model.keyAction(virtual_keyboard::LayerId::Fn, key), bytes);
            }
        });
        QCOMPARE(keyboard.violations(), std::string());
    }

    void writesAndReadsTheColorBank()
    {
        EmulatedKeyboard keyboard;
        const ColorBank bank = variedBank();

        QVERIFY2(writeColorBank(bank), qPrintable(Device::instance().lastError));
        const std::optional<ColorBank> read = readColorBank();

        QVERIFY2(read, qPrintable(Device::instance().lastError));
        // The last key's green and blue give way to the end marker.
        QVERIFY(std::equal(bank.begin(), bank.end() - 2, read->begin()));
        QCOMPARE(keyboard.violations(), std::string());
    }

    void setsTheLighting()
    {
        EmulatedKeyboard keyboard;
        QVERIFY(Device::instance().refresh());

        LightingSettings settings;
        settings.effect = 0x0B;
        settings.color = {0xFF, 0, 0};
        settings.brightness = 5;
        settings.speed = 3;
        settings.direction = 3;
        QVERIFY2(sendLightingMode(settings), qPrintable(Device::instance().lastError));
        QVERIFY2(sendLightingSleep(2), qPrintable(Device::instance().lastError));

        keyboard.withModel([](const KeyboardModel& model) {
            QCOMPARE(model.lightingSummary(),
                     std::string("Rolling, #ff0000, brightness 5, speed 3, direction left"));
            QCOMPARE(int{model.state().sleepCode}, 2);
        });
        QCOMPARE(keyboard.violations(), std::string());
    }

    void writesTheMacroSpace()
    {
        EmulatedKeyboard keyboard;
        MacroRecord macro;
        macro.name = QStringLiteral("A");
        macro.actions = {{20, 0x04, 0xB0}, {30, 0x04, 0x30}};

        QVERIFY2(writeMacroSpace(*encodeMacroSpace({macro})),
                 qPrintable(Device::instance().lastError));

        keyboard.withModel(
            [](const KeyboardModel& model) { QCOMPARE(model.playMacro(0).size(), 2U); });
        QCOMPARE(keyboard.violations(), std::string());
    }

    void sendsAnAnimation_data()
    {
        QTest::addColumn<quint16>("usagePage");
        QTest::newRow("first page") << quint16(0xFF68);
        QTest::newRow("second page") << quint16(0xFF67);
    }
    void sendsAnAnimation()
    {
        QFETCH(const quint16, usagePage);
        EmulatedKeyboard keyboard(wholeKeyboard(0x8009, usagePage));
        QStringList progress;

        const ScreenTransferResult result =
            sendToScreen(oneFrame(), 2, [&](const QString& text) { progress += text; });

        QVERIFY2(result.ok, qPrintable(result.error));
        QCOMPARE(progress.last(), QStringLiteral("Sending chunk 9/9…"));
        keyboard.withModel([](const KeyboardModel& model) {
            QCOMPARE(model.screenSlot(2).size(), 1U);
            const virtual_keyboard::ScreenFrame& frame = model.screenSlot(2).front();
            QCOMPARE(frame.time, std::chrono::milliseconds(100));
            QCOMPARE(frame.pixels.at(0), std::uint16_t{0});
            // Column 127 of row 0: red 254 and blue 127.
            QCOMPARE(frame.pixels.at(127), std::uint16_t{0xF80F});
        });
        QCOMPARE(keyboard.violations(), std::string());
    }

    void reportsAMissingAcknowledgement()
    {
        EmulatedKeyboard keyboard;
        keyboard.loseNextAcknowledgement();

        const ScreenTransferResult result = sendToScreen(oneFrame(), 1, [](const QString&) {});

        QVERIFY(!result.ok);
        QCOMPARE(result.error, QStringLiteral("no ack for chunk 1/9"));
        QCOMPARE(keyboard.violations(), std::string());
    }

    void sendsADataReportAgainAfterAStall()
    {
        EmulatedKeyboard keyboard;
        QMutexLocker lock(&Device::instance().mutex);
        QVERIFY(Device::instance().ensureOpen());
        QVERIFY(Device::instance().openSession(1));
        keyboard.stallNextSend();

        QVERIFY(Device::instance().sendSlice(Report{}));
        QVERIFY(!Device::instance().lastError.isEmpty());
    }

    void keepsTheHandleAfterAStall()
    {
        EmulatedKeyboard keyboard;
        QVERIFY(Device::instance().refresh());
        keyboard.stallNextAnswer();

        QVERIFY(!sendLightingSleep(1));
        QVERIFY(Device::instance().isOpen());
        QVERIFY(sendLightingSleep(1));
        keyboard.withModel(
            [](const KeyboardModel& model) { QCOMPARE(int{model.state().sleepCode}, 1); });
    }

    void keepsTheHandleAfterUnplugging()
    {
        EmulatedKeyboard keyboard;
        QVERIFY(Device::instance().refresh());
        keyboard.unplug();

        QVERIFY(!sendLightingSleep(1));
        QVERIFY(Device::instance().isOpen());
        QVERIFY(Device::instance().refresh());
        const ScreenTransferResult result = sendToScreen(oneFrame(), 1, [](const QString&) {});
        QCOMPARE(result.error, QStringLiteral("TFT interface (0xFF68/0xFF67) not found"));
    }

    // Each waits for the other's sequences; a report of one within a sequence of the other would be
    // a violation.
    void sharesTheKeyboardWithAnotherProcess()
    {
        EmulatedKeyboard keyboard;
        TestbedProcess other(AsUser::Same);
        QVERIFY(
            other.start(QCoreApplication::applicationDirPath() + QStringLiteral("/sleep_sender"),
                        {QStringLiteral("12")}));
        QTRY_VERIFY_WITH_TIMEOUT(other.output().contains(QLatin1String("ready")), 30'000);

        QVERIFY2(writeLayer(LayerId::Base, variedLayer()),
                 qPrintable(Device::instance().lastError));
        QVERIFY2(writeColorBank(variedBank()), qPrintable(Device::instance().lastError));
        QVERIFY2(sendToScreen(oneFrame(), 1, [](const QString&) {}).ok,
                 qPrintable(Device::instance().lastError));

        QTRY_VERIFY_WITH_TIMEOUT(!other.isRunning(), 60'000);
        QVERIFY2(other.exitCode() == 0, qPrintable(other.output()));
        QCOMPARE(keyboard.violations(), std::string());
    }

    // A late acknowledgement would be taken for that of the next block; opening the interface anew
    // for every transfer leaves it behind.
    void ignoresTheAcknowledgementOfAnEarlierTransfer()
    {
        EmulatedKeyboard keyboard;
        keyboard.loseNextAcknowledgement();
        QVERIFY(!sendToScreen(oneFrame(), 1, [](const QString&) {}).ok);

        const ScreenTransferResult result = sendToScreen(oneFrame(), 1, [](const QString&) {});

        QVERIFY2(result.ok, qPrintable(result.error));
        QCOMPARE(keyboard.violations(), std::string());
    }
};

TAVIK_ISOLATED_TEST_MAIN(RealHidapiTest)
#include "real_hidapi_test.moc"
