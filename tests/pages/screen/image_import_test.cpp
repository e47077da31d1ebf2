// SPDX-License-Identifier: MIT
#include "pages/screen/image_import.h"
#include "tests/support/files.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"

#include <QColorSpace>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>
#include <ctime>
#include <functional>
#include <sys/stat.h>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr QRgb red = qRgb(255, 0, 0);
constexpr QRgb green = qRgb(0, 255, 0);
constexpr QRgb blue = qRgb(0, 0, 255);
constexpr QRgb white = qRgb(255, 255, 255);
constexpr QRgb black = qRgb(0, 0, 0);

// No two quarters alike: top left red, top right green, bottom left blue, bottom right white.
QImage quarters(QSize size, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    const int halfWidth = size.width() / 2;
    const int halfHeight = size.height() / 2;
    painter.fillRect(0, 0, halfWidth, halfHeight, QColor(red));
    painter.fillRect(halfWidth, 0, halfWidth, halfHeight, QColor(green));
    painter.fillRect(0, halfHeight, halfWidth, halfHeight, QColor(blue));
    painter.fillRect(halfWidth, halfHeight, halfWidth, halfHeight, QColor(white));
    painter.end();
    return image.convertToFormat(format);
}

QImage photographLike(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(x * 7 + y, y * 5 + x * x / 90, (x ^ y) * 3));
    }
    return image;
}

// The colors in the middle of the four quarters, in reading order.
QList<QRgb> quarterColors(const QImage& image)
{
    QList<QRgb> colors;
    for (const QPoint point : {QPoint(32, 32), QPoint(96, 32), QPoint(32, 96), QPoint(96, 96)})
        colors += image.convertToFormat(QImage::Format_RGB32).pixel(point);
    return colors;
}

bool isNear(QRgb color, QRgb expected, int tolerance)
{
    return std::abs(qRed(color) - qRed(expected)) <= tolerance &&
           std::abs(qGreen(color) - qGreen(expected)) <= tolerance &&
           std::abs(qBlue(color) - qBlue(expected)) <= tolerance;
}

QList<int> delays(const QList<ScreenFrame>& frames)
{
    QList<int> result;
    for (const ScreenFrame& frame : frames)
        result += frame.delayMs;
    return result;
}

// The most memory the process has held since it was reset, in kilobytes; the kernel counts it.
qint64 peakMemory()
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no /proc/self/status");
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.sliced(6).chopped(3).trimmed().toLongLong();
    }
    qFatal("no VmHWM in /proc/self/status");
}

qint64 resetPeakMemory()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (!file.open(QIODevice::WriteOnly) || file.write("5") != 1)
        qFatal("cannot write /proc/self/clear_refs");
    file.close();
    return peakMemory();
}

constexpr QSize gifSize = screenSize; // unscaled, so that every pixel can be compared

GifFrame plainFrame(QRect area, int color)
{
    return {.area = area,
            .pixels =
                QByteArray(qsizetype{area.width()} * area.height(), static_cast<char>(color))};
}

GifFrame fullFrame(int color)
{
    return plainFrame(QRect(QPoint(), gifSize), color);
}

constexpr int anyCount = -1;
using Maker = std::function<QByteArray()>;

const QList<QRgb> gifPalette{black, red, green, blue, white};

} // namespace

class ImageImportTest : public QObject
{
    Q_OBJECT

private:
    QString write(const QString& name, const QByteArray& bytes) const
    {
        const QString path = directory.filePath(name);
        writeFile(path, bytes);
        return path;
    }

    QTemporaryDir directory;

private slots:
    void stillHasOneFrameOfTenthOfASecond()
    {
        const QList<ScreenFrame> frames =
            importImages({write("a.png", encodeImage(quarters({400, 300}), "png"))});
        QCOMPARE(delays(frames), QList<int>({100}));
        QCOMPARE(frames.first().image.size(), QSize(128, 128));
    }

