// SPDX-License-Identifier: MIT
#include "tests/system/testbed_process.h"

#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavik::tests {

namespace {

constexpr int timeoutMs = 60000;
constexpr uid_t nobody = 65534;
constexpr int failedToChangeUser = 126;

void becomeNobody()
{
    if (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0)
        _exit(failedToChangeUser);
}

} // namespace

TestbedProcess::TestbedProcess(AsUser user)
    : runAs(geteuid() == 0 ? user : AsUser::Same),
      environment(QProcessEnvironment::systemEnvironment())
{
    environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral("libumockdev-preload.so.0"));
    process.setProcessChannelMode(QProcess::MergedChannels);
    const bool asNobody = runAs == AsUser::Ordinary;
    process.setChildProcessModifier([asNobody] {
        // The keyboard's node is a terminal here; when it hangs up, nobody is to be ended by that.
        std::signal(SIGHUP, SIG_IGN);
        if (asNobody)
            becomeNobody();
    });
}

TestbedProcess::~TestbedProcess()
{
    end();
}

void TestbedProcess::setEnvironment(const QString& name, const QString& value)
{
    environment.insert(name, value);
}

// Nobody may not enter every directory that a build lies in.
QString TestbedProcess::reachableCopy(const QString& program)
{
    const QString copy = programs.filePath(QFileInfo(program).fileName());
    chmod(programs.path().toLocal8Bit().constData(), 0755);
    if (!QFile::exists(copy) && !QFile::copy(program, copy))
        return program;
    chmod(copy.toLocal8Bit().constData(), 0755);
    return copy;
}

bool TestbedProcess::start(const QString& program, const QStringList& arguments)
{
    const bool ownProgram = !program.startsWith(QLatin1String("/bin/"));
    const QString reachable =
        runAs == AsUser::Ordinary && ownProgram ? reachableCopy(program) : program;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(QStringLiteral("/"));
    process.start(reachable, arguments);
    return process.waitForStarted(timeoutMs);
}

bool TestbedProcess::run(const QString& program, const QStringList& arguments)
{
    return start(program, arguments) && process.waitForFinished(timeoutMs) &&
           process.exitStatus() == QProcess::NormalExit;
}

void TestbedProcess::end()
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(timeoutMs);
    }
}

} // namespace tavik::tests
