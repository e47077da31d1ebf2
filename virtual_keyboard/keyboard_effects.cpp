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

double beats(const LightScene& scene, std::chrono::milliseconds time)
{
    return std::chrono::duration<double>(time).count() * beatsPerSecond.at(scene.held.lighting[10]);
}

double beats(const LightScene& scene)
{
    return beats(scene, scene.now);
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

bool isSideways(const LightScene& scene)
{
    return scene.held.lighting[11] == 0 || scene.held.lighting[11] == 3;
}

// The way from the edge where the effect begins to the one where it ends, 0 to 1.
double along(const LightScene& scene, const LightSpot& spot)
{
    switch (scene.held.lighting[11]) {
    case 1:
        return spot.y;
    case 2:
        return 1 - spot.y;
    case 3:
        return 1 - spot.x;
    default:
        return spot.x;
    }
}

double across(const LightScene& scene, const LightSpot& spot)
{
    return isSideways(scene) ? spot.y : spot.x;
}

// In heights of the board.
double distance(const LightScene& scene, const LightSpot& from, const LightSpot& to)
{
    return std::hypot((to.x - from.x) * scene.aspect, to.y - from.y);
}

constexpr LightSpot middle{.x = 0.5, .y = 0.5};

// Calls the function with every key that was pressed lately and the beats since then, and, where
// the effect also starts bursts by itself, with keys that it has chosen.
template <typename Function>
void forEachBurst(const LightScene& scene, bool byItself, Function function)
{
    for (const KeyPress& press : scene.presses) {
        const double age = beats(scene, scene.now - press.time);
        if (age >= 0 && age < burstBeats)
            function(press.spot, age);
    }
    if (!byItself || scene.spots.empty())
        return;
    const double count = static_cast<double>(scene.spots.size());
    const double number = std::floor(beats(scene));
    for (double burst = number - 1; burst <= number; ++burst)
        function(scene.spots.at(static_cast<std::size_t>(scatter(burst) * count)),
                 beats(scene) - burst);
}

// The strongest tone that any burst gives to a key.
template <typename Function>
Tone strongestBurst(const LightScene& scene, Function amountOf)
{
    Tone strongest;
    forEachBurst(scene, true, [&](const LightSpot& source, double age) {
        const double amount = amountOf(source, age);
        if (amount > strongest.amount)
            strongest = {amount, scatter(source) + age / 4};
    });
    return strongest;
}

Tone ledOff(const LightScene&, const LightSpot&)
{
    return {};
}

Tone steady(const LightScene&, const LightSpot& spot)
{
    return {1, scatter(spot)};
}

// A pressed key lights up and fades.
Tone singleOn(const LightScene& scene, const LightSpot& spot)
{
    Tone tone{0, scatter(spot)};
    forEachBurst(scene, false, [&](const LightSpot& source, double age) {
        if (source.index == spot.index)
            tone.amount = std::max(tone.amount, near(age, burstBeats));
    });
    return tone;
}

// All keys are lit; a pressed one goes out and comes back.
Tone singleOff(const LightScene& scene, const LightSpot& spot)
{
    const Tone tone = singleOn(scene, spot);
    return {1 - tone.amount, tone.hue};
}

// Now this key twinkles, now that.
Tone glittering(const LightScene& scene, const LightSpot& spot)
{
    const double phase = beats(scene) + scatter(spot);
    const double twinkle = std::floor(phase);
    if (scatter(spot, twinkle) > 0.4)
        return {};
    return {wave(phase + 0.5), scatter(spot, twinkle + 0.5)};
}

// Drops fall one behind the other, each in a lane of its own.
Tone falling(const LightScene& scene, const LightSpot& spot)
{
    const double lanes = isSideways(scene) ? 6 : 16;
    const double lane = std::floor(across(scene, spot) * lanes);
    const double drop = beats(scene) + scatter(lane);
    const double behind = fraction(drop) * 1.6 - along(scene, spot);
    return {behind < 0 ? 0 : near(behind, 0.6), scatter(lane, std::floor(drop))};
}

// Every key goes through the colors on its own.
Tone colourful(const LightScene& scene, const LightSpot& spot)
{
    const double phase = beats(scene) / 2 + scatter(spot);
    return {0.35 + 0.65 * wave(phase), phase};
}

Tone breath(const LightScene& scene, const LightSpot&)
{
    const double phase = beats(scene) / 2;
    return {wave(phase + 0.5), std::floor(phase) * 0.3};
}

// The whole board goes through the rainbow at once.
Tone spectrum(const LightScene& scene, const LightSpot&)
{
    const double phase = beats(scene) / 4;
    return {0.7 + 0.3 * wave(phase * 2), phase};
}

// Rings run from the middle to the edge.
Tone outward(const LightScene& scene, const LightSpot& spot)
{
    const double phase = distance(scene, middle, spot) - beats(scene);
    return {std::pow(wave(phase), 2), phase / 2};
}

// A broad band with sharp edges runs through, and another one after it.
Tone scrolling(const LightScene& scene, const LightSpot& spot)
{
    const double phase = along(scene, spot) - beats(scene) / 2;
    return {std::clamp(wave(phase * 2) * 3 - 1, 0.0, 1.0), phase};
}

// A rainbow, or a long wave, rolls over all keys.
Tone rolling(const LightScene& scene, const LightSpot& spot)
{
    const double phase = along(scene, spot) - beats(scene) / 2;
    return {0.35 + 0.65 * wave(phase), phase};
}

// Two beams turn about the middle: to the right and down as a clock does.
Tone rotating(const LightScene& scene, const LightSpot& spot)
{
    const double angle =
        std::atan2(spot.y - middle.y, (spot.x - middle.x) * scene.aspect) / 2 / std::numbers::pi;
    const bool clockwise = scene.held.lighting[11] < 2;
    const double phase = (clockwise ? angle : -angle) - beats(scene) / 3;
    return {std::pow(wave(phase * 2), 2), phase};
}

// A disk bursts from a key and burns out.
Tone explode(const LightScene& scene, const LightSpot& spot)
{
    return strongestBurst(scene, [&](const LightSpot& source, double age) {
        const double edge = age * 1.4 - distance(scene, source, spot);
        return std::clamp(edge / 0.15, 0.0, 1.0) * near(age, burstBeats / 1.5);
    });
}

// A shot runs from a key along its row or column.
Tone launch(const LightScene& scene, const LightSpot& spot)
{
    return strongestBurst(scene, [&](const LightSpot& source, double age) {
        const double reach = isSideways(scene) ? 1 : scene.aspect;
        const double aside = std::abs(across(scene, spot) - across(scene, source)) * reach;
        const double way = along(scene, spot) - along(scene, source);
        const double behind = age * 0.9 - way;
        const bool isInLane = aside < keyPitch / 2 && way > -0.01;
        return isInLane && behind >= 0 ? near(behind, 0.35) : 0;
    });
}

// Rings spread from a key.
Tone ripples(const LightScene& scene, const LightSpot& spot)
{
    return strongestBurst(scene, [&](const LightSpot& source, double age) {
        return near(distance(scene, source, spot) - age, 0.25) * near(age, burstBeats);
    });
}

// Streams that wind like water.
Tone flowing(const LightScene& scene, const LightSpot& spot)
{
    const double bend =
        0.12 * std::sin(2 * std::numbers::pi * (across(scene, spot) + beats(scene) / 5));
    const double phase = along(scene, spot) + bend - beats(scene) / 3;
    return {0.15 + 0.85 * wave(phase * 2), phase};
}

// Beats like a heart: twice in short order, from the middle.
Tone pulsating(const LightScene& scene, const LightSpot& spot)
{
    const double phase = fraction(beats(scene));
    const double size = near(phase - 0.15, 0.15) + 0.7 * near(phase - 0.42, 0.18);
    const double edge = size * 1.5 - distance(scene, middle, spot);
    return {0.08 + 0.92 * std::clamp(edge / 0.5, 0.0, 1.0), std::floor(beats(scene)) * 0.13};
}

// Slanting stripes move across.
Tone tilt(const LightScene& scene, const LightSpot& spot)
{
    const double slant = across(scene, spot) * (isSideways(scene) ? 0.35 : 1.5);
    const double phase = along(scene, spot) + slant - beats(scene) / 2;
    return {std::pow(wave(phase * 2), 1.5), phase};
}

// A bar goes there and back.
Tone shuttle(const LightScene& scene, const LightSpot& spot)
{
    const double phase = fraction(beats(scene) / 2);
    const double place = phase < 0.5 ? 2 * phase : 2 - 2 * phase;
    const double reach = isSideways(scene) ? 0.18 : 0.4;
    return {near(along(scene, spot) - place, reach), beats(scene) / 8};
}

enum class Motion { Never, AfterPress, Always };

struct LightEffect
{
    Tone (*tone)(const LightScene&, const LightSpot&);
    Motion motion = Motion::Always;
};

// By code.
constexpr auto effects = std::to_array<LightEffect>({{ledOff, Motion::Never},
                                                     {steady, Motion::Never},
                                                     {singleOn, Motion::AfterPress},
                                                     {singleOff, Motion::AfterPress},
                                                     {glittering},
                                                     {falling},
                                                     {colourful},
                                                     {breath},
                                                     {spectrum},
                                                     {outward},
                                                     {scrolling},
                                                     {rolling},
                                                     {rotating},
                                                     {explode},
                                                     {launch},
                                                     {ripples},
                                                     {flowing},
                                                     {pulsating},
                                                     {tilt},
                                                     {shuttle}});
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

std::uint8_t dimmed(double value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

} // namespace

KeyColor keyLight(const LightScene& scene, const LightSpot& spot)
{
    const Report& lighting = scene.held.lighting;
    const bool isCustom = lighting[0] == customEffect;
    const Tone tone = isCustom ? Tone{1, 0} : effects.at(lighting[0]).tone(scene, spot);
    const double light = tone.amount * lighting[9] / 5;
    if (!isCustom && lighting[8] != 0) {
        const auto [red, green, blue] = rainbow(tone.hue);
        return {dimmed(red * light), dimmed(green * light), dimmed(blue * light)};
    }
    const KeyColor color = isCustom ? scene.held.colorBank.at(spot.index)
                                    : KeyColor{lighting[1], lighting[2], lighting[3]};
    return {dimmed(color[0] * light / 255), dimmed(color[1] * light / 255),
            dimmed(color[2] * light / 255)};
}

bool lightMoves(const LightScene& scene)
{
    const Report& lighting = scene.held.lighting;
    if (lighting[0] == customEffect || lighting[9] == 0)
        return false;
    bool isBursting = false;
    forEachBurst(scene, false, [&](const LightSpot&, double) { isBursting = true; });
    const Motion motion = effects.at(lighting[0]).motion;
    return motion == Motion::Always || (motion == Motion::AfterPress && isBursting);
}

} // namespace tavik::virtual_keyboard
