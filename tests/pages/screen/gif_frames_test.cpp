#include "pages/screen/gif_frames.h"
#include "tests/support/made_images.h"

#include <QBuffer>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr qint64 manyPixels = 1'000'000;
constexpr QSize canvasSize(61, 47);
constexpr QRect canvasArea(QPoint(), canvasSize);
constexpr QRect part(7, 5, 30, 21);
constexpr QRect otherPart(20, 11, 33, 29);

const QList<QRgb> sixColors{qRgb(9, 8, 7),   qRgb(255, 0, 0),     qRgb(0, 255, 0),
                            qRgb(0, 0, 255), qRgb(255, 255, 255), qRgb(200, 100, 50)};

// As many colors as an index can tell apart, so that nothing in a frame can be left empty.
QList<QRgb> allColors()
{
    QList<QRgb> colors = sixColors;
    while (colors.size() < 256)
        colors += qRgb(0, static_cast<int>(colors.size()), 99);
    return colors;
}

QList<QRgb> reversed(QList<QRgb> colors)
{
    std::reverse(colors.begin(), colors.begin() + sixColors.size());
    return colors;
}

// A pattern of six palette entries.
GifFrame patternFrame(QRect area, int firstColor)
{
    GifFrame frame{.area = area, .pixels = {}, .palette = {}};
    for (int y = 0; y < area.height(); ++y) {
        for (int x = 0; x < area.width(); ++x)
            frame.pixels += static_cast<char>((firstColor + x / 3 + y / 4) % 6);
    }
    return frame;
}

Gif gifOf(const QList<GifFrame>& frames)
{
    return {.size = canvasSize, .palette = sixColors, .background = 4, .frames = frames};
}

struct Picture
{
    QImage image;
    int delayMs = 0;
};

// At most a hundred, so that a test ends even if the file does not.
QList<Picture> readAll(const QByteArray& bytes, qint64 pixelLimit = manyPixels)
{
    QBuffer buffer;
    buffer.setData(bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        qFatal("cannot open a buffer");
    GifFrames frames(buffer, pixelLimit);
    QList<Picture> pictures;
    while (pictures.size() < 100 && frames.readNext())
        pictures += {frames.picture().convertToFormat(QImage::Format_ARGB32), frames.delayMs()};
    if (pictures.size() < 100 && frames.readNext())
        qFatal("a picture behind the last one");
    return pictures;
}

QList<int> delays(const QList<Picture>& pictures)
{
    QList<int> result;
    for (const Picture& picture : pictures)
        result += picture.delayMs;
    return result;
}

// The number of the first picture that differs, or -1; a picture too many or too few differs.
qsizetype firstDifference(const QList<Picture>& pictures, const QList<QImage>& expected)
{
    const qsizetype count = std::min(pictures.size(), expected.size());
    for (qsizetype index = 0; index < count; ++index) {
        if (pictures.at(index).image != expected.at(index))
            return index;
    }
    return pictures.size() == expected.size() ? -1 : count;
}

qsizetype firstDifference(const Gif& gif)
{
    return firstDifference(readAll(encodeGif(gif)), browserPictures(gif));
}

// Puts bytes in front of the file's first frame.
QByteArray withBlocks(const Gif& gif, const QByteArray& blocks)
{
    const Gif empty{
        .size = gif.size, .palette = gif.palette, .background = gif.background, .frames = {}};
    return encodeGif(gif).insert(encodeGif(empty).size() - 1, blocks);
}

} // namespace

class GifFramesTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKindOfFrameLooksAsInABrowser_data()
    {
        QTest::addColumn<Gif>("gif");
        for (int bits = 0; bits < 1 << 8; ++bits) {
            const auto has = [bits](int bit) { return (bits & (1 << bit)) != 0; };
            const int disposal = bits & 3;
            GifFrame frame = patternFrame(has(2) ? part : canvasArea, 1);
            frame.disposal = static_cast<GifDisposal>(disposal);
            frame.transparent = has(3) ? 2 : -1;
            frame.isInterlaced = has(4);
            Gif gif = gifOf({});
            gif.background = has(5) ? 4 : 0;
            if (has(6))
                gif.palette = allColors();
            if (has(7))
                frame.palette = reversed(gif.palette);
            // First of all, over another frame, and over what remains of both.
            GifFrame glass = patternFrame(otherPart, 3);
            glass.transparent = 5;
            GifFrame last = frame;
            last.area.translate(1, 2);
            gif.frames = {frame, glass, frame, glass, last, patternFrame(QRect(0, 0, 9, 9), 0)};
            QTest::addRow("disposal %d%s%s%s%s%s%s", disposal, has(2) ? ", partial" : "",
                          has(3) ? ", transparent" : "", has(4) ? ", interlaced" : "",
                          has(5) ? ", background" : "", has(6) ? ", all colors" : "",
                          has(7) ? ", own palette" : "")
                << gif;
        }
    }

    void everyKindOfFrameLooksAsInABrowser()
    {
        QFETCH(const Gif, gif);
        QCOMPARE(firstDifference(gif), -1);
    }

    void oldWayToAskForWhatWasBeforeCounts()
    {
        Gif gif = gifOf({patternFrame(canvasArea, 0), patternFrame(part, 2),
                         patternFrame(QRect(0, 0, 5, 5), 1)});
        gif.frames[1].disposal = GifDisposal::Previous;
        const QList<QImage> expected = browserPictures(gif);
        gif.frames[1].disposal = static_cast<GifDisposal>(4);
        QCOMPARE(firstDifference(readAll(encodeGif(gif)), expected), -1);
    }

    void unknownDisposalKeepsTheFrame()
    {
        Gif gif = gifOf({patternFrame(part, 0), patternFrame(otherPart, 2)});
        const QList<QImage> expected = browserPictures(gif);
        for (const int unknown : {5, 6, 7}) {
            gif.frames[0].disposal = static_cast<GifDisposal>(unknown);
            QCOMPARE(firstDifference(readAll(encodeGif(gif)), expected), -1);
        }
    }

    void frameIsCutAtTheEdges_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::newRow("right") << QRect(40, 5, 50, 20);
        QTest::newRow("below") << QRect(5, 30, 20, 50);
        QTest::newRow("both") << QRect(40, 30, 90, 70);
        QTest::newRow("larger all around") << QRect(0, 0, 150, 130);
        QTest::newRow("last pixel") << QRect(60, 46, 10, 10);
        QTest::newRow("just outside") << QRect(61, 0, 10, 10);
        QTest::newRow("far outside") << QRect(60'000, 60'000, 10, 10);
        QTest::newRow("no width") << QRect(5, 5, 0, 10);
        QTest::newRow("no height") << QRect(5, 5, 10, 0);
        QTest::newRow("nothing") << QRect(0, 0, 0, 0);
    }

    void frameIsCutAtTheEdges()
    {
        QFETCH(const QRect, area);
        for (const bool isInterlaced : {false, true}) {
            for (const GifDisposal disposal :
                 {GifDisposal::Keep, GifDisposal::Background, GifDisposal::Previous}) {
                GifFrame frame = patternFrame(area, 1);
                frame.isInterlaced = isInterlaced;
                frame.disposal = disposal;
                frame.hundredths = 7;
                const QList<GifFrame> frames{frame, patternFrame(part, 2), frame,
                                             patternFrame(QRect(0, 0, 3, 3), 0)};
                Gif gif = gifOf(frames);
                QCOMPARE(firstDifference(gif), -1);
                gif.palette = allColors();
                QCOMPARE(firstDifference(gif), -1);
                QCOMPARE(delays(readAll(encodeGif(gif))), QList<int>({70, 100, 70, 100}));
            }
        }
    }

    void fileWithoutASizeTakesThatOfItsFirstFrame_data()
    {
        QTest::addColumn<QSize>("stated");
        QTest::newRow("none") << QSize(0, 0);
        QTest::newRow("no width") << QSize(0, 26);
        QTest::newRow("no height") << QSize(37, 0);
    }

    void fileWithoutASizeTakesThatOfItsFirstFrame()
    {
        QFETCH(const QSize, stated);
        Gif gif = gifOf({patternFrame(part, 0), patternFrame(canvasArea, 1)});
        gif.size = QSize(37, 26); // as far as the part reaches
        const QList<QImage> expected = browserPictures(gif);
        gif.size = stated;
        QCOMPARE(firstDifference(readAll(encodeGif(gif)), expected), -1);
    }

    void whatTheDataLeaveOutStaysAsItWas()
    {
        for (const QList<QRgb>& palette : {sixColors, allColors()}) {
            for (const qsizetype pixels : {0, 1, 100, 629}) {
                GifFrame broken = patternFrame(part, 3);
                broken.pixels.truncate(pixels);
                Gif gif = gifOf({broken, patternFrame(otherPart, 1), broken});
                gif.palette = palette;
                QCOMPARE(firstDifference(gif), -1);
            }
        }
    }

    void indexBeyondThePaletteIsTransparent()
    {
        Gif gif = gifOf({patternFrame(canvasArea, 0), patternFrame(part, 0)});
        gif.frames[1].palette = {qRgb(1, 2, 3), qRgb(4, 5, 6)};
        QCOMPARE(firstDifference(gif), -1);
    }

    void fileWithoutAnyPaletteIsTransparent()
    {
        Gif gif = gifOf({patternFrame(canvasArea, 0)});
        gif.palette = {};
        QCOMPARE(firstDifference(gif), -1);
    }

    void longDataAreReadToTheirLastPixel()
    {
        // Neither pattern repeats within a frame, so that codes of every width and more than one
        // table of them occur.
        QRandomGenerator random(5);
        Gif gif = gifOf({patternFrame(canvasArea, 0), patternFrame(canvasArea, 0)});
        gif.size = QSize(400, 300);
        gif.palette = allColors();
        for (GifFrame& frame : gif.frames) {
            frame.area = QRect(QPoint(), gif.size);
            frame.pixels.resize(400 * 300);
            for (char& pixel : frame.pixels)
                pixel = static_cast<char>(random.bounded(256));
        }
        QCOMPARE(firstDifference(gif), -1);
    }

    void dataBehindTheLastPixelAreNotDrawn()
    {
        // Whoever followed them all would draw 50,000,000,000 pixels.
        const QList<Picture> pictures =
            readAll(encodeEndlessGif({4000, 3000}, 20'000'000), 4000 * 3000);
        QCOMPARE(pictures.size(), 1);
        QImage expected(4000, 3000, QImage::Format_ARGB32);
        expected.fill(qRgb(255, 0, 0));
        QVERIFY(pictures.first().image == expected);
    }

    void delayIsThatOfTheImageReader_data()
    {
        QTest::addColumn<QList<int>>("hundredths");
        QTest::addColumn<QList<int>>("expected");
        QTest::newRow("stated") << QList<int>{2, 3, 50, 65535} << QList<int>{20, 30, 500, 655350};
        QTest::newRow("too short to be meant") << QList<int>{0, 1, 2} << QList<int>{100, 100, 20};
        QTest::newRow("never stated") << QList<int>{-1, -1} << QList<int>{100, 100};
        QTest::newRow("stated before") << QList<int>{50, -1, 7, -1} << QList<int>{500, 500, 70, 70};
    }

    void delayIsThatOfTheImageReader()
    {
        QFETCH(const QList<int>, hundredths);
        QFETCH(const QList<int>, expected);
        Gif gif = gifOf({});
        for (const int time : hundredths) {
            gif.frames += patternFrame(part, 1);
            gif.frames.last().hundredths = time;
        }
        QCOMPARE(delays(readAll(encodeGif(gif))), expected);
    }

    void transparencyAndDisposalHoldForOneFrame()
    {
        Gif gif = gifOf({patternFrame(canvasArea, 0), patternFrame(part, 2),
                         patternFrame(otherPart, 1), patternFrame(part, 3)});
        gif.frames[1].transparent = 1;
        gif.frames[1].disposal = GifDisposal::Background;
        gif.frames[2].hundredths = -1; // states neither
        QCOMPARE(firstDifference(gif), -1);
    }

    void otherBlocksAreSkipped_data()
    {
        QTest::addColumn<QByteArray>("blocks");
        const QByteArray empty = QByteArray::fromHex("21fe00");
        QTest::newRow("empty comment") << empty;
        QTest::newRow("comments") << QByteArray::fromHex("21fe03414243022c3b00") + empty;
        QTest::newRow("repetition")
            << QByteArray::fromHex("21ff0b") + "NETSCAPE2.0" + QByteArray::fromHex("0301000000");
        QTest::newRow("longest block")
            << QByteArray::fromHex("21feff") + QByteArray(255, '\x2C') + QByteArray(1, '\0');
        QTest::newRow("plain text")
            << QByteArray::fromHex("21010c000000000a000a00080801000241420000").chopped(1);
        QTest::newRow("unknown kind") << QByteArray::fromHex("210002ffff00");
        QTest::newRow("short control") << QByteArray::fromHex("21f90309050000");
        QTest::newRow("empty control") << QByteArray::fromHex("21f900");
        QTest::newRow("overruled control") << QByteArray::fromHex("21f904090500"
                                                                  "0200");
    }

    void otherBlocksAreSkipped()
    {
        QFETCH(const QByteArray, blocks);
        const Gif gif = gifOf({patternFrame(part, 0), patternFrame(otherPart, 2)});
        const QList<Picture> pictures = readAll(withBlocks(gif, blocks));
        QCOMPARE(firstDifference(pictures, browserPictures(gif)), -1);
        QCOMPARE(delays(pictures), QList<int>({100, 100}));
    }

    void longControlCounts()
    {
        Gif gif = gifOf({patternFrame(part, 0)});
        gif.frames[0].hundredths = -1;
        const QByteArray control = QByteArray::fromHex("21f906010700"
                                                       "02ffff00");
        const QList<Picture> pictures = readAll(withBlocks(gif, control));
        gif.frames[0].transparent = 2;
        QCOMPARE(firstDifference(pictures, browserPictures(gif)), -1);
        QCOMPARE(delays(pictures), QList<int>({70}));
    }

    void nothingBehindTheEndCounts()
    {
        const Gif gif = gifOf({patternFrame(part, 0), patternFrame(otherPart, 2)});
        const QByteArray bytes = encodeGif(gif);
        const QList<QImage> expected = browserPictures(gif);
        QCOMPARE(firstDifference(readAll(bytes.chopped(1)), expected), -1);
        QCOMPARE(firstDifference(readAll(bytes + bytes), expected), -1);
        const QByteArray frames = encodeGif(gif).sliced(13 + 3 * 8);
        QCOMPARE(firstDifference(readAll(bytes + frames), expected), -1);
        QCOMPARE(firstDifference(readAll(bytes.chopped(1) + '\0' + frames), expected), -1);
    }

    void framesBeforeTheBreakAreShown()
    {
        Gif gif =
            gifOf({patternFrame(canvasArea, 0), patternFrame(part, 2), patternFrame(otherPart, 1)});
        gif.frames[1].palette = allColors();
        const QByteArray bytes = encodeGif(gif);
        const QList<QImage> expected = browserPictures(gif);
        qsizetype last = 0;
        for (qsizetype size = 0; size <= bytes.size(); ++size) {
            const QList<Picture> pictures = readAll(bytes.first(size));
            QVERIFY(pictures.size() >= last && pictures.size() <= 3);
            last = pictures.size();
            // The last one may be incomplete.
            for (qsizetype index = 0; index + 1 < pictures.size(); ++index)
                QVERIFY(pictures.at(index).image == expected.at(index));
        }
        QCOMPARE(last, 3);
    }

    void damagedFileDoesNoHarm()
    {
        GifFrame interlaced = patternFrame(part, 2);
        interlaced.isInterlaced = true;
        interlaced.disposal = GifDisposal::Previous;
        interlaced.palette = allColors();
        const QByteArray bytes =
            encodeGif(gifOf({patternFrame(canvasArea, 0), interlaced, patternFrame(otherPart, 1)}));
        QRandomGenerator random(3);
        qsizetype read = 0;
        for (int round = 0; round < 1500; ++round) {
            QByteArray damaged = bytes;
            for (int change = round % 4; change >= 0; --change) {
                const auto place = static_cast<qsizetype>(random.bounded(damaged.size()));
                damaged[place] = static_cast<char>(random.bounded(256));
            }
            for (const Picture& picture : readAll(damaged, 50'000)) {
                QVERIFY(qint64{picture.image.width()} * picture.image.height() <= 50'000);
                ++read;
            }
        }
        QVERIFY(read > 1500);
    }

    void tooManyPixelsAreAFault()
    {
        const Gif gif = gifOf({patternFrame(canvasArea, 0), patternFrame(QRect(0, 0, 60, 50), 1),
                               patternFrame(part, 2)});
        const QByteArray bytes = encodeGif(gif);
        QCOMPARE(readAll(bytes, 61 * 47 - 1).size(), 0);
        QCOMPARE(readAll(bytes, 61 * 47).size(), 1);
        QCOMPARE(readAll(bytes, 60 * 50).size(), 3);
        Gif unsized = gif;
        unsized.size = QSize(0, 0);
        QCOMPARE(readAll(encodeGif(unsized), 61 * 47 - 1).size(), 0);
        unsized.frames = {GifFrame{.area = QRect(), .pixels = {}, .palette = {}}};
        QCOMPARE(readAll(encodeGif(unsized)).size(), 0);
    }

    void impossibleCodeSizeIsAFault()
    {
        const Gif one = gifOf({patternFrame(canvasArea, 0)});
        const Gif two = gifOf({patternFrame(canvasArea, 0), patternFrame(part, 2)});
        QByteArray bytes = encodeGif(two);
        const qsizetype place = encodeGif(one).size() - 1 + 8 + 10;
        QCOMPARE(bytes.at(place), '\x08');
        for (const int size : {0, 12, 13, 127, 128, 255}) {
            bytes[place] = static_cast<char>(size);
            QCOMPARE(firstDifference(readAll(bytes), browserPictures(one)), -1);
        }
    }

    void pictureStaysBehindTheEnd()
    {
        QBuffer buffer;
        buffer.setData(encodeGif(gifOf({patternFrame(part, 0)})));
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        GifFrames frames(buffer, manyPixels);
        QVERIFY(frames.picture().isNull());
        QVERIFY(frames.readNext());
        const QImage picture = frames.picture().copy();
        QVERIFY(!frames.readNext());
        QVERIFY(!frames.readNext());
        QVERIFY(frames.picture() == picture);
        QCOMPARE(frames.delayMs(), 100);
    }

    void otherFilesHaveNoPictures()
    {
        QCOMPARE(readAll({}).size(), 0);
        QCOMPARE(readAll("This is no picture, however long it is.").size(), 0);
        QCOMPARE(readAll(encodeImage(QImage(canvasSize, QImage::Format_RGB32), "png")).size(), 0);
    }
};

QTEST_GUILESS_MAIN(GifFramesTest)
#include "gif_frames_test.moc"
