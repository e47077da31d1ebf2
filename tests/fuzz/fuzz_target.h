// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QtGlobal>

#include <cstdint>

// Ends the process where a property does not hold; who runs the target then keeps the input.
#define TAVIK_HOLDS(condition) ((condition) ? void() : qFatal("does not hold: %s", #condition))

namespace tavik::tests {

// Both are defined by each target: inputs to start from, made by the program's own writers, and the
// properties that hold for every input whatsoever.
[[nodiscard]] QByteArrayList seeds();
void check(const QByteArray& input);

// Numbers for a target whose input is no file of the user's; 0 once the input is used up.
class InputNumbers
{
public:
    explicit InputNumbers(const QByteArray& input) : bytes(input) {}

    [[nodiscard]] std::uint8_t byte()
    {
        return next < bytes.size() ? static_cast<std::uint8_t>(bytes.at(next++)) : std::uint8_t{0};
    }
    [[nodiscard]] std::uint16_t word() { return static_cast<std::uint16_t>(byte() | byte() << 8); }

private:
    const QByteArray& bytes;
    qsizetype next = 0;
};

} // namespace tavik::tests
