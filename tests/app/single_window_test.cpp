// SPDX-License-Identifier: MIT
#include "app/single_window.h"
#include "model/app_state.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

// The program as it is installed. It ends with this object at the latest.
class Program
{
public:
    explicit Program(const QString& configuration = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (!configuration.isEmpty())
            environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configuration);
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral(PROGRAM_UNDER_TEST), QStringList());
        process.waitForStarted();
    }
    ~Program()
    {
        process.kill();
        process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Program)

    [[nodiscard]] bool ends()
    {
        return process.state() == QProcess::NotRunning || process.waitForFinished(30'000);
    }

    // It has come as far as the window.
    [[nodiscard]] bool opensItsWindow()
    {
        return QTest::qWaitFor([] { return !sockets().isEmpty(); }, 30'000) &&
               process.state() == QProcess::Running;
    }

    [[nodiscard]] static QStringList sockets()
    {
        return QDir(qEnvironmentVariable("XDG_RUNTIME_DIR"))
            .entryList({QStringLiteral("*.socket")}, QDir::System);
    }

    QProcess process;
};

sockaddr_un addressOf(const QString& socketPath)
{
    const QByteArray path = QFile::encodeName(socketPath);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    return address;
}

} // namespace

class SingleWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void firstStartGoesOn()
    {
        SingleWindow first(stateFilePath());
        QCOMPARE(first.endsWith(), std::optional<int>());
    }

    void secondStartBringsTheFirstToTheFrontAndEnds()
    {
        SingleWindow first(stateFilePath());
        QCOMPARE(first.endsWith(), std::optional<int>());
        QWidget window;
        first.bringForward(&window);
        window.showMinimized();
        QSignalSpy asked(&first, &SingleWindow::askedFor);

        qputenv("XDG_ACTIVATION_TOKEN", "token-7");
        Program second;
        qunsetenv("XDG_ACTIVATION_TOKEN");
        QTRY_VERIFY_WITH_TIMEOUT(second.process.state() == QProcess::NotRunning, 30'000);

        QCOMPARE(second.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.process.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(second.process.readAll()), QString());
        QCOMPARE(asked.count(), 1);
        QCOMPARE(asked.at(0).at(0).toByteArray(), QByteArray("token-7"));
        QCOMPARE(qgetenv("XDG_ACTIVATION_TOKEN"), QByteArray("token-7"));
        QVERIFY(!window.isMinimized());
        QVERIFY(window.isVisible());
        QTRY_VERIFY(window.isActiveWindow());
    }

    void dialogOfTheFirstComesWithIt()
    {
        SingleWindow first(stateFilePath());
        QCOMPARE(first.endsWith(), std::optional<int>());
        QWidget window;
        first.bringForward(&window);
        window.show();
        QDialog dialog(&window);
        dialog.setModal(true);
        dialog.show();
        QWidget other;
        other.show();
        other.activateWindow();

        Program second;
        QTRY_VERIFY_WITH_TIMEOUT(second.process.state() == QProcess::NotRunning, 30'000);
        QCOMPARE(second.process.exitCode(), 0);
        QTRY_VERIFY(dialog.isActiveWindow());
    }

    void secondStartWritesNothing()
    {
        SingleWindow first(stateFilePath());
        QCOMPARE(first.endsWith(), std::optional<int>());
        QVERIFY(QDir().mkpath(QFileInfo(stateFilePath()).path()));
        QFile state(stateFilePath());
        QVERIFY(state.open(QIODevice::WriteOnly));
        state.write("{}");
        state.close();

        Program second;
        QTRY_VERIFY_WITH_TIMEOUT(second.process.state() == QProcess::NotRunning, 30'000);
        QCOMPARE(QFileInfo(stateFilePath()).dir().entryList(QDir::Files),
                 QStringList(QStringLiteral("state.json")));
    }

    void startAfterAKillGoesOn()
    {
        {
            Program killed;
            QVERIFY(killed.opensItsWindow());
            killed.process.kill();
            QVERIFY(killed.ends());
        }
        QCOMPARE(Program::sockets().size(), 1); // it could not clear up
        SingleWindow next(stateFilePath());
        QCOMPARE(next.endsWith(), std::optional<int>());

        Program second;
        QTRY_VERIFY_WITH_TIMEOUT(second.process.state() == QProcess::NotRunning, 30'000);
        QCOMPARE(second.process.exitCode(), 0);
    }

    void endLeavesNoSocket()
    {
        {
            SingleWindow first(stateFilePath());
            QCOMPARE(first.endsWith(), std::optional<int>());
            QCOMPARE(Program::sockets().size(), 1);
        }
        QCOMPARE(Program::sockets(), QStringList());
    }

    // As in a transfer, or when it hangs.
    void firstThatDoesNotAnswerIsSaidToTheUser()
    {
        Program first;
        QVERIFY(first.opensItsWindow());
        ::kill(static_cast<pid_t>(first.process.processId()), SIGSTOP);
        QString text;
        onNextDialog([&text](QWidget& dialog) {
            const auto& box = dynamic_cast<QMessageBox&>(dialog);
            text = box.text() + u'|' + box.informativeText();
            clickButton(dialog, QStringLiteral("OK"));
        });

        SingleWindow second(stateFilePath());
        QCOMPARE(second.endsWith(), std::optional<int>(1));
        QCOMPARE(text,
                 QStringLiteral("ZEROLT TAVIK Pro is already open, but does not answer.|It may be "
                                "sending to the keyboard. Wait until that is done, or end it, and "
                                "start again."));
        QCOMPARE(dialogsStillExpected(), 0);

        // The window that is open still has everything.
        ::kill(static_cast<pid_t>(first.process.processId()), SIGCONT);
        SingleWindow third(stateFilePath());
        QCOMPARE(third.endsWith(), std::optional<int>(0));
    }

    // Every user of the computer can write to a socket whose address is no file.
    void onlyTheFirstCanAnswer()
    {
        ProcessLock lock(lockPathOf(stateFilePath()));
        QCOMPARE(lock.attempt(), ProcessLock::Attempt::Taken);
        const sockaddr_un address =
            addressOf(runtimeFilePathOf(stateFilePath(), QStringLiteral(".socket")));
        const auto* generic = reinterpret_cast<const sockaddr*>(&address);
        const int first = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        const int stranger = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        QCOMPARE(::bind(first, generic, sizeof address), 0);

        Program second;
        sockaddr_un asking = {};
        socklen_t length = sizeof asking;
        auto* sender = reinterpret_cast<sockaddr*>(&asking);
        char question = 0;
        QVERIFY(::recvfrom(first, &question, 1, 0, sender, &length) >= 0);
        QCOMPARE(::sendto(stranger, "", 0, 0, sender, length), ssize_t{-1});
        QCOMPARE(errno, EPERM);
        QCOMPARE(::sendto(first, "", 0, 0, sender, length), ssize_t{0});
        QVERIFY(second.ends());
        QCOMPARE(second.process.exitCode(), 0);
        ::close(first);
        ::close(stranger);
    }

    // The question lies in its queue when it ends.
    void firstThatEndsWithoutAnAnswerIsFollowed()
    {
        Program first;
        QVERIFY(first.opensItsWindow());
        const qint64 processId = first.process.processId();
        ::kill(static_cast<pid_t>(processId), SIGSTOP);
        QProcess end;
        end.start(QStringLiteral("/bin/sh"),
                  {QStringLiteral("-c"), QStringLiteral("sleep 0.5; kill -9 %1").arg(processId)});
        QVERIFY(end.waitForStarted());

        SingleWindow second(stateFilePath());
        QCOMPARE(second.endsWith(), std::optional<int>());
        QVERIFY(end.waitForFinished());
    }

    void otherWayToTheSameFileIsNoOtherFile()
    {
        const QTemporaryDir directory;
        QVERIFY(QDir().mkpath(directory.filePath(QStringLiteral("real"))));
        QVERIFY(QFile::link(directory.filePath(QStringLiteral("real")),
                            directory.filePath(QStringLiteral("link"))));
        SingleWindow first(directory.filePath(QStringLiteral("real/new/state.json")));
        QCOMPARE(first.endsWith(), std::optional<int>());
        int boxes = 0;
        for (const char* way : {"link/new/state.json", "real//new/../new/state.json"}) {
            onNextDialog([&boxes](QWidget& dialog) {
                ++boxes;
                dialog.close();
            });
            SingleWindow second(directory.filePath(QLatin1String(way)));
            QVERIFY(second.endsWith().has_value());
        }
        QCOMPARE(boxes, 2);
    }

    // Two users differ in the runtime directory as well.
    void otherConfigurationsDoNotMeet()
    {
        SingleWindow first(stateFilePath());
        QCOMPARE(first.endsWith(), std::optional<int>());
        const QTemporaryDir configuration;
        SingleWindow other(configuration.filePath(QStringLiteral("state.json")));
        QCOMPARE(other.endsWith(), std::optional<int>());

        Program program(configuration.path());
        QTRY_VERIFY_WITH_TIMEOUT(Program::sockets().size() == 3, 30'000);
        QCOMPARE(program.process.state(), QProcess::Running);
    }

    void noRuntimeDirectoryIsNoReasonNotToStart()
    {
        qputenv("XDG_RUNTIME_DIR", "/proc");
        SingleWindow first(stateFilePath());
        QCOMPARE(first.endsWith(), std::optional<int>());
    }

    // Anything may be sent to the socket, also by a program that is gone before the answer.
    void oddMessagesDoNoHarm()
    {
        SingleWindow first(stateFilePath());
        QCOMPARE(first.endsWith(), std::optional<int>());
        QSignalSpy asked(&first, &SingleWindow::askedFor);
        const sockaddr_un address = addressOf(qEnvironmentVariable("XDG_RUNTIME_DIR") + u'/' +
                                              Program::sockets().constFirst());
        const int sender = ::socket(AF_UNIX, SOCK_DGRAM, 0); // without an address of its own
        const QByteArray message(5000, 'x');
        QCOMPARE(::sendto(sender, message.constData(), 5000, 0,
                          reinterpret_cast<const sockaddr*>(&address), sizeof address),
                 ssize_t{5000});
        ::close(sender);
        QTRY_COMPARE(asked.count(), 1);
        QCOMPARE(asked.at(0).at(0).toByteArray().size(), 1024);

        Program second;
        QTRY_VERIFY_WITH_TIMEOUT(second.process.state() == QProcess::NotRunning, 30'000);
        QCOMPARE(second.process.exitCode(), 0);
    }
};

TAVIK_ISOLATED_TEST_MAIN(SingleWindowTest)
#include "single_window_test.moc"
