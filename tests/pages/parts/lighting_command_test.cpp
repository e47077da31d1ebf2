// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "pages/parts/lighting_command.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"

#include <QTest>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;

class LightingCommandTest : public QObject
{
    Q_OBJECT

private slots:
    void effectsStandInTheirOrder()
    {
        const QStringList names{"Static",    "SingleOn",  "SingleOff", "Glittering", "Falling",
                                "Colourful", "Breath",    "Spectrum",  "Outward",    "Scrolling",
                                "Rolling",   "Rotating",  "Explode",   "Launch",     "Ripples",
                                "Flowing",   "Pulsating", "Tilt",      "Shuttle",    "LED Off"};
        QCOMPARE(static_cast<qsizetype>(lightingEffects.size()), names.size());
        for (qsizetype row = 0; row < names.size(); ++row) {
            const LightingEffect& entry = lightingEffects.at(static_cast<std::size_t>(row));
            QCOMPARE(QString::fromLatin1(entry.name), names.at(row));
            QCOMPARE(int(entry.code), row == 19 ? 0 : static_cast<int>(row) + 1);
        }
    }

    void everyFieldHasItsPlace()
    {
        LightingSettings settings;
        settings.effect = 0x12;
        settings.color = {0x34, 0x56, 0x78};
        settings.brightness = 4;
        settings.speed = 2;
        settings.direction = 1;
        tavik::Report expected{0x12, 0x34, 0x56, 0x78, 0, 0, 0, 0, 0, 4, 2, 1, 0, 0, 0xAA, 0x55};
        QCOMPARE(lightingModePayload(settings), expected);
        settings.randomColor = true;
        expected[8] = 1;
        QCOMPARE(lightingModePayload(settings), expected);
    }

    void sleepCodeStandsAtByteEight()
    {
        tavik::Report expected{};
        expected[8] = 3;
        expected[62] = 0xAA;
        expected[63] = 0x55;
        QCOMPARE(lightingSleepPayload(3), expected);
    }

    void usualIsRollingInEveryColor()
    {
        QCOMPARE(lightingModePayload(usualLighting),
                 (tavik::Report{0x0B, 0xFF, 0, 0, 0, 0, 0, 0, 1, 5, 3, 3, 0, 0, 0xAA, 0x55}));
        QCOMPARE(lightingModePayload({}),
                 (tavik::Report{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xAA, 0x55}));
    }

    void nothingIsSentWithoutConnection()
    {
        QVERIFY(!sendLightingMode({}));
        QVERIFY(!sendLightingSleep(2));
        QCOMPARE(busTrace(), QStringList());
        QCOMPARE(Device::instance().lastError, QString());
    }

    void connectedKeyboardTakesBoth()
    {
        QVERIFY(Device::instance().refresh());
        LightingSettings settings;
        settings.effect = 0x0B;
        QVERIFY(sendLightingMode(settings));
        QCOMPARE(busSends().at(1), QStringLiteral("04 13 00 00 00 00 00 00 01"));
        QVERIFY(sendLightingSleep(1));
        QCOMPARE(busSends().at(6), QStringLiteral("04 17 01 00 00 00 00 00 01"));
        QCOMPARE(bus().keyboard().state().lighting, lightingModePayload(settings));
        QCOMPARE(int(bus().keyboard().state().sleepCode), 1);
    }

    void refusalIsAFailure()
    {
        QVERIFY(Device::instance().refresh());
        for (const std::uint8_t command : {std::uint8_t{0x13}, std::uint8_t{0x17}})
            bus().failCommand(command, answerStatus(7));
        QVERIFY(!sendLightingMode({}));
        QVERIFY(!sendLightingSleep(1));
    }
};

TAVIK_ISOLATED_TEST_MAIN(LightingCommandTest)
#include "lighting_command_test.moc"
