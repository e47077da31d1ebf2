#pragma once

#include <QByteArray>
#include <QImage>
#include <QRect>

#include <cstdint>

class QIODevice;

namespace tavik {

// Puts the pictures of a GIF together one by one, as browsers show them: each frame is drawn over
// what the frames before it left on an empty canvas, and what no frame has drawn is transparent.
// Holds three pictures at most, and as much of the file as one of them takes. Takes no lock.
class GifFrames
{
public:
    // The device stands open at the first byte of the file and outlives this object. A canvas or a
    // frame of more pixels than the limit counts as a fault.
    GifFrames(QIODevice& source, qint64 largestPixelCount);

    // Goes on to the next picture. False at the end of the file and from its first fault on; the
    // picture before it stays. A frame that breaks off is shown as far as it goes.
    [[nodiscard]] bool readNext();

    // The whole canvas; null before the first picture.
    [[nodiscard]] const QImage& picture() const { return canvas; }

    // How long the picture is shown, 20 to 655350. What is too short to be meant is 100.
    [[nodiscard]] int delayMs() const { return delay; }

private:
    struct Palette
    {
        QByteArray colors;         // three bytes for each
        std::uint8_t sizeBits = 0; // as the file states that there is one, and how large
    };

    enum class Disposal : std::uint8_t { Keep, Clear, Restore };

    // What stands in front of a frame about it.
    struct Control
    {
        Disposal disposal = Disposal::Keep;
        bool hasTransparency = false;
        char transparentIndex = 0;
    };

    struct Frame
    {
        QRect area;
        bool isInterlaced = false;
        Palette palette;
        char codeSize = 0;     // bits of an index into the palette
        bool isWhole = false;  // the file does not end within the data
        bool isOpaque = false; // each pixel has a color
    };

    [[nodiscard]] bool begin();
    [[nodiscard]] bool findFrame();
    [[nodiscard]] bool readExtension();
    [[nodiscard]] bool readFrame(Frame& frame);
    [[nodiscard]] bool fitsLimit(QRect area);
    [[nodiscard]] bool readPalette(std::uint8_t flags, Palette& palette);
    [[nodiscard]] bool readBlocks(qsizetype mostBytes, QByteArray& data);
    void writeFrameFile(const Frame& frame);
    [[nodiscard]] QImage decode(const Frame& frame);
    void disposeOfLast();
    void draw(QImage patch, QRect area);

    QIODevice& device;
    qint64 pixelLimit;
    bool hasBegun = false;
    bool hasEnded = false;
    QSize canvasSize;
    Palette commonPalette;
    Control control;
    int hundredths = 0; // a frame that states no time takes that of the one before it

    // Kept from frame to frame, because fresh memory takes time.
    QByteArray frameData;
    QByteArray frameFile;

    QImage canvas;
    int delay = 0;
    Disposal disposal = Disposal::Keep; // of the frame drawn last
    QRect drawnArea;
    QImage before; // what it was drawn over, if that is to be restored
};

} // namespace tavik
