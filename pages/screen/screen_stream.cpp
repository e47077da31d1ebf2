// SPDX-License-Identifier: MIT
#include "pages/screen/screen_stream.h"

#include <QtEndian>

#include <algorithm>

namespace tavik {

namespace {

constexpr std::size_t headerSize = 256;
constexpr std::size_t frameSize = 128 * 128 * sizeof(quint16);
static_assert(frameSize == sizeof(quint16) * screenSize.width() * screenSize.height());
static_assert(2 + screenFrameLimit <= headerSize);

constexpr std::uint8_t filler = 0xFF;
constexpr std::uint8_t endOfTimes = 0x00;

constexpr int timeUnitMs = 2;
constexpr int shortestTime = 10;
constexpr int longestTime = 0xFF;

std::size_t roundedUpToBlocks(std::size_t size)
{
    return (size + screenBlockSize - 1) / screenBlockSize * screenBlockSize;
}

// The low bits of each channel are dropped.
quint16 packedPixel(QRgb pixel)
{
    return static_cast<quint16>(((pixel >> 8) & 0xF800U) | ((pixel >> 5) & 0x07E0U) |
                                ((pixel >> 3) & 0x001FU));
}

// Writes one frame of pixels, rows from top to bottom, and returns the place behind it.
std::uint8_t* writeFrame(const QImage& frame, std::uint8_t* out)
{
    Q_ASSERT(frame.size() == screenSize);
    // Eight bits a channel and no transparency, held in words of 32 bits; most frames come so.
    const QImage image =
        frame.format() == QImage::Format_RGB32
            ? frame
            : frame.convertToFormat(QImage::Format_RGB888).convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < screenSize.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < screenSize.width(); ++x) {
            qToLittleEndian(packedPixel(row[x]), out);
            out += sizeof(quint16);
        }
    }
    return out;
}

} // namespace

std::uint8_t screenTimeByte(int delayMs)
{
    // From 512 ms on it is the longest time; what lies between is as long because of the division.
    return static_cast<std::uint8_t>(std::clamp(delayMs / timeUnitMs, shortestTime, longestTime));
}

ScreenStream buildScreenStream(const QList<ScreenFrame>& frames)
{
    Q_ASSERT(!frames.isEmpty() && frames.size() <= screenFrameLimit);
    const auto count = static_cast<std::size_t>(frames.size());
    ScreenStream stream(roundedUpToBlocks(headerSize + count * frameSize), filler);
    std::uint8_t* time = stream.data();
    *time++ = static_cast<std::uint8_t>(count);
    for (const ScreenFrame& frame : frames)
        *time++ = screenTimeByte(frame.delayMs);
    *time = endOfTimes;

    std::uint8_t* pixels = stream.data() + headerSize;
    for (const ScreenFrame& frame : frames)
        pixels = writeFrame(frame.image, pixels);
    return stream;
}

} // namespace tavik
