// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"

#include <QMutexLocker>
#include <QSignalSpy>
#include <QTest>

#include <cstdlib>
#include <numeric>
#include <tuple>

using namespace tavik;
using namespace tavik::tests;
using namespace tavik::virtual_keyboard;

namespace {

Device& device()
{
    return Device::instance();
}

// What the keyboard wants before it takes slices.
void announceLayer()
{
    QVERIFY(device().ensureOpen());
    QVERIFY(device().openSession(1));
    QVERIFY(device().command(commandReport(CommandCode::WriteBaseLayer, 0, 9), QString()));
    bus().clearTrace();
}

TransferImage countingImage()
{
    TransferImage image{};
    std::iota(image.begin(), image.end(), std::uint8_t{1});
    return image;
}

int connectionsTold = 0;
bool lastToldConnected = true;
bool hadPathWhenTold = true;

// Counts from here on. Without a receiver, which would be gone at the end of the process.
void listenToTheEnd()
{
    QObject::connect(&device(), &Device::connectedChanged, [keyboard = &device()](bool connected) {
        ++connectionsTold;
        lastToldConnected = connected;
        hadPathWhenTold = !keyboard->path.isEmpty();
    });
}

void exitUnless(bool asExpected)
{
    if (!asExpected)
        std::_Exit(3);
}

void checkEndOfConnection()
{
    exitUnless(bus().trace() == std::vector<std::string>{"close config", "exit"});
    exitUnless(connectionsTold == 1 && !lastToldConnected && !hadPathWhenTold);
}

void checkEndWithoutConnection()
{
    exitUnless(bus().trace() == std::vector<std::string>{"exit"});
    exitUnless(connectionsTold == 0);
}

} // namespace

class DeviceTest : public QObject
{
    Q_OBJECT

private slots:
    void constructionTouchesNothing()
    {
        QVERIFY(!device().isOpen());
        QCOMPARE(device().lastError, QString());
        QCOMPARE(device().path, QString());
        QCOMPARE(busTrace(), QStringList());
    }

    void ensureOpenFindsTheConfigurationInterface()
    {
        const QSignalSpy connected(&device(), &Device::connectedChanged);
        QVERIFY(device().ensureOpen());
        QVERIFY(device().isOpen());
        QCOMPARE(device().path, QStringLiteral("/dev/hidraw1"));
        QCOMPARE(busTrace(), QStringList({"init", "enumerate 8009", "open config"}));
        QCOMPARE(connected.size(), 1);
        QCOMPARE(connected.at(0).at(0).toBool(), true);
        QCOMPARE(bus().unfreedEnumerations(), 0);

        bus().clearTrace();
        QVERIFY(device().ensureOpen());
        QCOMPARE(busTrace(), QStringList());
        QCOMPARE(connected.size(), 1);
    }

    void withoutKeyboardRefreshReportsItAndShutsHidapiDown()
    {
        bus().unplug();
        const QSignalSpy connected(&device(), &Device::connectedChanged);
        QVERIFY(!device().refresh());
        QCOMPARE(device().lastError, notFoundText);
        QCOMPARE(connected.size(), 0);
        const QStringList attempt{"init", "enumerate 8009", "enumerate 800a", "exit"};
        QCOMPARE(busTrace(), attempt);
        QVERIFY(!device().refresh());
        QCOMPARE(busTrace(), attempt + attempt);
        QVERIFY(deviceLockIsFree());
        QCOMPARE(bus().unfreedEnumerations(), 0);
    }

    void keyboardPluggedInLaterIsFoundByTheNextRefresh()
    {
        bus().unplug();
        QVERIFY(!device().refresh());
        bus().plug();
        QVERIFY(device().refresh());
        QVERIFY(device().isOpen());
    }

    void failingInitIsReported_data()
    {
        QTest::addColumn<bool>("throughRefresh");
        QTest::newRow("ensureOpen") << false;
        QTest::newRow("refresh") << true;
    }
    void failingInitIsReported()
    {
        QFETCH(bool, throughRefresh);
        bus().setInitFails(true);
        QVERIFY(!(throughRefresh ? device().refresh() : device().ensureOpen()));
        QCOMPARE(device().lastError, QStringLiteral("hid_init failed"));
        QCOMPARE(busTrace(), QStringList({"init failed"}));
        QVERIFY(deviceLockIsFree());
    }

