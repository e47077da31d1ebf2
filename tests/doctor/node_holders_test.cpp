// SPDX-License-Identifier: MIT
#include "doctor/node_holders.h"
#include "doctor/usb_nodes.h"
#include "tests/support/files.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using namespace tavik::doctor;
using namespace tavik::tests;

// The kernel takes away the name of a node whose device goes; a file that is removed looks alike.
class NodeHoldersTest : public QObject
{
    Q_OBJECT

private slots:
    void onlyANodeThatIsGoneIsFound()
    {
        QFile node(directory.filePath(QStringLiteral("hidraw7")));
        QFile other(directory.filePath(QStringLiteral("event7")));
        QVERIFY(node.open(QIODevice::ReadWrite) && other.open(QIODevice::ReadWrite));
        QCOMPARE(::unlink(qPrintable(other.fileName())), 0);
        QVERIFY(!holds(getpid()));

        QCOMPARE(::unlink(qPrintable(node.fileName())), 0);
        QVERIFY(holds(getpid()));
        QVERIFY(holder(getpid())->isThisProcess);
        // Plugged in again: the new node has the same name, the old one is still what is held.
        QFile again(node.fileName());
        QVERIFY(again.open(QIODevice::ReadWrite));
        QVERIFY(holds(getpid()));
        node.close();
        QVERIFY(!holds(getpid()));
    }

    void ofOthersOnlyThisProgramCounts_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("counts");
        QTest::newRow("this program") << QByteArray("tavik-center") << true;
        QTest::newRow("another one") << QByteArray("browser") << false;
    }
    void ofOthersOnlyThisProgramCounts()
    {
        QFETCH(QByteArray, name);
        QFETCH(bool, counts);
        const QString path = directory.filePath(QStringLiteral("hidraw8"));
        QProcess process;
        process.start(QStringLiteral("/bin/sh"),
                      {QStringLiteral("-c"),
                       QStringLiteral("exec 3<>\"$1\"; rm \"$1\"; printf %s \"$2\" > "
                                      "/proc/$$/comm; echo ready; read line"),
                       QStringLiteral("sh"), path, QString::fromLatin1(name)});
        QVERIFY(process.waitForReadyRead());
        QCOMPARE(holds(static_cast<int>(process.processId())), counts);
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished());
        QVERIFY(!holds(static_cast<int>(process.processId())));
    }

    // A name is what a program gives itself, so it may be none.
    void programOfAnyName_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("told");
        QTest::newRow("none") << QByteArray("\n") << QByteArray("a program");
        QTest::newRow("every sign") << QByteArray(" a~") << QByteArray(" a~");
        QTest::newRow("controls") << QByteArray("\033[31m\a\r\177") << QByteArray("?[31m???");
        QTest::newRow("beyond ASCII") << QByteArray("\302\2331m") << QByteArray("??1m");
    }
    void programOfAnyName()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, told);
        QProcess process;
        process.start(QStringLiteral("/bin/sh"),
                      {QStringLiteral("-c"),
                       QStringLiteral("exec 3<>/dev/full; printf %s \"$1\" > "
                                      "/proc/$$/comm; echo; read line"),
                       QStringLiteral("sh"), QString::fromUtf8(name)});
        QVERIFY(process.waitForReadyRead());
        struct stat device = {};
        QCOMPARE(stat("/dev/full", &device), 0);
        const std::vector<Holder> holders = holdersOf(device.st_rdev);
        QCOMPARE(holders.size(), std::size_t{1});
        QCOMPARE(QByteArray::fromStdString(holders.front().name), told);
        QCOMPARE(holders.front().processId, static_cast<int>(process.processId()));
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished());
    }

    // Else the program would be in its own way.
    void examinedNodeIsLeftClosed()
    {
        const qsizetype before = openFiles();
        QCOMPARE(examineNode("/dev/full").error, 0);
        QCOMPARE(openFiles(), before);
    }

private:
    static std::optional<Holder> holder(int processId)
    {
        const std::vector<Holder> holders = holdersOfGoneNodes();
        const auto found = std::ranges::find(holders, processId, &Holder::processId);
        return found == holders.end() ? std::nullopt : std::optional(*found);
    }
    static bool holds(int processId) { return holder(processId).has_value(); }

    QTemporaryDir directory;
};

QTEST_GUILESS_MAIN(NodeHoldersTest)
#include "node_holders_test.moc"
