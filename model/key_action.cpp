// SPDX-License-Identifier: MIT
#include "model/key_action.h"

namespace tavik {

namespace {

constexpr std::uint8_t firstModifierUsage = 0xE0;

KeyAction actionOf(KeyActionPage page, unsigned p1 = 0, unsigned p2 = 0)
{
    return {static_cast<std::uint8_t>(page), static_cast<std::uint8_t>(p1),
            static_cast<std::uint8_t>(p2), 0};
}

} // namespace

KeyAction mouseKeyAction(std::uint16_t value)
{
    return actionOf(KeyActionPage::Mouse, value / 256U, value % 256U);
}

KeyAction keyboardKeyAction(std::uint8_t usage, std::uint8_t modifier)
{
    if (usage >= firstModifierUsage)
        return actionOf(KeyActionPage::Keyboard, 1U << (usage - firstModifierUsage));
    return actionOf(KeyActionPage::Keyboard, modifier, usage);
}

KeyAction consumerKeyAction(std::uint8_t usage)
{
    return actionOf(KeyActionPage::Consumer, usage);
}

KeyAction disabledKeyAction()
{
    return actionOf(KeyActionPage::Special);
}

KeyAction macroKeyAction(int macroIndex)
{
    return actionOf(KeyActionPage::Macro, static_cast<unsigned>(macroIndex));
}

} // namespace tavik
