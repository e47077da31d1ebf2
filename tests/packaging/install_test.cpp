// SPDX-License-Identifier: MIT
#include "tests/system/emulated_keyboard.h"
#include "tests/system/testbed_process.h"

#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tavik::tests;

namespace {

constexpr int timeoutMs = 60000;

bool runCMake(const QString& destination, const QStringList& arguments)
{
    QProcess cmake;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DESTDIR"), destination);
    cmake.setProcessEnvironment(environment);
    cmake.setProcessChannelMode(QProcess::MergedChannels);
    cmake.setChildProcessModifier([] { umask(0077); }); // as careful people have it
    cmake.start(QStringLiteral(TAVIK_CMAKE), arguments);
    const bool done = cmake.waitForFinished(timeoutMs) && cmake.exitCode() == 0;
    if (!done)
        qWarning("%s", cmake.readAll().constData());
    return done;
}

// Everything but directories, relative to the directory, sorted.
QStringList filesBelow(const QString& directory)
{
    QStringList files;
    QDirIterator entry(directory, QDir::Files | QDir::System | QDir::Hidden,
                       QDirIterator::Subdirectories);
    while (entry.hasNext())
        files += QDir(directory).relativeFilePath(entry.next());
    files.sort();
    return files;
}

QStringList expectedFiles()
{
    QFile list(QStringLiteral(TAVIK_FILE_LIST));
    if (!list.open(QIODevice::ReadOnly))
        return {};
    QStringList files = QString::fromUtf8(list.readAll()).split(QLatin1Char('\n'));
    files.removeAll(QString());
    files.sort();
    return files;
}

// Sees a file being opened by another program.
class OpenWatch
{
public:
    explicit OpenWatch(const QString& file) : watch(inotify_init1(IN_CLOEXEC))
    {
        isValid = inotify_add_watch(watch, QFile::encodeName(file).constData(), IN_OPEN) >= 0;
    }
    ~OpenWatch() { close(watch); }
    OpenWatch(const OpenWatch&) = delete;
    OpenWatch& operator=(const OpenWatch&) = delete;

    [[nodiscard]] bool wait() const
    {
        pollfd waiting{watch, POLLIN, 0};
        return isValid && poll(&waiting, 1, timeoutMs) == 1;
    }

private:
    int watch;
    bool isValid = false;
};

} // namespace

// The build is installed into an empty directory that stands for the whole system.
class InstallTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(
            runCMake(systemRoot.path(), {QStringLiteral("--install"), QStringLiteral(TAVIK_BUILD),
                                         QStringLiteral("--prefix"), QStringLiteral("/usr")}));
    }

    void installsTheListedFiles()
    {
        QCOMPARE(filesBelow(systemRoot.filePath(QStringLiteral("usr"))), expectedFiles());
        QCOMPARE(filesBelow(systemRoot.path()).size(), expectedFiles().size());
    }

    void everybodyCanReadWhatIsInstalled()
    {
        QDirIterator entry(systemRoot.filePath(QStringLiteral("usr")),
                           QDir::AllEntries | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (entry.hasNext()) {
            const QFileInfo file(entry.next());
            const auto needed =
                QFile::ReadOther | (file.isDir() ? QFile::ExeOther : QFile::Permissions());
            QVERIFY2((file.permissions() & needed) == needed, qPrintable(file.filePath()));
            QVERIFY2(!(file.permissions() & (QFile::WriteOther | QFile::WriteGroup)),
                     qPrintable(file.filePath()));
        }
    }

    // Also where the build was configured for another place, as here.
    void manualPagesNameThePlaceOfTheInstallation_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QByteArray>("place");
        QTest::newRow("program") << QStringLiteral("tavik-center")
                                 << QByteArray("/usr/share/tavik\\-center/keyboard");
        QTest::newRow("doctor") << QStringLiteral("tavik-center-doctor")
                                << QByteArray("/usr/lib/udev/rules.d/60");
    }
    void manualPagesNameThePlaceOfTheInstallation()
    {
        QFETCH(const QString, page);
        QFETCH(const QByteArray, place);
        QFile file(installed(QStringLiteral("share/man/man1/%1.1").arg(page)));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("\n.I " + place));
    }

    void opensNoMoreThanTheProgramNeeds()
    {
        QFile rule(installed(QStringLiteral("lib/udev/rules.d/60-tavik-center.rules")));
        QVERIFY(rule.open(QIODevice::ReadOnly));
        QVERIFY(rule.readAll().contains(
            "IMPORT{program}=\"/usr/lib/udev/tavik-center-interface %S%p\""));
    }

    // The installed program finds its own data beside itself, and the keyboard over the real
    // hidapi.
    void startsFromWhereItIsInstalled()
    {
        if (QFile::exists(QStringLiteral("/tmp/tavik-center")))
            QSKIP("/tmp/tavik-center is searched for data before the installed files");
        EmulatedKeyboard keyboard;
        const OpenWatch font(installed(
            QStringLiteral("share/tavik-center/official-skin/fonts/OpenSans-Semibold.ttf")));
        const OpenWatch picture(
            installed(QStringLiteral("share/tavik-center/official-skin/img_keyboard_brix9.png")));
        const OpenWatch layout(installed(QStringLiteral("share/tavik-center/keyboard-layout.xml")));
        TestbedProcess program(AsUser::Same);
        program.setEnvironment(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        program.setEnvironment(QStringLiteral("XDG_CONFIG_HOME"), home.path());
        program.setEnvironment(QStringLiteral("XDG_RUNTIME_DIR"), home.path());

        QVERIFY(program.start(installed(QStringLiteral("bin/tavik-center"))));

        QVERIFY(font.wait());
        QVERIFY(layout.wait());
        QVERIFY(keyboard.waitUntilOpened(1, std::chrono::milliseconds(timeoutMs)));
        QVERIFY(picture.wait());
        QVERIFY2(program.isRunning(), qPrintable(program.output()));
        program.end();
        QCOMPARE(program.output(), QString());
        // Starting up sends nothing to the keyboard.
        QCOMPARE(keyboard.transfers(), 0);
    }

    void uninstallLeavesNothing()
    {
        QVERIFY(runCMake(systemRoot.path(),
                         {QStringLiteral("-DMANIFEST=" TAVIK_BUILD "/install_manifest.txt"),
                          QStringLiteral("-P"), QStringLiteral(TAVIK_UNINSTALL)}));

        QCOMPARE(filesBelow(systemRoot.path()), QStringList());
        QDirIterator entry(systemRoot.path(), {QStringLiteral("*tavik*")}, QDir::AllEntries,
                           QDirIterator::Subdirectories);
        QVERIFY2(!entry.hasNext(), qPrintable(entry.next()));
    }

private:
    [[nodiscard]] QString installed(const QString& file) const
    {
        return systemRoot.filePath(QStringLiteral("usr/") + file);
    }

    QTemporaryDir systemRoot;
    QTemporaryDir home;
};

QTEST_GUILESS_MAIN(InstallTest)
#include "install_test.moc"
