// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "pages/colors/color_transfer.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"
#include "tests/support/sequence_faults.h"

#include <QTest>

#include <algorithm>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int writeHeaderExchange = 2;
constexpr int commitExchange = 12;

// Neighbors differ, and no byte is where a shifted or swapped one would be.
ColorBank variedBank()
{
    ColorBank bank;
    std::uint8_t next = 11;
    for (unsigned char& byte : bank) {
        byte = next;
        next = static_cast<std::uint8_t>(next + 7);
    }
    return bank;
}

virtual_keyboard::ColorBank heldColors(const ColorBank& bank)
{
    virtual_keyboard::ColorBank colors{};
    for (std::size_t key = 0; key < colors.size(); ++key)
        colors.at(key) = {bank.at(3 * key), bank.at(3 * key + 1), bank.at(3 * key + 2)};
    return colors;
}

void giveKeyboardColors(const ColorBank& bank)
{
    virtual_keyboard::KeyboardState state;
    state.colorBank = heldColors(bank);
    bus().keyboard().setState(state);
}

// Index, red, green, blue of each key, with the marker over the last two bytes.
QList<SequenceStep> writeSteps(const ColorBank& bank)
{
    std::array<std::uint8_t, 576> image{};
    for (std::size_t key = 0; key < 144; ++key) {
        image.at(4 * key) = static_cast<std::uint8_t>(key);
        image.at(4 * key + 1) = bank.at(3 * key);
        image.at(4 * key + 2) = bank.at(3 * key + 1);
        image.at(4 * key + 3) = bank.at(3 * key + 2);
    }
    image[574] = 0xAA;
    image[575] = 0x55;

    QList<SequenceStep> steps{{"session", QStringLiteral("04 18"), QString()},
                              {"header", QStringLiteral("04 23 00 00 00 00 00 00 09"),
                               QStringLiteral("RGB bank rejected (status %1)")}};
    steps += dataSteps("slice", image);
    steps += {"COMMIT", QStringLiteral("04 02"), QStringLiteral("COMMIT rejected (status %1)")};
    steps += {"FINISH", QStringLiteral("04 f0"), QStringLiteral("FINISH rejected (status %1)")};
    return steps;
}

QList<SequenceStep> readSteps()
{
    QList<SequenceStep> steps{{"header", QStringLiteral("04 f5 00 00 00 00 00 00 09"), QString()}};
    for (int piece = 1; piece <= 8; ++piece)
        steps += {"piece " + QByteArray::number(piece), QStringLiteral("00"), QString()};
    return steps;
}

QList<SequenceStep> customModeSteps(const QString& payload)
{
    return {{"session", QStringLiteral("04 18 00 00 00 00 00 00 01"), QString()},
            {"header", QStringLiteral("04 13 00 00 00 00 00 00 01"),
             QStringLiteral("Command 13 rejected (status %1)")},
            {"data", payload, QString()},
            {"COMMIT", QStringLiteral("04 02"), QStringLiteral("COMMIT rejected (status %1)")},
            {"FINISH", QStringLiteral("04 f0 00 00 00 00 00 00 01"),
             QStringLiteral("FINISH rejected (status %1)")}};
}

const QString brightPayload = QStringLiteral("80 00 00 00 00 00 00 00 00 05 00 00 00 00 aa 55");
const QString darkPayload = QStringLiteral("80 00 00 00 00 00 00 00 00 00 00 00 00 00 aa 55");

const QStringList openingTrace{"init", "enumerate 8009", "open config"};

} // namespace

class ColorBankTest : public QObject
{
    Q_OBJECT

private slots:
    void imageOfABlackBankHoldsIndexesAndMarker()
    {
        const TransferImage image = colorBankImage({});
        for (std::size_t offset = 0; offset < 574; ++offset)
            QCOMPARE(int(image.at(offset)), offset % 4 == 0 ? int(offset / 4) : 0);
        QCOMPARE(int(image[574]), 0xAA);
        QCOMPARE(int(image[575]), 0x55);
    }

    void imageHoldsEachKeysColorBehindItsIndex()
    {
        const ColorBank bank = variedBank();
        const TransferImage image = colorBankImage(bank);
        for (std::size_t key = 0; key < 143; ++key) {
            QCOMPARE(int(image.at(4 * key)), int(key));
            for (std::size_t channel = 0; channel < 3; ++channel)
                QCOMPARE(image.at(4 * key + 1 + channel), bank.at(3 * key + channel));
        }
    }

    void markerReplacesGreenAndBlueOfTheLastKey()
    {
        ColorBank bank{};
        bank[429] = 0xFF;
        bank[430] = 0x11;
        bank[431] = 0x22;
        const TransferImage image = colorBankImage(bank);
        QCOMPARE(reportText(std::span(image).last(4)), QStringLiteral("8f ff aa 55"));
    }

