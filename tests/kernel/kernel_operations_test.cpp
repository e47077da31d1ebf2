// SPDX-License-Identifier: MIT
// The program's own operations on a keyboard that the kernel sees: through hidapi, hidraw, usbhid
// and usbcore, as an ordinary user. Each case runs in a process of its own (see guest-campaign),
// because a process that lost the keyboard does not find it again.

#include "device/device.h"
#include "device/keyboard_identity.h"
#include "model/app_state.h"
#include "pages/colors/color_transfer.h"
#include "pages/keys/layer_write.h"
#include "pages/macros/macro_upload.h"
#include "pages/parts/lighting_command.h"
#include "pages/screen/screen_stream.h"
#include "pages/screen/screen_transfer.h"
#include "tests/kernel/control_socket.h"
#include "tests/kernel/state_text.h"
#include "tests/kernel/usb_descriptors.h"

#include <QCoreApplication>
#include <QDir>
#include <QMutexLocker>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <hidapi.h>

#include <algorithm>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace tavik;

namespace {

using virtual_keyboard::KeyboardState;

constexpr std::uint16_t typingPage = 0x0001;
constexpr std::uint16_t configurationPage = 0xFF13;
constexpr std::uint16_t screenPage = 0xFF68;

// Product id, and usage page of the screen.
const QString usualIdentity = QStringLiteral("8009 ff68");
const QString siblingIdentity = QStringLiteral("800a ff67");

const QString notFoundText = QStringLiteral(
    "Keyboard not found (vendor interface 0xFF13). Plug the USB-C cable (wired mode).");

// The tag by which udev hands a node to the user at the computer.
const QString openToTheUser = QStringLiteral("uaccess");

// An emulated machine is slow; nothing that works comes near this.
constexpr int patienceMs = 15000;

Device& device()
{
    return Device::instance();
}

QString ask(const QString& order)
{
    const auto answer =
        tests::askControlSocket(qgetenv("TAVIK_KEYBOARD").toStdString(), order.toStdString());
    return answer ? QString::fromStdString(*answer) : QStringLiteral("no answer");
}

// The hidraw node of the keyboard's interface with this usage page, empty when there is none.
QByteArray nodeOf(std::uint16_t usagePage)
{
    const std::unique_ptr<hid_device_info, void (*)(hid_device_info*)> list(
        hid_enumerate(keyboardVendorId, 0), hid_free_enumeration);
    for (const hid_device_info* entry = list.get(); entry != nullptr; entry = entry->next) {
        if (entry->usage_page == usagePage)
            return entry->path;
    }
    return {};
}

bool mayOpen(const QByteArray& node)
{
    return !node.isEmpty() && access(node.constData(), R_OK | W_OK) == 0;
}

// The kernel's hidraw nodes, all of which are the keyboard's. Reading them takes no hidapi: that
// crashes when it lists a device which is just going away.
QStringList hidrawNodes()
{
    const QDir known(QStringLiteral("/sys/class/hidraw"));
    QStringList nodes = known.entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    for (QString& node : nodes)
        node.prepend(QStringLiteral("/dev/"));
    return nodes;
}

// True when udev has opened the two interfaces the program uses to this user.
bool isReady()
{
    const QStringList nodes = hidrawNodes();
    const auto open = std::ranges::count_if(
        nodes, [](const QString& node) { return mayOpen(QFile::encodeName(node)); });
    return nodes.size() == tests::usbInterfaceCount && open == 2;
}

QStringList tagsOf(const QByteArray& node)
{
    QProcess udevadm;
    udevadm.start(QStringLiteral("udevadm"),
                  {QStringLiteral("info"), QStringLiteral("--query=property"),
                   QStringLiteral("--value"), QStringLiteral("--property=CURRENT_TAGS"),
                   QString::fromUtf8(node)});
    udevadm.waitForFinished(patienceMs);
    return QString::fromUtf8(udevadm.readAllStandardOutput()).trimmed().split(u':');
}

// Where the keyboard differs from what it should hold, or an empty text.
QString differenceFrom(const KeyboardState& expected)
{
    constexpr qsizetype shown = 32;
    const QStringList held = ask(QStringLiteral("state")).split(u'\n');
    const QStringList wanted = QString::fromStdString(tests::stateText(expected)).split(u'\n');
    for (qsizetype line = 0; line < std::min(held.size(), wanted.size()); ++line) {
        const QString& is = held[line];
        const QString& should = wanted[line];
        if (is == should)
            continue;
        const auto [first, end] = std::mismatch(is.begin(), is.end(), should.begin(), should.end());
        const qsizetype at = first - is.begin();
        return QStringLiteral("%1 at %2: \"%3\" instead of \"%4\"")
            .arg(is.section(u':', 0, 0))
            .arg(at)
            .arg(is.mid(at, shown), should.mid(at, shown));
    }
    return held.size() == wanted.size() ? QString() : QStringLiteral("number of pictures");
}

// Numbers that repeat at no power of two, so that a byte at a wrong place shows.
std::uint8_t patternByte(std::size_t index, std::size_t salt)
{
    return static_cast<std::uint8_t>((index * 7 + index / 64 * 13 + salt * 31) % 251);
}

KeyLayer patternLayer(std::size_t salt)
{
    KeyLayer layer;
    for (std::size_t key = 0; key < layer.size(); ++key) {
        layer[key] = {patternByte(4 * key, salt), patternByte(4 * key + 1, salt),
                      patternByte(4 * key + 2, salt), patternByte(4 * key + 3, salt)};
    }
    return layer;
}

// What the keyboard makes of the layer: the end marker lies on the last two bytes of its last key,
// which keep their factory value.
virtual_keyboard::KeyLayer heldLayer(const KeyLayer& layer)
{
    virtual_keyboard::KeyLayer held{};
    for (std::size_t key = 0; key < layer.size(); ++key)
        held[key] = {layer[key].page, layer[key].p1, layer[key].p2, layer[key].p3};
    held.back()[2] = 0;
    held.back()[3] = 0;
    return held;
}

ColorBank patternBank()
{
    ColorBank bank;
    for (std::size_t index = 0; index < bank.size(); ++index)
        bank[index] = patternByte(index, 3);
    return bank;
}

QRgb patternPixel(int x, int y, int frame)
{
    return qRgb((x * 8 + frame * 24) % 256, (y * 4 + frame * 12) % 256, (x + y + frame) * 8 % 256);
}

QList<ScreenFrame> patternFrames(int count)
{
    QList<ScreenFrame> frames;
    for (int number = 0; number < count; ++number) {
        QImage image(screenSize, QImage::Format_RGB32);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, patternPixel(x, y, number));
        }
        frames += {image, 40 + 4 * number};
    }
    return frames;
}

