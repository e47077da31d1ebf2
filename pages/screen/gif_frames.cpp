#include "pages/screen/gif_frames.h"

#include <QBuffer>
#include <QIODevice>
#include <QImageReader>
#include <QPainter>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <utility>

namespace tavik {

namespace {

constexpr char extensionMark = '\x21';
constexpr char frameMark = '\x2C';
constexpr char controlLabel = '\xF9';
constexpr std::uint8_t paletteFlag = 0x80;
constexpr std::uint8_t paletteSizeMask = 0x07;
constexpr std::uint8_t interlacedFlag = 0x40;
constexpr qsizetype largestBlock = 255;
constexpr qsizetype bytesPerColor = 3;
constexpr qsizetype headerSize = 13;
constexpr qsizetype frameHeaderSize = 9; // behind its mark
constexpr int widestIndex = 11; // in bits; a code of twelve is the widest that the format has

std::uint8_t byteAt(const QByteArray& bytes, qsizetype offset)
{
    return static_cast<std::uint8_t>(bytes.at(offset));
}

int numberAt(const QByteArray& bytes, qsizetype offset)
{
    return qFromLittleEndian<quint16>(bytes.constData() + offset);
}

void appendNumber(QByteArray& bytes, int number)
{
    bytes += static_cast<char>(number & 0xFF);
    bytes += static_cast<char>(number >> 8);
}

void appendControl(QByteArray& bytes, int hundredths, bool hasTransparency, char transparentIndex)
{
    constexpr char size = 4;
    for (const char byte : {extensionMark, controlLabel, size, hasTransparency ? '\1' : '\0'})
        bytes += byte;
    appendNumber(bytes, hundredths);
    bytes += transparentIndex;
    bytes += '\0';
}

void appendFrameHeader(QByteArray& bytes, QSize size, int flags)
{
    bytes += frameMark;
    for (const int number : {0, 0, size.width(), size.height()})
        appendNumber(bytes, number);
    bytes += static_cast<char>(flags);
}

// Follows the codes of a frame's data and counts the pixels they stand for, without drawing them.
class PixelCounter
{
public:
    // Eight more bytes than the codes take are there to read.
    PixelCounter(const char* data, qint64 size, int bitsPerIndex)
        : bytes(data),
          bitCount(size * 8),
          clearCode(1U << bitsPerIndex),
          firstWidth(bitsPerIndex + 1)
    {
        std::fill_n(lengths.begin(), clearCode, std::uint16_t{1});
        forgetCodes();
    }

    // Goes on for some thousand codes at most, all of one width. False behind the last one.
    [[nodiscard]] bool advance()
    {
        const qint64 codesThere = (bitCount - bit) / width;
        const unsigned firstWiderCode = 1U << width;
        const Step step = next == codeLimit
                              ? follow<false>(std::min<qint64>(codesThere, codeLimit))
                              : follow<true>(std::min<qint64>(codesThere, firstWiderCode - next));
        if (step == Step::Clear)
            forgetCodes();
        else if (next == firstWiderCode && width < widestCode)
            ++width;
        return step != Step::End;
    }

    [[nodiscard]] qint64 pixels() const { return pixelCount; }
    [[nodiscard]] qsizetype bytesTaken() const { return (bit + 7) / 8; }

private:
    static constexpr unsigned codeLimit = 4096;
    static constexpr int widestCode = 12;

    enum class Step : std::uint8_t { Code, Clear, End };

    // The numbers are copied, since going through memory for each code takes twice the time.
    template <bool hasRoom>
    [[nodiscard]] Step follow(qint64 count)
    {
        const unsigned mask = (1U << width) - 1;
        const auto codeWidth = static_cast<unsigned>(width);
        Step step = count > 0 ? Step::Code : Step::End;
        auto place = static_cast<std::uint64_t>(bit);
        qint64 sum = pixelCount;
        unsigned newCode = next;
        unsigned last = length;
        for (; count > 0; --count) {
            const auto bits = qFromLittleEndian<std::uint64_t>(bytes + place / 8) >> (place % 8);
            const unsigned code = static_cast<unsigned>(bits) & mask;
            place += codeWidth;
            if (code - clearCode < 2) {
                step = code == clearCode ? Step::Clear : Step::End;
                break;
            }
            if constexpr (hasRoom) {
                // What the last code stood for and one pixel more; this may be in use already.
                lengths[newCode] = static_cast<std::uint16_t>(last + 1);
                last = lengths[std::min(code, newCode)];
                ++newCode;
            } else {
                last = lengths[code];
            }
            sum += last;
        }
        bit = static_cast<qint64>(place);
        pixelCount = sum;
        next = newCode;
        length = last;
        return step;
    }

