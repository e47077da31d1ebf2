#include "pages/screen/image_import.h"

#include "pages/screen/gif_frames.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace tavik {

namespace {

constexpr int shortestDelayMs = 20;
constexpr int longestDelayMs = 1275;
constexpr int stillDelayMs = 100;

// A few bytes can claim to be a picture of a gigapixel, so the size is looked at before the picture
// is decoded. Qt draws the same line for stills, but complains on standard error; an animation is
// held several times over while it is put together.
constexpr qint64 stillPixelLimit = 32 * 1024 * 1024;
constexpr qint64 animationPixelLimit = 12 * 1024 * 1024;
// The largest photographs that phones take; they are decoded at half their width and height.
constexpr qint64 photographPixelLimit = 8192 * 6144;
// Far beyond any of those; such a file would be read into memory whole.
constexpr qint64 photographFileLimit = 64 * 1024 * 1024;

// What the file dialog offers. Content decides, not the name: other readers, one for vector
// graphics among them, inflate and parse a whole file before they tell its size.
constexpr std::array<const char*, 4> readableFormats{"bmp", "gif", "jpeg", "png"};

// A bitmap stored from top to bottom states a negative height.
qint64 pixelCount(QSize size)
{
    return std::abs(qint64{size.width()}) * std::abs(qint64{size.height()});
}

// A JPEG ends with a marker of its own; without it the picture is gray from some row on, which the
// image reader takes for success.
bool reachesEndMarker(const QByteArray& jpeg)
{
    constexpr quint8 endOfImage = 0xD9;
    qsizetype position = 2;
    while ((position = jpeg.indexOf('\xFF', position)) >= 0 && position + 1 < jpeg.size()) {
        const auto marker = static_cast<quint8>(jpeg.at(position + 1));
        if (marker == endOfImage)
            return true;
        const bool isPadding = marker == 0xFF;
        const bool standsAlone = marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8);
        if (isPadding) {
            ++position;
        } else if (standsAlone) {
            position += 2;
        } else {
            // A segment, skipped as a whole: it may hold a thumbnail with an end of its own.
            if (position + 4 > jpeg.size())
                return false;
            position += 2 + qFromBigEndian<quint16>(jpeg.constData() + position + 2);
        }
    }
    return false;
}

// Rows that an uncompressed bitmap lacks come out black, which the image reader takes for success.
bool holdsEveryRow(const QByteArray& header, qint64 fileSize)
{
    constexpr qsizetype headerSize = 34; // up to the kind of compression
    if (header.size() < headerSize)
        return false;
    const auto numberAt = [&header](qsizetype offset) {
        return qint64{qFromLittleEndian<qint32>(header.constData() + offset)};
    };
    constexpr qint64 informationSize = 40; // older headers are laid out otherwise
    constexpr qint64 bitFields = 3;
    const qint64 compression = numberAt(30);
    if (numberAt(14) < informationSize || (compression != 0 && compression != bitFields))
        return true;
    const qint64 bitsPerPixel = qFromLittleEndian<quint16>(header.constData() + 28);
    const qint64 bytesPerRow = (numberAt(18) * bitsPerPixel + 31) / 32 * 4;
    return numberAt(10) + bytesPerRow * std::abs(numberAt(22)) <= fileSize;
}

// False for a picture that breaks off without the image reader noticing.
bool isWhole(const QString& path, const QByteArray& format)
{
    if (format != "jpeg" && format != "bmp")
        return true;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    if (format == "jpeg" && file.size() > photographFileLimit)
        return false;
    return format == "jpeg" ? reachesEndMarker(file.readAll())
                            : holdsEveryRow(file.read(64), file.size());
}

ScreenFrame createFrame(QImage picture, int delayMs)
{
    // What smooth scaling does itself, but without a copy. Also done for pictures that need no
    // scaling: a color behind a transparent pixel must not come to light in them alone.
    if (picture.format() == QImage::Format_ARGB32)
        picture.convertTo(QImage::Format_ARGB32_Premultiplied);
    QImage image = picture.scaled(screenSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    image.setDevicePixelRatio(1); // "name@2x.png" asks for another
    return {image, delayMs};
}

QList<ScreenFrame> readAnimation(QImageReader& reader)
{
    QList<ScreenFrame> frames;
    QImage picture;
    while (frames.size() < screenFrameLimit && reader.read(&picture)) {
        const int delayMs = std::clamp(reader.nextImageDelay(), shortestDelayMs, longestDelayMs);
        frames += createFrame(picture, delayMs);
    }
    return frames;
}

QList<ScreenFrame> readStill(QImageReader& reader)
{
    const QSize size = reader.size();
    if (pixelCount(size) > stillPixelLimit)
        reader.setScaledSize(size / 2);
    QImage picture;
    if (!reader.read(&picture))
        return {};
    return {createFrame(std::move(picture), stillDelayMs)};
}

// The image reader fills what a GIF's frames leave empty with colors that browsers do not show.
QList<ScreenFrame> readGif(const QString& path, bool isAnimation)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    GifFrames gif(file, animationPixelLimit);
    const qsizetype mostFrames = isAnimation ? screenFrameLimit : 1;
    QList<ScreenFrame> frames;
    while (frames.size() < mostFrames && gif.readNext()) {
        const int delayMs = std::clamp(gif.delayMs(), shortestDelayMs, longestDelayMs);
        frames += createFrame(gif.picture(), isAnimation ? delayMs : stillDelayMs);
    }
    return frames;
}

bool isAffordable(QImageReader& reader, bool isAnimation)
{
    if (isAnimation)
        return pixelCount(reader.size()) <= animationPixelLimit;
    const bool isPhotograph = reader.format() == "jpeg";
    return pixelCount(reader.size()) <= (isPhotograph ? photographPixelLimit : stillPixelLimit);
}

bool isReadable(const QByteArray& format)
{
    return std::any_of(readableFormats.begin(), readableFormats.end(),
                       [&format](const char* name) { return format == name; });
}

QList<ScreenFrame> importFile(const QString& path)
{
    if (!QFileInfo(path).isFile()) // a pipe would never end
        return {};
    QImageReader reader(path);
    reader.setAutoTransform(true);
    if (!isReadable(reader.format()))
        return {};
    // Counting the pictures means reading the whole file, so the name is asked first.
    const bool isAnimation =
        path.endsWith(QLatin1String(".gif"), Qt::CaseInsensitive) || reader.imageCount() > 1;
    if (reader.format() == "gif")
        return readGif(path, isAnimation);
    if (!isAffordable(reader, isAnimation) || !isWhole(path, reader.format()))
        return {};
    return isAnimation ? readAnimation(reader) : readStill(reader);
}

} // namespace

QList<ScreenFrame> importImages(const QStringList& paths)
{
    QList<ScreenFrame> frames;
    for (const QString& path : paths) {
        if (frames.size() >= screenFrameLimit)
            break;
        frames += importFile(path);
    }
    return frames;
}

} // namespace tavik
