// SPDX-License-Identifier: MIT
#include "virtual_keyboard/keyboard_effects.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tavik::virtual_keyboard {

namespace {

// How strongly a key is lit, 0 to 1, and its place in the rainbow, of which only the fraction
// counts. A fixed color has no use for the latter.
struct Tone
{
    double amount = 0;
    double hue = 0;
};

// In beats: an effect repeats once a beat, or its parts do.
constexpr std::array<double, 6> beatsPerSecond = {0.25, 0.4, 0.6, 0.85, 1.15, 1.5};
constexpr double burstBeats = 2;
static_assert(burstBeats / beatsPerSecond[0] * 1000 <= longestPressEffect.count());

constexpr double keyPitch = 0.147; // from row to row

double beatsIn(const LightScene& scene, std::chrono::milliseconds time)
{
    return std::chrono::duration<double>(time).count() * beatsPerSecond.at(scene.held.lighting[10]);
}

double fraction(double value)
{
    return value - std::floor(value);
}

// 1 at whole numbers, 0 half-way between them, smooth.
double wave(double phase)
{
    return 0.5 + 0.5 * std::cos(2 * std::numbers::pi * phase);
}

// 1 at 0 and falling to 0 at this distance.
double near(double distance, double reach)
{
    return std::max(0.0, 1 - std::abs(distance) / reach);
}

// 0 to 1: the same for the same numbers, and without a pattern.
double scatter(double first, double second = 0)
{
    return fraction(std::sin(first * 12.9898 + second * 78.233 + 1) * 43758.5453);
}

double scatter(const LightSpot& spot, double second = 0)
{
    return scatter(static_cast<double>(spot.index), second);
}

struct Crests
{
    double count = 1; // in a whole rainbow
    double sharpness = 1;
    double dimmest = 0; // the light between them
};

Tone crests(double phase, const Crests& shape)
{
    const double height = std::pow(wave(phase * shape.count), shape.sharpness);
    return {shape.dimmest + (1 - shape.dimmest) * height, phase};
}

constexpr LightSpot middle{.x = 0.5, .y = 0.5};

// Calls the function with every key that was pressed lately and the beats since then.
template <typename Function>
void forEachPress(const LightScene& scene, Function function)
{
    for (const KeyPress& press : scene.presses) {
        const double age = beatsIn(scene, scene.now - press.time);
        if (age >= 0 && age < burstBeats)
            function(press.spot, age);
    }
}

// A key at a moment, with a function for each effect.
class KeyMoment
{
public:
    KeyMoment(const LightScene& wholeScene, const LightSpot& key)
        : scene(wholeScene), spot(key), beats(beatsIn(scene, scene.now))
    {
    }

    Tone ledOff() const { return {0, scatter(spot)}; }
    Tone steady() const { return {1, scatter(spot)}; }

    // A pressed key lights up and fades.
    Tone singleOn() const
    {
        Tone tone{0, scatter(spot)};
        forEachPress(scene, [&](const LightSpot& source, double age) {
            if (source.index == spot.index)
                tone.amount = std::max(tone.amount, near(age, burstBeats));
        });
        return tone;
    }

    // All keys are lit; a pressed one goes out and comes back.
    Tone singleOff() const { return {1 - singleOn().amount, scatter(spot)}; }

    // Now this key twinkles, now that.
    Tone glittering() const
    {
        const double phase = beats + scatter(spot);
        const double twinkle = std::floor(phase);
        if (scatter(spot, twinkle) > 0.4)
            return {};
        return {wave(phase + 0.5), scatter(spot, twinkle + 0.5)};
    }

    // Drops fall one behind the other, each in a lane of its own.
    Tone falling() const
    {
        const double lane = std::floor(across(spot) * (isSideways ? 6 : 16));
        const double drop = beats + scatter(lane);
        const double behind = fraction(drop) * 1.6 - along(spot);
        return {behind < 0 ? 0 : near(behind, 0.6), scatter(lane, std::floor(drop))};
    }

    // Every key goes through the colors on its own.
    Tone colourful() const { return crests(beats / 2 + scatter(spot), {.dimmest = 0.35}); }

