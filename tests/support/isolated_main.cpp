// SPDX-License-Identifier: MIT
#include "tests/support/isolated_main.h"

#include <QApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

namespace tavik::tests {

namespace {

// Longer than ctest waits for the whole program: under valgrind a case takes minutes.
constexpr int longestCaseMs = 1'200'000;

// The cases of the program, each as "function" or "function:row".
QStringList listCases(const QString& program)
{
    QProcess process;
    process.start(program, {QStringLiteral("-datatags")});
    if (!process.waitForFinished())
        return {};
    QStringList cases;
    const QString output = QString::fromUtf8(process.readAllStandardOutput());
    for (const QString& line : output.split(u'\n', Qt::SkipEmptyParts)) {
        const QString function = line.section(u' ', 1, 1);
        const QString row = line.section(u' ', 2);
        cases += row.isEmpty() ? function : function + u':' + row;
    }
    return cases;
}

bool runCase(const QString& program, const QString& name)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, {QStringLiteral("-nocrashhandler"), name});
    const bool passed = process.waitForFinished(longestCaseMs) &&
                        process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    const QByteArray output = process.readAll();
    if (!passed || output.contains("SKIP "))
        std::fprintf(stdout, "%s\n", output.constData());
    std::fprintf(stdout, "%s %s\n", passed ? "PASS" : "FAIL", qUtf8Printable(name));
    return passed;
}

int runEveryCase(const QString& program)
{
    const QStringList cases = listCases(program);
    int failures = cases.isEmpty() ? 1 : 0;
    for (const QString& name : cases) {
        if (runCase(program, name))
            continue;
        ++failures;
        if (qEnvironmentVariableIntValue("QTEST_FATAL_FAIL") != 0)
            break;
    }
    std::fprintf(stdout, "%d of %lld failed\n", failures, static_cast<long long>(cases.size()));
    return failures == 0 ? 0 : 1;
}

} // namespace

int runIsolated(int argc, char* argv[], std::unique_ptr<QObject> (*createTest)())
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (argc == 1) {
        const QCoreApplication application(argc, argv);
        return runEveryCase(QCoreApplication::applicationFilePath());
    }
    const QTemporaryDir configuration;
    const QTemporaryDir runtime;
    qputenv("XDG_CONFIG_HOME", configuration.path().toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", runtime.path().toLocal8Bit());
    const QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
    QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
    const std::unique_ptr<QObject> test = createTest();
    return QTest::qExec(test.get(), argc, argv);
}

} // namespace tavik::tests
