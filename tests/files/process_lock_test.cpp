// SPDX-License-Identifier: MIT
#include "files/process_lock.h"
#include "tests/support/files.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <optional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;
using Attempt = ProcessLock::Attempt;

class ProcessLockTest : public QObject
{
    Q_OBJECT

private slots:
    void keepsOthersOutUntilItIsReleased()
    {
        ProcessLock first(path());
        ProcessLock second(path());

        QCOMPARE(first.attempt(), Attempt::Taken);
        QCOMPARE(first.attempt(), Attempt::Taken);
        QCOMPARE(second.attempt(), Attempt::HeldByAnother);

        first.release();
        QCOMPARE(second.attempt(), Attempt::Taken);
        QCOMPARE(first.attempt(), Attempt::HeldByAnother);
    }

    // A program may be started with its standard input closed, which then is the first free number.
    void descriptorZeroIsOneAsAnyOther()
    {
        const int input = dup(0);
        QCOMPARE(close(0), 0);
        const auto back = qScopeGuard([input] {
            dup2(input, 0);
            close(input);
        });
        ProcessLock first(path());
        ProcessLock second(path());
        QCOMPARE(first.attempt(), Attempt::Taken);
        QCOMPARE(first.attempt(), Attempt::Taken);
        first.release();
        QCOMPARE(second.attempt(), Attempt::Taken);
    }

    void endsWithItsObject()
    {
        std::optional<ProcessLock> first(path());
        QCOMPARE(first->attempt(), Attempt::Taken);
        first.reset();

        ProcessLock second(path());
        QCOMPARE(second.attempt(), Attempt::Taken);
    }

    void endsWithItsProcess()
    {
        std::array<int, 2> ready{};
        QCOMPARE(pipe(ready.data()), 0);
        const pid_t child = fork();
        if (child == 0) {
            ProcessLock lock(path());
            const char taken = lock.attempt() == Attempt::Taken ? 'y' : 'n';
            if (write(ready[1], &taken, 1) == 1)
                pause();
            _exit(0);
        }
        char taken = 0;
        QCOMPARE(read(ready[0], &taken, 1), ssize_t{1});
        QCOMPARE(taken, 'y');
        ProcessLock lock(path());
        QCOMPARE(lock.attempt(), Attempt::HeldByAnother);

        kill(child, SIGKILL);
        QCOMPARE(waitpid(child, nullptr, 0), child);
        QCOMPARE(lock.attempt(), Attempt::Taken);
    }

