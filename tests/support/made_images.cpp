// SPDX-License-Identifier: MIT
#include "tests/support/made_images.h"

#include <QBuffer>
#include <QtEndian>

#include <array>
#include <bit>
#include <cstdlib>
#include <unordered_map>

namespace tavik::tests {

namespace {

void appendByte(QByteArray& bytes, int value)
{
    bytes.append(static_cast<char>(value));
}

void appendLittle(QByteArray& bytes, int value)
{
    appendByte(bytes, value & 0xFF);
    appendByte(bytes, value >> 8);
}

void appendBig(QByteArray& bytes, int value)
{
    appendByte(bytes, value >> 8);
    appendByte(bytes, value & 0xFF);
}

void appendBig32(QByteArray& bytes, quint32 value)
{
    std::array<char, 4> big{};
    qToBigEndian(value, big.data());
    bytes.append(big.data(), big.size());
}

// GIF fills bytes from their low bit on.
class LowBitWriter
{
public:
    void write(unsigned value, int width)
    {
        pending |= value << count;
        for (count += width; count >= 8; count -= 8, pending >>= 8)
            appendByte(bytes, static_cast<int>(pending & 0xFF));
    }

    QByteArray finish()
    {
        if (count > 0)
            appendByte(bytes, static_cast<int>(pending & 0xFF));
        return bytes;
    }

private:
    QByteArray bytes;
    unsigned pending = 0;
    int count = 0;
};

// JPEG fills bytes from their high bit on, and puts a zero behind each FF.
class HighBitWriter
{
public:
    void write(unsigned value, int width)
    {
        for (int bit = width - 1; bit >= 0; --bit)
            writeBit((value >> bit) & 1U);
    }

    QByteArray finish()
    {
        while (count != 0)
            writeBit(1);
        return bytes;
    }

private:
    void writeBit(unsigned bit)
    {
        pending = (pending << 1) | bit;
        if (++count < 8)
            return;
        appendByte(bytes, static_cast<int>(pending));
        if (pending == 0xFF)
            appendByte(bytes, 0);
        pending = 0;
        count = 0;
    }

