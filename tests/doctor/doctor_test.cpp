// SPDX-License-Identifier: MIT
#include "tests/support/files.h"
#include "tests/system/emulated_keyboard.h"
#include "tests/system/report_descriptors.h"
#include "tests/system/testbed_process.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace tavik::tests;

namespace {

constexpr std::size_t configurationInterface = 1;
constexpr std::size_t screenInterface = 2;

struct Outcome
{
    int exitCode = -1;
    QString text;
};

// The command as an ordinary user runs it: root may open everything.
Outcome runDoctor(const QStringList& arguments = {}, const QString& program = {},
                  AsUser user = AsUser::Ordinary)
{
    TestbedProcess process(user);
    const QString doctor = program.isEmpty() ? QStringLiteral(TAVIK_DOCTOR_ON_TEST_RULES) : program;
    return process.run(doctor, arguments) ? Outcome{process.exitCode(), process.output()}
                                          : Outcome{};
}

EmulatedDevice onlyTyping(std::uint16_t productId)
{
    return {productId, {{typingDescriptor()}}};
}

// As if udev had never applied the rule.
EmulatedDevice unmarked(EmulatedDevice device)
{
    for (EmulatedInterface& interface : device.interfaces)
        interface.markedByRule = false;
    return device;
}

void permitBoth(EmulatedKeyboard& keyboard)
{
    keyboard.setPermitted(configurationInterface, true);
    keyboard.setPermitted(screenInterface, true);
}

// The words stand somewhere in the text.
void checkVerdict(const Outcome& outcome, int exitCode, const QString& words)
{
    QCOMPARE(outcome.exitCode, exitCode);
    QVERIFY2(outcome.text.contains(words), qPrintable(outcome.text));
}

} // namespace

