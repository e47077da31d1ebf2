// SPDX-License-Identifier: MIT
#include "virtual_keyboard/tests/model_host.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QTest>

#include <stdexcept>

using namespace tavik::virtual_keyboard;

namespace {

using Lines = std::vector<std::string>;
using Milliseconds = std::chrono::milliseconds;

VirtualBus& bus()
{
    return VirtualBus::instance();
}

VirtualBus::Handle openInterface(const char* path)
{
    static_cast<void>(bus().enumerate(vendorId, 0x8009));
    bus().enumerationFreed();
    return bus().open(path);
}

int send(VirtualBus::Handle handle, const Report& report)
{
    std::vector<std::uint8_t> buffer(65);
    std::ranges::copy(report, buffer.begin() + 1);
    bus().wait(Milliseconds(35));
    return bus().sendFeature(handle, buffer);
}

int read(VirtualBus::Handle handle)
{
    std::array<std::uint8_t, 65> buffer{};
    bus().wait(Milliseconds(50));
    return bus().getFeature(handle, buffer);
}

bool transact(VirtualBus::Handle handle, const Report& report)
{
    return send(handle, report) >= 0 && read(handle) >= 0;
}

bool command(VirtualBus::Handle handle, std::uint8_t code, std::uint8_t argument = 0,
             std::uint8_t count = 0)
{
    return transact(handle, Host::commandReport(code, argument, count));
}

int writeBlock(VirtualBus::Handle handle, std::size_t block, std::size_t length = 4097)
{
    const std::vector<std::uint8_t> stream = screenStream(1);
    std::vector<std::uint8_t> buffer(length);
    std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(block * blockSize), length - 1,
                buffer.begin() + 1);
    return bus().write(handle, buffer);
}

int readAcknowledgement(VirtualBus::Handle handle)
{
    std::array<std::uint8_t, 64> buffer{};
    return bus().readTimeout(handle, buffer, Milliseconds(1000));
}

} // namespace

class VirtualBusTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        bus().reset();
        config = openInterface("/dev/hidraw1");
        bus().clearTrace();
        expectedViolations.clear();
    }

    void cleanup()
    {
        bus().setListener({}); // it refers to a variable of the test that ended
        QCOMPARE(bus().violations(), expectedViolations);
        bus().close(config);
        QCOMPARE(bus().openHandles(), 0);
    }

    void aSequenceReadsAsAFewLines()
    {
        bus().close(config);
        bus().clearTrace();
        QCOMPARE(bus().init(), 0);
        config = openInterface("/dev/hidraw1");
        QVERIFY(command(config, 0x18, 0, 1));
        QVERIFY(command(config, 0x13, 0, 1));
        QVERIFY(transact(config, lightingPayload()));
        QVERIFY(command(config, 0x02));
        QVERIFY(command(config, 0xF0, 0, 1));
        const Lines expected = {
            "init",
            "enumerate 8009",
            "open config",
            "wait 35",
            "send 04 18 00 00 00 00 00 00 01",
            "wait 50",
            "read 04 18 00 01",
            "wait 35",
            "send 04 13 00 00 00 00 00 00 01",
            "wait 50",
            "read 04 13 00 01",
            "wait 35",
            "send 0b ff 00 00 00 00 00 00 01 05 03 03 00 00 aa 55",
            "wait 50",
            "read 00",
            "wait 35",
            "send 04 02",
            "wait 50",
            "read 04 02 00 01",
            "wait 35",
            "send 04 f0 00 00 00 00 00 00 01",
            "wait 50",
            "read 04 f0 00 01",
        };
        QCOMPARE(bus().trace(), expected);
        QCOMPARE(bus().count("wait 35"), 5);
        QCOMPARE(bus().now().count(), 425);
        QCOMPARE(bus().keyboard().state().lighting, lightingPayload());
    }

    void onlyTransportLinesStandOnTheWire()
    {
        QVERIFY(command(config, 0xF5, 0, 9));
        for (int report = 0; report < 8; ++report)
            QVERIFY(transact(config, {}));
        QVERIFY(command(config, 0x02));
        QCOMPARE(bus().wire().size(), std::size_t{20});
        QCOMPARE(bus().wire().front(), std::string("send 04 f5 00 00 00 00 00 00 09"));
        QCOMPARE(bus().wire()[1], std::string("read 04"));
        QCOMPARE(bus().sends().size(), std::size_t{10});
        QCOMPARE(bus().sends()[1], std::string("00"));
        QCOMPARE(bus().sends().back(), std::string("04 02"));
        bus().clearTrace();
        QVERIFY(bus().trace().empty() && bus().wire().empty() && bus().sends().empty());
    }

    void wholeReportsAndBlocksAreKept()
    {
        QVERIFY(command(config, 0x18, 0, 0));
        QVERIFY(command(config, 0x72, 1, 9));
        const Report header = Host::commandReport(0x72, 1, 9);
        QCOMPARE(bus().sentReports().size(), std::size_t{2});
        QCOMPARE(bus().sentReports()[1], std::vector<std::uint8_t>(header.begin(), header.end()));

        const VirtualBus::Handle screen = openInterface("/dev/hidraw2");
        bus().clearTrace();
        for (std::size_t block = 0; block < 9; ++block) {
            QCOMPARE(writeBlock(screen, block), 4097);
            QCOMPARE(readAcknowledgement(screen), 64);
        }
        QCOMPARE(bus().sentBlocks(), screenStream(1));
        QCOMPARE(bus().count("block 4097 bytes"), 9);
        QCOMPARE(bus().count("ack"), 9);
        QVERIFY(command(config, 0x02));
        QCOMPARE(bus().keyboard().screenSlot(1).size(), std::size_t{1});
        bus().close(screen);
        QCOMPARE(bus().trace().back(), std::string("close screen"));
    }

    void theFactoryKeyboardHasThreeInterfaces()
    {
        const std::vector<BusInterface> found = bus().enumerate(vendorId, 0x8009);
        bus().enumerationFreed();
        QCOMPARE(found.size(), std::size_t{3});
        QCOMPARE(found[0].usagePage, std::uint16_t{0x0001});
        QCOMPARE(found[1].usagePage, std::uint16_t{0xFF13});
        QCOMPARE(found[1].path, std::string("/dev/hidraw1"));
        QCOMPARE(found[2].usagePage, std::uint16_t{0xFF68});
        QVERIFY(bus().enumerate(vendorId, 0x800A).empty());
        QVERIFY(bus().enumerate(0x1234, 0x8009).empty());
        QCOMPARE(bus().trace(), (Lines{"enumerate 8009", "enumerate 800a", "enumerate 1234:8009"}));
    }

    void interfacesCanBeChanged()
    {
        bus().setProductId(0x800A);
        bus().setScreenUsagePage(0xFF67);
        bus().addConfigurationInterface("/dev/hidraw9");
        QVERIFY(bus().enumerate(vendorId, 0x8009).empty());
        const std::vector<BusInterface> found = bus().enumerate(vendorId, 0x800A);
        bus().enumerationFreed();
        QCOMPARE(found.size(), std::size_t{4});
        QCOMPARE(found[1].path, std::string("/dev/hidraw9"));
        QCOMPARE(found[1].usagePage, std::uint16_t{0xFF13});
        QCOMPARE(found[3].usagePage, std::uint16_t{0xFF67});
        bus().removeScreen();
        QCOMPARE(bus().interfaces().size(), std::size_t{3});
    }

    void anInterfaceThatDoesNotOpenIsRefused()
    {
        bus().addConfigurationInterface("/dev/hidraw9", false);
        bus().setOpens("/dev/hidraw2", false);
        QCOMPARE(openInterface("/dev/hidraw9"), -1);
        QCOMPARE(openInterface("/dev/hidraw2"), -1);
        QCOMPARE(bus().trace(), (Lines{"enumerate 8009", "open config refused", "enumerate 8009",
                                       "open screen refused"}));
        QCOMPARE(
            bus().errorText(-1),
            std::string("Failed to open a device with path '/dev/hidraw2': Permission denied"));
    }

    void theLibraryCanFailToStart()
    {
        bus().setInitFails(true);
        QCOMPARE(bus().init(), -1);
        QCOMPARE(bus().trace(), Lines{"init failed"});
    }

    void aSendErrorReachesNobody()
    {
        bus().failAt(1, sendError("cable loose"));
        QCOMPARE(send(config, Host::commandReport(0x18, 0, 1)), -1);
        QCOMPARE(bus().errorText(config), std::string("cable loose"));
        QVERIFY(!bus().keyboard().sessionOpen());
        QVERIFY(bus().sends().empty());
        QCOMPARE(bus().wire(), Lines{"send failed"});
        QVERIFY(command(config, 0xF0, 0, 1));
        QCOMPARE(bus().errorText(config), std::string("Success"));
    }

    void aReadErrorLosesTheAnswer()
    {
        bus().failAt(1, readError("no answer"));
        QCOMPARE(send(config, Host::commandReport(0x18, 0, 1)), 65);
        QCOMPARE(read(config), -1);
        QCOMPARE(bus().errorText(config), std::string("no answer"));
        QVERIFY(bus().keyboard().sessionOpen());
        QCOMPARE(bus().wire(), (Lines{"send 04 18 00 00 00 00 00 00 01", "read failed"}));
        QVERIFY(command(config, 0xF0, 0, 1));
    }

    void aReadErrorEndsWithItsExchange()
    {
        bus().failAt(1, readError("no answer"));
        QVERIFY(send(config, Host::commandReport(0x18, 0, 1)) > 0);
        QVERIFY(command(config, 0x11, 0, 9));
        expectedViolations = {"the answer of the report before was not fetched"};
    }

    void faultsAreCountedFromTheCall()
    {
        QVERIFY(command(config, 0x18, 0, 1));
        bus().failAt(2, answerStatus(0x05));
        QVERIFY(command(config, 0x11, 0, 9));
        QVERIFY(transact(config, {}));
        QCOMPARE(bus().trace().back(), std::string("read 00 00 00 05"));
        bus().failAt(1, wrongEcho());
        bus().clearFaults();
        bus().failAt(1, emptyAnswer());
        QVERIFY(command(config, 0xF0, 0, 1));
        QCOMPARE(bus().trace().back(), std::string("read 00"));
        QVERIFY(bus().keyboard().sessionOpen());
        bus().failAt(1, wrongEcho());
        QVERIFY(command(config, 0xF0, 0, 1));
        QCOMPARE(bus().trace().back(), std::string("read 05 0f 00 01"));
        QVERIFY(!bus().keyboard().sessionOpen());
    }

    void oneByteOfAnAnswerIsWrong()
    {
        const std::array<std::string, 4> answers{"read fb 18 00 01", "read 04 e7 00 01",
                                                 "read 04 18 ff 01", "read 04 18 00 fe"};
        for (std::uint8_t place = 0; place < answers.size(); ++place) {
            bus().failAt(1, wrongByte(place));
            QVERIFY(command(config, 0x18, 0, 1));
            QCOMPARE(bus().trace().back(), answers.at(place));
            QVERIFY(bus().keyboard().sessionOpen());
            bus().failAt(1, wrongByte(0));
            QVERIFY(command(config, 0x11, 0, 9));
            QCOMPARE(bus().trace().back(), std::string("read fb 11 00 01"));
            QVERIFY(command(config, 0xF0, 0, 1)); // no complaint: the host could not go on
            QVERIFY(!bus().keyboard().sessionOpen());
        }
    }

    void busyLastsAsLongAsItIsTold()
    {
        bus().failAt(1, busy(), 2);
        for (int attempt = 0; attempt < 3; ++attempt)
            QVERIFY(command(config, 0x18, 0, 1));
        QCOMPARE(bus().count("read 04 18 00 ff"), 2);
        QCOMPARE(bus().count("read 04 18 00 01"), 1);
        QVERIFY(bus().keyboard().sessionOpen());
    }

    void aCommandFaultMeetsTheCommand()
    {
        bus().failCommand(0xF0, sendError("gone"), 2);
        bus().failCommand(0x02, answerStatus(0x07));
        bus().failCommand(0x18, emptyAnswer());
        bus().failAt(1, busy()); // goes before the fault of the command
        QVERIFY(command(config, 0x18, 0, 1));
        QCOMPARE(bus().trace().back(), std::string("read 04 18 00 ff"));
        QVERIFY(command(config, 0xF0, 0, 1));
        QVERIFY(command(config, 0x18, 0, 1));
        QVERIFY(command(config, 0x02));
        QCOMPARE(bus().trace().back(), std::string("read 04 02 00 07"));
        QCOMPARE(send(config, Host::commandReport(0xF0, 0, 1)), -1);
        QVERIFY(command(config, 0xF0, 0, 1));
    }

    void faultsThatFitNothingAreRejected()
    {
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().failAt(0, busy()));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().failAt(1, shortWrite()));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().failAt(1, zeroWrite()));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().failAt(1, shortAcknowledgement()));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().failCommand(2, noAcknowledgement()));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().failBlockAt(1, busy()));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().unplugAt(0));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().setOpens("/dev/hidraw7", false));
        QVERIFY_THROWS_EXCEPTION(std::invalid_argument, bus().setScreenUsagePage(0xFF13));
    }

    void aShortBlockAndAMissingAcknowledgement()
    {
        QVERIFY(command(config, 0x18, 0, 0));
        QVERIFY(command(config, 0x72, 1, 9));
        const VirtualBus::Handle screen = openInterface("/dev/hidraw2");
        bus().clearTrace();
        bus().failBlockAt(1, noAcknowledgement());
        bus().failBlockAt(2, shortWrite());
        const Milliseconds before = bus().now();
        QCOMPARE(writeBlock(screen, 0), 4097);
        QCOMPARE(readAcknowledgement(screen), 0);
        QCOMPARE((bus().now() - before).count(), 1000);
        QCOMPARE(writeBlock(screen, 1), 4096);
        QCOMPARE(bus().keyboard().screenBlocksReceived(), std::size_t{1});
        QCOMPARE(bus().trace(), (Lines{"block 4097 bytes", "no ack 1000", "block short"}));
        bus().close(screen);
        QVERIFY(command(config, 0xF0, 0, 0));
    }

    void nothingWrittenAndAnAcknowledgementOfOneByte()
    {
        QVERIFY(command(config, 0x18, 0, 0));
        QVERIFY(command(config, 0x72, 1, 9));
        const VirtualBus::Handle screen = openInterface("/dev/hidraw2");
        bus().clearTrace();
        bus().failBlockAt(1, shortAcknowledgement());
        bus().failBlockAt(2, zeroWrite());
        QCOMPARE(writeBlock(screen, 0), 4097);
        QCOMPARE(readAcknowledgement(screen), 1);
        QCOMPARE(writeBlock(screen, 1), 0);
        QCOMPARE(bus().keyboard().screenBlocksReceived(), std::size_t{1});
        QCOMPARE(bus().trace(), (Lines{"block 4097 bytes", "ack", "block short"}));
        bus().close(screen);
        QVERIFY(command(config, 0xF0, 0, 0));
    }

    void anAcknowledgementOfOneByteExcusesNothing()
    {
        QVERIFY(command(config, 0x18, 0, 0));
        QVERIFY(command(config, 0x72, 1, 9));
        const VirtualBus::Handle screen = openInterface("/dev/hidraw2");
        bus().failBlockAt(1, shortAcknowledgement());
        QCOMPARE(writeBlock(screen, 0), 4097);
        QCOMPARE(readAcknowledgement(screen), 1);
        bus().close(screen);
        QVERIFY(command(config, 0xF0, 0, 0));
        expectedViolations = {"FINISH without COMMIT"};
    }

    void blockErrorsCarryTheirText()
    {
        QVERIFY(command(config, 0x18, 0, 0));
        QVERIFY(command(config, 0x72, 1, 9));
        const VirtualBus::Handle screen = openInterface("/dev/hidraw2");
        bus().clearTrace();
        bus().failBlockAt(1, sendError("stalled"));
        QCOMPARE(writeBlock(screen, 0), -1);
        QCOMPARE(bus().errorText(screen), std::string("stalled"));
        bus().failBlockAt(1, readError("silent"));
        QCOMPARE(writeBlock(screen, 0), 4097);
        QCOMPARE(readAcknowledgement(screen), -1);
        QCOMPARE(bus().errorText(screen), std::string("silent"));
        QCOMPARE(bus().wire(), (Lines{"block failed", "block 4097 bytes", "ack failed"}));
        bus().close(screen);
        QVERIFY(command(config, 0xF0, 0, 0));
    }

    void anUnpluggedKeyboardIsGoneAndItsHandlesAreStale()
    {
        const VirtualBus::Handle screen = openInterface("/dev/hidraw2");
        bus().unplug();
        QVERIFY(!bus().plugged());
        QVERIFY(bus().enumerate(vendorId, 0x8009).empty());
        QCOMPARE(send(config, Host::commandReport(0x18)), -1);
        QCOMPARE(bus().errorText(config), std::string("ioctl (SFEATURE): No such device"));
        QCOMPARE(read(config), -1);
        QCOMPARE(bus().errorText(config), std::string("ioctl (GFEATURE): No such device"));
        QCOMPARE(writeBlock(screen, 0), -1);
        QCOMPARE(bus().errorText(screen), std::string("No such device"));
        QCOMPARE(readAcknowledgement(screen), -1);
        QCOMPARE(bus().errorText(screen),
                 std::string("unexpected poll error (device disconnected)"));

        bus().plug();
        QCOMPARE(send(config, Host::commandReport(0x18)), -1);
        bus().close(screen);
        bus().close(config);
        config = openInterface("/dev/hidraw1");
        QVERIFY(command(config, 0x18));
    }

    void theKeyboardCanBePulledAtAnyCall()
    {
        bus().unplugAt(4); // send, read, send, then the read
        QVERIFY(command(config, 0x18, 0, 1));
        QCOMPARE(send(config, Host::commandReport(0x13, 0, 1)), 65);
        QVERIFY(bus().plugged());
        QCOMPARE(read(config), -1);
        QVERIFY(!bus().plugged());
        QVERIFY(!bus().keyboard().sessionOpen());
    }

    void misuseIsNamed()
    {
        static_cast<void>(bus().enumerate(vendorId, 0x8009));
        static_cast<void>(bus().enumerate(vendorId, 0x800A));
        QCOMPARE(bus().unfreedEnumerations(), 1);
        bus().exit();
        bus().enumerationFreed();
        QCOMPARE(bus().open("/dev/null"), -1);

        const VirtualBus::Handle typing = openInterface("/dev/hidraw0");
        QCOMPARE(send(typing, Host::commandReport(0x18)), -1);
        QCOMPARE(writeBlock(typing, 0), -1);
        std::array<std::uint8_t, 65> buffer{};
        buffer[0] = 4;
        QCOMPARE(bus().sendFeature(config, buffer), -1);
        QCOMPARE(bus().errorText(config), std::string("ioctl (SFEATURE): Broken pipe"));
        QCOMPARE(bus().getFeature(config, buffer), -1);
        QVERIFY(send(config, Host::commandReport(0x18)) > 0);
        bus().wait(Milliseconds(50));
        std::array<std::uint8_t, 64> small{};
        QCOMPARE(bus().getFeature(config, small), 64);
        bus().close(typing);
        bus().close(typing);
        QCOMPARE(read(0), -1);

        expectedViolations = {
            "hid_enumerate() before the enumeration was freed",
            "hid_exit() while the configuration interface is open",
            "hid_exit() before the enumeration was freed",
            "hid_open_path() of /dev/null, which was not just enumerated",
            "feature report sent on the typing interface",
            "output report on the typing interface that is not one of its screen blocks",
            "feature report sent with report id 4, expected 0",
            "feature report asked for with report id 4, expected 0",
            "hid_get_feature_report() with room for 64 bytes, expected 65",
            "hid_close() with a closed handle",
            "hid_get_feature_report() without a handle",
        };
    }

    void aHandleSurvivesReset()
    {
        QVERIFY(command(config, 0x18, 0, 1));
        bus().failAt(1, busy());
        bus().setProductId(0x800A);
        bus().reset();
        QCOMPARE(bus().now().count(), 0);
        QVERIFY(bus().trace().empty());
        QVERIFY(!bus().keyboard().sessionOpen());
        QCOMPARE(bus().interfaces().front().productId, std::uint16_t{0x8009});
        QVERIFY(command(config, 0x18, 0, 1));
        QVERIFY(bus().keyboard().sessionOpen());
    }

    void theListenerHearsEveryLineAndTheCable()
    {
        int heard = 0;
        bus().setListener([&] { ++heard; });
        QVERIFY(command(config, 0x18, 0, 1));
        QCOMPARE(heard, 4);
        QCOMPARE(static_cast<int>(bus().trace().size()), heard);
        bus().unplug();
        QCOMPARE(heard, 5);
        bus().plug();
        QCOMPARE(heard, 6);
    }

private:
    VirtualBus::Handle config = -1;
    Lines expectedViolations;
};

QTEST_GUILESS_MAIN(VirtualBusTest)
#include "virtual_bus_test.moc"
