// SPDX-License-Identifier: MIT
#include "pages/macros/macro_recording.h"

#include <algorithm>
#include <limits>

namespace tavik {

namespace {

constexpr std::uint8_t flagsOf(MacroRecording::Input input, bool isPress)
{
    if (input == MacroRecording::Input::Key)
        return isPress ? 0xB0 : 0x30;
    return isPress ? 0x90 : 0x10;
}
static_assert(flagsOf(MacroRecording::Input::Key, true) == macroActionTypes[0].flags &&
              flagsOf(MacroRecording::Input::Key, false) == macroActionTypes[1].flags &&
              flagsOf(MacroRecording::Input::Button, true) == macroActionTypes[2].flags &&
              flagsOf(MacroRecording::Input::Button, false) == macroActionTypes[3].flags);

// The clock of a display server may start anew.
quint64 timeBetween(quint64 first, quint64 second)
{
    constexpr quint64 longest = std::numeric_limits<std::uint16_t>::max();
    return second < first ? 0 : std::min(second - first, longest);
}

} // namespace

bool MacroRecording::isHeld(Input input, std::uint8_t code) const
{
    const auto last = std::find_if(events.crbegin(), events.crend(), [=](const Event& event) {
        return event.input == input && event.code == code;
    });
    return last != events.crend() && last->isPress;
}

bool MacroRecording::press(Input input, std::uint8_t code, quint64 timeMs)
{
    const auto isRepeatAfter = [=, this](const Event& release) {
        return release.input == input && release.code == code &&
               timeMs - release.timeMs <= longestRepeatGap;
    };
    if (isHeld(input, code) || isRepeatAfter(strayRelease))
        return false;
    if (!events.isEmpty() && isRepeatAfter(events.last())) {
        events.removeLast();
        return false;
    }
    events += Event{timeMs, input, code, true};
    return true;
}

void MacroRecording::release(Input input, std::uint8_t code, quint64 timeMs)
{
    const Event event{timeMs, input, code, false};
    if (isHeld(input, code))
        events += event;
    else
        strayRelease = event;
}

void MacroRecording::dropLastPress(Input input, std::uint8_t code)
{
    const auto isPress = [=](const Event& event) {
        return event.input == input && event.code == code && event.isPress;
    };
    const auto last = std::find_if(events.rbegin(), events.rend(), isPress);
    if (last != events.rend())
        events.erase(std::next(last).base(), events.end());
}

void MacroRecording::finish(quint64 timeMs)
{
    const QList<Event> recorded = events;
    for (const Event& event : recorded)
        release(event.input, event.code, timeMs);
}

QList<MacroAction> MacroRecording::actions(std::optional<int> fixedDelayMs) const
{
    QList<MacroAction> result;
    quint64 before = events.isEmpty() ? 0 : events.first().timeMs;
    for (const Event& event : events) {
        const quint64 elapsed = timeBetween(before, event.timeMs);
        const quint64 delay =
            fixedDelayMs && !result.isEmpty() ? static_cast<quint64>(*fixedDelayMs) : elapsed;
        result += MacroAction{static_cast<std::uint16_t>(delay), event.code,
                              flagsOf(event.input, event.isPress)};
        before = event.timeMs;
    }
    return result;
}

} // namespace tavik
