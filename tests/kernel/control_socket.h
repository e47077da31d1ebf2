// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace tavik::tests {

// One line there, any text back, then the connection is over.

// The keyboard's end. Everybody may connect: the test runs as an ordinary user.
class ControlSocket
{
public:
    // Puts the socket at this path; whatever is there is replaced.
    explicit ControlSocket(const std::string& path);
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    [[nodiscard]] bool isOpen() const { return listener >= 0; }
    // Readable when somebody asks.
    [[nodiscard]] int descriptor() const { return listener; }

    // Takes the waiting connection and hands its line to the function, which gives the answer.
    template <typename Function>
    void serve(Function&& function)
    {
        const int connection = take();
        if (const auto line = readLine(connection))
            answer(connection, function(*line));
        else
            answer(connection, {});
    }

private:
    [[nodiscard]] int take();
    [[nodiscard]] static std::optional<std::string> readLine(int connection);
    static void answer(int connection, const std::string& text); // closes the connection

    int listener = -1;
};

// The test's end: asks and waits for the whole answer. Nothing when nobody answers.
[[nodiscard]] std::optional<std::string> askControlSocket(const std::string& path,
                                                          const std::string& line);

} // namespace tavik::tests
