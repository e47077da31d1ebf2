// SPDX-License-Identifier: MIT
#include "model/key_names.h"
#include "pages/macros/macro_upload.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/bus_view.h"

#include <algorithm>

namespace tavik::tests {

namespace {

// Every type of the editor has it. Without flags, actions may look like a command to the keyboard.
constexpr unsigned anyTypeFlag = 0x10;

QList<MacroRecord> macrosFrom(const QByteArray& input)
{
    InputNumbers numbers(input);
    QList<MacroRecord> macros(numbers.byte() % 128);
    for (MacroRecord& macro : macros) {
        macro.actions.resize(numbers.byte());
        for (MacroAction& action : macro.actions)
            action = {numbers.word(), numbers.byte(),
                      static_cast<std::uint8_t>(numbers.byte() | anyTypeFlag)};
    }
    return macros;
}

void checkPlayed(const QList<MacroRecord>& macros, std::span<const std::uint8_t> space)
{
    for (int index = 0; index < 100; ++index) {
        const QList<MacroAction> expected = macros.value(index).actions;
        const auto played = virtual_keyboard::playMacro(space, index);
        TAVIK_HOLDS(std::ranges::equal(played, expected, [](const auto& event, const auto& action) {
            return event.delayMs == action.delay && event.code == action.code;
        }));
    }
}

// One macro, as macrosFrom() reads it.
QByteArray macroOf(int actions)
{
    return QByteArray(1, static_cast<char>(actions)) + QByteArray(4 * actions, '\x50');
}

} // namespace

QByteArrayList seeds()
{
    const QByteArray twoLargest = '\3' + macroOf(255) + macroOf(255);
    return {QByteArray("\1\2\x10\0\4\xB0\x20\0\4\x30", 10), QByteArray(300, '\1'),
            QByteArray("\x64", 1) + QByteArray("\2\1\0\4\xB0\2\0\4\x30", 9).repeated(50),
            // 3072 bytes on the keyboard, and one action more.
            twoLargest + macroOf(155), twoLargest + macroOf(156)};
}

void check(const QByteArray& input)
{
    const QList<MacroRecord> macros = macrosFrom(input);
    qsizetype needed = 400;
    for (const MacroRecord& macro : macros.mid(0, 100)) {
        needed += macro.actions.isEmpty() ? 0 : 4 + 4 * macro.actions.size();
        for (const MacroAction& action : macro.actions) {
            TAVIK_HOLDS(!macroActionText(action).isEmpty());
            TAVIK_HOLDS(macroPressText(action) == (action.flags < 0x80 ? "release" : "press"));
        }
    }
    const std::optional<QByteArray> image = encodeMacroSpace(macros);
    TAVIK_HOLDS(image.has_value() == (needed <= 3072));
    if (!image)
        return;
    TAVIK_HOLDS(image->size() == needed);
    const QByteArray buffer = macroTransferBuffer(*image);
    TAVIK_HOLDS(buffer.startsWith(*image) && buffer.endsWith("\xAA\x55") &&
                buffer.size() % 64 == 2);
    TAVIK_HOLDS(buffer.size() - 2 - needed < 64);
    TAVIK_HOLDS(buffer.sliced(needed).count('\0') == buffer.size() - 2 - needed);

    TAVIK_HOLDS(writeMacroSpace(*image) && bus().violations().empty());
    checkPlayed(macros, bus().keyboard().state().macroSpace);
    bus().clearTrace();
}

} // namespace tavik::tests
