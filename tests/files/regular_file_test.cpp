// SPDX-License-Identifier: MIT
#include "files/regular_file.h"
#include "tests/support/files.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <optional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace tavik;
using namespace tavik::tests;

class RegularFileTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        directory.emplace();
        openBefore = openFiles();
    }

    void cleanup() { QCOMPARE(openFiles(), openBefore); }

    void sizes_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isRead");
        QTest::newRow("empty") << QByteArray("") << true;
        QTest::newRow("one byte") << QByteArray(1, '\0') << true;
        QTest::newRow("at the limit") << QByteArray(100'000, 'x') << true;
        QTest::newRow("beyond the limit") << QByteArray(100'001, 'x') << false;
    }
    void sizes()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isRead);
        writeFile(path(), content);
        const auto read = readRegularFile(path(), 100'000);
        QCOMPARE(read.has_value(), isRead);
        QVERIFY(!isRead || *read == content);
    }

    // A program may be started with its standard input closed, which then is the first free number.
    void descriptorZeroIsOneAsAnyOther()
    {
        writeFile(path(), "content");
        const int input = dup(0);
        QCOMPARE(close(0), 0);
        const auto read = readRegularFile(path(), 7);
        dup2(input, 0);
        close(input);
        QVERIFY(read == QByteArray("content"));
    }

    void linkIsFollowed()
    {
        writeFile(path("target"), "content");
        QVERIFY(QFile::link(path("target"), path()));
        QVERIFY(readRegularFile(path(), 7) == QByteArray("content"));
    }

    void noFileAtAll()
    {
        QVERIFY(!readRegularFile(QString(), 100));
        QVERIFY(!readRegularFile(path(), 100));
        QVERIFY(!readRegularFile(path() + "/below", 100));
        QVERIFY(QFile::link(path("nowhere"), path()));
        QVERIFY(!readRegularFile(path(), 100));
    }

    void directoryIsNone() { QVERIFY(!readRegularFile(directory->path(), 1'000'000)); }

    void pipeIsNone()
    {
        QCOMPARE(mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
        QVERIFY(!readRegularFile(path(), 100));
    }

    void socketIsNone()
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(path());
        QVERIFY(name.size() < static_cast<qsizetype>(sizeof address.sun_path));
        std::copy(name.begin(), name.end(), address.sun_path);
        const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        QCOMPARE(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        QVERIFY(!readRegularFile(path(), 100));
        close(listener);
    }

    void devicesAreNone()
    {
        for (const char* device : {"/dev/zero", "/dev/null", "/dev/tty"}) {
            const QString link = path(device + 5);
            QVERIFY(QFile::link(device, link));
            QVERIFY2(!readRegularFile(link, 100), device);
        }
    }

    // Such files tell a size of 0, and may hold more than allowed.
    void fileThatDoesNotTellItsSize()
    {
        const auto read = readRegularFile("/proc/self/status", 100'000);
        QVERIFY(read && read->startsWith("Name:"));
        QVERIFY(!readRegularFile("/proc/self/status", 10));
    }

    // The memory of a process opens like a file, and no byte of it can be read from address 0.
    void fileThatFailsWhileReading() { QVERIFY(!readRegularFile("/proc/self/mem", 100)); }

    void unreadableFile()
    {
        if (geteuid() == 0)
            QSKIP("No file is unreadable to root.");
        writeFile(path(), "content");
        QVERIFY(QFile::setPermissions(path(), QFileDevice::WriteOwner));
        QVERIFY(!readRegularFile(path(), 100));
    }

private:
    std::optional<QTemporaryDir> directory;
    qsizetype openBefore = 0;

    QString path(const QString& name = QStringLiteral("file")) const
    {
        return directory->filePath(name);
    }
};

QTEST_GUILESS_MAIN(RegularFileTest)
#include "regular_file_test.moc"
