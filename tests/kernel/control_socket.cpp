// SPDX-License-Identifier: MIT
#include "tests/kernel/control_socket.h"

#include <array>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace tavik::tests {

namespace {

constexpr std::size_t longestLine = 200;

// False when the path does not fit.
bool setAddress(sockaddr_un& address, const std::string& path)
{
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    path.copy(static_cast<char*>(address.sun_path), path.size());
    return true;
}

bool sendAll(int connection, const std::string& text)
{
    std::size_t sent = 0;
    while (sent < text.size()) {
        const ssize_t more = send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (more <= 0)
            return false;
        sent += static_cast<std::size_t>(more);
    }
    return true;
}

// Everything until the other end closes; nothing when that goes wrong.
std::optional<std::string> receiveAll(int connection)
{
    std::string text;
    std::array<char, 65536> part{};
    ssize_t count = 0;
    while ((count = recv(connection, part.data(), part.size(), 0)) > 0)
        text.append(part.data(), static_cast<std::size_t>(count));
    if (count < 0)
        return std::nullopt;
    return text;
}

} // namespace

ControlSocket::ControlSocket(const std::string& path)
{
    constexpr mode_t forEverybody = 0666;
    sockaddr_un address{};
    if (!setAddress(address, path))
        return;
    unlink(path.c_str());
    listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool listens =
        bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        chmod(path.c_str(), forEverybody) == 0 && listen(listener, 1) == 0;
    if (listens || listener < 0)
        return;
    close(listener);
    listener = -1;
}

ControlSocket::~ControlSocket()
{
    if (isOpen())
        close(listener);
}

int ControlSocket::take()
{
    return accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
}

std::optional<std::string> ControlSocket::readLine(int connection)
{
    std::string line;
    char letter = 0;
    while (line.size() < longestLine && recv(connection, &letter, 1, 0) == 1) {
        if (letter == '\n')
            return line;
        line += letter;
    }
    return std::nullopt;
}

void ControlSocket::answer(int connection, const std::string& text)
{
    if (connection < 0)
        return;
    sendAll(connection, text);
    close(connection);
}

std::optional<std::string> askControlSocket(const std::string& path, const std::string& line)
{
    sockaddr_un address{};
    if (!setAddress(address, path))
        return std::nullopt;
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connection < 0)
        return std::nullopt;
    std::optional<std::string> text;
    if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        sendAll(connection, line + '\n'))
        text = receiveAll(connection);
    close(connection);
    return text;
}

} // namespace tavik::tests
