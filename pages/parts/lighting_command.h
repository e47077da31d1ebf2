// SPDX-License-Identifier: MIT
#pragma once

#include "device/command_report.h"
#include "model/color_bank.h"

#include <array>
#include <cstdint>

namespace tavik {

// One of the effects built into the keyboard; the name is shown as it stands.
struct LightingEffect
{
    const char* name;
    std::uint8_t code;
};

// In the order of the effect list. "LED Off" comes last although its code is 0.
inline constexpr std::array lightingEffects = std::to_array<LightingEffect>({
    {"Static", 0x01},    {"SingleOn", 0x02},  {"SingleOff", 0x03}, {"Glittering", 0x04},
    {"Falling", 0x05},   {"Colourful", 0x06}, {"Breath", 0x07},    {"Spectrum", 0x08},
    {"Outward", 0x09},   {"Scrolling", 0x0A}, {"Rolling", 0x0B},   {"Rotating", 0x0C},
    {"Explode", 0x0D},   {"Launch", 0x0E},    {"Ripples", 0x0F},   {"Flowing", 0x10},
    {"Pulsating", 0x11}, {"Tilt", 0x12},      {"Shuttle", 0x13},   {"LED Off", 0x00},
});

// Makes every key show its own color from the color bank; not part of the list.
inline constexpr std::uint8_t customColorsEffect = 0x80;

// Everything a lighting mode command carries; every field is sent whatever the effect.
struct LightingSettings
{
    std::uint8_t effect = 0;
    KeyColor color = {};
    bool randomColor = false;
    int brightness = 0; // 0 to 5
    int speed = 0;      // 0 to 5
    int direction = 0;  // 0 right, 1 down, 2 up, 3 left
};

// What the window starts with, and what is taken where nothing is said: "Rolling" to the left.
inline constexpr LightingSettings usualLighting{0x0B, {255, 0, 0}, true, 5, 3, 3};

[[nodiscard]] Report lightingModePayload(const LightingSettings& settings);

// sleepCode: 0 never, 1 after one minute, 2 after five, 3 after thirty.
[[nodiscard]] Report lightingSleepPayload(int sleepCode);

// Sends the mode to a connected keyboard. False without a connection (nothing is sent) or with the
// reason in the device's last error. Locks the device itself.
[[nodiscard]] bool sendLightingMode(const LightingSettings& settings);

// Sends the sleep time to a connected keyboard; false as for sendLightingMode().
[[nodiscard]] bool sendLightingSleep(int sleepCode);

} // namespace tavik
