#include "tests/system/emulated_keyboard.h"
#include "tests/system/report_descriptors.h"
#include "tests/system/testbed_process.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

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
Outcome runDoctor(const QStringList& arguments = {}, const QString& program = {})
{
    TestbedProcess process(AsUser::Ordinary);
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
    void init();
    void cleanup();

    void notOnUsb();
    void anotherDeviceOfTheMaker();
    void wirelessMode();
    void anotherModel();
    void ruleMissing();
    void ruleNotApplied();
    void noSeat();
    void sharedWithKeys();
    void inUse();
    void ready_data();
    void ready();
    void readyWithoutScreen();
    void refusedScreen();
    void secondConfigurationOpens();
    void sendsNothing();
    void theInstalledProgramItself();
    void options();

private:
    std::unique_ptr<QTemporaryDir> rules;
    void installRule();
};

void DoctorTest::init()
{
    rules = std::make_unique<QTemporaryDir>();
    QFile::setPermissions(rules->path(), QFile::Permissions(0x7755));
    qputenv("TAVIK_TEST_RULES", rules->path().toLocal8Bit());
}

void DoctorTest::cleanup()
{
    qunsetenv("TAVIK_TEST_RULES");
}

void DoctorTest::installRule()
{
    QFile rule(rules->filePath(QStringLiteral("60-tavik-center.rules")));
    QVERIFY(rule.open(QIODevice::WriteOnly));
}

void DoctorTest::notOnUsb()
{
    EmulatedKeyboard keyboard(EmulatedDevice{});
    const Outcome outcome = runDoctor();
    QCOMPARE(outcome.exitCode, 3);
    QCOMPARE(outcome.text, QStringLiteral("The keyboard is not on USB. Plug in its USB-C cable and "
                                          "switch it to wired mode.\n"));
}

void DoctorTest::anotherDeviceOfTheMaker()
{
    EmulatedKeyboard keyboard(EmulatedDevice{0x7016, {{mediaDescriptor()}}});
    QCOMPARE(runDoctor().exitCode, 3);
}

void DoctorTest::wirelessMode()
{
    EmulatedKeyboard keyboard(onlyTyping(0x800A));
    const Outcome outcome = runDoctor();
    QCOMPARE(outcome.exitCode, 4);
    QVERIFY2(outcome.text.startsWith(
                 "A keyboard is there (0c45:800a), but without a configuration interface: "),
             qPrintable(outcome.text));
}

void DoctorTest::anotherModel()
{
    EmulatedKeyboard keyboard(onlyTyping(0x7016));
    checkVerdict(runDoctor(), 4, "(0c45:7016)");
}

void DoctorTest::ruleMissing()
{
    EmulatedKeyboard keyboard(unmarked(wholeKeyboard()));
    keyboard.setPermitted(configurationInterface, false);

    const Outcome outcome = runDoctor();

    QCOMPARE(outcome.exitCode, 5);
    QCOMPARE(outcome.text,
             QStringLiteral("The keyboard is there, but you may not use it (/dev/hidraw1): the "
                            "udev rule 60-tavik-center.rules is missing. Install the tavik-center "
                            "package, then unplug the keyboard and plug it in again.\n"));
}

void DoctorTest::ruleNotApplied()
{
    installRule();
    EmulatedKeyboard keyboard(unmarked(wholeKeyboard()));
    keyboard.setPermitted(configurationInterface, false);
    checkVerdict(runDoctor(), 6, "installed but not applied yet");
}

void DoctorTest::noSeat()
{
    installRule();
    EmulatedKeyboard keyboard;
    keyboard.setPermitted(configurationInterface, false);
    checkVerdict(runDoctor(), 7, "this session is not there");
}

void DoctorTest::sharedWithKeys()
{
    installRule();
    EmulatedKeyboard keyboard(
        EmulatedDevice{0x8009, {{joined(featureDescriptor(0xFF13), typingDescriptor())}}});
    keyboard.setPermitted(0, false);
    checkVerdict(runDoctor(), 8, "also carries the keys");
}

