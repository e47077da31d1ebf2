// SPDX-License-Identifier: MIT
#include "pages/screen/screen_stream.h"
#include "virtual_keyboard/keyboard_state.h"

#include <QTest>

#include <algorithm>

using namespace tavik;

namespace {

constexpr std::size_t headerSize = 256;
constexpr std::size_t frameSize = 32768;

QImage plainImage(QRgb color, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(screenSize, format);
    image.fill(QColor::fromRgba(color));
    return image;
}

QList<ScreenFrame> plainFrames(int count)
{
    return QList<ScreenFrame>(count, {plainImage(qRgb(0, 0, 0)), 100});
}

std::uint8_t lowByte(int green, int blue)
{
    return static_cast<std::uint8_t>(((green << 3) & 0xE0) | (blue >> 3));
}

std::uint8_t highByte(int red, int green)
{
    return static_cast<std::uint8_t>((red & 0xF8) | (green >> 5));
}

// The two bytes of the first pixel of the first frame.
QByteArray firstPixel(const ScreenStream& stream)
{
    return QByteArray(reinterpret_cast<const char*>(stream.data() + headerSize), 2);
}

} // namespace

class ScreenStreamTest : public QObject
{
    Q_OBJECT

private slots:
    void timeIsCountedInUnitsOfTwoMilliseconds_data()
    {
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<int>("expected");
        QTest::newRow("none") << 0 << 10;
        QTest::newRow("10") << 10 << 10;
        QTest::newRow("20") << 20 << 10;
        QTest::newRow("21") << 21 << 10;
        QTest::newRow("22") << 22 << 11;
        QTest::newRow("100") << 100 << 50;
        QTest::newRow("509") << 509 << 254;
        QTest::newRow("510") << 510 << 255;
        QTest::newRow("511") << 511 << 255;
        QTest::newRow("512") << 512 << 255;
        QTest::newRow("1275") << 1275 << 255;
    }

    void timeIsCountedInUnitsOfTwoMilliseconds()
    {
        QFETCH(const int, delayMs);
        QFETCH(const int, expected);
        QCOMPARE(screenTimeByte(delayMs), static_cast<std::uint8_t>(expected));
        QCOMPARE(buildScreenStream({{plainImage(qRgb(1, 2, 3)), delayMs}}).at(1),
                 static_cast<std::uint8_t>(expected));
    }

    void oneFrameFillsNineBlocks()
    {
        const ScreenStream stream = buildScreenStream({{plainImage(qRgb(0, 0, 0)), 100}});
        QCOMPARE(stream.size(), 9 * screenBlockSize);
        const ScreenStream headStart{0x01, 0x32, 0x00};
        QVERIFY(std::equal(headStart.begin(), headStart.end(), stream.begin()));
        const auto isFiller = [](std::uint8_t byte) { return byte == 0xFF; };
        QVERIFY(std::all_of(stream.begin() + 3, stream.begin() + 256, isFiller));
        const auto isBlack = [](std::uint8_t byte) { return byte == 0; };
        QVERIFY(std::all_of(stream.begin() + 256, stream.end() - 3840, isBlack));
        QVERIFY(std::all_of(stream.end() - 3840, stream.end(), isFiller));
    }

    void everyNumberOfFramesHasItsHeaderAndBlocks()
    {
        for (int count = 1; count <= screenFrameLimit; ++count) {
            QList<ScreenFrame> frames = plainFrames(count);
            for (int index = 0; index < count; ++index)
                frames[index].delayMs = 20 + 2 * index;
            const ScreenStream stream = buildScreenStream(frames);

            const std::size_t used = headerSize + static_cast<std::size_t>(count) * frameSize;
            QCOMPARE(stream.size(), (used + 4095) / 4096 * 4096);
            ScreenStream header(headerSize, 0xFF);
            header[0] = static_cast<std::uint8_t>(count);
            for (int index = 0; index < count; ++index)
                header[static_cast<std::size_t>(1 + index)] = static_cast<std::uint8_t>(10 + index);
            header[static_cast<std::size_t>(1 + count)] = 0;
            QVERIFY(std::equal(header.begin(), header.end(), stream.begin()));
        }
        QCOMPARE(buildScreenStream(plainFrames(30)).size(), 241 * screenBlockSize);
    }

    void pixelIsStoredLowByteFirst_data()
    {
        QTest::addColumn<QRgb>("color");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("red") << qRgb(255, 0, 0) << QByteArray::fromHex("00f8");
        QTest::newRow("green") << qRgb(0, 255, 0) << QByteArray::fromHex("e007");
        QTest::newRow("blue") << qRgb(0, 0, 255) << QByteArray::fromHex("1f00");
        QTest::newRow("white") << qRgb(255, 255, 255) << QByteArray::fromHex("ffff");
        QTest::newRow("black") << qRgb(0, 0, 0) << QByteArray::fromHex("0000");
        QTest::newRow("low bits dropped") << qRgb(7, 3, 7) << QByteArray::fromHex("0000");
        QTest::newRow("lowest bits kept") << qRgb(8, 4, 8) << QByteArray::fromHex("2108");
    }

    void pixelIsStoredLowByteFirst()
    {
        QFETCH(const QRgb, color);
        QFETCH(const QByteArray, bytes);
        QCOMPARE(firstPixel(buildScreenStream({{plainImage(color), 100}})), bytes);
    }

