// SPDX-License-Identifier: MIT
#include "pages/settings/autostart_entry.h"
#include "tests/support/files.h"
#include "tests/support/isolated_main.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

// Written out, so that a byte that moves is seen.
QByteArray entryWithExec(const QByteArray& execLine)
{
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=ZEROLT TAVIK Pro\n" +
           execLine +
           "\n"
           "Icon=/usr/share/tavik-center/official-skin/zerolt-logo.png\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

void pathRows()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("execLine");
    QTest::newRow("plain") << "/usr/bin/tavik-center"
                           << QByteArray("Exec=\"/usr/bin/tavik-center\"");
    QTest::newRow("blanks") << "/home/a b/tavik center"
                            << QByteArray("Exec=\"/home/a b/tavik center\"");
    QTest::newRow("quotes") << "/opt/the \"new\" one/tavik-center"
                            << QByteArray("Exec=\"/opt/the \\\"new\\\" one/tavik-center\"");
    QTest::newRow("non-Latin") << QStringLiteral("/home/键盘/Größe/tavik-center")
                               << QByteArray("Exec=\"/home/\xE9\x94\xAE\xE7\x9B\x98/Gr\xC3\xB6\xC3"
                                             "\x9F"
                                             "e/tavik-center\"");
    QTest::newRow("placeholder") << "/opt/%1/tavik-center"
                                 << QByteArray("Exec=\"/opt/%1/tavik-center\"");
}

} // namespace

class AutostartEntryTest : public QObject
{
    Q_OBJECT

private slots:
    void entryByteForByte_data() { pathRows(); }
    void entryByteForByte()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, execLine);
        QCOMPARE(autostartEntry(path), entryWithExec(execLine));
    }

    void desktopAcceptsTheEntry_data() { pathRows(); }
    void desktopAcceptsTheEntry()
    {
        QFETCH(QString, path);
        if (path.contains(u'%'))
            QSKIP("a percent sign in the path is a field code to the desktop, by its own rules");
        const QString validator =
            QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
        QVERIFY2(!validator.isEmpty(), "desktop-file-validate is not installed");
        QTemporaryDir directory;
        const QString name = directory.filePath(QStringLiteral("entry.desktop"));
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(autostartEntry(path));
        file.close();
        QProcess process;
        process.start(validator, {name});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.readAllStandardOutput() + process.readAllStandardError(), QByteArray());
        QCOMPARE(process.exitCode(), 0);
    }

    void fileLiesWhereTheDesktopLooks()
    {
        QCOMPARE(autostartFilePath(), qEnvironmentVariable("XDG_CONFIG_HOME") +
                                          QStringLiteral("/autostart/tavik-center.desktop"));
    }

    void enablingWritesTheRunningProgram()
    {
        QVERIFY(!isAutostartEnabled());
        QVERIFY(enableAutostart());
        QVERIFY(isAutostartEnabled());
        QByteArray program = QCoreApplication::applicationFilePath().toUtf8();
        QVERIFY(program.startsWith('/'));
        program.replace("\"", "\\\"");
        QCOMPARE(readFile(autostartFilePath()), entryWithExec("Exec=\"" + program + '"'));
    }

    // A copy of this program, which finds the quotes in its own path.
    void programInAFolderWithQuotesIsWrittenToo()
    {
        // Beside this program, where programs can run.
        const QTemporaryDir directory(QCoreApplication::applicationDirPath() + "/XXXXXX");
        const QString folder = directory.filePath("the \"new\" one");
        QVERIFY(QDir().mkpath(folder));
        const QString copy = folder + "/copy";
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(copy, {"enablingWritesTheRunningProgram"});
        QVERIFY(process.waitForFinished());
        const QByteArray words = process.readAll();
        QVERIFY2(process.exitCode() == 0, words.constData());
        QVERIFY2(words.contains("PASS   : AutostartEntryTest::enablingWritesTheRunningProgram()"),
                 words.constData());
    }

    void enablingReplacesALongerEntry()
    {
        QVERIFY(enableAutostart());
        const QByteArray entry = readFile(autostartFilePath());
        QFile file(autostartFilePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(entry + QByteArray(1000, '#'));
        file.close();
        QVERIFY(enableAutostart());
        QCOMPARE(readFile(autostartFilePath()), entry);
    }

    void disablingRemovesTheEntryAndNothingElse()
    {
        QVERIFY(enableAutostart());
        const QString neighbor = QFileInfo(autostartFilePath()).path() + "/other.desktop";
        QVERIFY(QFile::copy(autostartFilePath(), neighbor));
        QVERIFY(disableAutostart());
        QVERIFY(!QFile::exists(autostartFilePath()));
        QVERIFY(QFile::exists(neighbor));
    }

    void disablingWithoutAnEntryIsNoError()
    {
        QVERIFY(disableAutostart());
        QVERIFY(!QFile::exists(QFileInfo(autostartFilePath()).path()));
    }

    // The bytes are taken at first, and refused when they have to be written.
    void fullDiskIsAFailure()
    {
        QVERIFY(QDir().mkpath(QFileInfo(autostartFilePath()).path()));
        QVERIFY(QFile::link(QStringLiteral("/dev/full"), autostartFilePath()));
        QVERIFY(!enableAutostart());
    }

    void unwritableFolderIsAFailure()
    {
        // A file stands where the folder would have to be.
        QDir().mkpath(qEnvironmentVariable("XDG_CONFIG_HOME"));
        QFile file(QFileInfo(autostartFilePath()).path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QVERIFY(!enableAutostart());
        QVERIFY(!isAutostartEnabled());
        QCOMPARE(readFile(file.fileName()), QByteArray());
    }
};

TAVIK_ISOLATED_TEST_MAIN(AutostartEntryTest)

#include "autostart_entry_test.moc"
