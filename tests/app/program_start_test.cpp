// SPDX-License-Identifier: MIT
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// The program as it is built, without a display.
class ProgramStartTest : public QObject
{
    Q_OBJECT

private slots:
    void findsItsSavedDataAndSaysNothing()
    {
        const QTemporaryDir configuration;
        const QTemporaryDir runtime;
        QFile::setPermissions(runtime.path(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const QDir saved(configuration.filePath("zerolt-linux/ZEROLT TAVIK Pro"));
        QVERIFY(saved.mkpath("."));
        QFile state(saved.filePath("state.json"));
        QVERIFY(state.open(QIODevice::WriteOnly));
        state.write("{}");
        state.close();

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", configuration.path());
        environment.insert("XDG_RUNTIME_DIR", runtime.path());
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        QProcess program;
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(PROGRAM_UNDER_TEST, QStringList());
        QVERIFY(program.waitForStarted());
        // Sound data is copied at start, so the copy shows that the data was found by its names.
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(saved.filePath("state.json.bak")), 30'000);
        QCOMPARE(program.state(), QProcess::Running);
        program.terminate();
        QVERIFY(program.waitForFinished());
        QCOMPARE(QString::fromUtf8(program.readAll()), QString());
    }
};

QTEST_GUILESS_MAIN(ProgramStartTest)
#include "program_start_test.moc"