// Every case with the command itself on the real hidapi.
class DoctorTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        rules = std::make_unique<QTemporaryDir>();
        QFile::setPermissions(rules->path(), QFile::Permissions(0x7755));
        QVERIFY(QDir(rules->path()).mkdir("empty")); // searched first
        qputenv("TAVIK_TEST_RULES", rules->path().toLocal8Bit());
    }

    void cleanup() { qunsetenv("TAVIK_TEST_RULES"); }

    void notOnUsb()
    {
        EmulatedKeyboard keyboard(EmulatedDevice{});
        const Outcome outcome = runDoctor();
        QCOMPARE(outcome.exitCode, 3);
        QCOMPARE(outcome.text,
                 QStringLiteral("The keyboard is not on USB. Plug in its USB-C cable and "
                                "switch it to wired mode.\n"));
    }

    void anotherDeviceOfTheMaker()
    {
        EmulatedKeyboard keyboard(EmulatedDevice{0x7016, {{mediaDescriptor()}}});
        QCOMPARE(runDoctor().exitCode, 3);
    }

    void wirelessMode()
    {
        EmulatedKeyboard keyboard(onlyTyping(0x800A));
        const Outcome outcome = runDoctor();
        QCOMPARE(outcome.exitCode, 4);
        QVERIFY2(outcome.text.startsWith(
                     "A keyboard is there (0c45:800a), but without a configuration interface: "),
                 qPrintable(outcome.text));
    }

    void screenAlone()
    {
        EmulatedDevice device = wholeKeyboard();
        device.interfaces.erase(device.interfaces.begin() + configurationInterface);
        EmulatedKeyboard keyboard(device);
        keyboard.setPermitted(1, true);

        const Outcome outcome = runDoctor();

        QCOMPARE(outcome.exitCode, 4);
        QCOMPARE(outcome.text,
                 QStringLiteral("Only the screen of the keyboard (0c45:8009) is there, over "
                                "/dev/hidraw1: its configuration interface is missing. Unplug the "
                                "keyboard and plug it in again.\n"));
    }

    void anotherModel()
    {
        EmulatedKeyboard keyboard(onlyTyping(0x7016));
        checkVerdict(runDoctor(), 4, "(0c45:7016)");
    }

    void ruleMissing()
    {
        EmulatedKeyboard keyboard(unmarked(wholeKeyboard()));
        keyboard.setPermitted(configurationInterface, false);

        const Outcome outcome = runDoctor();

        QCOMPARE(outcome.exitCode, 5);
        QCOMPARE(
            outcome.text,
            QStringLiteral("The keyboard is there, but you may not use it (/dev/hidraw1): the "
                           "udev rule 60-tavik-center.rules is missing. Install the tavik-center "
                           "package, then unplug the keyboard and plug it in again.\n"));
    }

    void ruleNotApplied()
    {
        installRule();
        EmulatedKeyboard keyboard(unmarked(wholeKeyboard()));
        keyboard.setPermitted(configurationInterface, false);
        checkVerdict(runDoctor(), 6, "installed but not applied yet");
    }

    void noSeat()
    {
        installRule();
        EmulatedKeyboard keyboard;
        keyboard.setPermitted(configurationInterface, false);
        checkVerdict(runDoctor(), 7, "this session is not there");
    }

    void sharedWithKeys()
    {
        installRule();
        EmulatedKeyboard keyboard(
            EmulatedDevice{0x8009, {{joined(featureDescriptor(0xFF13), typingDescriptor())}}});
        keyboard.setPermitted(0, false);
        checkVerdict(runDoctor(), 8, "also carries the keys");
    }

    // What the page of another collection begins, and not what an ordinary one does, is the
    // maker's own.
    void keysBeginBelowTheVendorPages_data()
    {
        QTest::addColumn<quint16>("page");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("first vendor page") << quint16(0xFF00) << 6;
        QTest::newRow("last other page") << quint16(0xFEFF) << 8;
    }
    void keysBeginBelowTheVendorPages()
    {
        QFETCH(const quint16, page);
        QFETCH(const int, exitCode);
        installRule();
        EmulatedKeyboard keyboard(
            EmulatedDevice{0x8009, {{joined(featureDescriptor(0xFF13), featureDescriptor(page))}}});
        keyboard.setPermitted(0, false);
        QCOMPARE(runDoctor().exitCode, exitCode);
    }

    void rootIsToldToAskAsTheUser()
    {
        if (geteuid() != 0)
            QSKIP("Only root can run it as root.");
        EmulatedKeyboard keyboard;
        permitBoth(keyboard);
        checkVerdict(runDoctor({}, {}, AsUser::Same), 0,
                     "(Seen by root, who may open everything: run this as yourself.)");
    }

    void inUse()
    {
        EmulatedKeyboard keyboard;
        permitBoth(keyboard);
        TestbedProcess other(AsUser::Ordinary);
        QVERIFY(
            other.start(QStringLiteral("/bin/sh"),
                        {QStringLiteral("-c"), QStringLiteral("exec 3<>/dev/hidraw1; read line")}));
        QVERIFY(keyboard.waitUntilOpened(configurationInterface, std::chrono::seconds(20)));

        const Outcome outcome = runDoctor();

        QCOMPARE(outcome.exitCode, 9);
        QCOMPARE(outcome.text,
                 QStringLiteral("The keyboard is there, but in use: sh (process %1) holds "
                                "/dev/hidraw1. Close all but one program that talks to the "
                                "keyboard.\n")
                     .arg(other.processId()));
        other.end();
        QCOMPARE(runDoctor().exitCode, 0);
    }

    // Our own programs take turns.
    void heldByOurOwnWindow()
    {
        EmulatedKeyboard keyboard;
        permitBoth(keyboard);
        TestbedProcess window(AsUser::Ordinary);
        QVERIFY(window.start(QStringLiteral("/bin/sh"),
                             {QStringLiteral("-c"),
                              QStringLiteral("echo tavik-center >/proc/$$/comm; "
                                             "exec 3<>/dev/hidraw2 4<>/dev/hidraw1; read line")}));
        QVERIFY(keyboard.waitUntilOpened(configurationInterface, std::chrono::seconds(20)));

        checkVerdict(runDoctor(), 0, "over /dev/hidraw1, and its screen over /dev/hidraw2.");
    }

    void oneOfTwoKeyboardsIsFree()
    {
        EmulatedDevice device = wholeKeyboard();
        device.interfaces.push_back({featureDescriptor(0xFF13), true});
        EmulatedKeyboard keyboard(device);
        permitBoth(keyboard);
        keyboard.setPermitted(3, true);
        TestbedProcess other(AsUser::Ordinary);
        QVERIFY(
            other.start(QStringLiteral("/bin/sh"),
                        {QStringLiteral("-c"), QStringLiteral("exec 3<>/dev/hidraw1; read line")}));
        QVERIFY(keyboard.waitUntilOpened(configurationInterface, std::chrono::seconds(20)));

        const Outcome outcome = runDoctor();
        checkVerdict(outcome, 0, "over /dev/hidraw3,");
        QVERIFY(
            outcome.text.contains("takes the first, /dev/hidraw1, which another program holds"));
        keyboard.setPermitted(3, false);
        checkVerdict(runDoctor(), 9, "holds /dev/hidraw1");
    }

    void ready_data()
    {
        QTest::addColumn<quint16>("productId");
        QTest::addColumn<quint16>("screenPage");
        QTest::addColumn<QString>("id");
        QTest::newRow("first ids")
            << quint16(0x8009) << quint16(0xFF68) << QStringLiteral("0c45:8009");
        QTest::newRow("other ids")
            << quint16(0x800A) << quint16(0xFF67) << QStringLiteral("0c45:800a");
    }
    void ready()
    {
        QFETCH(const quint16, productId);
        QFETCH(const quint16, screenPage);
        QFETCH(const QString, id);
        EmulatedKeyboard keyboard(wholeKeyboard(productId, screenPage));
        permitBoth(keyboard);

        const Outcome outcome = runDoctor();

        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.text,
                 QStringLiteral("Everything is fine: the keyboard (%1) can be configured "
                                "over /dev/hidraw1, and its screen over /dev/hidraw2.\n")
                     .arg(id));
    }

    void readyWithoutScreen()
    {
        EmulatedDevice device = wholeKeyboard();
        device.interfaces.pop_back();
        EmulatedKeyboard keyboard(device);
        keyboard.setPermitted(configurationInterface, true);
        checkVerdict(runDoctor(), 1, "screen interface is missing");
    }

    void refusedScreen()
    {
        EmulatedKeyboard keyboard;
        keyboard.setPermitted(configurationInterface, true);
        keyboard.setPermitted(screenInterface, false);
        checkVerdict(runDoctor(), 7, "(/dev/hidraw2)");
    }

    // The program passes over an interface that does not open, too.
    void secondConfigurationOpens()
    {
        EmulatedDevice device = wholeKeyboard();
        device.interfaces.push_back({featureDescriptor(0xFF13), true});
        EmulatedKeyboard keyboard(device);
        keyboard.setPermitted(configurationInterface, false);
        keyboard.setPermitted(screenInterface, true);
        keyboard.setPermitted(3, true);
        checkVerdict(runDoctor(), 0, "over /dev/hidraw3,");
    }

    void sendsNothing()
    {
        EmulatedKeyboard keyboard;
        permitBoth(keyboard);

        QCOMPARE(runDoctor().exitCode, 0);

        QVERIFY(keyboard.waitUntilOpened(configurationInterface, std::chrono::seconds(20)));
        QCOMPARE(keyboard.transfers(), 0);
        QVERIFY(!keyboard.waitUntilOpened(0, std::chrono::milliseconds(0)));
    }

    // The command as it is installed reads udev's own directories and comes to the same verdict.
    void theInstalledProgramItself()
    {
        EmulatedKeyboard keyboard;
        permitBoth(keyboard);
        checkVerdict(runDoctor({}, QStringLiteral(TAVIK_DOCTOR)), 0, "Everything is fine");
    }

    void options()
    {
        EmulatedKeyboard keyboard(EmulatedDevice{});
        const Outcome help = runDoctor({QStringLiteral("--help")});
        QCOMPARE(help.exitCode, 0);
        for (int code = 0; code <= 11; ++code) {
            const QRegularExpression line(QStringLiteral("^ +%1  \\S").arg(code),
                                          QRegularExpression::MultilineOption);
            QVERIFY2(help.text.contains(line), qPrintable(QString::number(code)));
        }
        QCOMPARE(runDoctor({QStringLiteral("--version")}).text,
                 QStringLiteral("tavik-center-doctor " TAVIK_VERSION "\n"));
        QCOMPARE(runDoctor({QStringLiteral("--anything")}).exitCode, 2);
        QCOMPARE(runDoctor({QStringLiteral("--help"), QStringLiteral("me")}).exitCode, 2);
    }

private:
    std::unique_ptr<QTemporaryDir> rules;
    void installRule() { writeFile(rules->filePath("60-tavik-center.rules"), {}); }
};

QTEST_GUILESS_MAIN(DoctorTest)
#include "doctor_test.moc"
