// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/files.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QRect>

#include <cstdint>

namespace tavik::tests {

enum class GifDisposal : std::uint8_t { Unspecified = 0, Previous = 3 };

// One frame of a GIF, as the file states it.
struct GifFrame
{
    QRect area;
    QByteArray pixels;   // palette indices of the area, row by row
    int hundredths = 10; // -1 leaves out the block that holds time, disposal and transparency
    GifDisposal disposal = GifDisposal::Unspecified;
    int transparent = -1; // palette index, or none
};

// A whole animation; its frames may reach beyond its edges.
struct Gif
{
    QSize size;
    QList<QRgb> palette; // at most 256
    QList<GifFrame> frames;
};

[[nodiscard]] QByteArray encodeGif(const Gif& gif);

// No two of them alike; at most 51.
[[nodiscard]] QList<QRgb> manyColors(int count);

// A GIF of full frames, each filled with a color of its own and shown for that long.
[[nodiscard]] QByteArray encodePlainGif(QSize size, const QList<QRgb>& colors, int hundredths);

// A GIF of one red frame whose data do not end with its pixels: that many more bytes follow, and
// each stands for 2,500 pixels.
[[nodiscard]] QByteArray encodeEndlessGif(QSize size, qsizetype moreBytes);

// Bytes of a picture in one of the formats that Qt writes ("png", "jpg", "bmp").
[[nodiscard]] QByteArray encodeImage(const QImage& image, const char* format, int quality = -1);

// A JPEG that asks to be turned as the orientation (1 to 8) says.
[[nodiscard]] QByteArray encodeTurnedJpeg(const QImage& image, std::uint8_t orientation);

// A JPEG in four inks whose width and height are multiples of 8, each 8 x 8 block in the color of
// its top left pixel.
[[nodiscard]] QByteArray encodeCmykJpeg(const QImage& image);

// A JPEG that is gray all over and comes in passes: first all inks, then the first one alone, again
// and again. Its width and height are multiples of 8.
[[nodiscard]] QByteArray encodeJpegInPasses(QSize size, int inks, int furtherPasses);

// A JPEG with that many comments of 64 kB in front of its picture.
[[nodiscard]] QByteArray encodeCommentedJpeg(const QImage& image, int comments);

// A gray PNG with that many bits for each pixel, all black. Its bytes are few, whatever its size.
// So many compressed texts of 8 MB stand in front of its picture.
[[nodiscard]] QByteArray encodeBlackPng(QSize size, int bitsPerPixel, int texts = 0);

} // namespace tavik::tests