    void pictureIsStretchedSmoothly_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("wide") << QSize(640, 100);
        QTest::newRow("tall") << QSize(90, 500);
        QTest::newRow("smaller") << QSize(16, 40);
        QTest::newRow("single pixel") << QSize(1, 1);
        QTest::newRow("a line") << QSize(3000, 1);
        QTest::newRow("already fitting") << QSize(128, 128);
    }

    void pictureIsStretchedSmoothly()
    {
        QFETCH(const QSize, size);
        const QImage picture = photographLike(size);
        const QList<ScreenFrame> frames =
            importImages({write("a.png", encodeImage(picture, "png"))});
        QCOMPARE(frames.size(), 1);
        QCOMPARE(frames.first().image.convertToFormat(QImage::Format_RGB32),
                 picture.scaled(128, 128, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                     .convertToFormat(QImage::Format_RGB32));
    }

    void everyKindOfStillIsRead_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("tolerance");
        const QSize size(320, 240);
        const auto png = [size](QImage::Format format) {
            return encodeImage(quarters(size, format), "png");
        };
        QTest::newRow("PNG") << "a.png" << png(QImage::Format_RGB888) << 0;
        QTest::newRow("PNG with alpha") << "a.png" << png(QImage::Format_ARGB32) << 0;
        QTest::newRow("PNG of 16 bits") << "a.png" << png(QImage::Format_RGBX64) << 0;
        QTest::newRow("PNG of 16 bits with alpha") << "a.png" << png(QImage::Format_RGBA64) << 0;
        QTest::newRow("PNG with palette") << "a.png" << png(QImage::Format_Indexed8) << 0;
        QTest::newRow("JPEG") << "a.jpg" << encodeImage(quarters(size), "jpg", 100) << 3;
        QTest::newRow("JPEG in four inks") << "a.jpeg" << encodeCmykJpeg(quarters(size)) << 3;
        QTest::newRow("BMP") << "a.bmp" << encodeImage(quarters(size), "bmp") << 0;
        QTest::newRow("BMP with palette")
            << "a.bmp" << encodeImage(quarters(size, QImage::Format_Indexed8), "bmp") << 0;
        QTest::newRow("name in capitals") << "A.PNG" << png(QImage::Format_RGB888) << 0;
        QTest::newRow("name without ending") << "picture" << png(QImage::Format_RGB888) << 0;
        QTest::newRow("name of another kind") << "a.bmp" << png(QImage::Format_RGB888) << 0;
        QTest::newRow("name outside of Latin") << "画像 é.png" << png(QImage::Format_RGB888) << 0;
    }

    void everyKindOfStillIsRead()
    {
        QFETCH(const QString, name);
        QFETCH(const QByteArray, bytes);
        QFETCH(const int, tolerance);
        const QList<ScreenFrame> frames = importImages({write(name, bytes)});
        QCOMPARE(delays(frames), QList<int>({100}));
        const QList<QRgb> colors = quarterColors(frames.first().image);
        const QList<QRgb> expected{red, green, blue, white};
        for (qsizetype index = 0; index < expected.size(); ++index)
            QVERIFY2(isNear(colors.at(index), expected.at(index), tolerance),
                     qPrintable(QString::number(colors.at(index), 16)));
    }

    void bitmapOfOneBitIsRead()
    {
        QImage picture(200, 100, QImage::Format_Mono);
        picture.setColorTable({black, white});
        picture.fill(0);
        for (int y = 0; y < 100; ++y) {
            for (int x = 100; x < 200; ++x)
                picture.setPixel(x, y, 1);
        }
        const QList<ScreenFrame> frames =
            importImages({write("a.bmp", encodeImage(picture, "bmp"))});
        QCOMPARE(frames.size(), 1);
        QCOMPARE(quarterColors(frames.first().image), QList<QRgb>({black, white, black, white}));
    }

    void photographStandsUpright_data()
    {
        QTest::addColumn<int>("orientation");
        QTest::addColumn<QList<QRgb>>("expected");
        QTest::newRow("upright") << 1 << QList<QRgb>{red, green, blue, white};
        QTest::newRow("mirrored") << 2 << QList<QRgb>{green, red, white, blue};
        QTest::newRow("upside down") << 3 << QList<QRgb>{white, blue, green, red};
        QTest::newRow("flipped") << 4 << QList<QRgb>{blue, white, red, green};
        QTest::newRow("transposed") << 5 << QList<QRgb>{red, blue, green, white};
        QTest::newRow("lies on its left") << 6 << QList<QRgb>{blue, red, white, green};
        QTest::newRow("transversed") << 7 << QList<QRgb>{white, green, blue, red};
        QTest::newRow("lies on its right") << 8 << QList<QRgb>{green, white, red, blue};
    }

    void photographStandsUpright()
    {
        QFETCH(const int, orientation);
        QFETCH(const QList<QRgb>, expected);
        const QByteArray bytes =
            encodeTurnedJpeg(quarters({320, 240}), static_cast<std::uint8_t>(orientation));
        const QList<ScreenFrame> frames = importImages({write("a.jpg", bytes)});
        QCOMPARE(frames.size(), 1);
        const QList<QRgb> colors = quarterColors(frames.first().image);
        for (qsizetype index = 0; index < expected.size(); ++index)
            QVERIFY2(isNear(colors.at(index), expected.at(index), 3),
                     qPrintable(QString::number(colors.at(index), 16)));
    }

    void transparentPartsAreBlackWhateverColorLiesBehind_data()
    {
        QTest::addColumn<int>("side");
        for (const int side : {300, 128})
            QTest::addRow("side %d", side) << side;
    }

    void transparentPartsAreBlackWhateverColorLiesBehind()
    {
        QFETCH(const int, side);
        QImage picture(side, side, QImage::Format_ARGB32);
        picture.fill(QColor(255, 255, 255, 0));
        const QList<ScreenFrame> frames =
            importImages({write("a.png", encodeImage(picture, "png"))});
        QCOMPARE(frames.size(), 1);
        QCOMPARE(quarterColors(frames.first().image), QList<QRgb>(4, black));
    }

    void colorsDoNotFollowWhatElseAPngHolds()
    {
        const QImage plain = quarters({128, 128});
        QImage picture = plain;
        picture.setColorSpace(QColorSpace::AdobeRgb);
        picture.setText(QStringLiteral("Title"), QStringLiteral("Quarters"));
        const QByteArray bytes = encodeImage(picture, "png");
        QVERIFY(bytes.contains("iCCP") && bytes.contains("tEXt"));
        const QList<ScreenFrame> frames = importImages({write("a.png", bytes)});
        QCOMPARE(frames.size(), 1);
        QVERIFY(frames.first().image.convertToFormat(QImage::Format_RGB32) == plain);
    }

    void nameOfADoubledPictureDoesNotShrinkIt()
    {
        const QList<ScreenFrame> frames =
            importImages({write("a@2x.png", encodeImage(quarters({128, 128}), "png"))});
        QCOMPARE(frames.size(), 1);
        QCOMPARE(frames.first().image.devicePixelRatio(), 1.0);
    }

    void animationGivesAtMostThirtyFrames()
    {
        const QList<QRgb> colors = manyColors(45);
        const QList<ScreenFrame> frames =
            importImages({write("a.gif", encodePlainGif({20, 10}, colors, 5))});
        QCOMPARE(delays(frames), QList<int>(30, 50));
        for (qsizetype index = 0; index < frames.size(); ++index)
            QCOMPARE(frames.at(index).image.pixel(64, 64), colors.at(index));
    }

    void delayIsThatOfItsFrame()
    {
        Gif gif{.size = gifSize, .palette = gifPalette, .frames = {}};
        for (const int hundredths : {3, 50, 7, 20}) {
            gif.frames += fullFrame(1);
            gif.frames.last().hundredths = hundredths;
        }
        QCOMPARE(delays(importImages({write("a.gif", encodeGif(gif))})),
                 QList<int>({30, 500, 70, 200}));
    }

    void delayIsKeptWithinItsLimits_data()
    {
        QTest::addColumn<int>("hundredths");
        QTest::addColumn<int>("expected");
        // The image reader itself makes a tenth of a second of what is too short to be meant.
        QTest::newRow("none stated") << -1 << 100;
        QTest::newRow("0 ms") << 0 << 100;
        QTest::newRow("10 ms") << 1 << 100;
        QTest::newRow("20 ms") << 2 << 20;
        QTest::newRow("1270 ms") << 127 << 1270;
        QTest::newRow("1280 ms") << 128 << 1275;
        QTest::newRow("2000 ms") << 200 << 1275;
        QTest::newRow("longest") << 65535 << 1275;
    }

    void delayIsKeptWithinItsLimits()
    {
        QFETCH(const int, hundredths);
        QFETCH(const int, expected);
        const QByteArray bytes = encodePlainGif({30, 30}, {red, green}, hundredths);
        QCOMPARE(delays(importImages({write("a.gif", bytes)})), QList<int>({expected, expected}));
    }

    void gifOfOnePictureHasTheDelayOfTheReader_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("hundredths");
        QTest::addColumn<int>("expected");
        QTest::newRow("capital ending") << "A.GIF" << 30 << 300;
        QTest::newRow("mixed ending") << "a.Gif" << 2 << 20;
        QTest::newRow("no delay") << "a.GIF" << 0 << 100;
        QTest::newRow("other ending") << "a.png" << 30 << 100;
    }

    void gifOfOnePictureHasTheDelayOfTheReader()
    {
        QFETCH(const QString, name);
        QFETCH(const int, hundredths);
        QFETCH(const int, expected);
        const QByteArray bytes = encodePlainGif({30, 30}, {red}, hundredths);
        QCOMPARE(delays(importImages({write(name, bytes)})), QList<int>({expected}));
    }

    void animationIsKnownByItsContent()
    {
        const QByteArray bytes = encodePlainGif({30, 30}, {red, green, blue}, 30);
        QCOMPARE(delays(importImages({write("a.png", bytes)})), QList<int>(3, 300));
    }

    // No other kind of picture states a delay, so the shortest one holds.
    void stillNamedGifHasTheShortestDelay()
    {
        const QByteArray bytes = encodeImage(quarters({300, 300}), "png");
        QCOMPARE(delays(importImages({write("a.gif", bytes)})), QList<int>({20}));
    }

    void framesArePutTogether()
    {
        Gif gif{.size = gifSize,
                .palette = gifPalette,
                .frames = {fullFrame(1), plainFrame(QRect(0, 0, 64, 64), 3),
                           plainFrame(QRect(64, 0, 64, 64), 2), fullFrame(4)}};
        gif.frames[1].disposal = GifDisposal::Previous;
        gif.frames[3].transparent = 4;
        const QList<QList<QRgb>> expected{{red, red, red, red},
                                          {blue, red, red, red},
                                          {red, green, red, red},
                                          {red, green, red, red}};
        const QList<ScreenFrame> frames = importImages({write("a.gif", encodeGif(gif))});
        QCOMPARE(frames.size(), expected.size());
        for (qsizetype index = 0; index < expected.size(); ++index)
            QCOMPARE(quarterColors(frames.at(index).image), expected.at(index));
    }

    void whatNoFrameHasDrawnIsBlack()
    {
        Gif gif{.size = gifSize, .palette = gifPalette, .frames = {fullFrame(4)}};
        gif.frames[0].transparent = 4;
        gif.frames += plainFrame(QRect(64, 64, 64, 64), 4);
        const QList<ScreenFrame> frames = importImages({write("a.gif", encodeGif(gif))});
        QCOMPARE(frames.size(), 2);
        QCOMPARE(quarterColors(frames.first().image), QList<QRgb>(4, black));
        QCOMPARE(quarterColors(frames.last().image), QList<QRgb>({black, black, black, white}));
    }

    void filesComeInTheirOrder()
    {
        const QString still = write("z.png", encodeImage(quarters({200, 200}), "png"));
        const QString animation = write("a.gif", encodePlainGif({30, 30}, {red, green}, 40));
        QCOMPARE(delays(importImages({still, animation, still})), QList<int>({100, 400, 400, 100}));
    }

    void fullAnimationIsTheLastFileRead()
    {
        const QString animation = write("a.gif", encodePlainGif({30, 30}, manyColors(30), 4));
        const QString still = write("b.png", encodeImage(quarters({200, 200}), "png"));
        QCOMPARE(importImages({animation, still}).size(), 30);
        QCOMPARE(importImages({animation, animation}).size(), 30);
    }

    void limitHoldsForAFileAndNotForTheList()
    {
        const QString twenty = write("a.gif", encodePlainGif({30, 30}, manyColors(20), 4));
        const QString thirty = write("b.gif", encodePlainGif({30, 30}, manyColors(30), 4));
        const QString still = write("c.png", encodeImage(quarters({200, 200}), "png"));
        QCOMPARE(importImages({twenty, thirty, still}).size(), 50);
        QStringList stills(29, still);
        QCOMPARE(importImages(stills + QStringList{thirty, still}).size(), 59);
        QCOMPARE(importImages(stills + QStringList{still, still}).size(), 30);
    }

    void unusableFileAddsNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray png = encodeImage(photographLike({300, 200}), "png");
        const QByteArray jpeg = encodeImage(photographLike({300, 200}), "jpg");
        const QByteArray bmp = encodeImage(photographLike({300, 200}), "bmp");
        for (const char* name : {"a.gif", "a.png", "a.jpg", "a.bmp"}) {
            QTest::addRow("empty %s", name) << name << QByteArray();
            QTest::addRow("text named %s", name) << name << QByteArray("This is no picture.\n");
            QTest::addRow("zeros named %s", name) << name << QByteArray(5000, '\0');
        }
        for (const int percent : {2, 20, 50, 95, 99})
            QTest::addRow("PNG cut at %d %%", percent)
                << "a.png" << png.first(png.size() * percent / 100);
        QTest::newRow("JPEG cut within its header") << "a.jpg" << jpeg.first(100);
        QTest::newRow("BMP cut within its header") << "a.bmp" << bmp.first(40);
        QByteArray broken = png;
        broken.replace(png.size() / 2, 8, "~broken~");
        QTest::newRow("PNG damaged inside") << "a.png" << broken;
        QTest::newRow("GIF header alone") << "a.gif" << QByteArray("GIF89a");
        const QByteArray gif = encodePlainGif({200, 200}, {red, green}, 10);
        QTest::newRow("GIF without a frame") << "a.gif" << gif.first(20);
        const QByteArray drawing = "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'>"
                                   "<rect width='9' height='9' fill='red'/></svg>";
        QTest::newRow("drawing named PNG") << "a.png" << drawing;
        QTest::newRow("drawing named GIF") << "a.gif" << drawing;
    }

    void unusableFileAddsNothing()
    {
        QFETCH(const QString, name);
        QFETCH(const QByteArray, bytes);
        const QString still = write("good.png", encodeImage(quarters({200, 200}), "png"));
        const QList<ScreenFrame> frames = importImages({write(name, bytes), still});
        QCOMPARE(delays(frames), QList<int>({100}));
        QCOMPARE(quarterColors(frames.first().image), QList<QRgb>({red, green, blue, white}));
    }

    void whatIsNoFileAddsNothing()
    {
        QVERIFY(QDir(directory.path()).mkdir("folder.png"));
        // Nobody writes into the pipe: whoever opened it would wait for good.
        const QString pipe = directory.filePath("pipe.png");
        QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
        QVERIFY(importImages({directory.filePath("missing.png"), directory.filePath("folder.png"),
                              pipe, QStringLiteral("/dev/zero"), QString()})
                    .isEmpty());
        QVERIFY(importImages({}).isEmpty());
    }

    void framesBeforeAFaultAreKept()
    {
        const QList<QRgb> colors = manyColors(5);
        const QByteArray bytes = encodePlainGif(gifSize, colors, 10);
        // The fourth of five frames breaks off.
        const QList<ScreenFrame> frames =
            importImages({write("a.gif", bytes.first(bytes.size() * 7 / 10))});
        QCOMPARE(frames.size(), 4);
        for (qsizetype index = 0; index < 3; ++index)
            QCOMPARE(frames.at(index).image.pixel(64, 64), colors.at(index));
    }

    void pictureThatBreaksOffIsShownAsFarAsItGoes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("JPEG") << encodeImage(quarters({320, 240}), "jpg", 100);
        QTest::newRow("BMP") << encodeImage(quarters({320, 240}).mirrored(), "bmp");
    }

    void pictureThatBreaksOffIsShownAsFarAsItGoes()
    {
        QFETCH(const QByteArray, bytes);
        const QList<ScreenFrame> frames =
            importImages({write("a", bytes.first(bytes.size() * 6 / 10))});
        QCOMPARE(frames.size(), 1);
    }

    void largeFilesAreLeftAlone()
    {
        const QString path = write("a.jpg", encodeImage(quarters({200, 200}), "jpg"));
        constexpr qint64 mostBytes = 64 * 1024 * 1024;
        QVERIFY(QFile::resize(path, mostBytes)); // takes no room on the disk
        QCOMPARE(importImages({path}).size(), 1);
        QVERIFY(QFile::resize(path, mostBytes + 1));
        QCOMPARE(importImages({path}).size(), 0);
    }

    void hugePictureAddsNothingAndTakesNoMemory_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        const auto patched = [](QByteArray bytes, qsizetype offset, const char* hex) {
            const QByteArray replacement = QByteArray::fromHex(hex);
            return bytes.replace(offset, replacement.size(), replacement);
        };
        QTest::newRow("PNG of one bit") << "a.png" << encodeBlackPng({20'000, 20'000}, 1);
        QTest::newRow("PNG of one bit, long") << "a.png" << encodeBlackPng({400'000, 100}, 1);
        // Width and height stand at fixed places; 20,000 is 4e20 in hexadecimal.
        const QByteArray png = encodeBlackPng({200, 200}, 8);
        QTest::newRow("PNG") << "a.png" << patched(png, 16, "00004e2000004e20");
        QTest::newRow("PNG, largest") << "a.png" << patched(png, 16, "7fffffff7fffffff");
        const QByteArray bmp = encodeImage(quarters({200, 200}), "bmp");
        QTest::newRow("BMP") << "a.bmp" << patched(bmp, 18, "204e0000204e0000");
        QTest::newRow("BMP from top to bottom") << "a.bmp" << patched(bmp, 18, "204e0000e0b1ffff");
        QTest::newRow("BMP, largest") << "a.bmp" << patched(bmp, 18, "ffffff7fffffff7f");
        const QByteArray jpeg = encodeImage(quarters({200, 200}), "jpg");
        const qsizetype frameHeader = jpeg.indexOf(QByteArray::fromHex("ffc0"));
        QTest::newRow("JPEG") << "a.jpg" << patched(jpeg, frameHeader + 5, "4e204e20");
        const QByteArray gif = encodePlainGif({200, 200}, manyColors(30), 10);
        QTest::newRow("GIF") << "a.gif" << patched(gif, 6, "204e204e");
        GifFrame hugeFrame{.area = QRect(0, 0, 20'000, 20'000), .pixels = QByteArray(1000, '\0')};
        // A row of pixels more than the largest.
        QTest::newRow("JPEG, a row too many")
            << "a.jpg" << patched(jpeg, frameHeader + 5, "18012000"); // 8192 x 6145
        QTest::newRow("PNG, a row too many") << "a.png" << patched(png, 16, "0000200000001001");
        QTest::newRow("PNG of 16 bits, a row too many")
            << "a.png" << encodeBlackPng({4096, 4097}, 16);
        QTest::newRow("GIF, a row too many")
            << "a.gif"
            << encodeGif({.size = {4096, 3073},
                          .palette = gifPalette,
                          .frames = {plainFrame(QRect(0, 0, 4096, 3073), 1)}});
        QTest::newRow("JPEG beyond what phones take")
            << "a.jpg" << patched(jpeg, frameHeader + 5, "1c203000"); // 12288 x 7200
        // 4500 x 3000, which the reader only believes of frames that are not much smaller.
        QTest::newRow("GIF too large to put together")
            << "a.gif" << patched(encodePlainGif({500, 400}, {red, green}, 10), 6, "9411b80b");
        QTest::newRow("GIF of huge frames") << "a.gif"
                                            << encodeGif({.size = {20'000, 20'000},
                                                          .palette = gifPalette,
                                                          .frames = QList<GifFrame>(5, hugeFrame)});
    }

    void hugePictureAddsNothingAndTakesNoMemory()
    {
        QFETCH(const QString, name);
        QFETCH(const QByteArray, bytes);
        const QString path = write(name, bytes);
        QTest::failOnWarning(QRegularExpression("Rejecting image"));
        const qint64 before = resetPeakMemory();
        QVERIFY(importImages({path}).isEmpty());
        const qint64 taken = peakMemory() - before;
        QVERIFY2(taken < 50 * 1024, qPrintable(QString::number(taken)));
    }

    void frameLargerThanItsGifTakesNoMemory()
    {
        const GifFrame frame{.area = QRect(0, 0, 20'000, 20'000),
                             .pixels = QByteArray(100'000, '\1')};
        const QString path = write("a.gif", encodeGif({.size = {100, 100},
                                                       .palette = gifPalette,
                                                       .frames = QList<GifFrame>(3, frame)}));
        const qint64 before = resetPeakMemory();
        QVERIFY(importImages({path}).size() <= 3);
        const qint64 taken = peakMemory() - before;
        QVERIFY2(taken < 50 * 1024, qPrintable(QString::number(taken)));
    }

    void everyFileStaysWithinTimeAndMemory_data()
    {
        QTest::addColumn<Maker>("make");
        QTest::addColumn<int>("frameCount");
        // Made when their turn comes, since they are large.
        const auto row = [](const char* name, int frameCount, const Maker& make) {
            QTest::newRow(name) << make << frameCount;
        };
        row("largest PNG", 1, [] { return encodeBlackPng({8192, 4096}, 8); });
        row("largest PNG of one bit", 1, [] { return encodeBlackPng({8192, 4096}, 1); });
        row("largest PNG of 16 bits", 1, [] { return encodeBlackPng({4096, 4096}, 16); });
        row("PNG of 16 bits, too large", 0, [] { return encodeBlackPng({8192, 4096}, 16); });
        row("PNG with 4 GB of texts", 1, [] { return encodeBlackPng({16, 16}, 8, 500); });
        row("largest JPEG in passes", 1, [] { return encodeJpegInPasses({8192, 3072}, 3, 1); });
        row("JPEG in passes, too large", 0, [] { return encodeJpegInPasses({8192, 6144}, 3, 1); });
        // Whether the reader takes it depends on the byte at which its time is up.
        row("JPEG in 3000 passes", anyCount, [] {
            return encodeJpegInPasses({4096, 4096}, 1, 3000);
        });
        row("JPEG with 60 MB of comments", 0, [] {
            return encodeCommentedJpeg(quarters({16, 16}), 1000);
        });
        row("largest GIF", 2, [] {
            GifFrame frame = plainFrame(QRect(0, 0, 4096, 3072), 1);
            frame.disposal = GifDisposal::Previous;
            frame.transparent = 0;
            return encodeGif(
                {.size = {4096, 3072}, .palette = gifPalette, .frames = QList<GifFrame>(2, frame)});
        });
        row("GIF that goes on behind its pixels", 0, [] {
            return encodeEndlessGif({300, 300}, 60 * 1024 * 1024);
        });
    }

    void everyFileStaysWithinTimeAndMemory()
    {
        QFETCH(const Maker, make);
        QFETCH(const int, frameCount);
        const QString path = write("a", make());
        const qint64 before = resetPeakMemory();
        const std::clock_t start = std::clock();
        const qsizetype count = importImages({path}).size();
        const std::clock_t time = std::clock() - start;
        const qint64 taken = peakMemory() - before;
        if (frameCount != anyCount)
            QCOMPARE(count, frameCount);
        QVERIFY2(time < 5 * CLOCKS_PER_SEC, qPrintable(QString::number(time)));
#ifdef __SANITIZE_ADDRESS__
        constexpr qint64 mostKilobytes = 560'000; // the sanitizer keeps books of its own
#else
        constexpr qint64 mostKilobytes = 300'000'000 / 1024;
#endif
        QVERIFY2(taken < mostKilobytes, qPrintable(QString::number(taken)));
    }

    void largestPhotographIsReadSmaller()
    {
        QImage photograph(8192, 6144, QImage::Format_Grayscale8);
        photograph.fill(90);
        for (int y = 0; y < 3072; ++y)
            std::fill_n(photograph.scanLine(y), 4096, 200);
        const QString path = write("a.jpg", encodeImage(photograph, "jpg"));
        photograph = {};
        const QList<ScreenFrame> frames = importImages({path});
        QCOMPARE(frames.size(), 1);
        QCOMPARE(frames.first().image.size(), QSize(128, 128));
        const QList<QRgb> colors = quarterColors(frames.first().image);
        QVERIFY(isNear(colors.at(0), qRgb(200, 200, 200), 2));
        for (qsizetype index = 1; index < 4; ++index)
            QVERIFY(isNear(colors.at(index), qRgb(90, 90, 90), 2));
    }

    void contentIsReadLikeItsFile()
    {
        const QByteArray still = encodeImage(photographLike({300, 200}), "png");
        const QByteArray animation = encodePlainGif({30, 30}, manyColors(4), 7);
        for (const QByteArray& content : {still, animation}) {
            const QList<ScreenFrame> frames = importContent(content);
            const QList<ScreenFrame> expected = importImages({write("a", content)});
            QVERIFY(!frames.isEmpty());
            QCOMPARE(frames.size(), expected.size());
            for (qsizetype index = 0; index < frames.size(); ++index) {
                QCOMPARE(frames.at(index).image, expected.at(index).image);
                QCOMPARE(frames.at(index).delayMs, expected.at(index).delayMs);
            }
        }
        QVERIFY(importContent("no picture").isEmpty());
    }

    void contentTakesNoMoreThanAFile()
    {
        QByteArray largest = encodeImage(quarters({16, 16}), "png");
        largest.resize(64 * 1024 * 1024, '\0');
        QCOMPARE(importContent(largest).size(), 1);
        QVERIFY(importContent(largest + '\0').isEmpty());
        QVERIFY(importContent(encodeJpegInPasses({8192, 6144}, 3, 1)).isEmpty());
    }

    // Only what stands before its pixels has to be short.
    void photographOfManyBytesIsReadToItsEnd()
    {
        QImage photograph(3600, 3600, QImage::Format_Grayscale8);
        photograph.fill(200);
        QRandomGenerator random(1);
        for (int y = 0; y < 2700; ++y)
            random.fillRange(reinterpret_cast<quint32*>(photograph.scanLine(y)), 3600 / 4);
        const QByteArray bytes = encodeImage(photograph, "jpg", 100);
        QVERIFY(bytes.size() > 9 * 1024 * 1024);
        const QList<ScreenFrame> frames = importImages({write("a.jpg", bytes)});
        QCOMPARE(frames.size(), 1);
        const QRgb end = frames.first().image.pixel(64, 120);
        QVERIFY2(isNear(end, qRgb(200, 200, 200), 2), qPrintable(QColor(end).name()));
    }
};

TAVIK_ISOLATED_TEST_MAIN(ImageImportTest)
#include "image_import_test.moc"
