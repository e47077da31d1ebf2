// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/keyboard_model.h"

#include <algorithm>

namespace tavik::virtual_keyboard {

// A host that talks to the model as the keyboard wants it: every pause kept, every answer fetched.
// Tests of a violation change one thing of it.
struct Host
{
    using Milliseconds = std::chrono::milliseconds;

    KeyboardModel keyboard;
    Milliseconds now{0};

    void wait(int duration) { now += Milliseconds(duration); }

    void send(std::span<const std::uint8_t> payload)
    {
        wait(35);
        keyboard.setFeature(payload, now);
    }

    Report read()
    {
        wait(50);
        return keyboard.getFeature(now);
    }

    Report exchange(const Report& report)
    {
        send(report);
        return read();
    }

    static Report commandReport(std::uint8_t code, std::uint8_t argument = 0,
                                std::uint8_t count = 0, std::uint8_t countHigh = 0)
    {
        Report report{0x04, code, argument};
        report[8] = count;
        report[9] = countHigh;
        return report;
    }

    Report command(std::uint8_t code, std::uint8_t argument = 0, std::uint8_t count = 0,
                   std::uint8_t countHigh = 0)
    {
        return exchange(commandReport(code, argument, count, countHigh));
    }

    Report open(std::uint8_t flag) { return command(0x18, 0, flag); }
    Report commit() { return command(0x02); }
    Report finish(std::uint8_t flag) { return command(0xF0, 0, flag); }

    // Sends the bytes in reports of 64, each with its pause behind it.
    void sendSlices(std::span<const std::uint8_t> bytes)
    {
        for (std::size_t offset = 0; offset < bytes.size(); offset += reportSize) {
            Report slice{};
            std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), reportSize,
                        slice.begin());
            exchange(slice);
            wait(2);
        }
    }

    void sendBlocks(std::span<const std::uint8_t> stream)
    {
        for (std::size_t offset = 0; offset < stream.size(); offset += blockSize)
            static_cast<void>(keyboard.screenReport(stream.subspan(offset, blockSize)));
    }
};

inline Report lightingPayload()
{
    return {0x0B, 0xFF, 0, 0, 0, 0, 0, 0, 1, 5, 3, 3, 0, 0, 0xAA, 0x55};
}

inline Report sleepPayload(std::uint8_t code)
{
    Report payload{};
    payload[8] = code;
    payload[62] = 0xAA;
    payload[63] = 0x55;
    return payload;
}

// Four bytes a key, all of them `fill`, and the marker.
inline std::vector<std::uint8_t> layerImage(std::uint8_t fill)
{
    std::vector<std::uint8_t> image(576, fill);
    image[574] = 0xAA;
    image[575] = 0x55;
    return image;
}

// Every key of one color, and the marker.
inline std::vector<std::uint8_t> bankImage(KeyColor color)
{
    std::vector<std::uint8_t> image;
    for (std::size_t key = 0; key < keyCount; ++key)
        image.insert(image.end(), {static_cast<std::uint8_t>(key), color[0], color[1], color[2]});
    image[574] = 0xAA;
    image[575] = 0x55;
    return image;
}

// One macro at index 2: press A after 300 ms, release it after 10 ms; padded to seven reports.
inline std::vector<std::uint8_t> macroImage()
{
    std::vector<std::uint8_t> image(448, 0);
    const std::vector<std::uint8_t> record = {4,    0,    0,  0, 0x2C, 0x01,
                                              0x04, 0xB0, 10, 0, 0x04, 0x30};
    image[8] = 0x90;
    image[9] = 0x01;
    std::ranges::copy(record, image.begin() + 400);
    return image;
}

// `frameCount` frames in one color each (the pixel value is the frame's number), 100 ms long.
inline std::vector<std::uint8_t> screenStream(std::size_t frameCount)
{
    const std::size_t used = 256 + frameCount * 32768;
    std::vector<std::uint8_t> stream((used + blockSize - 1) / blockSize * blockSize, 0xFF);
    stream[0] = static_cast<std::uint8_t>(frameCount);
    std::fill_n(stream.begin() + 1, frameCount, std::uint8_t{50});
    stream[1 + frameCount] = 0;
    for (std::size_t pixel = 0; pixel < frameCount * 16384; ++pixel) {
        stream[256 + 2 * pixel] = static_cast<std::uint8_t>(pixel / 16384);
        stream[257 + 2 * pixel] = 0;
    }
    return stream;
}

} // namespace tavik::virtual_keyboard
