// SPDX-License-Identifier: MIT
#include "files/whole_file.h"
#include "tests/support/files.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

unsigned permissions(const QString& path)
{
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return 0;
    return status.st_mode & 0777U;
}

} // namespace

class WholeFileTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        directory.emplace();
    }

    void newAndReplaced()
    {
        for (const QByteArray& content :
             {QByteArray("first"), QByteArray(100'000, 'x'), QByteArray(""), QByteArray("last")}) {
            QVERIFY(writeWholeFile(path(), content));
            QCOMPARE(readFile(path()), content);
            QCOMPARE(names(), QStringList{"file"});
        }
    }

    void permissionsAreTheGivenOnes()
    {
        const mode_t before = umask(0);
        const auto restored = qScopeGuard([before] { umask(before); });
        QVERIFY(writeWholeFile(path(), "for the owner"));
        QCOMPARE(permissions(path()), 0600U);
        QVERIFY(writeWholeFile(path(), "for all",
                               QFileDevice::ReadOwner | QFileDevice::ReadGroup |
                                   QFileDevice::ReadOther));
        QCOMPARE(permissions(path()), 0444U);
    }

    // The file that was open to others is gone with all who have it open.
    void openFileIsReplaced()
    {
        writeFile(path(), "open to all");
        QFile reader(path());
        QVERIFY(reader.open(QIODevice::ReadOnly));
        QVERIFY(QFile::setPermissions(path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                  QFileDevice::ReadOther));
        QVERIFY(writeWholeFile(path(), "for the owner"));
        QCOMPARE(permissions(path()), 0600U);
        QCOMPARE(reader.readAll(), "open to all");
    }

    void linkStaysALink()
    {
        writeFile(path("target"), "old");
        QVERIFY(QFile::link(path("target"), path()));
        QVERIFY(writeWholeFile(path(), "new"));
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(readFile(path("target")), "new");
    }

    void placeThatCannotBeWritten()
    {
        QVERIFY(!writeWholeFile(path("missing/file"), "x"));
        QVERIFY(QDir().mkdir(path()));
        QVERIFY(!writeWholeFile(path(), "x"));
        QCOMPARE(names(), QStringList{"file"});
        QVERIFY(QDir(path()).isEmpty());
    }

    void directoryWithoutWritePermission()
    {
        if (geteuid() == 0)
            QSKIP("No directory is unwritable to root.");
        writeFile(path(), "old");
        QVERIFY(QFile::setPermissions(directory->path(),
                                      QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        const bool isWritten = writeWholeFile(path(), "new");
        QVERIFY(QFile::setPermissions(directory->path(), QFileDevice::ReadOwner |
                                                             QFileDevice::WriteOwner |
                                                             QFileDevice::ExeOwner));
        QVERIFY(!isWritten);
        QCOMPARE(readFile(path()), "old");
        QCOMPARE(names(), QStringList{"file"});
    }

    // The kernel stores what fits and then nothing more, as on a full disk.
    void diskThatTakesAPart_data()
    {
        QTest::addColumn<int>("room");
        for (const int room : {0, 1, 4096, 49'999})
            QTest::addRow("%d bytes", room) << room;
    }
    void diskThatTakesAPart()
    {
        QFETCH(int, room);
        writeFile(path(), "old");
        rlimit before = {};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
        const auto previous = signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {static_cast<rlim_t>(room), before.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &limit), 0);
        const bool isWritten = writeWholeFile(path(), QByteArray(50'000, 'x'));
        setrlimit(RLIMIT_FSIZE, &before);
        signal(SIGXFSZ, previous);
        QVERIFY(!isWritten);
        QCOMPARE(readFile(path()), "old");
        QCOMPARE(names(), QStringList{"file"});
    }

private:
    std::optional<QTemporaryDir> directory;

    QString path(const QString& name = QStringLiteral("file")) const
    {
        return directory->filePath(name);
    }

    QStringList names() const
    {
        return QDir(directory->path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
};

QTEST_GUILESS_MAIN(WholeFileTest)
#include "whole_file_test.moc"
