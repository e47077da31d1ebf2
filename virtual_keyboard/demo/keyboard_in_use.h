// SPDX-License-Identifier: MIT
#pragma once

#include "model/keyboard_layout.h"
#include "virtual_keyboard/keyboard_effects.h"
#include "virtual_keyboard/keyboard_model.h"

#include <QMap>
#include <QString>

#include <optional>

namespace tavik::virtual_keyboard {

// What a keyboard does by itself while somebody uses it: the layer that its keys are on, the light
// of the moment, when it goes to sleep, what its screen shows. It has no clock; times are those of
// one that never runs back. The model and the layout are not owned.
class KeyboardInUse
{
public:
    using Milliseconds = std::chrono::milliseconds;

    KeyboardInUse(const KeyboardModel& keyboardModel, const KeyboardLayout& keyboardLayout);

    // The key with this light index goes down. Fn stays down until it is pressed again. Returns in
    // words what the computer gets.
    QString press(int lightIndex, Milliseconds now);
    void release() { pressedKey = -1; }
    // Whatever is held is let go; the screen goes back to its clock.
    void losePower();
    // The computer has spoken to the keyboard, which keeps the light on like a key.
    void spokenTo(Milliseconds now) { lastUse = now; }

    [[nodiscard]] LayerId layer() const { return fnHeld ? LayerId::Fn : LayerId::Base; }
    [[nodiscard]] bool isDown(const KeyRecord& key) const;
    // What the keyboard holds for its keys on that layer, by light index: the captions that the
    // program draws on them, but macros by their numbers. Those with a factory function have none.
    [[nodiscard]] QMap<int, QString> captions() const;

    // A minute of sleep time lasts a second.
    [[nodiscard]] bool isAsleep(Milliseconds now) const;
    // The colors of the lights by light index.
    [[nodiscard]] std::vector<KeyColor> lights(Milliseconds now) const;
    // The picture that the screen shows, or null for its clock.
    [[nodiscard]] const ScreenFrame* screenPicture(Milliseconds now) const;

    // How long until light or screen look different with nobody doing anything; nothing when they
    // stay. The clock on the screen is not counted.
    [[nodiscard]] std::optional<Milliseconds> nextChange(Milliseconds now) const;

private:
    struct Picture
    {
        const ScreenFrame* frame = nullptr;
        Milliseconds left{0}; // until the next one; 0 for never
    };

    [[nodiscard]] LightScene scene(Milliseconds now) const;
    [[nodiscard]] std::optional<Milliseconds> sleepTime() const;
    [[nodiscard]] Picture pictureAt(Milliseconds now) const;
    [[nodiscard]] QString showNextAnimation(Milliseconds now);

    const KeyboardModel& model;
    const KeyboardLayout& layout;
    std::vector<LightSpot> spots;
    std::vector<KeyPress> presses;
    Milliseconds lastUse{0};
    bool fnHeld = false;
    int pressedKey = -1;
    int latestKnown = 0; // the slot that was written last when the screen was switched last
    int slotShown = 0;   // 0 for the clock
    Milliseconds slotSince{0};
};

} // namespace tavik::virtual_keyboard