    void entryThatDoesNotOpenIsFollowedByTheNext()
    {
        bus().addConfigurationInterface("/dev/hidraw7", false);
        QVERIFY(device().ensureOpen());
        QCOMPARE(device().path, QStringLiteral("/dev/hidraw1"));
        QCOMPARE(busTrace(),
                 QStringList({"init", "enumerate 8009", "open config refused", "open config"}));
    }

    void otherProductIdIsFoundAfterTheFirstCameBackEmpty()
    {
        bus().setProductId(0x800A);
        QVERIFY(device().ensureOpen());
        QCOMPARE(busTrace(),
                 QStringList({"init", "enumerate 8009", "enumerate 800a", "open config"}));
    }

    void interfaceThatNobodyMayOpenCountsAsNotFound()
    {
        bus().setOpens("/dev/hidraw1", false);
        QVERIFY(!device().refresh());
        QCOMPARE(device().lastError, notFoundText);
        QCOMPARE(busTrace(), QStringList({"init", "enumerate 8009", "open config refused",
                                          "enumerate 800a", "exit"}));
    }

    void freshRefreshAnnouncesTwiceAndALaterOneOnce()
    {
        const QSignalSpy connected(&device(), &Device::connectedChanged);
        QVERIFY(device().refresh());
        QCOMPARE(connected.size(), 2);
        bus().clearTrace();
        QVERIFY(device().refresh());
        QCOMPARE(connected.size(), 3);
        for (const QList<QVariant>& arguments : connected)
            QCOMPARE(arguments.at(0).toBool(), true);
        QCOMPARE(busTrace(), QStringList());
        QVERIFY(deviceLockIsFree());
    }

    void listenersRunUnderTheLock()
    {
        bool wasFree = true;
        connect(&device(), &Device::connectedChanged, this,
                [&wasFree] { wasFree = deviceLockIsFree(); });
        QVERIFY(device().refresh());
        QVERIFY(!wasFree);
    }

    void handleIsClosedAtProcessExit_data()
    {
        QTest::addColumn<bool>("connected");
        QTest::newRow("connected") << true;
        QTest::newRow("not-connected") << false;
    }

    // Handlers run in reverse order of registration, so this one sees what the device's destructor
    // did; it turns the exit status of the case into a failure when that was wrong.
    void handleIsClosedAtProcessExit()
    {
        QFETCH(bool, connected);
        std::ignore = bus();
        std::atexit(connected ? checkEndOfConnection : checkEndWithoutConnection);
        if (connected)
            QVERIFY(device().ensureOpen());
        else
            QVERIFY(!device().isOpen());
        listenToTheEnd();
        bus().clearTrace();
    }

    void exchangeWithoutHandleSendsNothing()
    {
        Report report{};
        QVERIFY(!device().exchange(report));
        QCOMPARE(device().lastError, QStringLiteral("not connected"));
        QCOMPARE(busTrace(), QStringList());
    }

    void exchangeWaitsBeforeSendAndBeforeRead()
    {
        QVERIFY(device().ensureOpen());
        bus().clearTrace();
        Report report = commandReport(CommandCode::OpenSession, 0, 1);
        QVERIFY(device().exchange(report));
        QCOMPARE(busTrace(), QStringList({"wait 35", "send 04 18 00 00 00 00 00 00 01", "wait 50",
                                          "read 04 18 00 01"}));
        QVERIFY(isAccepted(report, CommandCode::OpenSession));
    }

    void failedExchangeKeepsHandleAndGivesTheTransportsText()
    {
        QVERIFY(device().ensureOpen());
        const Report before = commandReport(CommandCode::OpenSession, 0, 1);
        for (const auto& [fault, text, trace] :
             {std::tuple{sendError("Broken pipe"), "Broken pipe",
                         QStringList({"wait 35", "send failed"})},
              {readError("The keyboard is deaf"), "The keyboard is deaf",
               QStringList(
                   {"wait 35", "send 04 18 00 00 00 00 00 00 01", "wait 50", "read failed"})}}) {
            bus().clearTrace();
            bus().failAt(1, fault);
            Report report = before;
            QVERIFY(!device().exchange(report));
            QCOMPARE(device().lastError, text);
            QVERIFY(device().isOpen());
            QCOMPARE(report, before);
            QCOMPARE(busTrace(), trace);
        }
    }

