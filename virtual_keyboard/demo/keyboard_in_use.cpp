// SPDX-License-Identifier: MIT
#include "virtual_keyboard/demo/keyboard_in_use.h"

#include "model/key_names.h"
#include "virtual_keyboard/demo/sent_text.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace tavik::virtual_keyboard {

namespace {

constexpr unsigned long usageDelete = 0x4C;
constexpr unsigned long usageFn = 0xAF;

// By sleep code: never, and 1, 5 and 30 minutes at a second each.
constexpr std::array<int, 4> sleepSeconds = {0, 1, 5, 30};

constexpr KeyboardInUse::Milliseconds frameTime{40}; // 25 frames a second

bool hasLight(const KeyRecord& key)
{
    return key.lightIndex >= 0 && key.lightIndex < static_cast<int>(keyCount);
}

std::vector<LightSpot> spotsOf(const KeyboardLayout& layout)
{
    std::vector<LightSpot> spots;
    for (const KeyRecord& key : layout.keys) {
        const QPointF center = QRectF(key.rect).center();
        if (hasLight(key))
            spots.push_back({.index = static_cast<std::size_t>(key.lightIndex),
                             .x = center.x() / std::max(1, layout.width),
                             .y = center.y() / std::max(1, layout.height)});
    }
    return spots;
}

} // namespace

KeyboardInUse::KeyboardInUse(const KeyboardModel& keyboardModel,
                             const KeyboardLayout& keyboardLayout)
    : model(keyboardModel), layout(keyboardLayout), spots(spotsOf(keyboardLayout))
{
}

QString KeyboardInUse::press(int lightIndex, Milliseconds now)
{
    const auto key = std::ranges::find(layout.keys, lightIndex, &KeyRecord::lightIndex);
    if (key == layout.keys.end() || !hasLight(*key))
        return {};
    lastUse = now;
    pressedKey = lightIndex;
    std::erase_if(presses,
                  [&](const KeyPress& press) { return now - press.time > longestPressEffect; });
    const auto spot =
        std::ranges::find(spots, static_cast<std::size_t>(lightIndex), &LightSpot::index);
    presses.push_back({.spot = *spot, .time = now});

    // Another function may have been given to Fn itself; then it is let go by it once.
    const auto index = static_cast<std::size_t>(lightIndex);
    const bool isFn = key->code == usageFn &&
                      (fnHeld || model.keyAction(LayerId::Base, index) == KeyActionBytes{});
    if (isFn) {
        fnHeld = !fnHeld;
        return fnHeld ? QStringLiteral("nothing; Fn is held until you click it again")
                      : QStringLiteral("nothing; Fn is released");
    }
    const bool isFactoryFunction = model.keyAction(layer(), index) == KeyActionBytes{};
    if (fnHeld && key->code == usageDelete && isFactoryFunction)
        return showNextAnimation(now);
    return sentText(model, *key, layer());
}

// From the clock to the animation that came last, from there through the other slots that hold
// one, and back to the clock.
QString KeyboardInUse::showNextAnimation(Milliseconds now)
{
    const int latest = model.state().latestSlot;
    slotSince = now;
    if (latest == 0)
        return QStringLiteral("nothing; the screen has no animation yet");
    const bool isNew = std::exchange(latestKnown, latest) != latest;
    if (isNew)
        slotShown = 0; // the round begins with what has just been sent
    int next = slotShown == 0 ? latest : slotShown % screenSlotCount + 1;
    while (next != latest && model.screenSlot(next).empty())
        next = next % screenSlotCount + 1;
    slotShown = slotShown != 0 && next == latest ? 0 : next;
    return slotShown == 0 ? QStringLiteral("nothing; the screen shows its clock")
                          : QStringLiteral("nothing; the screen shows slot %1").arg(slotShown);
}

void KeyboardInUse::losePower()
{
    pressedKey = -1;
    fnHeld = false;
    slotShown = 0;
    presses.clear();
}

bool KeyboardInUse::isDown(const KeyRecord& key) const
{
    return key.lightIndex == pressedKey || (fnHeld && key.code == usageFn);
}

QMap<int, QString> KeyboardInUse::captions() const
{
    QMap<int, QString> texts;
    for (const LightSpot& spot : spots) {
        const KeyActionBytes bytes = model.keyAction(layer(), spot.index);
        const QString text = keyActionLabel({bytes[0], bytes[1], bytes[2], bytes[3]}, {});
        if (!text.isEmpty())
            texts.insert(static_cast<int>(spot.index), text);
    }
    return texts;
}

std::optional<KeyboardInUse::Milliseconds> KeyboardInUse::sleepTime() const
{
    const int seconds = sleepSeconds.at(model.state().sleepCode);
    return seconds == 0 ? std::nullopt : std::optional(Milliseconds(1000 * seconds));
}

bool KeyboardInUse::isAsleep(Milliseconds now) const
{
    const auto time = sleepTime();
    return time && now - lastUse >= *time;
}

LightScene KeyboardInUse::scene(Milliseconds now) const
{
    return {.held = model.state(),
            .spots = spots,
            .aspect = static_cast<double>(layout.width) / std::max(1, layout.height),
            .presses = presses,
            .now = now};
}

std::vector<KeyColor> KeyboardInUse::lights(Milliseconds now) const
{
    std::vector<KeyColor> colors(keyCount, KeyColor{});
    if (isAsleep(now))
        return colors;
    const LightScene moment = scene(now);
    for (const LightSpot& spot : spots)
        colors[spot.index] = keyLight(moment, spot);
    return colors;
}

KeyboardInUse::Picture KeyboardInUse::pictureAt(Milliseconds now) const
{
    if (slotShown == 0)
        return {};
    const std::vector<ScreenFrame>& frames = model.screenSlot(slotShown);
    const Milliseconds total = std::accumulate(
        frames.begin(), frames.end(), Milliseconds(0),
        [](Milliseconds sum, const ScreenFrame& frame) { return sum + frame.time; });
    if (total.count() == 0)
        return {};
    Milliseconds left = (now - slotSince) % total;
    for (const ScreenFrame& frame : frames) {
        if (left < frame.time)
            return {&frame, frames.size() > 1 ? frame.time - left : Milliseconds(0)};
        left -= frame.time;
    }
    return {};
}

const ScreenFrame* KeyboardInUse::screenPicture(Milliseconds now) const
{
    return pictureAt(now).frame;
}

std::optional<KeyboardInUse::Milliseconds> KeyboardInUse::nextChange(Milliseconds now) const
{
    if (isAsleep(now))
        return std::nullopt;
    if (lightMoves(scene(now)))
        return frameTime;
    std::optional<Milliseconds> next;
    if (const auto time = sleepTime())
        next = lastUse + *time - now;
    if (const Milliseconds left = pictureAt(now).left; left.count() > 0)
        next = std::min(next.value_or(left), left);
    return next;
}

} // namespace tavik::virtual_keyboard
