// SPDX-License-Identifier: MIT
#include "doctor/diagnosis.h"
#include "doctor/examination.h"

#include <QTest>

#include <cerrno>

using namespace tavik::doctor;

namespace {

Node openNode(const char* path)
{
    Node node;
    node.path = path;
    return node;
}

Findings readyFindings()
{
    Findings findings;
    findings.ruleInstalled = true;
    findings.keyboard = DeviceId{0x0C45, 0x8009};
    findings.configuration = openNode("/dev/hidraw1");
    findings.screen = openNode("/dev/hidraw2");
    return findings;
}

} // namespace

// The cases that a machine cannot be brought into at will; the others are tested with the command.
class DiagnosisTest : public QObject
{
    Q_OBJECT

private slots:
    // udev(7): the administrator's, those of this boot, local software's, the system's. A system
    // whose /lib is no link to /usr/lib has both.
    void rulesAreSoughtWhereUdevReadsThem()
    {
        const std::vector<std::filesystem::path> documented{
            "/etc/udev/rules.d", "/run/udev/rules.d", "/usr/local/lib/udev/rules.d",
            "/usr/lib/udev/rules.d", "/lib/udev/rules.d"};
        QVERIFY(udevRuleDirectories() == documented);
    }

    void ofTwoKeyboardsTheFirstIsNamedWithoutAScreenToo()
    {
        Findings findings = readyFindings();
        findings.configuration->passedOver = "/dev/hidraw0";
        const std::string whole = explain(findings);
        findings.screen.reset();
        for (const std::string& line : {whole, explain(findings)})
            QVERIFY(line.ends_with("again. But of two keyboards the program takes the first, "
                                   "/dev/hidraw0, which another program holds, too: close that, "
                                   "or unplug that keyboard.") ||
                    line.find("/dev/hidraw2. But of two") != std::string::npos);
    }

    void hidapiFails()
    {
        Findings findings;
        findings.hidapiWorks = false;

        QCOMPARE(verdictOf(findings), Verdict::Unknown);
        QCOMPARE(explain(findings),
                 std::string("The list of USB devices could not be read (hid_init failed)."));
    }

    void nodeVanishes()
    {
        Findings findings = readyFindings();
        findings.screen->error = ENODEV;

        QCOMPARE(verdictOf(findings), Verdict::Unknown);
        QCOMPARE(
            explain(findings),
            std::string("The keyboard is there, but /dev/hidraw2 does not open: No such device. "
                        "Unplug the keyboard and plug it in again."));
    }

    void nodeIsBusy()
    {
        Findings findings = readyFindings();
        findings.configuration->error = EBUSY;

        QCOMPARE(verdictOf(findings), Verdict::InUse);
        QCOMPARE(
            explain(findings),
            std::string("The keyboard is there, but in use: /dev/hidraw1 is busy. Close the other "
                        "program that talks to the keyboard."));
    }

    void screenAloneIsRefused()
    {
        Findings findings = readyFindings();
        findings.screen->error = EACCES;

        QCOMPARE(verdictOf(findings), Verdict::RuleNotApplied);
        QVERIFY(explain(findings).find("(/dev/hidraw2)") != std::string::npos);
    }

    void severalHolders()
    {
        Findings findings = readyFindings();
        findings.configuration->holders = {{7, "first"}, {9, "second"}};

        QCOMPARE(
            explain(findings),
            std::string("The keyboard is there, but in use: first (process 7), second (process 9) "
                        "hold /dev/hidraw1. Close all but one program that talks to the "
                        "keyboard."));
    }

    // Whoever holds one interface says nothing about the other one being closed.
    void permissionComesBeforeUse()
    {
        Findings findings = readyFindings();
        findings.configuration->holders = {{7, "first"}};
        findings.screen->error = EPERM;
        findings.screen->markedByRule = true;

        QCOMPARE(verdictOf(findings), Verdict::NoSeat);
    }

    void theProgramItselfWasCutOff_data()
    {
        QTest::addColumn<bool>("pluggedIn");
        QTest::newRow("and is still") << false;
        QTest::newRow("until a moment ago") << true;
    }
    void theProgramItselfWasCutOff()
    {
        QFETCH(bool, pluggedIn);
        Findings findings = pluggedIn ? readyFindings() : Findings();
        findings.runAsRoot = true;
        findings.holdersOfGoneNodes = {{3, "tavik-center"}, {7, "tavik-center", true}};

        QCOMPARE(verdictOf(findings), Verdict::Replugged);
        QCOMPARE(explain(findings),
                 std::string("The keyboard was unplugged. Start the program again."));
    }

    void anotherProgramWasCutOff()
    {
        Findings findings;
        findings.holdersOfGoneNodes = {{7, "tavik-center"}};
        QCOMPARE(verdictOf(findings), Verdict::NotOnUsb); // comes first, for the user

        const std::vector<Holder> holders = findings.holdersOfGoneNodes;
        findings = readyFindings();
        findings.holdersOfGoneNodes = holders;
        QCOMPARE(verdictOf(findings), Verdict::Replugged);
        QCOMPARE(explain(findings),
                 std::string("The keyboard was unplugged while tavik-center (process 7) was "
                             "running. Start that program again."));
        findings.configuration->error = EACCES;
        QCOMPARE(verdictOf(findings), Verdict::RuleNotApplied);
    }

    void rootIsTold()
    {
        Findings findings = readyFindings();
        QVERIFY(explain(findings).find("root") == std::string::npos);
        findings.runAsRoot = true;
        QVERIFY(explain(findings).find("root") != std::string::npos);
    }
};

QTEST_APPLESS_MAIN(DiagnosisTest)
#include "diagnosis_test.moc"