    Tone breath() const { return {wave(beats / 2 + 0.5), std::floor(beats / 2) * 0.3}; }

    // The whole board goes through the rainbow at once.
    Tone spectrum() const { return crests(beats / 4, {.count = 2, .dimmest = 0.7}); }

    // Rings run from the middle to the edge.
    Tone outward() const
    {
        return crests((distance(middle) - beats) / 2, {.count = 2, .sharpness = 2});
    }

    // A broad band with sharp edges runs through, and another one after it.
    Tone scrolling() const
    {
        const double phase = along(spot) - beats / 2;
        return {std::clamp(wave(phase * 2) * 3 - 1, 0.0, 1.0), phase};
    }

    // A rainbow, or a long wave, rolls over all keys.
    Tone rolling() const { return crests(along(spot) - beats / 2, {.dimmest = 0.35}); }

    // Two beams turn about a place near the edge where the direction begins; what is turned to the
    // opposite edge turns the other way about.
    Tone rotating() const
    {
        const double forward = (along(spot) - 0.3) * (isSideways ? scene.aspect : 1);
        const double aside = (across(spot) - 0.5) * (isSideways ? 1 : scene.aspect);
        const double angle = std::atan2(aside, forward) / 2 / std::numbers::pi;
        return crests(angle - beats / 3, {.count = 2, .sharpness = 2});
    }

    // A disk bursts from a key and burns out.
    Tone explode() const
    {
        return strongestBurst([&](const LightSpot& source, double age, bool) {
            const double edge = age * 1.4 - distance(source);
            return std::clamp(edge / 0.15, 0.0, 1.0) * near(age, burstBeats / 1.5);
        });
    }

    // A shot runs from a pressed key along its row or column; others come from the edge.
    Tone launch() const
    {
        return strongestBurst([&](const LightSpot& source, double age, bool isPressed) {
            const double reach = isSideways ? 1 : scene.aspect;
            const double aside = std::abs(across(spot) - across(source)) * reach;
            const double way = along(spot) - (isPressed ? along(source) : 0);
            const double behind = age * 0.9 - way;
            const bool isInLane = aside < keyPitch / 2 && way > -0.01;
            return isInLane && behind >= 0 ? near(behind, 0.35) : 0;
        });
    }

    // Rings spread from a key.
    Tone ripples() const
    {
        return strongestBurst([&](const LightSpot& source, double age, bool) {
            return near(distance(source) - age, 0.25) * near(age, burstBeats);
        });
    }

    // Streams that wind like water.
    Tone flowing() const
    {
        const double bend = 0.12 * std::sin(2 * std::numbers::pi * (across(spot) + beats / 5));
        return crests(along(spot) + bend - beats / 3, {.count = 2, .dimmest = 0.15});
    }

    // Beats like a heart: twice in short order, from the middle.
    Tone pulsating() const
    {
        const double phase = fraction(beats);
        const double size = near(phase - 0.15, 0.15) + 0.7 * near(phase - 0.42, 0.18);
        const double edge = size * 1.5 - distance(middle);
        return {0.08 + 0.92 * std::clamp(edge / 0.5, 0.0, 1.0), std::floor(beats) * 0.13};
    }

    // Slanting stripes move across.
    Tone tilt() const
    {
        const double slant = across(spot) * (isSideways ? 0.35 : 1.5);
        return crests(along(spot) + slant - beats / 2, {.count = 2, .sharpness = 1.5});
    }

    // A bar goes there and back.
    Tone shuttle() const
    {
        const double place = 1 - std::abs(2 * fraction(beats / 2) - 1);
        return {near(along(spot) - place, isSideways ? 0.18 : 0.4), beats / 8};
    }

private:
    // The way from the edge where the effect begins to the one where it ends, 0 to 1.
    double along(const LightSpot& at) const
    {
        const double place = isSideways ? at.x : at.y;
        return direction == 2 || direction == 3 ? 1 - place : place;
    }

    double across(const LightSpot& at) const { return isSideways ? at.y : at.x; }

    // In heights of the board.
    double distance(const LightSpot& from) const
    {
        return std::hypot((spot.x - from.x) * scene.aspect, spot.y - from.y);
    }

