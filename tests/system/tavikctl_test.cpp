// SPDX-License-Identifier: MIT
#include "tests/support/files.h"
#include "tests/support/made_images.h"
#include "tests/system/emulated_keyboard.h"
#include "tests/system/testbed_process.h"

#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace tavik::tests;
using tavik::virtual_keyboard::KeyboardModel;
using tavik::virtual_keyboard::LayerId;

namespace {

constexpr int timeoutMs = 60'000;

} // namespace

// The command over the real hidapi, with its real pauses.
class TavikctlTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { home = std::make_unique<QTemporaryDir>(); }

    void everyCommandReachesTheKeyboard()
    {
        EmulatedKeyboard keyboard;
        const QString picture = home->filePath("picture.gif");
        writeFile(picture, encodePlainGif({128, 128}, manyColors(1), 7));

        QVERIFY(runs("status").contains("\nproduct:  0c45:8009\ncommands: /dev/hidraw1\n"));
        QCOMPARE(keyboard.transfers(), 0);
        runs("light static --color ff8800 --brightness 2");
        runs("sleep 30");
        runs("keys set caps=disabled");
        runs("keys write");
        runs("keys set --layer fn caps=a");
        runs("macros set Greet press h, 40, release h");
        runs("colors set all=102030");
        runs("screen %1 --slot 2", picture);
        runs("apply");
        keyboard.withModel([](const KeyboardModel& model) {
            QCOMPARE(int{model.state().lighting.at(0)}, 1);
            QCOMPARE(int{model.state().lighting.at(2)}, 0x88);
            QCOMPARE(int{model.state().sleepCode}, 3);
            QCOMPARE(int{model.keyAction(LayerId::Base, 63).at(0)}, 5);
            QCOMPARE(int{model.keyAction(LayerId::Fn, 63).at(2)}, 4);
        });
        runs("colors set all=000000");
        runs("colors read");
        QVERIFY(runs("colors").contains("caps-lock=102030\n"));
        runs("colors on");
        QCOMPARE(keyboard.violations(), std::string());
    }

    void keyboardThatIsNotThere()
    {
        EmulatedKeyboard keyboard(EmulatedDevice{});
        QCOMPARE(exitCodeOf("light static"), 3);
        QCOMPARE(exitCodeOf("status"), 3);
    }

    void keyboardThatMayNotBeUsed()
    {
        EmulatedKeyboard keyboard;
        keyboard.setPermitted(1, false);
        QCOMPARE(exitCodeOf("light static", AsUser::Ordinary), 4);
        QCOMPARE(exitCodeOf("status", AsUser::Ordinary), 4);
    }

    // The keyboard hears that nothing more comes.
    void interruptionEndsTheSession_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl+C") << SIGINT;
        QTest::newRow("end") << SIGTERM;
    }
    void interruptionEndsTheSession()
    {
        QFETCH(int, signal);
        EmulatedKeyboard keyboard;
        TestbedProcess process(AsUser::Same);
        prepare(process);
        QVERIFY(process.start(QStringLiteral(TAVIKCTL), {"keys", "write"}));
        QTRY_VERIFY_WITH_TIMEOUT(keyboard.transfers() >= 6, timeoutMs);
        QCOMPARE(kill(static_cast<pid_t>(process.processId()), signal), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!process.isRunning(), timeoutMs);

        QCOMPARE(process.exitCode(), 130);
        QCOMPARE(process.output(), QStringLiteral("tavikctl: Interrupted.\n"));
        QCOMPARE(keyboard.violations(), std::string("FINISH without COMMIT\n"));
        // And it takes the next one.
        QCOMPARE(exitCodeOf("sleep 5"), 0);
    }

private:
    void prepare(TestbedProcess& process) const
    {
        process.setEnvironment(QStringLiteral("XDG_CONFIG_HOME"), home->path());
        process.setEnvironment(QStringLiteral("XDG_RUNTIME_DIR"), home->path());
    }

    QString runs(const QString& line, const QString& file = {}) const
    {
        TestbedProcess process(AsUser::Same);
        prepare(process);
        QStringList arguments = line.split(u' ');
        arguments.replaceInStrings(QStringLiteral("%1"), file);
        if (!process.run(QStringLiteral(TAVIKCTL), arguments) || process.exitCode() != 0)
            qFatal("tavikctl %s: %d %s", qPrintable(line), process.exitCode(),
                   qPrintable(process.output()));
        return process.output();
    }

    [[nodiscard]] int exitCodeOf(const QString& line, AsUser user = AsUser::Same) const
    {
        TestbedProcess process(user);
        if (user == AsUser::Same)
            prepare(process);
        return process.run(QStringLiteral(TAVIKCTL), line.split(u' ')) ? process.exitCode() : -1;
    }

    std::unique_ptr<QTemporaryDir> home;
};

QTEST_GUILESS_MAIN(TavikctlTest)
#include "tavikctl_test.moc"