    void pixelsGoFromLeftToRightAndRowsFromTopToBottom()
    {
        QImage first = plainImage(qRgb(0, 0, 0));
        first.setPixel(1, 0, qRgb(255, 0, 0));
        first.setPixel(0, 1, qRgb(0, 255, 0));
        first.setPixel(127, 127, qRgb(0, 0, 255));
        QImage second = plainImage(qRgb(0, 0, 0));
        second.setPixel(0, 0, qRgb(255, 255, 255));
        const ScreenStream stream = buildScreenStream({{first, 100}, {second, 100}});
        const auto pixelAt = [&stream](std::size_t offset) {
            return stream.at(offset) | stream.at(offset + 1) << 8;
        };
        QCOMPARE(pixelAt(256), 0);
        QCOMPARE(pixelAt(256 + 2), 0xF800);
        QCOMPARE(pixelAt(256 + 256), 0x07E0);
        QCOMPARE(pixelAt(256 + 32766), 0x001F);
        QCOMPARE(pixelAt(256 + 32768), 0xFFFF);
    }

    // Every value of the three channels in turn, with two rounds that differ in the bits that are
    // dropped: each of the 65536 outcomes comes up twice.
    void everyOutcomeIsThatOfTheFormula()
    {
        for (const int dropped : {0, 1}) {
            QList<ScreenFrame> frames;
            for (int outcome = 0; outcome < 65536; ++outcome) {
                if (outcome % 16384 == 0)
                    frames += {QImage(screenSize, QImage::Format_RGB32), 100};
                const QRgb color = qRgb((outcome >> 11) << 3 | 7 * dropped,
                                        ((outcome >> 5) & 63) << 2 | 3 * dropped,
                                        (outcome & 31) << 3 | 7 * dropped);
                frames.last().image.setPixel(outcome % 128, outcome / 128 % 128, color);
            }
            QCOMPARE(frames.size(), 4);
            const ScreenStream stream = buildScreenStream(frames);
            for (std::size_t outcome = 0; outcome < 65536; ++outcome) {
                const QRgb color = frames.at(static_cast<qsizetype>(outcome / 16384))
                                       .image.pixel(static_cast<int>(outcome % 128),
                                                    static_cast<int>(outcome / 128 % 128));
                const std::size_t offset = headerSize + 2 * outcome;
                QCOMPARE(stream[offset], lowByte(qGreen(color), qBlue(color)));
                QCOMPARE(stream[offset + 1], highByte(qRed(color), qGreen(color)));
                QCOMPARE(stream[offset] + 256U * stream[offset + 1], outcome);
            }
        }
    }

    // However a picture is held, its pixels are those of its 24-bit form.
    void everyFormatIsPackedAsItsTwentyFourBits_data()
    {
        QTest::addColumn<int>("format");
        for (const QImage::Format format :
             {QImage::Format_RGB888, QImage::Format_RGB32, QImage::Format_ARGB32,
              QImage::Format_ARGB32_Premultiplied, QImage::Format_Indexed8,
              QImage::Format_Grayscale8, QImage::Format_RGBA8888, QImage::Format_RGBX64,
              QImage::Format_RGBA64_Premultiplied, QImage::Format_RGB16, QImage::Format_Mono})
            QTest::addRow("format %d", format) << static_cast<int>(format);
    }

    void everyFormatIsPackedAsItsTwentyFourBits()
    {
        QFETCH(const int, format);
        QImage source(screenSize, QImage::Format_ARGB32);
        for (int y = 0; y < 128; ++y) {
            for (int x = 0; x < 128; ++x)
                source.setPixel(x, y, qRgba(x * 2, y * 2, (x * y) % 256, 255 - (x + y) % 200));
        }
        const QImage image = source.convertToFormat(static_cast<QImage::Format>(format));
        const ScreenStream stream = buildScreenStream({{image, 100}});
        const QImage plain = image.convertToFormat(QImage::Format_RGB888);
        for (int y = 0; y < 128; ++y) {
            const uchar* channel = plain.constScanLine(y);
            for (int x = 0; x < 128; ++x, channel += 3) {
                const auto offset = headerSize + static_cast<std::size_t>(2 * (y * 128 + x));
                QCOMPARE(stream[offset], lowByte(channel[1], channel[2]));
                QCOMPARE(stream[offset + 1], highByte(channel[0], channel[1]));
            }
        }
    }

    void keyboardFindsNothingWrongInIt()
    {
        for (const int count : {1, 2, 29, 30}) {
            QList<ScreenFrame> frames = plainFrames(count);
            frames.last() = {plainImage(qRgb(255, 0, 0)), 512};
            std::vector<virtual_keyboard::ScreenFrame> decoded;
            QCOMPARE(virtual_keyboard::decodeScreenStream(buildScreenStream(frames), decoded),
                     std::string());
            QCOMPARE(decoded.size(), static_cast<std::size_t>(count));
            QCOMPARE(decoded.back().time.count(), 510);
            QCOMPARE(decoded.back().pixels.front(), std::uint16_t{0xF800});
        }
    }
};

QTEST_GUILESS_MAIN(ScreenStreamTest)
#include "screen_stream_test.moc"