void DoctorTest::inUse()
{
    EmulatedKeyboard keyboard;
    permitBoth(keyboard);
    TestbedProcess other(AsUser::Ordinary);
    QVERIFY(other.start(QStringLiteral("/bin/sh"),
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

void DoctorTest::ready_data()
{
    QTest::addColumn<quint16>("productId");
    QTest::addColumn<quint16>("screenPage");
    QTest::addColumn<QString>("id");
    QTest::newRow("first ids") << quint16(0x8009) << quint16(0xFF68) << QStringLiteral("0c45:8009");
    QTest::newRow("other ids") << quint16(0x800A) << quint16(0xFF67) << QStringLiteral("0c45:800a");
}

void DoctorTest::ready()
{
    QFETCH(const quint16, productId);
    QFETCH(const quint16, screenPage);
    QFETCH(const QString, id);
    EmulatedKeyboard keyboard(wholeKeyboard(productId, screenPage));
    permitBoth(keyboard);

    const Outcome outcome = runDoctor();

    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.text, QStringLiteral("Everything is fine: the keyboard (%1) can be configured "
                                          "over /dev/hidraw1, and its screen over /dev/hidraw2.\n")
                               .arg(id));
}

void DoctorTest::readyWithoutScreen()
{
    EmulatedDevice device = wholeKeyboard();
    device.interfaces.pop_back();
    EmulatedKeyboard keyboard(device);
    keyboard.setPermitted(configurationInterface, true);
    checkVerdict(runDoctor(), 1, "screen interface is missing");
}

void DoctorTest::refusedScreen()
{
    EmulatedKeyboard keyboard;
    keyboard.setPermitted(configurationInterface, true);
    keyboard.setPermitted(screenInterface, false);
    checkVerdict(runDoctor(), 7, "(/dev/hidraw2)");
}

// The program passes over an interface that does not open, too.
void DoctorTest::secondConfigurationOpens()
{
    EmulatedDevice device = wholeKeyboard();
    device.interfaces.push_back({featureDescriptor(0xFF13), true});
    EmulatedKeyboard keyboard(device);
    keyboard.setPermitted(configurationInterface, false);
    keyboard.setPermitted(screenInterface, true);
    keyboard.setPermitted(3, true);
    checkVerdict(runDoctor(), 0, "over /dev/hidraw3,");
}

void DoctorTest::sendsNothing()
{
    EmulatedKeyboard keyboard;
    permitBoth(keyboard);

    QCOMPARE(runDoctor().exitCode, 0);

    QVERIFY(keyboard.waitUntilOpened(configurationInterface, std::chrono::seconds(20)));
    QCOMPARE(keyboard.transfers(), 0);
    QVERIFY(!keyboard.waitUntilOpened(0, std::chrono::milliseconds(0)));
}

// The command as it is installed reads udev's own directories and comes to the same verdict.
void DoctorTest::theInstalledProgramItself()
{
    EmulatedKeyboard keyboard;
    permitBoth(keyboard);
    checkVerdict(runDoctor({}, QStringLiteral(TAVIK_DOCTOR)), 0, "Everything is fine");
}

void DoctorTest::options()
{
    EmulatedKeyboard keyboard(EmulatedDevice{});
    const Outcome help = runDoctor({QStringLiteral("--help")});
    QCOMPARE(help.exitCode, 0);
    for (int code = 0; code <= 10; ++code) {
        const QRegularExpression line(QStringLiteral("^ +%1  \\S").arg(code),
                                      QRegularExpression::MultilineOption);
        QVERIFY2(help.text.contains(line), qPrintable(QString::number(code)));
    }
    QCOMPARE(runDoctor({QStringLiteral("--version")}).text,
             QStringLiteral("tavik-center-doctor " TAVIK_VERSION "\n"));
    QCOMPARE(runDoctor({QStringLiteral("--anything")}).exitCode, 2);
    QCOMPARE(runDoctor({QStringLiteral("--help"), QStringLiteral("me")}).exitCode, 2);
}

QTEST_GUILESS_MAIN(DoctorTest)
#include "doctor_test.moc"
