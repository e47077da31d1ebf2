// SPDX-License-Identifier: MIT
#include "pages/screen/screen_stream.h"
#include "tests/bench/comparison.h"
#include "tests/support/files.h"
#include "tests/support/made_images.h"

#include <QImageReader>
#include <QTemporaryDir>

#include <cstring>

namespace tavik::bench {

namespace {

constexpr int frameCount = 30;

// Soft edges that move, so that neither compression nor scaling has it easier than with a film.
int softPixel(int x, int y, int frame)
{
    return (x * x / 900 + y * 2 + frame * 5 + (x ^ y) % 7) & 255;
}

QByteArray filmGif(QSize size)
{
    tests::Gif gif{.size = size, .palette = {}, .frames = {}};
    for (int index = 0; index < 256; ++index)
        gif.palette += qRgb(index, (index * 3) % 256, 255 - index);
    for (int frame = 0; frame < frameCount; ++frame) {
        QByteArray pixels;
        pixels.reserve(qsizetype{size.width()} * size.height());
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x)
                pixels += static_cast<char>(softPixel(x, y, frame));
        }
        gif.frames += tests::GifFrame{.area = QRect(QPoint(), size), .pixels = pixels};
    }
    return tests::encodeGif(gif);
}

QImage softImage(QSize size, int frame)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            row[x] = qRgb(x * 200 / size.width(), softPixel(x, y, frame), 255 - y % 256);
    }
    return image;
}

// Makes the compiler believe that somebody reads what lies there.
void keep(const void* bytes)
{
    asm volatile("" : : "g"(bytes) : "memory");
}

Comparison import(const QString& name, const QStringList& paths)
{
    const auto program = [=] {
        require(importImages(paths).size() == frameCount, "a frame was not imported");
    };
    const auto reader = [=] {
        int count = 0;
        for (const QString& path : paths) {
            QImageReader file(path);
            QImage picture;
            for (; count < frameCount && file.read(&picture); ++count)
                keep(picture.scaled(screenSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                         .constBits());
        }
        require(count == frameCount, "a frame was not read");
    };
    return processorTimes(name, {1.1, 0}, 3, program, reader);
}

Comparison streamBuilding(int calls)
{
    QList<ScreenFrame> frames;
    for (int index = 0; index < frameCount; ++index)
        frames += {softImage(screenSize, index), 100};
    const auto size =
        static_cast<std::size_t>(frames.constFirst().image.sizeInBytes()) * frameCount;
    const auto source = std::make_shared<std::vector<char>>(size, 'x');
    const auto target = std::make_shared<std::vector<char>>(size);
    const auto copy = [=] {
        std::memcpy(target->data(), source->data(), size);
        keep(target->data());
    };
    return processorTimes(
        "stream of 30 frames", {3, 0}, 15, [=] { keep(buildScreenStream(frames).data()); }, copy,
        calls);
}

} // namespace

QList<Comparison> screenComparisons(Effort effort)
{
    const bool isFull = effort == Effort::Full;
    static const QTemporaryDir directory;
    const QString film = directory.filePath("film.gif");
    tests::writeFile(film, filmGif(isFull ? QSize(1920, 1080) : QSize(192, 108)));
    QStringList photographs;
    for (int index = 0; index < frameCount; ++index) {
        const QString path = directory.filePath(QString::number(index % 4) + ".jpg");
        photographs += path;
        if (index < 4)
            tests::writeFile(
                path,
                tests::encodeImage(softImage(isFull ? QSize(4000, 3000) : QSize(400, 300), index),
                                   "jpg", 90));
    }
    return {import("import of a film of 30 pictures", {film}),
            import("import of 30 photographs", photographs), streamBuilding(isFull ? 50 : 1)};
}

} // namespace tavik::bench
