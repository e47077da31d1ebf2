// SPDX-License-Identifier: MIT
#pragma once

#include "model/macro_record.h"

#include <optional>

namespace tavik {

// Keys and mouse buttons as they are pressed and let go, to be made into actions of a macro.
class MacroRecording
{
public:
    enum class Input { Key, Button };

    // What is pressed again within so many milliseconds after it was let go has been held all the
    // time, since only the repeat of a key is that quick.
    explicit MacroRecording(quint64 longestRepeatGapMs = 0) : longestRepeatGap(longestRepeatGapMs)
    {
    }

    // The code is a keyboard usage or a button code, the time in milliseconds of any clock. False
    // when it is held already, maybe since before; nothing is recorded then, and the release before
    // its repeat is taken back.
    bool press(Input input, std::uint8_t code, quint64 timeMs);

    // Nothing is recorded of what is not held.
    void release(Input input, std::uint8_t code, quint64 timeMs);

    [[nodiscard]] bool isHeld(Input input, std::uint8_t code) const;

    // Takes the last press back, with all that came behind it.
    void dropLastPress(Input input, std::uint8_t code);

    // Lets go of what is still held, so that no key stays pressed when the macro is played.
    void finish(quint64 timeMs);

    // The first action has no delay. The others have this one, or else the time since the one
    // before, 65535 ms at most.
    [[nodiscard]] QList<MacroAction> actions(std::optional<int> fixedDelayMs) const;

private:
    struct Event
    {
        quint64 timeMs = 0;
        Input input = Input::Key;
        std::uint8_t code = 0;
        bool isPress = false;
    };

    quint64 longestRepeatGap;
    QList<Event> events;
    Event strayRelease; // the latest of what was not held
};

} // namespace tavik