    void isNoBusinessOfOtherUsers()
    {
        ProcessLock lock(path());
        QCOMPARE(lock.attempt(), Attempt::Taken);
        struct stat status = {};
        QCOMPARE(stat(path().toLocal8Bit().constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, 0600U);
    }

    void isImpossibleWhereNoFileCanBe_data()
    {
        QTest::addColumn<QString>("lockPath");
        QTest::newRow("no path") << QString();
        QTest::newRow("no directory") << directory.filePath(QStringLiteral("none/lock"));
        QTest::newRow("a directory") << directory.path();
        QTest::newRow("a link") << directory.filePath(QStringLiteral("link"));
    }
    void isImpossibleWhereNoFileCanBe()
    {
        QFETCH(QString, lockPath);
        QFile::link(path(), directory.filePath(QStringLiteral("link")));
        ProcessLock lock(lockPath);
        QCOMPARE(lock.attempt(), Attempt::Impossible);
    }

    // Two people on one computer, and two sessions of one, must not meet by accident.
    void pathLiesInTheRuntimeDirectory()
    {
        qputenv("XDG_RUNTIME_DIR", directory.path().toLocal8Bit());
        QCOMPARE(runtimeFilePath(QStringLiteral("a.lock")),
                 directory.filePath(QStringLiteral("a.lock")));
    }

    // The command finds the window of another release.
    void fileHasItsOwnName()
    {
        qputenv("XDG_RUNTIME_DIR", directory.path().toLocal8Bit());
        QCOMPARE(lockPathOf(QStringLiteral("/nowhere/state.json")),
                 directory.filePath(QStringLiteral("tavik-center-15165305219b5d74.lock")));
    }

    void oneFileHasOneLock()
    {
        QVERIFY(QDir(directory.path()).mkpath(QStringLiteral("real/below")));
        QVERIFY(QFile::link(directory.filePath(QStringLiteral("real")),
                            directory.filePath(QStringLiteral("other"))));
        for (const char* name : {"below", "missing", "missing/below"}) {
            const QString lock = lockPathOf(directory.filePath(QStringLiteral("real/") + name));
            QCOMPARE(lockPathOf(directory.filePath(QStringLiteral("other/") + name)), lock);
            QCOMPARE(lockPathOf(directory.filePath(QStringLiteral("real/../other/") + name)), lock);
            QVERIFY(lock != lockPathOf(directory.filePath(name)));
        }
    }

    void refusedAttemptLeavesNothingOpen()
    {
        ProcessLock first(path());
        QCOMPARE(first.attempt(), Attempt::Taken);
        const qsizetype before = openFiles();
        ProcessLock second(path());
        QCOMPARE(second.attempt(), Attempt::HeldByAnother);
        QCOMPARE(openFiles(), before);
    }

    // As after becoming another user, or in a timed job.
    void foreignRuntimeDirectoryIsNotUsed()
    {
        const QTemporaryDir other;
        QVERIFY(QFile::setPermissions(other.path(), QFile::permissions(other.path()) |
                                                        QFile::ReadOther | QFile::ExeOther));
        qputenv("TMPDIR", directory.path().toLocal8Bit());
        for (const QString& given : {other.path(), QString(), QStringLiteral("/nowhere")}) {
            qputenv("XDG_RUNTIME_DIR", given.toLocal8Bit());
            QCOMPARE(runtimeFilePath(QStringLiteral("a.lock")),
                     ownDirectory() + QStringLiteral("/a.lock"));
        }
        qunsetenv("XDG_RUNTIME_DIR");
        QCOMPARE(runtimeFilePath(QStringLiteral("a.lock")),
                 ownDirectory() + QStringLiteral("/a.lock"));
        QCOMPARE(modeOf(ownDirectory()), 0700U);
        QDir().rmdir(temporaryDirectory());
    }

    void foreignTemporaryDirectoryIsNotUsed()
    {
        if (ownDirectory() != temporaryDirectory())
            QSKIP("the user is logged in, so no temporary directory is needed");
        qunsetenv("XDG_RUNTIME_DIR");
        qputenv("TMPDIR", directory.path().toLocal8Bit());
        const QString own = temporaryDirectory();
        // One that others may write to, or a link that anybody may have laid.
        QVERIFY(QDir().mkdir(own));
        QCOMPARE(chmod(own.toLocal8Bit().constData(), 0777), 0);
        QCOMPARE(runtimeFilePath(QStringLiteral("a.lock")), QString());
        QVERIFY(QDir().rmdir(own));
        QVERIFY(QFile::link(directory.path(), own));
        QCOMPARE(runtimeFilePath(QStringLiteral("a.lock")), QString());
    }

    void cleanup() { QFile::remove(path()); }

private:
    [[nodiscard]] QString path() const { return directory.filePath(QStringLiteral("lock")); }

    [[nodiscard]] QString temporaryDirectory() const
    {
        return directory.filePath(QStringLiteral("tavik-center-%1").arg(geteuid()));
    }

    // Where files lie when the environment names no place: people who run this may be logged in.
    [[nodiscard]] QString ownDirectory() const
    {
        const QString login = QStringLiteral("/run/user/%1").arg(geteuid());
        return QFileInfo(login).ownerId() == geteuid() && modeOf(login) == 0700U
                   ? login
                   : temporaryDirectory();
    }

    static unsigned modeOf(const QString& path)
    {
        struct stat status = {};
        return stat(path.toLocal8Bit().constData(), &status) == 0 ? status.st_mode & 07777U : 0;
    }

    QTemporaryDir directory;
};

QTEST_GUILESS_MAIN(ProcessLockTest)
#include "process_lock_test.moc"