    void forgetCodes()
    {
        next = clearCode + 1; // the first code behind a clear one makes none, but takes a turn
        width = firstWidth;
        length = 0;
    }

    const char* bytes;
    qint64 bitCount;
    qint64 bit = 0;
    unsigned clearCode;
    int firstWidth;
    std::array<std::uint16_t, codeLimit> lengths{}; // in pixels
    unsigned next = 0;
    int width = 0;
    unsigned length = 0; // of what the last code stood for
    qint64 pixelCount = 0;
};

// Cuts off what comes well behind the last pixel: a byte there may stand for thousands of pixels
// that nobody sees and that take their time all the same. False if the data end before that pixel.
bool cutBehindPixels(QByteArray& data, int bitsPerIndex, qint64 pixels)
{
    const qsizetype size = data.size();
    data.append(sizeof(std::uint64_t), '\0');
    PixelCounter counter(data.constData(), size, bitsPerIndex);
    bool hasMore = true;
    while (hasMore && counter.pixels() < pixels)
        hasMore = counter.advance();
    data.truncate(counter.bytesTaken());
    return counter.pixels() >= pixels;
}

qint64 pixelCountOf(QSize size)
{
    return qint64{size.width()} * size.height();
}

} // namespace

GifFrames::GifFrames(QIODevice& source, qint64 largestPixelCount)
    : device(source), pixelLimit(largestPixelCount)
{
}

bool GifFrames::readNext()
{
    Frame frame;
    QImage patch;
    if (!hasEnded && (hasBegun || begin()) && findFrame() && readFrame(frame))
        patch = decode(frame);
    if (patch.isNull()) {
        hasEnded = true;
        return false;
    }
    disposeOfLast();
    draw(std::move(patch), frame.area);
    disposal = control.disposal;
    control = {};
    return true;
}

bool GifFrames::begin()
{
    hasBegun = true;
    const QByteArray header = device.read(headerSize);
    if (header.size() < headerSize || !header.startsWith("GIF8"))
        return false;
    canvasSize = QSize(numberAt(header, 6), numberAt(header, 8));
    return readPalette(byteAt(header, 10), commonPalette);
}

// Goes on to the first byte behind the mark of a frame.
bool GifFrames::findFrame()
{
    char mark = 0;
    while (device.getChar(&mark) && mark == extensionMark) {
        if (!readExtension())
            return false;
    }
    return mark == frameMark;
}

bool GifFrames::readExtension()
{
    constexpr qsizetype controlSize = 4;
    char label = 0;
    QByteArray data;
    if (!device.getChar(&label) || !readBlocks(controlSize, data))
        return false;
    if (label != controlLabel || data.size() < controlSize)
        return true;
    constexpr std::array disposals{Disposal::Keep, Disposal::Keep, Disposal::Clear,
                                   // Some programs count on in bits and write 4.
                                   Disposal::Restore, Disposal::Restore};
    const auto kind = static_cast<std::size_t>(byteAt(data, 0) >> 2 & 7);
    control.disposal = kind < disposals.size() ? disposals.at(kind) : Disposal::Keep;
    control.hasTransparency = (byteAt(data, 0) & 1) != 0;
    control.transparentIndex = data.at(3);
    hundredths = numberAt(data, 1);
    return true;
}

bool GifFrames::readFrame(Frame& frame)
{
    const QByteArray header = device.read(frameHeaderSize);
    if (header.size() < frameHeaderSize)
        return false;
    frame.area =
        QRect(numberAt(header, 0), numberAt(header, 2), numberAt(header, 4), numberAt(header, 6));
    const std::uint8_t flags = byteAt(header, 8);
    frame.isInterlaced = (flags & interlacedFlag) != 0;
    if (!fitsLimit(frame.area) || !readPalette(flags, frame.palette) ||
        !device.getChar(&frame.codeSize))
        return false;
    if (frame.palette.colors.isEmpty())
        frame.palette = commonPalette;
    if (frame.codeSize < 1 || frame.codeSize > widestIndex)
        return false;
    // Each pixel takes a code of twelve bits at most, and there is room for some more.
    const qint64 pixels = pixelCountOf(frame.area.size());
    frame.isWhole = readBlocks(2 * pixels + largestBlock, frameData);
    const bool isFilled = cutBehindPixels(frameData, frame.codeSize, pixels);
    const qint64 colors = frame.palette.colors.size() / bytesPerColor;
    frame.isOpaque = isFilled && !control.hasTransparency && colors >= qint64{1} << frame.codeSize;
    return true;
}

// Also settles the size of the canvas, if the file leaves that to its first frame.
bool GifFrames::fitsLimit(QRect area)
{
    if (canvasSize.width() == 0)
        canvasSize.setWidth(area.x() + area.width());
    if (canvasSize.height() == 0)
        canvasSize.setHeight(area.y() + area.height());
    return !canvasSize.isEmpty() && pixelCountOf(canvasSize) <= pixelLimit &&
           pixelCountOf(area.size()) <= pixelLimit;
}

bool GifFrames::readPalette(std::uint8_t flags, Palette& palette)
{
    if ((flags & paletteFlag) == 0)
        return true;
    palette.sizeBits = flags & (paletteFlag | paletteSizeMask);
    const qsizetype size = bytesPerColor * (2 << (flags & paletteSizeMask));
    palette.colors = device.read(size);
    return palette.colors.size() == size;
}

// Keeps the blocks that begin within that many bytes. False if the file ends before the last one.
bool GifFrames::readBlocks(qsizetype mostBytes, QByteArray& data)
{
    data.resize(0);
    std::array<char, largestBlock + 1> block; // and the size of the one behind it
    char next = 0;
    if (!device.getChar(&next))
        return false;
    while (next != 0) {
        const auto size = static_cast<std::uint8_t>(next);
        const qint64 present = device.read(block.data(), size + 1);
        if (data.size() < mostBytes)
            data.append(block.data(), std::clamp(present, qint64{0}, qint64{size}));
        if (present <= size)
            return false;
        next = block.at(size);
    }
    return true;
}

// Writes a file that shows the frame alone.
void GifFrames::writeFrameFile(const Frame& frame)
{
    const QSize size = frame.area.size().expandedTo(QSize(1, 1));
    QByteArray& bytes = frameFile;
    bytes.resize(0);
    bytes += "GIF89a";
    appendNumber(bytes, size.width());
    appendNumber(bytes, size.height());
    bytes += QByteArray(3, '\0'); // no palette for all frames, no background, no shape of pixels
    if (!frame.isOpaque) {
        // An empty picture below the frame, so that what its data leave out is transparent too.
        appendControl(bytes, 0, true, '\0');
        appendFrameHeader(bytes, size, 0);
        bytes += QByteArray("\2\0", 2); // no data
    }
    appendControl(bytes, hundredths, control.hasTransparency, control.transparentIndex);
    const int interlaced = frame.isInterlaced ? interlacedFlag : 0;
    appendFrameHeader(bytes, size, interlaced | frame.palette.sizeBits);
    bytes += frame.palette.colors;
    bytes += frame.codeSize;
    for (qsizetype start = 0; start < frameData.size(); start += largestBlock) {
        const qsizetype length = std::min(largestBlock, frameData.size() - start);
        bytes += static_cast<char>(length);
        bytes.append(frameData.constData() + start, length);
    }
    if (frame.isWhole)
        bytes += '\0';
}

// Null if the frame cannot be shown at all.
QImage GifFrames::decode(const Frame& frame)
{
    writeFrameFile(frame);
    QBuffer buffer;
    buffer.setData(frameFile);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "gif");
    if (!frame.isOpaque && reader.read().isNull())
        return {};
    QImage patch = reader.read();
    if (!patch.isNull())
        delay = reader.nextImageDelay();
    return patch;
}

void GifFrames::disposeOfLast()
{
    if (disposal == Disposal::Keep || drawnArea.isEmpty())
        return;
    canvas.convertTo(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&canvas);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (disposal == Disposal::Clear)
        painter.fillRect(drawnArea, Qt::transparent);
    else
        painter.drawImage(drawnArea.topLeft(), before);
}

void GifFrames::draw(QImage patch, QRect area)
{
    if (canvas.isNull()) {
        canvas = QImage(canvasSize, QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::transparent);
    }
    drawnArea = area & canvas.rect();
    before = {};
    if (drawnArea.isEmpty())
        return;
    if (control.disposal == Disposal::Restore)
        before = canvas.copy(drawnArea);
    if (area == canvas.rect() && !patch.hasAlphaChannel()) {
        canvas = std::move(patch);
        return;
    }
    if (patch.hasAlphaChannel())
        patch.convertTo(QImage::Format_ARGB32_Premultiplied);
    QPainter(&canvas).drawImage(area.topLeft(), patch);
}

} // namespace tavik
