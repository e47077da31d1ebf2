// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "tests/support/files.h"
#include "tests/support/made_images.h"

#include <QDir>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <sys/stat.h>
#include <vector>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int timeoutMs = 60'000;

// The program on the virtual keyboard, as it is run by a shell.
struct Outcome
{
    int code = -1;
    QString out;
    QString err;
};

Outcome runShell(const QString& line)
{
    QProcess shell;
    shell.start(QStringLiteral("/bin/bash"), {QStringLiteral("-c"), line});
    if (!shell.waitForFinished(timeoutMs) || shell.exitStatus() != QProcess::NormalExit)
        return {};
    return {shell.exitCode(), QString::fromUtf8(shell.readAllStandardOutput()),
            QString::fromUtf8(shell.readAllStandardError())};
}

QString withProgram(const QString& line)
{
    return QString(line).replace(QStringLiteral("tavikctl"), QStringLiteral(TAVIKCTL));
}

Outcome runCtl(const QString& line)
{
    return runShell(withProgram(line));
}

SavedState stateOnDisk()
{
    return stateFromJson(QJsonDocument::fromJson(readFile(stateFilePath())).object());
}

} // namespace

class CommandProcessTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
        QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
        configuration = std::make_unique<QTemporaryDir>();
        runtime = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(configuration->path()));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime->path()));
    }

    void setsShowsAndWrites()
    {
        QCOMPARE(runCtl("tavikctl keys set caps=disabled").code, 0);
        QCOMPARE(runCtl("tavikctl keys").out, QStringLiteral("caps-lock=disabled\n"));
        QCOMPARE(runCtl("tavikctl keys write").code, 0);
        QCOMPARE(runCtl("tavikctl frobnicate").code, 2);
    }

    void readsPicturesWithoutADisplay()
    {
        const QString film = runtime->filePath("film.gif");
        tests::writeFile(film, encodePlainGif({20, 30}, manyColors(5), 7));
        const Outcome outcome = runCtl("env -u DISPLAY tavikctl screen \"" + film + u'"');
        QCOMPARE(outcome.err, QString());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(runCtl("ldd tavikctl | grep -cE 'Qt6(Gui|Widgets)|libX|libxcb|libGL'").out,
                 QStringLiteral("0\n"));
    }

    // It would not show what a command changes behind it.
    void openWindowKeepsEditsOut()
    {
        QProcess window;
        window.setProcessChannelMode(QProcess::ForwardedChannels);
        window.start(QStringLiteral(TAVIK_CENTER), QStringList());
        const QDir runtimeDirectory(runtime->path());
        QTRY_VERIFY_WITH_TIMEOUT(
            !runtimeDirectory.entryList({QStringLiteral("*.socket")}, QDir::System).isEmpty(),
            timeoutMs);

        const Outcome refused = runCtl("tavikctl keys set caps=disabled");
        QCOMPARE(refused.code, 1);
        QCOMPARE(refused.err.count(u'\n'), 1);
        QVERIFY(refused.err.startsWith("tavikctl: The window of tavik-center is open"));
        QCOMPARE(runCtl("tavikctl keys write").code, 0);

        window.terminate();
        QVERIFY(window.waitForFinished(timeoutMs));
        QCOMPARE(runCtl("tavikctl keys set caps=disabled").code, 0);
    }

    // A window that starts while a command edits waits for it.
    void runningCommandKeepsTheWindowWaiting()
    {
        QCOMPARE(runCtl("tavikctl colors set all=010203").code, 0);
        QCOMPARE(runCtl("tavikctl colors write").code, 0);
        QProcess window;
        window.start(QStringLiteral(TAVIK_CENTER), QStringList());
        QVERIFY(window.waitForStarted(timeoutMs));
        for (int round = 0; round < 20 && window.state() == QProcess::Running; ++round) {
            const Outcome outcome = runCtl("tavikctl macros set Round press a");
            QVERIFY(outcome.code == 0 || outcome.err.contains("window"));
        }
        QCOMPARE(window.state(), QProcess::Running);
        window.terminate();
        QVERIFY(window.waitForFinished(timeoutMs));
        QCOMPARE(colorOf(stateOnDisk().customRgb, 5), (KeyColor{1, 2, 3}));
    }

    void editsAtTheSameTimeAreAllKept()
    {
        std::vector<std::unique_ptr<QProcess>> commands;
        for (const char* key : {"q", "w", "e", "r"}) {
            auto command = std::make_unique<QProcess>();
            command->start(QStringLiteral(REAL_TAVIKCTL), // with real waits
                           {"keys", "set", QLatin1String(key) + QStringLiteral("=disabled")});
            commands.push_back(std::move(command));
        }
        for (const auto& command : commands) {
            QVERIFY(command->waitForFinished(timeoutMs));
            QCOMPARE(command->exitCode(), 0);
        }
        QCOMPARE(runCtl("tavikctl keys").out,
                 QStringLiteral("q=disabled\nw=disabled\ne=disabled\nr=disabled\n"));
    }

    void outputThatCannotBeWritten_data()
    {
        QTest::addColumn<QString>("reason");
        QTest::newRow("tavikctl names keys >/dev/full") << "No space left on device";
        QTest::newRow("tavikctl export >/dev/full") << "No space left on device";
        QTest::newRow("tavikctl names keys >&-") << "Bad file descriptor";
        QTest::newRow("tavikctl --help >&-") << "Bad file descriptor";
        QTest::newRow("(sleep 0.2; tavikctl export; echo $? >&2) | true") << "Broken pipe";
    }
    void outputThatCannotBeWritten()
    {
        QFETCH(QString, reason);
        const Outcome outcome = runCtl(QString(QTest::currentDataTag()));
        const QString text =
            QStringLiteral("tavikctl: The output could not be written (%1).\n").arg(reason);
        QVERIFY2(outcome.err.startsWith(text), qPrintable(outcome.err));
        QVERIFY(outcome.code == 1 || outcome.err == text + QStringLiteral("1\n"));
    }

    // The next file that is opened must not take the place of a closed output.
    void closedOutputsHurtNothing()
    {
        QCOMPARE(runCtl("tavikctl keys set caps=disabled <&- >&- 2>&-").code, 0);
        QCOMPARE(runCtl("tavikctl keys <&- >&- 2>&-").code, 1);
        QVERIFY(QJsonDocument::fromJson(readFile(stateFilePath())).isObject());
        QCOMPARE(runCtl("tavikctl light rolling <&- 2>&-").code, 0);
    }

    // Files of more than a kilobyte cannot be written, as on a full disk.
    void fullDiskLeavesTheSettingsAsTheyWere()
    {
        QCOMPARE(runCtl("tavikctl keys set caps=disabled").code, 0);
        const QByteArray before = readFile(stateFilePath());
        const QString full = QStringLiteral("trap '' XFSZ; ulimit -f 1; ");
        for (const char* line :
             {"tavikctl keys set a=disabled", "tavikctl import ", "tavikctl export "}) {
            QString command = QLatin1String(line);
            if (command.endsWith(u' '))
                command +=
                    u'"' +
                    (command.contains("import") ? stateFilePath() : runtime->filePath("out.json")) +
                    u'"';
            const Outcome outcome = runCtl(full + command);
            QCOMPARE(outcome.code, 1);
            QString reason =
                " could not be written. Look for room on the disk, and whether you may "
                "write there; then do it again.\n";
            if (command.contains("import"))
                reason = ", so they were left as they are. Look for room on the disk.\n";
            else if (command.contains("export"))
                reason.remove("; then do it again");
            QVERIFY2(outcome.err.count(u'\n') == 1 && outcome.err.endsWith(reason),
                     qPrintable(outcome.err));
        }
        QCOMPARE(readFile(stateFilePath()), before);
        QVERIFY(!QFile::exists(runtime->filePath("out.json")));
    }

    // The words that bash offers behind a line.
    void bashCompletes_data()
    {
        QTest::addColumn<QString>("words");
        const auto row = [](const char* line, const char* words) {
            QTest::newRow(line) << QString(words);
        };
        row("tavikctl st", "status");
        row("tavikctl light br", "breath");
        row("tavikctl light static --dir", "--direction");
        row("tavikctl light static --direction ", "left right up down");
        row("tavikctl keys s", "show set");
        row("tavikctl keys set cap", "caps-lock= caps=");
        row("tavikctl keys set caps=vol", "volume-up volume-down");
        row("tavikctl keys set a=b caps=macro:S", "Second\\ one");
        row("tavikctl colors set spa", "space=");
        row("tavikctl macros show G", "Greet");
        row("tavikctl macros show S", "Second\\ one");
        row("tavikctl keys write --layer ", "base fn");
        row("tavikctl names e", "effects");
        row("tavikctl --json li", "light");
        row("tavikctl keys --dry-run set caps=volume-u", "volume-up");
        row("tavikctl keys set m=macro:G", "Greet");
        row("tavikctl keys --layer fn se", "set");
        row("tavikctl keys --layer fn set cap", "caps-lock= caps=");
    }
    void bashCompletes()
    {
        QFETCH(QString, words);
        QCOMPARE(runCtl("tavikctl macros set Greet press h; "
                        "tavikctl macros set 'Second one' press a")
                     .code,
                 0);
        QCOMPARE(bashWords(QTest::currentDataTag()), words + u'\n');
    }

    // Anybody may have named it, in settings that were imported.
    void bashRunsNothingOutOfTheNameOfAMacro()
    {
        const QString trap =
            QStringLiteral("/tmp/name-that-is-run-%1").arg(QCoreApplication::applicationPid());
        QCOMPARE(
            runCtl(QStringLiteral("tavikctl macros set 'x$(touch %1)' press h").arg(trap)).code, 0);
        QCOMPARE(bashWords("tavikctl keys set m=macro:x"),
                 QStringLiteral("x\\$\\(touch\\ %1\\)\n").arg(trap));
        QVERIFY(!QFile::exists(trap));
    }

    void zshCompletes_data()
    {
        QTest::addColumn<QString>("words");
        const auto row = [](const char* line, const char* words) {
            QTest::newRow(line) << QString(words);
        };
        row("tavikctl sta", "status light sleep keys colors macros screen export import earlier "
                            "apply names");
        row("tavikctl --json light st", "-a names");
        row("tavikctl keys --layer fn se", "show set write");
        row("tavikctl macros remove G", "-a names");
        row("tavikctl light --color r", "random");
    }
    void zshCompletes()
    {
        QFETCH(QString, words);
        QVERIFY(!QStandardPaths::findExecutable(QStringLiteral("zsh")).isEmpty());
        const Outcome outcome = runShell(
            QStringLiteral("zsh -f -c 'compadd() { print -r -- $* }; compset() { return 1 }; "
                           "words=(%1); CURRENT=$#words; "
                           "source $TAVIK_SOURCE_DIR/packaging/completion/_tavikctl'")
                .arg(QString(QTest::currentDataTag())));
        QCOMPARE(outcome.err, QString());
        QCOMPARE(outcome.out, words + u'\n');
    }

    void jobsWithoutALocale()
    {
        const Outcome outcome = runShell("env -u LANG LC_ALL=C " REAL_TAVIKCTL " names effects");
        QCOMPARE(outcome.err, QString());
        QVERIFY(outcome.out.contains("static\n"));
    }

    // As nohup has it, and scripts that must not be stopped half-way.
    void ignoredSignalsStayIgnored()
    {
        const Outcome outcome = runShell(
            QStringLiteral("mkfifo '%1'; (trap '' HUP; exec " REAL_TAVIKCTL " export '%1') & "
                           "until (( 0x$(awk '/SigCgt/ { print $2 }' /proc/$!/status) & 0x4000 )); "
                           "do sleep 0.02; done; awk '/SigIgn/ { print $2 }' /proc/$!/status; "
                           "cat '%1' >/dev/null; wait")
                .arg(runtime->filePath("pipe")));
        QCOMPARE(outcome.err, QString());
        bool isNumber = false;
        QVERIFY(outcome.out.trimmed().toULongLong(&isNumber, 16) & 1U);
        QVERIFY(isNumber);
    }

    void manyCommandsAtOnce()
    {
        const Outcome outcome =
            runShell("for i in {1..12}; do " REAL_TAVIKCTL " macros set M$i press a & done; wait");
        QCOMPARE(outcome.err, QString());
        QCOMPARE(stateOnDisk().macros.size(), 12);
    }

    void fishCompletes()
    {
        QVERIFY(!QStandardPaths::findExecutable(QStringLiteral("fish")).isEmpty());
        QCOMPARE(fishWords("tavikctl light bre"), QStringLiteral("breath\n"));
        QCOMPARE(fishWords("tavikctl keys set caps=volume-u"), QStringLiteral("caps=volume-up\n"));
        QCOMPARE(fishWords("tavikctl --json colors set spa"), QStringLiteral("space=\n"));
        QCOMPARE(fishWords("tavikctl keys --layer fn se"), QStringLiteral("set\n"));
        QCOMPARE(fishWords("tavikctl keys write --layer "), QStringLiteral("base\nfn\n"));
    }

private:
    static QString bashWords(const QString& line)
    {
        const Outcome outcome =
            runShell(QStringLiteral(
                         "tavikctl() { " TAVIKCTL " \"$@\"; }; source \"$TAVIK_SOURCE_DIR\""
                         "/packaging/completion/tavikctl.bash; COMP_LINE='%1'; "
                         "COMP_POINT=${#COMP_LINE}; _tavikctl; printf '%s\\n' \"${COMPREPLY[*]}\"")
                         .arg(line));
        return outcome.out + outcome.err;
    }

    static QString fishWords(const QString& line)
    {
        QProcess fish;
        fish.start(QStringLiteral("fish"),
                   {"-c", QStringLiteral("function tavikctl; " TAVIKCTL " $argv; end; source "
                                         "$TAVIK_SOURCE_DIR/packaging/completion/tavikctl.fish; "
                                         "complete -C '%1'")
                              .arg(line)});
        return fish.waitForFinished(timeoutMs) ? QString::fromUtf8(fish.readAllStandardOutput())
                                               : QString();
    }

    std::unique_ptr<QTemporaryDir> configuration;
    std::unique_ptr<QTemporaryDir> runtime;
};

QTEST_GUILESS_MAIN(CommandProcessTest)
#include "command_process_test.moc"
