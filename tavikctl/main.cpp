// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "tavikctl/command_line.h"
#include "tavikctl/failure.h"

#include <QCoreApplication>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <langinfo.h>
#include <sstream>
#include <unistd.h>

namespace {

// Without them the next file that is opened, the keyboard or the settings, would take the number of
// an output, and get its words.
void occupyClosedOutputs()
{
    for (const int output : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(output, F_GETFD) < 0)
            ::open("/dev/null", output == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

// Timed jobs have no locale. Qt would help itself, but newer ones complain about it first.
void ensureUnicode()
{
    std::setlocale(LC_ALL, "");
    if (std::strcmp(::nl_langinfo(CODESET), "UTF-8") != 0)
        ::setenv("LC_ALL", "C.UTF-8", 1);
}

void endSequence(int)
{
    tavik::Device::interrupt();
}

void catchSignals()
{
    struct sigaction action = {};
    action.sa_handler = endSequence;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction present = {};
        // What nohup or a script has the program ignore stays ignored.
        if (::sigaction(signal, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
    ::signal(SIGPIPE, SIG_IGN); // a closed output is found when it is written to
}

// False, and told on standard error, where it does not arrive.
bool writeOut(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return true;
    std::cerr << "tavikctl: The output could not be written (" << std::strerror(errno) << ").\n";
    return false;
}

} // namespace

int main(int argc, char* argv[])
{
    occupyClosedOutputs();
    catchSignals();
    ensureUnicode();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
    QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
    std::ostringstream out;
    const int code =
        tavik::runCommand({argv + 1, argv + argc}, out, std::cerr, ::isatty(STDERR_FILENO) == 1);
    return writeOut(out.str()) ? code : std::max(code, static_cast<int>(tavik::ExitCode::Failed));
}