    // A number of bytes says nothing: only what is negative is a failure.
    void transportThatCountsNothingHasNotFailed()
    {
        QVERIFY(device().ensureOpen());
        bus().failAt(1, countsNothing());
        Report report = commandReport(CommandCode::OpenSession, 0, 1);
        QVERIFY(device().exchange(report));
        QVERIFY(isAccepted(report, CommandCode::OpenSession));
        QCOMPARE(device().lastError, QString());
    }

    void staleHandleIsKeptAfterUnplugging()
    {
        QVERIFY(device().refresh());
        bus().unplug();
        Report report = commandReport(CommandCode::OpenSession, 0, 1);
        QVERIFY(!device().exchange(report));
        QVERIFY(!device().lastError.isEmpty());
        QVERIFY(device().isOpen());
        bus().clearTrace();
        QVERIFY(device().refresh());
        QCOMPARE(busTrace(), QStringList());
    }

    void aSuccessKeepsTheLastErrorText()
    {
        QVERIFY(device().ensureOpen());
        bus().failAt(1, sendError("Broken pipe"));
        QVERIFY(!device().openSession(1));
        QVERIFY(device().openSession(1));
        QCOMPARE(device().lastError, QStringLiteral("Broken pipe"));
    }

    void nineSlicesGoOutUnchangedWithPauses()
    {
        announceLayer();
        TransferImage image = countingImage();
        image[574] = markerFirst;
        image[575] = markerSecond;
        QVERIFY(device().sendChunks(image));

        std::vector<std::uint8_t> sent;
        for (const std::vector<std::uint8_t>& report : bus().sentReports())
            sent.insert(sent.end(), report.begin(), report.end());
        QCOMPARE(sent, std::vector<std::uint8_t>(image.begin(), image.end()));

        QCOMPARE(busTrace().size(), 9 * 5);
        for (qsizetype slice = 0; slice < 9; ++slice) {
            const QStringList lines = busTrace().mid(slice * 5, 5);
            QCOMPARE(lines.at(0), QStringLiteral("wait 35"));
            QVERIFY(lines.at(1).startsWith(QStringLiteral("send ")));
            QCOMPARE(lines.at(2), QStringLiteral("wait 50"));
            QVERIFY(lines.at(3).startsWith(QStringLiteral("read ")));
            QCOMPARE(lines.at(4), QStringLiteral("wait 2"));
        }
    }

    void aSliceThatFailsNineTimesStillPasses()
    {
        announceLayer();
        bus().failAt(3, sendError("once more"), 9);
        QVERIFY(device().sendChunks(countingImage()));
        QCOMPARE(bus().count("send failed"), 9);
        QCOMPARE(busSends().size(), 9);
    }

    void aFailedReadSendsTheSliceAgain()
    {
        announceLayer();
        bus().failAt(1, readError("late"), 1);
        QVERIFY(device().sendChunks(countingImage()));
        QCOMPARE(busSends().size(), 10);
        QCOMPARE(busSends().at(0), busSends().at(1));
    }

    void transferStopsAtTheSliceThatFailsTenTimes_data()
    {
        QTest::addColumn<int>("slice");
        for (int slice = 1; slice <= 9; ++slice)
            QTest::addRow("slice-%d", slice) << slice;
    }
    void transferStopsAtTheSliceThatFailsTenTimes()
    {
        QFETCH(int, slice);
        announceLayer();
        bus().failAt(slice, sendError("first nine"), 9);
        bus().failAt(slice + 9, sendError("the tenth"));
        QVERIFY(!device().sendChunks(countingImage()));
        QCOMPARE(device().lastError, QStringLiteral("the tenth"));
        QCOMPARE(busSends().size(), slice - 1);
        QCOMPARE(bus().count("send failed"), 10);
        QCOMPARE(bus().count("wait 2"), slice - 1);
    }

    void transferWithoutHandleFailsWithoutWaiting()
    {
        QVERIFY(!device().sendChunks(countingImage()));
        QCOMPARE(device().lastError, QStringLiteral("not connected"));
        QCOMPARE(busTrace(), QStringList());
    }
};

TAVIK_ISOLATED_TEST_MAIN(DeviceTest)
#include "device_test.moc"