    // The strongest tone that a burst gives to the key: bursts come from pressed keys, and by
    // themselves from others, one a beat.
    template <typename Function>
    Tone strongestBurst(Function amountOf) const
    {
        Tone strongest;
        const auto take = [&](const LightSpot& source, double age, bool isPressed) {
            const double amount = amountOf(source, age, isPressed);
            if (amount > strongest.amount)
                strongest = {amount, scatter(source) + age / 4};
        };
        forEachPress(scene, [&](const LightSpot& source, double age) { take(source, age, true); });
        const double count = static_cast<double>(scene.spots.size());
        for (const double burst : {std::floor(beats) - 1, std::floor(beats)})
            take(scene.spots.at(static_cast<std::size_t>(scatter(burst) * count)), beats - burst,
                 false);
        return strongest;
    }

    const LightScene& scene;
    const LightSpot& spot;
    double beats;
    int direction = scene.held.lighting[11]; // right, down, up, left
    bool isSideways = direction != 1 && direction != 2;
};

enum class Motion { Never, AfterPress, Always };

struct LightEffect
{
    Tone (KeyMoment::*tone)() const;
    Motion motion = Motion::Always;
};

// By code.
constexpr auto effects = std::to_array<LightEffect>({{&KeyMoment::ledOff, Motion::Never},
                                                     {&KeyMoment::steady, Motion::Never},
                                                     {&KeyMoment::singleOn, Motion::AfterPress},
                                                     {&KeyMoment::singleOff, Motion::AfterPress},
                                                     {&KeyMoment::glittering},
                                                     {&KeyMoment::falling},
                                                     {&KeyMoment::colourful},
                                                     {&KeyMoment::breath},
                                                     {&KeyMoment::spectrum},
                                                     {&KeyMoment::outward},
                                                     {&KeyMoment::scrolling},
                                                     {&KeyMoment::rolling},
                                                     {&KeyMoment::rotating},
                                                     {&KeyMoment::explode},
                                                     {&KeyMoment::launch},
                                                     {&KeyMoment::ripples},
                                                     {&KeyMoment::flowing},
                                                     {&KeyMoment::pulsating},
                                                     {&KeyMoment::tilt},
                                                     {&KeyMoment::shuttle}});
static_assert(effects.size() == effectNames.size());

// A color of the rainbow: full and bright, red at 0.
std::array<double, 3> rainbow(double hue)
{
    std::array<double, 3> channels{};
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
        const double place = fraction(hue - static_cast<double>(channel) / 3 + 0.5) - 0.5;
        channels.at(channel) = std::clamp(2 - std::abs(place) * 6, 0.0, 1.0);
    }
    return channels;
}

} // namespace

KeyColor keyLight(const LightScene& scene, const LightSpot& spot)
{
    const Report& lighting = scene.held.lighting;
    const bool isCustom = lighting[0] == customEffect;
    const Tone tone =
        isCustom ? Tone{1, 0} : (KeyMoment(scene, spot).*effects.at(lighting[0]).tone)();
    const KeyColor fixed = isCustom ? scene.held.colorBank.at(spot.index)
                                    : KeyColor{lighting[1], lighting[2], lighting[3]};
    const bool isRainbow = !isCustom && lighting[8] != 0;
    const std::array<double, 3> hues = rainbow(tone.hue);
    const double light = tone.amount * lighting[9] / 5;
    KeyColor color{};
    for (std::size_t channel = 0; channel < color.size(); ++channel) {
        const double full = isRainbow ? hues.at(channel) * 255 : fixed.at(channel);
        color.at(channel) = static_cast<std::uint8_t>(std::lround(full * light));
    }
    return color;
}

bool lightMoves(const LightScene& scene)
{
    const Report& lighting = scene.held.lighting;
    if (lighting[0] == customEffect || lighting[9] == 0)
        return false;
    bool isBursting = false;
    forEachPress(scene, [&](const LightSpot&, double) { isBursting = true; });
    const Motion motion = effects.at(lighting[0]).motion;
    return motion == Motion::Always || (motion == Motion::AfterPress && isBursting);
}

} // namespace tavik::virtual_keyboard