    void answersArePackedFromTheSecondByteOn()
    {
        ColorBankAnswers answers;
        int next = 0;
        for (tavik::Report& answer : answers) {
            for (std::uint8_t& byte : answer)
                byte = static_cast<std::uint8_t>(next++ % 251);
        }
        const ColorBank bank = colorBankFromAnswers(answers);
        QCOMPARE(bank[0], answers[0][1]);
        QCOMPARE(bank[62], answers[0][63]);
        QCOMPARE(bank[63], answers[1][0]);
        QCOMPARE(bank[382], answers[5][63]);
        QCOMPARE(bank[383], answers[6][0]);
        QCOMPARE(bank[431], answers[6][48]);
        for (std::size_t offset = 0; offset < bank.size(); ++offset)
            QCOMPARE(int(bank.at(offset)), int((offset + 1) % 251));
    }

    void lockIsHeldDuringAllTraffic()
    {
        QVERIFY(Device::instance().refresh());
        bus().clearTrace();
        int free = 0;
        bus().setListener([&free] { free += deviceLockIsFree() ? 1 : 0; });
        QVERIFY(writeColorBank(variedBank()));
        QVERIFY(readColorBank().has_value());
        QVERIFY(enableCustomColors(3));
        bus().setListener({});
        QCOMPARE(free, 0);
        QVERIFY(bus().trace().size() > 100);
        QVERIFY(deviceLockIsFree());
    }

    void goodWriteOnTheWire()
    {
        QVERIFY(writeColorBank(variedBank()));
        QStringList expected = openingTrace;
        for (const SequenceStep& step : writeSteps(variedBank())) {
            expected += exchangeTrace(step);
            if (step.name.startsWith("slice"))
                expected += QStringLiteral("wait 2");
        }
        QCOMPARE(busTrace(), expected);
        QVERIFY(deviceLockIsFree());
    }

    void writtenColorsAreAllThatChanges()
    {
        QVERIFY(writeColorBank(variedBank()));
        virtual_keyboard::KeyboardState expected;
        expected.colorBank = heldColors(variedBank());
        // Green and blue of the last key stand where the marker is.
        expected.colorBank[143] = bus().keyboard().keyColor(143);
        QCOMPARE(int(expected.colorBank[143][0]), int(variedBank()[429]));
        QVERIFY(bus().keyboard().state() == expected);
        QVERIFY(!bus().keyboard().sessionOpen());
    }

    void busySessionIsAskedAgain()
    {
        bus().failAt(1, virtual_keyboard::busy(), 2);
        QVERIFY(writeColorBank(variedBank()));
        QCOMPARE(bus().count("wait 300"), 2);
    }

    void sliceThatPassesAtTheTenthAttemptIsGood()
    {
        bus().failAt(writeHeaderExchange + 5, virtual_keyboard::sendError("send broke"), 9);
        QVERIFY(writeColorBank(variedBank()));
        QCOMPARE(busSends(), reportsOf(writeSteps(variedBank())));
    }