    QByteArray bytes;
    unsigned pending = 0;
    int count = 0;
};

constexpr int gifCodeSize = 8;
constexpr unsigned gifClear = 1U << gifCodeSize;
constexpr unsigned gifEnd = gifClear + 1;
constexpr unsigned gifCodeLimit = 4096;

QByteArray compressGifPixels(const QByteArray& pixels)
{
    LowBitWriter writer;
    std::unordered_map<unsigned, unsigned> codes; // by known code and the byte behind it
    unsigned next = gifEnd + 1;
    int width = gifCodeSize + 1;
    writer.write(gifClear, width);
    unsigned current = static_cast<quint8>(pixels.front());
    for (const char pixel : pixels.sliced(1)) {
        const unsigned key = (current << 8) | static_cast<quint8>(pixel);
        if (const auto known = codes.find(key); known != codes.end()) {
            current = known->second;
            continue;
        }
        writer.write(current, width);
        current = static_cast<quint8>(pixel);
        if (next == gifCodeLimit) {
            writer.write(gifClear, width);
            codes.clear();
            next = gifEnd + 1;
            width = gifCodeSize + 1;
            continue;
        }
        if (next == 1U << width)
            ++width;
        codes.emplace(key, next++);
    }
    writer.write(current, width);
    if (next == 1U << width && width < 12)
        ++width;
    writer.write(gifEnd, width);
    return writer.finish();
}

// The exponent in a GIF's size byte: the palette has 2 << exponent entries.
int paletteExponent(const QList<QRgb>& palette)
{
    int exponent = 0;
    while ((qsizetype{2} << exponent) < palette.size())
        ++exponent;
    return exponent;
}

void appendPalette(QByteArray& bytes, const QList<QRgb>& palette)
{
    const qsizetype entries = qsizetype{2} << paletteExponent(palette);
    for (qsizetype index = 0; index < entries; ++index) {
        const QRgb color = palette.value(index);
        for (const int channel : {qRed(color), qGreen(color), qBlue(color)})
            appendByte(bytes, channel);
    }
}

void appendGifControl(QByteArray& bytes, const GifFrame& frame)
{
    bytes += QByteArray::fromHex("21f904");
    appendByte(bytes, static_cast<int>(frame.disposal) << 2 | (frame.transparent >= 0 ? 1 : 0));
    appendLittle(bytes, frame.hundredths);
    appendByte(bytes, std::max(frame.transparent, 0));
    appendByte(bytes, 0);
}

void appendGifBlocks(QByteArray& bytes, const QByteArray& data)
{
    appendByte(bytes, gifCodeSize);
    for (qsizetype start = 0; start < data.size(); start += 255) {
        const QByteArray piece = data.mid(start, 255);
        appendByte(bytes, static_cast<int>(piece.size()));
        bytes += piece;
    }
    appendByte(bytes, 0);
}

void appendGifFrame(QByteArray& bytes, const GifFrame& frame)
{
    if (frame.hundredths >= 0)
        appendGifControl(bytes, frame);
    appendByte(bytes, 0x2C);
    for (const int number :
         {frame.area.x(), frame.area.y(), frame.area.width(), frame.area.height()})
        appendLittle(bytes, number);
    appendByte(bytes, 0);
    appendGifBlocks(bytes, compressGifPixels(frame.pixels));
}

void appendJpegSegment(QByteArray& bytes, int marker, const QByteArray& content)
{
    appendByte(bytes, 0xFF);
    appendByte(bytes, marker);
    appendBig(bytes, static_cast<int>(content.size()) + 2);
    bytes += content;
}

void appendJpegFrame(QByteArray& bytes, int marker, QSize size, int inks)
{
    QByteArray frame(1, '\x08');
    appendBig(frame, size.height());
    appendBig(frame, size.width());
    appendByte(frame, inks);
    for (int ink = 1; ink <= inks; ++ink) {
        appendByte(frame, ink);
        frame += QByteArray::fromHex("1100");
    }
    appendJpegSegment(bytes, marker, frame);
}

// The pass ends with what it says of coefficients, in hexadecimal.
void appendJpegPass(QByteArray& bytes, int inks, const char* coefficients)
{
    QByteArray pass(1, static_cast<char>(inks));
    for (int ink = 1; ink <= inks; ++ink) {
        appendByte(pass, ink);
        appendByte(pass, 0);
    }
    appendJpegSegment(bytes, 0xDA, pass + QByteArray::fromHex(coefficients));
}

constexpr int inkCount = 4;

// Tables for blocks of one color each: every size of a first coefficient has a code of four bits,
// and the only other code says that nothing follows.
void appendCmykTables(QByteArray& bytes, QSize size)
{
    appendJpegSegment(bytes, 0xEE, QByteArray("Adobe") + QByteArray::fromHex("00640000000000"));
    appendJpegSegment(bytes, 0xDB, QByteArray(1, '\0') + QByteArray(64, '\x08'));
    appendJpegFrame(bytes, 0xC0, size, inkCount);
    appendJpegSegment(bytes, 0xC4,
                      QByteArray::fromHex("00"
                                          "0000000c000000000000000000000000"
                                          "000102030405060708090a0b"));
    appendJpegSegment(bytes, 0xC4,
                      QByteArray::fromHex("10"
                                          "01000000000000000000000000000000"
                                          "00"));
    appendJpegPass(bytes, inkCount, "003f00");
}

void writeJpegBlock(HighBitWriter& writer, int difference)
{
    const auto magnitude = static_cast<unsigned>(std::abs(difference));
    const int size = static_cast<int>(std::bit_width(magnitude));
    writer.write(static_cast<unsigned>(size), 4);
    writer.write(difference < 0 ? ~magnitude & ((1U << size) - 1) : magnitude, size);
    writer.write(0, 1); // no further coefficients
}

quint32 pngChecksum(const QByteArray& bytes)
{
    quint32 checksum = 0xFFFFFFFF;
    for (const char byte : bytes) {
        checksum ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            checksum = (checksum >> 1) ^ ((checksum & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~checksum;
}

void appendPngChunk(QByteArray& bytes, const QByteArray& type, const QByteArray& content)
{
    appendBig32(bytes, static_cast<quint32>(content.size()));
    bytes += type + content;
    appendBig32(bytes, pngChecksum(type + content));
}

} // namespace

QByteArray encodeGif(const Gif& gif)
{
    QByteArray bytes("GIF89a");
    appendLittle(bytes, gif.size.width());
    appendLittle(bytes, gif.size.height());
    appendByte(bytes, 0x80 | paletteExponent(gif.palette));
    appendByte(bytes, 0);
    appendByte(bytes, 0);
    appendPalette(bytes, gif.palette);
    for (const GifFrame& frame : gif.frames)
        appendGifFrame(bytes, frame);
    appendByte(bytes, 0x3B);
    return bytes;
}

QList<QRgb> manyColors(int count)
{
    QList<QRgb> colors;
    for (int index = 0; index < count; ++index)
        colors += qRgb(index * 5, 255 - index * 4, index * 3);
    return colors;
}

QByteArray encodePlainGif(QSize size, const QList<QRgb>& colors, int hundredths)
{
    Gif gif{.size = size, .palette = colors, .frames = {}};
    const qsizetype pixelCount = qsizetype{size.width()} * size.height();
    for (qsizetype index = 0; index < colors.size(); ++index) {
        gif.frames += GifFrame{.area = QRect(QPoint(), size),
                               .pixels = QByteArray(pixelCount, static_cast<char>(index)),
                               .hundredths = hundredths};
    }
    return encodeGif(gif);
}

QByteArray encodeEndlessGif(QSize size, qsizetype moreBytes)
{
    // One long run: each code stands for one pixel more than the one before, up to the last code.
    LowBitWriter writer;
    int width = gifCodeSize + 1;
    writer.write(gifClear, width);
    writer.write(0, width);
    for (unsigned code = gifEnd + 1; code < gifCodeLimit; ++code) {
        writer.write(code, width);
        if (code + 1 == 1U << width && width < 12)
            ++width;
    }
    QByteArray bytes = encodeGif({.size = size, .palette = {qRgb(255, 0, 0)}, .frames = {}});
    bytes.chop(1);
    appendByte(bytes, 0x2C);
    for (const int number : {0, 0, size.width(), size.height()})
        appendLittle(bytes, number);
    appendByte(bytes, 0);
    // The last code consists of ones alone.
    appendGifBlocks(bytes, writer.finish() + QByteArray(moreBytes, '\xFF'));
    appendByte(bytes, 0x3B);
    return bytes;
}

QByteArray encodeImage(const QImage& image, const char* format, int quality)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format, quality))
        qFatal("Qt does not write %s", format);
    return buffer.data();
}

QByteArray encodeTurnedJpeg(const QImage& image, std::uint8_t orientation)
{
    QByteArray exif("Exif\0\0MM\0\x2A", 10);
    appendBig32(exif, 8); // where the directory is
    appendBig(exif, 1);   // its number of entries: the orientation, one 16-bit number
    exif += QByteArray::fromHex("0112"
                                "0003"
                                "00000001");
    appendBig(exif, orientation);
    appendBig(exif, 0);
    appendBig32(exif, 0); // no further directory

    const QByteArray plain = encodeImage(image, "jpg", 100);
    QByteArray bytes = plain.first(2);
    appendJpegSegment(bytes, 0xE1, exif);
    return bytes + plain.sliced(2);
}

QByteArray encodeCmykJpeg(const QImage& image)
{
    constexpr int blockSide = 8;
    QByteArray bytes = QByteArray::fromHex("ffd8");
    appendCmykTables(bytes, image.size());
    HighBitWriter writer;
    std::array<int, inkCount> previous{};
    for (int y = 0; y < image.height(); y += blockSide) {
        for (int x = 0; x < image.width(); x += blockSide) {
            // Inks are stored as what they let through, around zero; black ink is not used.
            const QRgb color = image.pixel(x, y);
            const std::array<int, inkCount> inks{qRed(color) - 128, qGreen(color) - 128,
                                                 qBlue(color) - 128, 255 - 128};
            for (std::size_t ink = 0; ink < inks.size(); ++ink) {
                writeJpegBlock(writer, inks.at(ink) - previous.at(ink));
                previous.at(ink) = inks.at(ink);
            }
        }
    }
    return bytes + writer.finish() + QByteArray::fromHex("ffd9");
}

QByteArray encodeJpegInPasses(QSize size, int inks, int furtherPasses)
{
    QByteArray bytes = QByteArray::fromHex("ffd8");
    appendJpegSegment(bytes, 0xDB, QByteArray(1, '\0') + QByteArray(64, '\x08'));
    appendJpegFrame(bytes, 0xC2, size, inks);
    // One code of one bit each: "as before" for first coefficients, and for the others "nothing in
    // as many blocks as the next 14 bits say".
    for (const char* codes :
         {"000100000000000000000000000000000000", "1001000000000000000000000000000000e0"})
        appendJpegSegment(bytes, 0xC4, QByteArray::fromHex(codes));
    const int blocks = size.width() / 8 * (size.height() / 8);
    appendJpegPass(bytes, inks, "000000");
    bytes += QByteArray(blocks * inks / 8 + 1, '\0');

    HighBitWriter writer;
    constexpr int mostBlocks = (1 << 15) - 1;
    for (int left = blocks; left > 0; left -= mostBlocks)
        writer.write(mostBlocks & 0x3FFF, 1 + 14);
    QByteArray pass;
    appendJpegPass(pass, 1, "013f10");
    pass += writer.finish();
    return bytes + pass.repeated(furtherPasses) + QByteArray::fromHex("ffd9");
}

QByteArray encodeCommentedJpeg(const QImage& image, int comments)
{
    const QByteArray plain = encodeImage(image, "jpg");
    QByteArray comment;
    appendJpegSegment(comment, 0xFE, QByteArray(65'000, 'a'));
    return plain.first(2) + comment.repeated(comments) + plain.sliced(2);
}

QByteArray encodeBlackPng(QSize size, int bitsPerPixel, int texts)
{
    const qsizetype bytesPerRow = 1 + (qsizetype{size.width()} * bitsPerPixel + 7) / 8;
    QByteArray header;
    appendBig32(header, static_cast<quint32>(size.width()));
    appendBig32(header, static_cast<quint32>(size.height()));
    appendByte(header, bitsPerPixel);
    header += QByteArray(4, '\0'); // gray, the usual compression and filter, not interlaced

    QByteArray bytes = QByteArray::fromHex("89504e470d0a1a0a");
    appendPngChunk(bytes, "IHDR", header);
    if (texts > 0) {
        QByteArray text;
        const QByteArray letters(7'900'000, 'a');
        appendPngChunk(text, "zTXt", QByteArray("key\0\0", 5) + qCompress(letters).sliced(4));
        bytes += text.repeated(texts);
    }
    const QByteArray rows(bytesPerRow * size.height(), '\0');
    appendPngChunk(bytes, "IDAT", qCompress(rows).sliced(4)); // behind Qt's own length
    appendPngChunk(bytes, "IEND", {});
    return bytes;
}

} // namespace tavik::tests
