#include "device/device.h"
#include "tavikctl/command_line.h"
#include "tavikctl/failure.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iostream>
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

void endSequence(int)
{
    tavik::Device::interrupt();
}

void catchSignals()
{
    struct sigaction action = {};
    action.sa_handler = endSequence;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(signal, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN); // a closed output is found when it is written to
}

} // namespace

int main(int argc, char* argv[])
{
    occupyClosedOutputs();
    catchSignals();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ZEROLT TAVIK Pro"));
    QCoreApplication::setOrganizationName(QStringLiteral("zerolt-linux"));
    const int code = tavik::runCommand({argv + 1, argv + argc}, std::cout, std::cerr,
                                       ::isatty(STDERR_FILENO) == 1);
    errno = 0;
    if (std::cout.flush())
        return code;
    std::cerr << "tavikctl: The output could not be written";
    if (errno != 0)
        std::cerr << " (" << std::strerror(errno) << ")";
    std::cerr << ".\n";
    return code != 0 ? code : static_cast<int>(tavik::ExitCode::Failed);
}
