// SPDX-License-Identifier: MIT
#include "pages/screen/screen_stream.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/made_images.h"
#include "virtual_keyboard/keyboard_state.h"

#include <QTemporaryDir>

#include <ctime>

namespace tavik::tests {

QByteArrayList seeds()
{
    QImage picture(16, 8, QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgba(16 * x, 32 * y, 128, 255 - 8 * x));
    }
    const QImage indexed = picture.convertToFormat(QImage::Format_Indexed8);
    const Gif transparent{{4, 4},
                          manyColors(4),
                          {{{0, 0, 4, 4}, QByteArray(16, '\1'), 2},
                           {{1, 1, 2, 9}, QByteArray(18, '\2'), 200, GifDisposal::Previous, 2}}};
    return {encodePlainGif({8, 8}, manyColors(3), 5),
            encodeGif(transparent),
            encodeImage(picture, "png"),
            encodeImage(indexed, "png"),
            encodeImage(picture.convertToFormat(QImage::Format_RGBA64), "png"),
            encodeImage(picture, "bmp"),
            encodeImage(indexed, "bmp"),
            encodeImage(picture, "jpg"),
            encodeTurnedJpeg(picture, 6),
            encodeCmykJpeg(picture),
            encodeJpegInPasses({16, 8}, 3, 2),
            encodeBlackPng({8, 8}, 1, 1)};
}

void check(const QByteArray& input)
{
    // A file of one picture counts as an animation by its name alone.
    static const QTemporaryDir directory;
    const bool isNamedGif = input.size() % 2 == 0;
    const QString path = directory.filePath(isNamedGif ? "picture.gif" : "picture");
    writeFile(path, input);
    const std::clock_t start = std::clock();
    const QList<ScreenFrame> frames = importImages({path});
    TAVIK_HOLDS(std::clock() - start < 10 * CLOCKS_PER_SEC); // half the speed: instrumented
    TAVIK_HOLDS(frames.size() <= screenFrameLimit);
    if (frames.isEmpty())
        return;

    // The keyboard understands every animation that could be read.
    const ScreenStream stream = buildScreenStream(frames);
    std::vector<virtual_keyboard::ScreenFrame> shown;
    TAVIK_HOLDS(virtual_keyboard::decodeScreenStream(stream, shown).empty());
    TAVIK_HOLDS(shown.size() == static_cast<std::size_t>(frames.size()));
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const ScreenFrame& frame = frames.at(static_cast<qsizetype>(i));
        TAVIK_HOLDS(frame.image.size() == screenSize);
        TAVIK_HOLDS(frame.delayMs >= 20 && frame.delayMs <= 1275);
        TAVIK_HOLDS(shown[i].time.count() == std::min(frame.delayMs / 2 * 2, 510));
        const QColor corner = frame.image.pixelColor(0, 0);
        TAVIK_HOLDS(corner.alpha() < 255 ||
                    shown[i].pixels.front() == ((corner.red() & 0xF8) << 8 |
                                                (corner.green() & 0xFC) << 3 | corner.blue() >> 3));
    }
}

} // namespace tavik::tests
