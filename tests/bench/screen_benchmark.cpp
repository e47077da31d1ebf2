#include "pages/screen/screen_stream.h"
#include "tests/support/made_images.h"

#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <cstring>

// Each task stands beside its bare cost: what Qt alone takes to read and scale the same file, and
// what it takes to copy the same bytes.

using namespace tavik;

namespace {

constexpr int frameCount = 30;
constexpr QSize gifSize(1920, 1080);

// Thirty full pictures with soft edges that move, so that neither compression nor scaling has it
// easier than with a film.
QByteArray filmGif()
{
    tests::Gif gif{.size = gifSize, .palette = {}, .frames = {}};
    for (int index = 0; index < 256; ++index)
        gif.palette += qRgb(index, (index * 3) % 256, 255 - index);
    for (int frame = 0; frame < frameCount; ++frame) {
        QByteArray pixels;
        pixels.reserve(qsizetype{gifSize.width()} * gifSize.height());
        for (int y = 0; y < gifSize.height(); ++y) {
            for (int x = 0; x < gifSize.width(); ++x)
                pixels += static_cast<char>((x * x / 900 + y * 2 + frame * 5 + (x ^ y) % 7) & 255);
        }
        gif.frames += tests::GifFrame{.area = QRect(QPoint(), gifSize), .pixels = pixels};
    }
    return tests::encodeGif(gif);
}

QString filmPath()
{
    static const QTemporaryDir directory;
    static const QString path = directory.filePath(QStringLiteral("film.gif"));
    static const bool written = [] {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(filmGif()) > 0;
    }();
    if (!written)
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QList<ScreenFrame> frames()
{
    QList<ScreenFrame> result;
    for (int index = 0; index < frameCount; ++index) {
        QImage image(screenSize, QImage::Format_RGB32);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, qRgb(x * 2 + index, y * 2, x * y + index));
        }
        result += {image, 100};
    }
    return result;
}

void readAndScaleFilm(benchmark::State& state)
{
    const QString path = filmPath();
    for ([[maybe_unused]] auto iteration : state) {
        QImageReader reader(path);
        QImage picture;
        int count = 0;
        for (; count < frameCount && reader.read(&picture); ++count)
            benchmark::DoNotOptimize(
                picture.scaled(screenSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        if (count != frameCount)
            state.SkipWithError("the film does not have its frames");
    }
}

void importFilm(benchmark::State& state)
{
    const QString path = filmPath();
    for ([[maybe_unused]] auto iteration : state) {
        if (importImages({path}).size() != frameCount)
            state.SkipWithError("the film does not have its frames");
    }
}

void copyStream(benchmark::State& state)
{
    const ScreenStream stream = buildScreenStream(frames());
    for ([[maybe_unused]] auto iteration : state) {
        ScreenStream copy(stream);
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
}

void copyFrames(benchmark::State& state)
{
    const QList<ScreenFrame> source = frames();
    const auto frameBytes = static_cast<std::size_t>(source.first().image.sizeInBytes());
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<std::uint8_t> copy(frameBytes * frameCount);
        std::uint8_t* place = copy.data();
        for (const ScreenFrame& frame : source) {
            std::memcpy(place, frame.image.constBits(), frameBytes);
            place += frameBytes;
        }
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
}

void buildStream(benchmark::State& state)
{
    const QList<ScreenFrame> source = frames();
    for ([[maybe_unused]] auto iteration : state) {
        const ScreenStream stream = buildScreenStream(source);
        benchmark::DoNotOptimize(stream.data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(readAndScaleFilm)->Unit(benchmark::kMillisecond);
BENCHMARK(importFilm)->Unit(benchmark::kMillisecond);
BENCHMARK(copyStream)->Unit(benchmark::kMicrosecond);
BENCHMARK(copyFrames)->Unit(benchmark::kMicrosecond);
BENCHMARK(buildStream)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