std::vector<virtual_keyboard::ScreenFrame> heldFrames(int count)
{
    std::vector<virtual_keyboard::ScreenFrame> frames;
    for (int number = 0; number < count; ++number) {
        virtual_keyboard::ScreenFrame frame;
        frame.time = std::chrono::milliseconds(40 + 4 * number);
        for (int y = 0; y < screenSize.height(); ++y) {
            for (int x = 0; x < screenSize.width(); ++x) {
                const QRgb pixel = patternPixel(x, y, number);
                frame.pixels.push_back(static_cast<std::uint16_t>(
                    qRed(pixel) >> 3 << 11 | qGreen(pixel) >> 2 << 5 | qBlue(pixel) >> 3));
            }
        }
        frames.push_back(std::move(frame));
    }
    return frames;
}

ScreenTransferResult send(int frameCount, int slot, QStringList* texts = nullptr)
{
    return sendToScreen(buildScreenStream(patternFrames(frameCount)), slot,
                        [texts](const QString& text) {
                            if (texts != nullptr)
                                texts->append(text);
                        });
}

} // namespace

class KernelOperationsTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QCOMPARE(ask(QStringLiteral("reset")), QStringLiteral("ok"));
        if (ask(QStringLiteral("identity")) != usualIdentity) {
            unplug();
            plug(usualIdentity);
        }
    }

    // Whatever went wrong on the way: the program kept to the rules.
    void cleanup() { QCOMPARE(ask(QStringLiteral("violations")), QString()); }

    void onlyTheTypingNodeStaysClosed()
    {
        const QByteArray typing = nodeOf(typingPage);
        QVERIFY(!typing.isEmpty());
        QVERIFY(!tagsOf(typing).contains(openToTheUser));
        QVERIFY(access(typing.constData(), R_OK) != 0);
        QVERIFY(access(typing.constData(), W_OK) != 0);

        for (const std::uint16_t page : {configurationPage, screenPage}) {
            const QByteArray node = nodeOf(page);
            QVERIFY(tagsOf(node).contains(openToTheUser));
            struct stat status
            {
            };
            QCOMPARE(stat(node.constData(), &status), 0);
            QCOMPARE(status.st_mode & S_IRWXO, 0U);
            QCOMPARE(status.st_gid, 0U);
        }
    }

    // The kernel offers what is typed a second time, as an input device.
    void noInputDeviceIsOpened()
    {
        const QDir inputs(QStringLiteral("/dev/input"));
        const QStringList names =
            inputs.entryList({QStringLiteral("event*")}, QDir::System | QDir::Files);
        QVERIFY(!names.isEmpty());
        for (const QString& name : names)
            QVERIFY2(!mayOpen(QFile::encodeName(inputs.filePath(name))), qPrintable(name));
    }

    void findsTheKeyboard()
    {
        const QSignalSpy announcements(&device(), &Device::connectedChanged);
        QVERIFY2(device().refresh(), qPrintable(device().lastError));
        QVERIFY(device().isOpen());
        QCOMPARE(device().path.toUtf8(), nodeOf(configurationPage));
        QCOMPARE(announcements.size(), 2);
        QCOMPARE(differenceFrom({}), QString());
    }

    void setsLightingAndSleep()
    {
        QVERIFY2(device().refresh(), qPrintable(device().lastError));
        QVERIFY2(sendLightingMode({0x0B, {0x12, 0x34, 0x56}, true, 4, 3, 2}),
                 qPrintable(device().lastError));
        QVERIFY2(sendLightingSleep(3), qPrintable(device().lastError));

        KeyboardState expected;
        expected.lighting = {0x0B, 0x12, 0x34, 0x56, 0, 0, 0, 0, 1, 4, 3, 2, 0, 0, 0xAA, 0x55};
        expected.sleepCode = 3;
        QCOMPARE(differenceFrom(expected), QString());
    }

    void writesBothLayers()
    {
        const KeyLayer base = patternLayer(1);
        const KeyLayer fn = patternLayer(2);
        QVERIFY2(writeLayer(LayerId::Base, base), qPrintable(device().lastError));
        QVERIFY2(writeLayer(LayerId::Fn, fn), qPrintable(device().lastError));

        KeyboardState expected;
        expected.baseLayer = heldLayer(base);
        expected.fnLayer = heldLayer(fn);
        QCOMPARE(differenceFrom(expected), QString());
    }

    void writesAndReadsTheColorBank()
    {
        ColorBank bank = patternBank();
        QVERIFY2(enableCustomColors(2), qPrintable(device().lastError));
        QVERIFY2(writeColorBank(bank), qPrintable(device().lastError));

        KeyboardState expected;
        expected.lighting = {0x80, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0xAA, 0x55};
        // The end marker lies on green and blue of the last key.
        bank[bank.size() - 2] = 0;
        bank[bank.size() - 1] = 0;
        for (std::size_t index = 0; index < bank.size(); ++index)
            expected.colorBank[index / 3][index % 3] = bank[index];
        QCOMPARE(differenceFrom(expected), QString());

        const std::optional<ColorBank> read = readColorBank();
        QVERIFY2(read, qPrintable(device().lastError));
        QVERIFY(*read == bank);
        QCOMPARE(differenceFrom(expected), QString());
    }

    void writesMacros()
    {
        MacroRecord longOne{QStringLiteral("long"), {}};
        for (int step = 0; step < 100; ++step) {
            longOne.actions += {static_cast<std::uint16_t>(step * 100), patternByte(4, 1),
                                macroActionTypes[static_cast<std::size_t>(step % 5)].flags};
        }
        const MacroRecord shortOne{QStringLiteral("short"), {{10, 0x04, 0xB0}, {20, 0x04, 0x30}}};
        const auto image = encodeMacroSpace({longOne, {}, shortOne});
        QVERIFY(image);
        QVERIFY2(writeMacroSpace(*image), qPrintable(device().lastError));

        KeyboardState expected;
        expected.macroSpace.assign(image->begin(), image->end());
        const std::size_t reports = (expected.macroSpace.size() + reportSize - 1) / reportSize;
        expected.macroSpace.resize(reports * reportSize);
        QCOMPARE(differenceFrom(expected), QString());
    }

    void sendsTheLongestAnimation()
    {
        constexpr int frameCount = 30;
        QStringList texts;
        const ScreenTransferResult result = send(frameCount, 3, &texts);
        QVERIFY2(result.ok, qPrintable(result.error));
        QCOMPARE(texts.first(), QStringLiteral("TFT interface FF68 opened…"));
        QCOMPARE(texts.last(), QStringLiteral("Sending chunk 241/241…"));
        QCOMPARE(texts.size(), 62);

        KeyboardState expected;
        expected.screenSlots[2] = heldFrames(frameCount);
        QCOMPARE(differenceFrom(expected), QString());
    }

    void servesTheSiblingToo()
    {
        unplug();
        plug(siblingIdentity);
        QVERIFY2(writeLayer(LayerId::Fn, patternLayer(5)), qPrintable(device().lastError));
        QStringList texts;
        const ScreenTransferResult result = send(1, 1, &texts);
        QVERIFY2(result.ok, qPrintable(result.error));
        QCOMPARE(texts.first(), QStringLiteral("TFT interface FF67 opened…"));
        QVERIFY(!mayOpen(nodeOf(typingPage)));

        KeyboardState expected;
        expected.fnLayer = heldLayer(patternLayer(5));
        expected.screenSlots[0] = heldFrames(1);
        QCOMPARE(differenceFrom(expected), QString());
    }

    void repeatsASliceThatStalled_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::newRow("send") << QStringLiteral("fault stall-send 5");
        QTest::newRow("read") << QStringLiteral("fault stall-read 5");
    }

    void repeatsASliceThatStalled()
    {
        QFETCH(QString, fault);
        QCOMPARE(ask(fault), QStringLiteral("ok"));
        QVERIFY2(writeLayer(LayerId::Base, patternLayer(1)), qPrintable(device().lastError));
        QVERIFY(!device().lastError.isEmpty()); // of the attempt that failed

        KeyboardState expected;
        expected.baseLayer = heldLayer(patternLayer(1));
        QCOMPARE(differenceFrom(expected), QString());
    }

    void endsWithATextAfterAStalledHeader()
    {
        QCOMPARE(ask(QStringLiteral("fault stall-send 2")), QStringLiteral("ok"));
        QVERIFY(!writeLayer(LayerId::Base, patternLayer(1)));
        QVERIFY(!device().lastError.isEmpty());
        QVERIFY2(!device().lastError.contains(u'%'), qPrintable(device().lastError));
        QCOMPARE(differenceFrom({}), QString());

        QVERIFY2(writeLayer(LayerId::Fn, patternLayer(2)), qPrintable(device().lastError));
        KeyboardState expected;
        expected.fnLayer = heldLayer(patternLayer(2));
        QCOMPARE(differenceFrom(expected), QString());
    }

    void missesAnAcknowledgement()
    {
        QCOMPARE(ask(QStringLiteral("fault lose-ack 5")), QStringLiteral("ok"));
        const ScreenTransferResult result = send(1, 2);
        QVERIFY(!result.ok);
        QCOMPARE(result.error, QStringLiteral("no ack for chunk 5/9"));
        QCOMPARE(differenceFrom({}), QString());

        const ScreenTransferResult again = send(1, 2);
        QVERIFY2(again.ok, qPrintable(again.error));
        KeyboardState expected;
        expected.screenSlots[1] = heldFrames(1);
        QCOMPARE(differenceFrom(expected), QString());
    }

    void isUnpluggedWhileABlockTravels()
    {
        QCOMPARE(ask(QStringLiteral("fault unplug-block 5")), QStringLiteral("ok"));
        const ScreenTransferResult result = send(1, 2);
        QVERIFY(!result.ok);
        QCOMPARE(result.error, QStringLiteral("chunk 5/9 write failed"));
        QVERIFY(device().isOpen()); // the handle is stale and stays
        QCOMPARE(differenceFrom({}), QString());
    }

    void isUnpluggedBeforeAnAcknowledgement()
    {
        QCOMPARE(ask(QStringLiteral("fault unplug-ack 5")), QStringLiteral("ok"));
        const ScreenTransferResult result = send(1, 2);
        QVERIFY(!result.ok);
        QCOMPARE(result.error, QStringLiteral("no ack for chunk 5/9"));
        QCOMPARE(differenceFrom({}), QString());
    }

    void isUnpluggedWhileALayerTravels()
    {
        QCOMPARE(ask(QStringLiteral("fault unplug-send 6")), QStringLiteral("ok"));
        QVERIFY(!writeLayer(LayerId::Base, patternLayer(1)));
        QVERIFY(!device().lastError.isEmpty());
        QCOMPARE(differenceFrom({}), QString());
    }

    void isFoundAgainByANewProcessOnly()
    {
        QVERIFY2(device().refresh(), qPrintable(device().lastError));
        unplug();
        QVERIFY(!writeLayer(LayerId::Base, patternLayer(1)));
        QVERIFY(!device().lastError.isEmpty());

        plug(usualIdentity);
        QVERIFY(device().refresh()); // a stale handle counts as a connection
        QVERIFY(!writeLayer(LayerId::Base, patternLayer(1)));
        QVERIFY(!device().lastError.isEmpty());
        QCOMPARE(differenceFrom({}), QString());

        QProcess another;
        another.setProcessChannelMode(QProcess::ForwardedChannels);
        another.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("-silent"), QStringLiteral("setsLightingAndSleep")});
        QVERIFY(another.waitForFinished(patienceMs));
        QCOMPARE(another.exitStatus(), QProcess::NormalExit);
        QCOMPARE(another.exitCode(), 0);
    }

    void asksForTheCableWhenThereIsNoKeyboard()
    {
        unplug();
        QVERIFY(!device().refresh());
        QCOMPARE(device().lastError, notFoundText);
        QCOMPARE(send(1, 1).error, QStringLiteral("TFT interface (0xFF68/0xFF67) not found"));
    }

private:
    static void plug(const QString& identity)
    {
        // Asked again and again: the port of the one before is free a moment after its nodes.
        QTRY_COMPARE_WITH_TIMEOUT(ask(QStringLiteral("plug ") + identity), QStringLiteral("ok"),
                                  patienceMs);
        QTRY_VERIFY_WITH_TIMEOUT(isReady(), patienceMs);
    }

    // Returns when the kernel has taken the nodes away.
    static void unplug()
    {
        QCOMPARE(ask(QStringLiteral("unplug")), QStringLiteral("ok"));
        QTRY_COMPARE_WITH_TIMEOUT(hidrawNodes(), QStringList(), patienceMs);
    }
};

QTEST_GUILESS_MAIN(KernelOperationsTest)
#include "kernel_operations_test.moc"