    void writeFails_data() { addFaultRows(faultsOfSession(writeSteps(variedBank()))); }
    void writeFails()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        QVERIFY(!writeColorBank(variedBank()));
        QCOMPARE(busSends(), fault.sends);
        QCOMPARE(Device::instance().lastError, fault.text);
        QVERIFY(deviceLockIsFree());
    }

    void keyboardKeepsItsColorsWithoutCommit_data()
    {
        QTest::addColumn<SequenceFault>("fault");
        for (const SequenceFault& fault : faultsOfSession(writeSteps(variedBank()))) {
            if (fault.exchange < commitExchange || fault.name == "COMMIT rejected" ||
                fault.name == "COMMIT not sent")
                QTest::newRow(fault.name.constData()) << fault;
        }
    }
    void keyboardKeepsItsColorsWithoutCommit()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        QVERIFY(!writeColorBank(variedBank()));
        QVERIFY(bus().keyboard().state() == virtual_keyboard::KeyboardState());
    }

    void failingFinishReplacesTheText()
    {
        bus().failAt(writeHeaderExchange, virtual_keyboard::answerStatus(5));
        bus().failCommand(0xF0, virtual_keyboard::answerStatus(9));
        QVERIFY(!writeColorBank(variedBank()));
        QCOMPARE(Device::instance().lastError, QStringLiteral("FINISH rejected (status 09)"));
        QVERIFY(deviceLockIsFree());
    }

    void goodReadOnTheWire()
    {
        giveKeyboardColors(variedBank());
        QVERIFY(readColorBank().has_value());

        // What the answers carry is another test's question.
        QStringList wire = busTrace();
        for (QString& line : wire) {
            if (line.startsWith(QStringLiteral("read")))
                line = QStringLiteral("read");
        }
        QStringList expected = openingTrace;
        for (const SequenceStep& step : readSteps() + QList<SequenceStep>{{"end", "04 02", ""}})
            expected << QStringLiteral("wait 35") << QStringLiteral("send ") + step.report
                     << QStringLiteral("wait 50") << QStringLiteral("read");
        QCOMPARE(wire, expected);
        QVERIFY(!bus().keyboard().sessionOpen());
        QVERIFY(deviceLockIsFree());
    }

    void readGivesTheKeyboardsColors()
    {
        giveKeyboardColors(variedBank());
        const virtual_keyboard::KeyboardState before = bus().keyboard().state();
        QCOMPARE(readColorBank(), std::optional(variedBank()));
        QVERIFY(bus().keyboard().state() == before);
    }

    void colorsWrittenAreColorsRead()
    {
        QVERIFY(writeColorBank(variedBank()));
        const std::optional<ColorBank> read = readColorBank();
        QVERIFY(read.has_value());
        QVERIFY(std::equal(read->begin(), read->begin() + 430, variedBank().begin()));
    }

    void headerAnswerOfAReadIsNotChecked_data()
    {
        QTest::addColumn<int>("status");
        QTest::newRow("rejected") << 0x05;
        QTest::newRow("busy") << 0xFF;
    }
    void headerAnswerOfAReadIsNotChecked()
    {
        QFETCH(int, status);
        giveKeyboardColors(variedBank());
        bus().failAt(1, virtual_keyboard::answerStatus(static_cast<std::uint8_t>(status)));
        const std::optional<ColorBank> read = readColorBank();
        QVERIFY(read.has_value());
        // What elsewhere is the status is the third byte of the bank here.
        ColorBank expected = variedBank();
        expected[2] = static_cast<unsigned char>(status);
        QCOMPARE(*read, expected);
    }

    void endOfAReadDoesNotMatter_data()
    {
        QTest::addColumn<QString>("fault");
        for (const char* name : {"not sent", "not read", "rejected"})
            QTest::newRow(name) << name;
    }
    void endOfAReadDoesNotMatter()
    {
        QFETCH(QString, fault);
        giveKeyboardColors(variedBank());
        bus().failCommand(0x02, fault == "not sent"   ? virtual_keyboard::sendError("send broke")
                                : fault == "not read" ? virtual_keyboard::readError("read broke")
                                                      : virtual_keyboard::answerStatus(5));
        QCOMPARE(readColorBank(), std::optional(variedBank()));
        QCOMPARE(bus().count("wait 35"), 10);
        QVERIFY(deviceLockIsFree());
    }

    void readFails_data() { addFaultRows(faultsOfExchanges(readSteps())); }
    void readFails()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        QVERIFY(!readColorBank().has_value());
        QCOMPARE(busSends(), fault.sends);
        QCOMPARE(Device::instance().lastError, fault.text);
        QVERIFY(deviceLockIsFree());
    }

    void customModeOnTheWire_data()
    {
        QTest::addColumn<int>("brightness");
        QTest::addColumn<QString>("payload");
        QTest::newRow("brightest") << 5 << brightPayload;
        QTest::newRow("dark") << 0 << darkPayload;
    }
    void customModeOnTheWire()
    {
        QFETCH(int, brightness);
        QFETCH(QString, payload);
        QVERIFY(enableCustomColors(brightness));
        QStringList expected = openingTrace;
        for (const SequenceStep& step : customModeSteps(payload))
            expected += exchangeTrace(step);
        QCOMPARE(busTrace(), expected);
        QVERIFY(bus().keyboard().customMode());
        QCOMPARE(int(bus().keyboard().state().lighting[9]), brightness);
        QVERIFY(deviceLockIsFree());
    }

    void customModeFails_data() { addFaultRows(faultsOfSession(customModeSteps(brightPayload))); }
    void customModeFails()
    {
        QFETCH(SequenceFault, fault);
        arrange(fault);
        QVERIFY(!enableCustomColors(5));
        QCOMPARE(busSends(), fault.sends);
        QCOMPARE(Device::instance().lastError, fault.text);
        QVERIFY(deviceLockIsFree());
    }

    void absentKeyboardGetsNothing_data() { operationRows(); }
    void absentKeyboardGetsNothing()
    {
        QFETCH(QString, operation);
        bus().unplug();
        QVERIFY(!run(operation));
        QCOMPARE(Device::instance().lastError, notFoundText);
        QCOMPARE(busTrace(), QStringList({"init", "enumerate 8009", "enumerate 800a", "exit"}));
        QVERIFY(deviceLockIsFree());
    }

    void failingLibraryGetsNothing_data() { operationRows(); }
    void failingLibraryGetsNothing()
    {
        QFETCH(QString, operation);
        bus().setInitFails(true);
        QVERIFY(!run(operation));
        QCOMPARE(Device::instance().lastError, QStringLiteral("hid_init failed"));
        QCOMPARE(busTrace(), QStringList{QStringLiteral("init failed")});
        QVERIFY(deviceLockIsFree());
    }

private:
    static void operationRows()
    {
        QTest::addColumn<QString>("operation");
        for (const char* name : {"write", "read", "custom mode"})
            QTest::newRow(name) << name;
    }

    static bool run(const QString& operation)
    {
        if (operation == "write")
            return writeColorBank(variedBank());
        if (operation == "read")
            return readColorBank().has_value();
        return enableCustomColors(5);
    }
};

TAVIK_ISOLATED_TEST_MAIN(ColorBankTest)

#include "color_transfer_test.moc"
