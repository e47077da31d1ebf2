// SPDX-License-Identifier: MIT
#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace tavik::tests {

enum class AsUser {
    Same,
    Ordinary, // nobody when the test runs as root, to whom permissions mean nothing
};

// A program that sees the emulated keyboard. It ends with this object at the latest.
class TestbedProcess
{
public:
    explicit TestbedProcess(AsUser user);
    ~TestbedProcess();

    void setEnvironment(const QString& name, const QString& value);

    // False when it does not start.
    [[nodiscard]] bool start(const QString& program, const QStringList& arguments = {});
    // Starts it and waits for its end. False when it does not start, crashes or takes too long.
    [[nodiscard]] bool run(const QString& program, const QStringList& arguments = {});
    // Asks it to end and waits for it.
    void end();

    [[nodiscard]] bool isRunning() const { return process.state() == QProcess::Running; }
    [[nodiscard]] qint64 processId() const { return process.processId(); }
    [[nodiscard]] int exitCode() const { return process.exitCode(); }
    // Standard output and standard error so far.
    [[nodiscard]] QString output() { return collected += QString::fromUtf8(process.readAll()); }

private:
    [[nodiscard]] QString reachableCopy(const QString& program);

    AsUser runAs;
    QTemporaryDir programs;
    QProcess process;
    QProcessEnvironment environment;
    QString collected;
};

} // namespace tavik::tests
