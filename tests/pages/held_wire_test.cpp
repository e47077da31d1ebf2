// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "files/process_lock.h"
#include "model/macro_record.h"
#include "pages/colors/color_transfer.h"
#include "pages/keys/layer_write.h"
#include "pages/macros/macro_upload.h"
#include "pages/parts/lighting_command.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_transfer.h"
#include "tests/support/bus_view.h"
#include "tests/support/isolated_main.h"

#include <QTest>

#include <functional>

using namespace tavik;
using namespace tavik::tests;

using Operation = std::function<bool()>;
Q_DECLARE_METATYPE(Operation)

namespace {

bool sendPicture()
{
    const ScreenStream stream = buildScreenStream({{QImage(128, 128, QImage::Format_RGB32), 100}});
    return sendToScreen(stream, 1, [](const QString&) {}).ok;
}

// The events of the trace at which another process would have had the wire.
QStringList eventsWithAFreeWire(const Operation& operation, int* events)
{
    ProcessLock other(runtimeFilePath(QStringLiteral("tavik-center-wire.lock")));
    QStringList freeAt;
    bus().setListener([&] {
        const QString event = busTrace().constLast();
        const bool isTraffic =
            event.startsWith(QLatin1String("send")) || event.startsWith(QLatin1String("read")) ||
            event.startsWith(QLatin1String("block")) || event.startsWith(QLatin1String("ack")) ||
            event.startsWith(QLatin1String("wait"));
        *events += isTraffic ? 1 : 0;
        if (other.attempt() != ProcessLock::Attempt::HeldByAnother && isTraffic)
            freeAt += event;
        other.release();
    });
    if (!operation())
        freeAt += QStringLiteral("the operation failed: ") + Device::instance().lastError;
    bus().setListener({});
    if (other.attempt() != ProcessLock::Attempt::Taken)
        freeAt += QStringLiteral("never again after the operation");
    return freeAt;
}

} // namespace

// A whole sequence keeps the other processes off the wire, also where it lets the threads of its
// own process in.
class HeldWireTest : public QObject
{
    Q_OBJECT

private slots:
    void sequenceKeepsTheWireToItsEnd_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::newRow("lighting") << Operation([] { return sendLightingMode({}); });
        QTest::newRow("sleep") << Operation([] { return sendLightingSleep(1); });
        QTest::newRow("custom colors") << Operation([] { return enableCustomColors(5); });
        QTest::newRow("base layer") << Operation([] { return writeLayer(LayerId::Base, {}); });
        QTest::newRow("Fn layer") << Operation([] { return writeLayer(LayerId::Fn, {}); });
        QTest::newRow("bank write") << Operation([] { return writeColorBank({}); });
        QTest::newRow("bank read") << Operation([] { return readColorBank().has_value(); });
        QTest::newRow("macros") << Operation([] {
            return writeMacroSpace(*encodeMacroSpace({{QStringLiteral("A"), {{20, 4, 0xB0}}}}));
        });
        QTest::newRow("screen") << Operation(sendPicture);
    }
    void sequenceKeepsTheWireToItsEnd()
    {
        QFETCH(Operation, operation);
        QVERIFY(Device::instance().refresh());
        int events = 0;
        QCOMPARE(eventsWithAFreeWire(operation, &events), QStringList());
        QVERIFY2(events >= 16, qPrintable(QString::number(events)));
    }
};

TAVIK_ISOLATED_TEST_MAIN(HeldWireTest)
#include "held_wire_test.moc"
