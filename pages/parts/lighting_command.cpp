// SPDX-License-Identifier: MIT
#include "pages/parts/lighting_command.h"

#include "device/device.h"

namespace tavik {

namespace {

constexpr std::uint8_t sleepArgument = 1;

std::uint8_t byteOf(int value)
{
    return static_cast<std::uint8_t>(value & 0xFF);
}

} // namespace

Report lightingModePayload(const LightingSettings& settings)
{
    Report payload{};
    payload[0] = settings.effect;
    payload[1] = settings.color.red;
    payload[2] = settings.color.green;
    payload[3] = settings.color.blue;
    payload[8] = settings.randomColor ? 1 : 0;
    payload[9] = byteOf(settings.brightness);
    payload[10] = byteOf(settings.speed);
    payload[11] = byteOf(settings.direction);
    // The mode payload closes early; the sleep payload has its marker at the very end.
    payload[14] = markerFirst;
    payload[15] = markerSecond;
    return payload;
}

Report lightingSleepPayload(int sleepCode)
{
    Report payload{};
    payload[8] = byteOf(sleepCode);
    payload[62] = markerFirst;
    payload[63] = markerSecond;
    return payload;
}

bool sendLightingMode(const LightingSettings& settings)
{
    Device& device = Device::instance();
    return device.isOpen() &&
           device.sendCommand(CommandCode::LightingMode, 0, lightingModePayload(settings));
}

bool sendLightingSleep(int sleepCode)
{
    Device& device = Device::instance();
    return device.isOpen() && device.sendCommand(CommandCode::LightingSleep, sleepArgument,
                                                 lightingSleepPayload(sleepCode));
}

} // namespace tavik
