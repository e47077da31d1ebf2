// SPDX-License-Identifier: MIT
#include "pages/screen/image_import.h"

#include "files/picture_chunks.h"
#include "files/regular_file.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <cstdlib>
#include <ctime>

namespace tavik {

namespace {

constexpr int shortestDelayMs = 20;
constexpr int longestDelayMs = 1275;
constexpr int stillDelayMs = 100;
constexpr qsizetype fileNameLimit = 60; // characters of it that are told

// A few bytes can stand for gigabytes or for minutes of work. All limits together keep each file
// within 5 seconds of the processor and 300 MB.
constexpr std::clock_t readingLimit = 4 * CLOCKS_PER_SEC;
constexpr qint64 mega = qint64{1024} * 1024;
constexpr qint64 fileLimit = 64 * mega;
constexpr qint64 stillPixelLimit = 32 * mega;
constexpr qint64 deepPixelLimit = stillPixelLimit / 2; // 16 bits for each color
constexpr qint64 animationPixelLimit = 12 * mega;
// The largest photographs that phones take. From a third of it on they are decoded at half their
// width and height.
constexpr qint64 photographPixelLimit = qint64{8192} * 6144;
constexpr qint64 photographHeaderLimit = 8 * mega; // comments take five times their size
constexpr qint64 photographPortion = 256;          // 4 KB may hold forty passes over all pixels

qint64 pixelCount(QSize size)
{
    // A bitmap stored from top to bottom states a negative height.
    return std::abs(qint64{size.width()}) * std::abs(qint64{size.height()});
}

// Hands a file on in portions, and reports its end once reading has taken too long.
class PictureSource final : public QIODevice
{
public:
    PictureSource(QIODevice& whole, qint64 largestPortion, std::clock_t latest)
        : source(whole), portion(largestPortion), deadline(latest)
    {
        open(QIODevice::ReadOnly);
    }

    void endAt(qint64 position) { end = position; }

    qint64 size() const override { return source.size(); }

    bool seek(qint64 position) override
    {
        return QIODevice::seek(position) && source.seek(position);
    }

protected:
    qint64 readData(char* data, qint64 largestSize) override
    {
        if (std::clock() >= deadline)
            return 0;
        const qint64 left = std::max<qint64>(end - source.pos(), 0);
        return source.read(data, std::min({largestSize, portion, left}));
    }

    qint64 writeData(const char* /*data*/, qint64 /*size*/) override { return -1; }

private:
    QIODevice& source;
    qint64 portion;
    std::clock_t deadline;
    qint64 end = fileLimit;
};

ScreenFrame createFrame(QImage picture, int delayMs)
{
    // Whether it is scaled or fits already: a color behind a transparent pixel must not come to
    // light.
    if (picture.format() == QImage::Format_ARGB32)
        picture.convertTo(QImage::Format_ARGB32_Premultiplied);
    return {picture.scaled(screenSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation), delayMs};
}

struct FileImport
{
    QList<ScreenFrame> frames;
    qsizetype frameCount = 0; // in the file, as far as it was looked at
};

FileImport readAnimation(QImageReader& reader)
{
    QList<ScreenFrame> frames;
    QImage picture;
    while (frames.size() < screenFrameLimit && reader.read(&picture)) {
        const int delayMs = std::clamp(reader.nextImageDelay(), shortestDelayMs, longestDelayMs);
        frames += createFrame(picture, delayMs);
    }
    return {frames, std::max<qsizetype>(reader.imageCount(), frames.size())};
}

FileImport readStill(QImageReader& reader)
{
    const QSize size = reader.size();
    if (reader.format() == "jpeg" && pixelCount(size) > photographPixelLimit / 3)
        reader.setScaledSize(size / 2);
    QImage picture;
    if (!reader.read(&picture))
        return {};
    return {{createFrame(std::move(picture), stillDelayMs)}, 1};
}

bool isAffordable(const QImageReader& reader, bool isAnimation)
{
    const qint64 pixels = pixelCount(reader.size());
    if (isAnimation)
        return pixels <= animationPixelLimit;
    if (reader.format() == "jpeg")
        return pixels <= photographPixelLimit;
    const bool isDeep = QImage::toPixelFormat(reader.imageFormat()).redSize() > 8;
    return pixels <= (isDeep ? deepPixelLimit : stillPixelLimit);
}

// The JPEG library keeps a picture that comes in several passes, up to so many bytes.
void limitPhotographs()
{
    if (!qEnvironmentVariableIsSet("JPEGMEM"))
        qputenv("JPEGMEM", "152M");
}

FileImport importFrom(QIODevice& file, bool isNamedAnimation)
{
    const std::clock_t deadline = std::clock() + readingLimit;
    // What the file dialog offers. Content decides, not the name: other readers, one for vector
    // graphics among them, inflate and parse a whole file before they tell its size.
    const QByteArray format = QImageReader::imageFormat(&file);
    if (!QByteArrayList{"bmp", "gif", "jpeg", "png"}.contains(format))
        return {};
    const bool isPhotograph = format == "jpeg";

    QBuffer chunks;
    if (format == "png") {
        chunks.setData(readPictureChunks(file));
        chunks.open(QIODevice::ReadOnly);
    }
    PictureSource source(chunks.isOpen() ? static_cast<QIODevice&>(chunks) : file,
                         isPhotograph ? photographPortion : fileLimit, deadline);
    QImageReader reader(&source, format);
    reader.setAutoTransform(true);
    source.endAt(isPhotograph ? photographHeaderLimit : fileLimit);
    // Counting the pictures means reading the whole file, so the name is asked first.
    const bool isAnimation = isNamedAnimation || reader.imageCount() > 1;
    if (!isAffordable(reader, isAnimation))
        return {};
    source.endAt(fileLimit);
    return isAnimation ? readAnimation(reader) : readStill(reader);
}

FileImport importFile(const QString& path)
{
    QFile file;
    if (!openRegularFile(file, path, fileLimit))
        return {};
    return importFrom(file, path.endsWith(QLatin1String(".gif"), Qt::CaseInsensitive));
}

QString outcomeOf(const QString& name, const FileImport& file)
{
    const qsizetype taken = file.frames.size();
    if (taken == 0)
        return QStringLiteral("%1: cannot be read").arg(name);
    if (file.frameCount > taken)
        return QStringLiteral("%1: %2 of %3 frames")
            .arg(name, QString::number(taken), QString::number(file.frameCount));
    return taken == 1 ? QStringLiteral("%1: 1 frame").arg(name)
                      : QStringLiteral("%1: %2 frames").arg(name, QString::number(taken));
}

} // namespace

QList<ScreenFrame> importImages(const QStringList& paths, QStringList* outcomes)
{
    limitPhotographs();
    QList<ScreenFrame> frames;
    QStringList lines;
    for (const QString& path : paths) {
        if (frames.size() >= screenFrameLimit) {
            lines +=
                QStringLiteral("The last %1 of %2 files: not read, there are %3 frames already")
                    .arg(paths.size() - lines.size())
                    .arg(paths.size())
                    .arg(frames.size());
            break;
        }
        const FileImport file = importFile(path);
        frames += file.frames;
        lines += outcomeOf(QFileInfo(path).fileName().left(fileNameLimit), file);
    }
    if (outcomes != nullptr)
        *outcomes = lines;
    return frames;
}

QList<ScreenFrame> importContent(const QByteArray& content)
{
    if (content.size() > fileLimit)
        return {};
    limitPhotographs();
    QBuffer file;
    file.setData(content);
    file.open(QIODevice::ReadOnly);
    return importFrom(file, false).frames;
}

} // namespace tavik
