// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "device/rehearsal.h"
#include "files/process_lock.h"
#include "pages/keys/layer_write.h"
#include "pages/screen/screen_transfer.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"

#include <QRegularExpression>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

// Sequences whose reports are looked at instead of being sent, and sequences that are broken off.
class RehearsalTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        rehearse({});
        Device::forgetInterruption();
    }

    void showsWhatWouldBeSent()
    {
        std::vector<std::vector<std::uint8_t>> shown;
        rehearse([&](std::span<const std::uint8_t> bytes) {
            shown.emplace_back(bytes.begin(), bytes.end());
        });
        ProcessLock other(runtimeFilePath(QStringLiteral("tavik-center-wire.lock")));
        QCOMPARE(other.attempt(), ProcessLock::Attempt::Taken); // nobody has to be waited for

        QVERIFY(Device::instance().isOpen());
        QVERIFY(writeLayer(LayerId::Fn, {}));
        QCOMPARE(busTrace().filter(QRegularExpression("^(?!wait)")), QStringList());

        rehearse({});
        other.release();
        QVERIFY(!Device::instance().isOpen());
        QVERIFY(writeLayer(LayerId::Fn, {}));
        QCOMPARE(shown, bus().sentReports());
    }

    void showsTheBlocksOfTheScreen()
    {
        const ScreenStream stream(2 * screenBlockSize, 7);
        QList<std::size_t> sizes;
        rehearse([&](std::span<const std::uint8_t> bytes) { sizes += bytes.size(); });
        QVERIFY(sendToScreen(stream, 2, [](const QString&) {}).ok);
        QCOMPARE(sizes, (QList<std::size_t>{64, 64, screenBlockSize, screenBlockSize, 64}));
    }

    void interruptionLeavesOnlyTheFinish()
    {
        bus().setListener([] {
            if (busSends().size() == 4)
                Device::interrupt();
        });
        QVERIFY(!writeLayer(LayerId::Base, {}));
        QCOMPARE(busSends().size(), 5);
        QCOMPARE(busSends().constLast(), QStringLiteral("04 f0 00 00 00 00 00 00 01"));
        QCOMPARE(Device::instance().lastError, QStringLiteral("interrupted"));
        bus().setListener({});
        Device::forgetInterruption();
        QVERIFY(writeLayer(LayerId::Base, {}));
        QCOMPARE(takeBusViolations(), QStringList("FINISH without COMMIT"));
    }

    // A data report may look like much, but it is none.
    void interruptionHoldsBackDataThatLooksLikeAFinish()
    {
        QVERIFY(Device::instance().refresh());
        Device::interrupt();
        Report data{0x04, 0xF0};
        data[20] = 1;
        QVERIFY(!Device::instance().sendSlice(data));
        QCOMPARE(busSends(), QStringList());
    }

    void interruptionEndsTheWaitForAnotherProcess()
    {
        ProcessLock other(runtimeFilePath(QStringLiteral("tavik-center-wire.lock")));
        QCOMPARE(other.attempt(), ProcessLock::Attempt::Taken);
        bus().setListener([] {
            if (bus().count("wait 50") == 3)
                Device::interrupt();
        });
        QVERIFY(!writeLayer(LayerId::Base, {}));
        bus().setListener({});
        QCOMPARE(bus().count("wait 50"), 3);
        QCOMPARE(Device::instance().lastError, QStringLiteral("interrupted"));
    }

    void interruptionEndsTheTransferOfPictures()
    {
        const ScreenStream stream(9 * screenBlockSize, 7);
        bus().setListener([] {
            if (bus().sentBlocks().size() == 3 * screenBlockSize)
                Device::interrupt();
        });
        const ScreenTransferResult result = sendToScreen(stream, 1, [](const QString&) {});
        bus().setListener({});
        QVERIFY(!result.ok);
        QCOMPARE(result.error, QStringLiteral("interrupted"));
        QCOMPARE(bus().sentBlocks().size(), 3 * screenBlockSize);
        QCOMPARE(busSends().constLast(), QStringLiteral("04 f0"));
        bus().clearViolations();
    }
};

TAVIK_ISOLATED_TEST_MAIN(RehearsalTest)
#include "rehearsal_test.moc"
