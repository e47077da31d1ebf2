// SPDX-License-Identifier: MIT
#include "app/single_window.h"

#include "app/application_style.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QMessageBox>
#include <QSocketNotifier>
#include <QWidget>

#include <algorithm>
#include <array>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <tuple>
#include <unistd.h>

namespace tavik {

namespace {

constexpr int answerTimeoutMs = 2000;
constexpr int pauseBetweenAttemptsMs = 50;
constexpr std::size_t longestToken = 1024;

// The address of a path; too long a path has none.
std::optional<sockaddr_un> addressOf(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address = {};
    if (name.isEmpty() || name.size() >= static_cast<qsizetype>(sizeof address.sun_path))
        return {};
    address.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), std::begin(address.sun_path));
    return address;
}

// One datagram there and one back. That is little enough to do without a network library, which
// would make every start slower.
int openSocket()
{
    return ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

// Asks the first to come to the front, as soon as it listens.
class Question
{
public:
    explicit Question(const QString& socketPath) : first(addressOf(socketPath)) {}
    ~Question() { ::close(asking); }
    Q_DISABLE_COPY_MOVE(Question)

    // False after a while without an answer.
    [[nodiscard]] bool isAnsweredSoon()
    {
        isAsked = isAsked || ask();
        pollfd answer = {isAsked ? asking : -1, POLLIN, 0};
        return ::poll(&answer, 1, pauseBetweenAttemptsMs) == 1;
    }

private:
    [[nodiscard]] bool ask() const
    {
        // Once it is connected, the kernel takes nothing from anybody else: what has an address can
        // be written to by every user.
        if (!first || ::connect(asking, generic(*first), sizeof *first) != 0)
            return false;
        // An address of its own, by which the answer comes back; without one it has none yet.
        const sockaddr_un own = {AF_UNIX, {}};
        std::ignore = ::bind(asking, generic(own), sizeof own.sun_family);
        // What the desktop gave this start for coming to the front goes to the window that does it.
        const QByteArray token = qgetenv("XDG_ACTIVATION_TOKEN");
        return ::send(asking, token.constData(), static_cast<std::size_t>(token.size()), 0) >= 0;
    }

    const std::optional<sockaddr_un> first;
    const int asking = openSocket();
    bool isAsked = false;
};

void showThatNobodyAnswers()
{
    QMessageBox box(QMessageBox::Warning, QCoreApplication::applicationName(),
                    QObject::tr("%1 is already open, but does not answer.")
                        .arg(QCoreApplication::applicationName()),
                    QMessageBox::Ok);
    box.setInformativeText(
        QObject::tr("It may be sending to the keyboard. Wait until that is done, "
                    "or end it, and start again."));
    box.setStyleSheet(windowStyleSheet());
    box.exec();
}

} // namespace

SingleWindow::SingleWindow(const QString& stateFile)
    : socketPath(runtimeFilePathOf(stateFile, QStringLiteral(".socket"))),
      lock(lockPathOf(stateFile))
{
}

SingleWindow::~SingleWindow()
{
    if (socket < 0)
        return;
    QFile::remove(socketPath); // ours as long as the lock is
    ::close(socket);
}

std::optional<int> SingleWindow::endsWith()
{
    // The first may be about to listen, or to end; then the lock is free.
    Question question(socketPath);
    const QDeadlineTimer deadline(answerTimeoutMs);
    while (lock.attempt() == ProcessLock::Attempt::HeldByAnother) {
        if (question.isAnsweredSoon())
            return 0;
        if (deadline.hasExpired()) {
            showThatNobodyAnswers();
            return 1;
        }
    }
    listen();
    return {};
}

void SingleWindow::listen()
{
    const auto address = addressOf(socketPath);
    socket = address ? openSocket() : -1;
    if (socket < 0)
        return;
    QFile::remove(socketPath); // left by a program that was killed
    if (::bind(socket, generic(*address), sizeof *address) != 0)
        return;
    auto* notifier = new QSocketNotifier(socket, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &SingleWindow::answer);
}

void SingleWindow::answer()
{
    std::array<char, longestToken> token{};
    sockaddr_un sender = {};
    socklen_t length = sizeof sender;
    const ssize_t size = ::recvfrom(socket, token.data(), token.size(), 0,
                                    reinterpret_cast<sockaddr*>(&sender), &length);
    if (size < 0)
        return;
    emit askedFor(QByteArray(token.data(), static_cast<qsizetype>(size)));
    ::sendto(socket, "", 0, 0, generic(sender), length);
}

void SingleWindow::bringForward(QWidget* window)
{
    connect(this, &SingleWindow::askedFor, window, [window](const QByteArray& token) {
        // From here the platform takes it; it takes the variable away again.
        if (!token.isEmpty())
            qputenv("XDG_ACTIVATION_TOKEN", token);
        window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
        window->show();
        for (QWidget* shown : {window, QApplication::activeModalWidget()}) {
            if (shown == nullptr)
                continue;
            shown->raise();
            shown->activateWindow();
        }
    });
}

} // namespace tavik
