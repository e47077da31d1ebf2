// SPDX-License-Identifier: MIT
#include "pages/lighting/palette_wheel.h"
#include "tests/support/pixel_probe.h"

#include <QDir>
#include <QMouseEvent>
#include <QPainter>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <numbers>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr QSize wheelSize(240, 240);
const QColor red(255, 0, 0);

QImage emptyPicture(QSize size = wheelSize)
{
    QImage picture(size, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    return picture;
}

QImage filledPicture(const QColor& color)
{
    QImage picture = emptyPicture();
    picture.fill(color);
    return picture;
}

// A ring whose hue is the angle, counted clockwise from the right.
QImage ringPicture()
{
    QImage picture = emptyPicture();
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double radius = std::hypot(x - 120, y - 120);
            const double turn = std::atan2(y - 120, x - 120) / (2 * std::numbers::pi);
            if (radius >= 67 && radius <= 122)
                picture.setPixelColor(x, y, QColor::fromHsvF(float(turn - std::floor(turn)), 1, 1));
        }
    }
    return picture;
}

// The pixel nearest to the middle of the ring and to the hue, by looking at every one.
std::optional<QPoint> plainSearch(const QImage& picture, int hue)
{
    std::optional<QPoint> best;
    int bestScore = std::numeric_limits<int>::max();
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const int radius = qRound(std::sqrt((x - 120) * (x - 120) + (y - 120) * (y - 120)));
            const QColor pixel = picture.pixelColor(x, y);
            if (radius < 103 || radius > 119 || pixel.alpha() < 200 || pixel.saturation() < 190 ||
                pixel.value() < 190)
                continue;
            const int apart = std::abs(pixel.hue() - hue);
            const int score = std::abs(111 - radius) + 8 * std::min(apart, 360 - apart);
            if (score < bestScore) {
                bestScore = score;
                best = QPoint(x, y);
            }
        }
    }
    return best;
}

// The picture with one pixel at that step from the center of a 240 x 240 wheel.
QImage withPixel(QImage picture, QPoint step, const QColor& color)
{
    picture.setPixelColor(QPoint(120, 120) + step, color);
    return picture;
}

} // namespace

class PaletteWheelTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression("^(?!This plugin does not support).*"));
        directory.reset(new QTemporaryDir);
        QVERIFY(QDir().mkpath(directory->filePath("resources/official-skin")));
        QDir::setCurrent(directory->path());
        useWheelPicture(ringPicture());
    }

    void cleanup() { QDir::setCurrent(QDir::rootPath()); }

    void sizeAndCursorAreFixed()
    {
        const PaletteWheel wheel;
        QCOMPARE(wheel.minimumSize(), wheelSize);
        QCOMPARE(wheel.maximumSize(), wheelSize);
        QCOMPARE(wheel.cursor().shape(), Qt::CrossCursor);
    }

    void onlyTheRingTakesAPress_data()
    {
        QTest::addColumn<QPointF>("position");
        QTest::addColumn<bool>("taken");
        QTest::newRow("center") << QPointF(120, 120) << false;
        QTest::newRow("66 right") << QPointF(186, 120) << false;
        QTest::newRow("66.9 right, rounds to 67") << QPointF(186.9, 120) << false;
        QTest::newRow("67 right") << QPointF(187, 120) << true;
        QTest::newRow("66 left") << QPointF(54, 120) << false;
        QTest::newRow("67 left") << QPointF(53, 120) << true;
        QTest::newRow("66 up") << QPointF(120, 54) << false;
        QTest::newRow("67 up") << QPointF(120, 53) << true;
        QTest::newRow("122, 22 beside the top") << QPointF(98, 0) << true;
        QTest::newRow("just over 122") << QPointF(97.9, 0) << false;
        QTest::newRow("123, 27 beside the top") << QPointF(93, 0) << false;
        QTest::newRow("corner") << QPointF(1, 1) << false;
    }

    void onlyTheRingTakesAPress()
    {
        QFETCH(QPointF, position);
        QFETCH(bool, taken);
        useWheelPicture(filledPicture(Qt::blue));
        QCOMPARE(pressedColor(position), taken ? QColor(Qt::blue) : QColor());
    }

    void pressBesideThePictureIsIgnored()
    {
        useWheelPicture(filledPicture(Qt::blue));
        QCOMPARE(pressedColor({239.4, 120}), QColor(Qt::blue));
        QCOMPARE(pressedColor({239.6, 120}), QColor());
        QCOMPARE(pressedColor({120, 239.6}), QColor());
    }

    void pressTakesThePixelAtTheRoundedPosition()
    {
        const QColor chosen(255, 5, 10);
        useWheelPicture(withPixel(filledPicture(Qt::blue), {100, 3}, chosen));
        PaletteWheel wheel;
        press(wheel, {219.5, 122.6});
        QCOMPARE(shownColor(wheel), chosen);
        QCOMPARE(shownMarker(wheel), QPoint(220, 123));
        press(wheel, {219.4, 122.6});
        QCOMPARE(shownColor(wheel), QColor(Qt::blue));
        QCOMPARE(shownMarker(wheel), QPoint(219, 123));
    }

    void pressWantsAClearColor_data()
    {
        QTest::addColumn<QColor>("pixel");
        QTest::addColumn<bool>("taken");
        QTest::newRow("saturation 149") << QColor(255, 106, 106) << false;
        QTest::newRow("saturation 150") << QColor(255, 105, 105) << true;
        QTest::newRow("saturation 160") << QColor(255, 95, 95) << true;
        QTest::newRow("dark") << QColor(20, 0, 0) << true;
        QTest::newRow("white") << QColor(255, 255, 255) << false;
        QTest::newRow("alpha 199") << QColor(255, 0, 0, 199) << false;
        QTest::newRow("alpha 200") << QColor(255, 0, 0, 200) << true;
    }

    void pressWantsAClearColor()
    {
        QFETCH(QColor, pixel);
        QFETCH(bool, taken);
        useWheelPicture(filledPicture(pixel));
        QCOMPARE(pressedColor({220, 120}), taken ? pixel : QColor());
    }

    void pressTellsOnceWithTheNewStateInPlace()
    {
        PaletteWheel wheel;
        QList<QColor> told;
        wheel.onColorPicked([&](const QColor& color) {
            told += color;
            QCOMPARE(shownColor(wheel), color);
            QCOMPARE(shownMarker(wheel), QPoint(120, 210));
        });
        press(wheel, {120, 210});
        QCOMPARE(told.size(), 1);
        QCOMPARE(told.first(), ringPicture().pixelColor(120, 210));
    }

    void pressWithoutAListenerIsFine()
    {
        PaletteWheel wheel;
        press(wheel, {120, 210});
        QCOMPARE(shownColor(wheel), ringPicture().pixelColor(120, 210));
    }

    void otherButtonsAreIgnored()
    {
        PaletteWheel wheel;
        wheel.setColor(red);
        int calls = 0;
        wheel.onColorPicked([&](const QColor&) { ++calls; });
        press(wheel, {120, 210}, Qt::RightButton);
        press(wheel, {120, 210}, Qt::MiddleButton);
        QCOMPARE(calls, 0);
        QCOMPARE(shownColor(wheel), red);
    }

    void setColorMovesTheMarkerWithoutACall()
    {
        PaletteWheel wheel;
        int calls = 0;
        wheel.onColorPicked([&](const QColor&) { ++calls; });
        wheel.setColor(red);
        QCOMPARE(shownMarker(wheel), QPoint(231, 120));
        wheel.setColor(QColor::fromHsv(90, 255, 255));
        const QPoint step = shownMarker(wheel) - QPoint(120, 231);
        QVERIFY(step.manhattanLength() <= 3);
        QCOMPARE(calls, 0);
    }

    void grayLeavesTheMarkerWhereItIs()
    {
        PaletteWheel wheel;
        wheel.setColor(QColor::fromHsv(180, 255, 255));
        const QPoint marker = shownMarker(wheel);
        QVERIFY(marker.x() < 12);
        for (const QColor& gray : {QColor(9, 9, 9), QColor(255, 255, 255), QColor(0, 0, 0)}) {
            wheel.setColor(gray);
            QCOMPARE(shownColor(wheel), gray);
            QCOMPARE(shownMarker(wheel), marker);
        }
    }

    void markerPixelsAreChosenByRadiusAndClearness_data()
    {
        QTest::addColumn<QPoint>("step");
        QTest::addColumn<QColor>("pixel");
        QTest::addColumn<bool>("found");
        QTest::newRow("radius 102") << QPoint(0, -102) << red << false;
        QTest::newRow("radius 103") << QPoint(0, -103) << red << true;
        QTest::newRow("102.4 rounds to 102") << QPoint(102, 9) << red << false;
        QTest::newRow("102.6 rounds to 103") << QPoint(102, 11) << red << true;
        QTest::newRow("radius 119") << QPoint(119, 0) << red << true;
        QTest::newRow("119.4 rounds to 119") << QPoint(119, 10) << red << true;
        QTest::newRow("119.6 rounds to 120") << QPoint(119, 12) << red << false;
        QTest::newRow("radius 120") << QPoint(-120, 0) << red << false;
        QTest::newRow("alpha 199") << QPoint(111, 0) << QColor(255, 0, 0, 199) << false;
        QTest::newRow("alpha 200") << QPoint(111, 0) << QColor(255, 0, 0, 200) << true;
        QTest::newRow("saturation 189") << QPoint(111, 0) << QColor(255, 66, 66) << false;
        QTest::newRow("saturation 190") << QPoint(111, 0) << QColor(255, 65, 65) << true;
        QTest::newRow("value 189") << QPoint(111, 0) << QColor(189, 0, 0) << false;
        QTest::newRow("value 190") << QPoint(111, 0) << QColor(190, 0, 0) << true;
    }

    void markerPixelsAreChosenByRadiusAndClearness()
    {
        QFETCH(QPoint, step);
        QFETCH(QColor, pixel);
        QFETCH(bool, found);
        const QImage picture = withPixel(emptyPicture(), step, pixel);
        const std::optional<QPoint> marker = WheelMarkers(picture, wheelSize).find(red);
        QCOMPARE(marker.has_value(), found);
        if (found)
            QCOMPARE(*marker, QPoint(120, 120) + step);
    }

    // The table must say what looking at every pixel says.
    void everyColorFindsWhatAPlainSearchFinds()
    {
        if (qGuiApp->devicePixelRatio() > 1)
            QSKIP("Takes long and is about the file, not the screen");
        const QImage picture(QCoreApplication::applicationDirPath() +
                             "/../../../share/tavik-center/official-skin/img_circlepalette.png");
        QVERIFY(!picture.isNull());
        for (const QImage& searched : {picture, ringPicture()}) {
            const WheelMarkers markers(searched, wheelSize);
            std::array<std::optional<QPoint>, 360> plain;
            for (int hue = 0; hue < 360; ++hue)
                plain.at(static_cast<std::size_t>(hue)) = plainSearch(searched, hue);
            QRandomGenerator random(11);
            for (int round = 0; round < 12'000; ++round) {
                const QColor color = QColor::fromRgb(random.generate());
                if (color.hue() >= 0)
                    QCOMPARE(markers.find(color), plain.at(static_cast<std::size_t>(color.hue())));
            }
        }
    }

    // One degree of hue weighs as much as eight pixels of radius.
    void oneDegreeWeighsEightPixels_data()
    {
        QTest::addColumn<int>("exactRadius"); // of the pixel whose hue is exact
        QTest::addColumn<int>("exactRow");    // above (-1) or below (1) the other
        QTest::addColumn<bool>("exactWins");
        QTest::newRow("7 pixels off, above") << 104 << -1 << true;
        QTest::newRow("7 pixels off, below") << 104 << 1 << true;
        QTest::newRow("7 pixels off outwards, below") << 118 << 1 << true;
        QTest::newRow("8 pixels off, above: first of a tie") << 103 << -1 << true;
        QTest::newRow("8 pixels off, below: second of a tie") << 103 << 1 << false;
        QTest::newRow("8 pixels off outwards, below") << 119 << 1 << false;
    }

    void oneDegreeWeighsEightPixels()
    {
        QFETCH(int, exactRadius);
        QFETCH(int, exactRow);
        QFETCH(bool, exactWins);
        const QColor oneDegree(255, 5, 0);
        QCOMPARE(oneDegree.hue(), 1);
        const QPoint exact(0, exactRow * exactRadius);
        const QPoint ideal(0, -exactRow * 111);
        const QImage picture = withPixel(withPixel(emptyPicture(), exact, oneDegree), ideal, red);
        QCOMPARE(WheelMarkers(picture, wheelSize).find(oneDegree).value(),
                 QPoint(120, 120) + (exactWins ? exact : ideal));
    }

    void ofEqualPixelsTheTopmostLeftmostWins()
    {
        const QImage two = withPixel(withPixel(emptyPicture(), {111, 0}, red), {-111, 0}, red);
        QCOMPARE(WheelMarkers(two, wheelSize).find(red).value(), QPoint(9, 120));
        const QImage three = withPixel(two, {0, -111}, red);
        QCOMPARE(WheelMarkers(three, wheelSize).find(red).value(), QPoint(120, 9));
    }

    void hueDistanceGoesRoundTheCircle()
    {
        const QColor nearAcrossZero = QColor::fromHsv(4, 255, 255);
        const QColor farSameSide = QColor::fromHsv(328, 255, 255);
        const QImage picture =
            withPixel(withPixel(emptyPicture(), {0, -111}, farSameSide), {0, 111}, nearAcrossZero);
        QCOMPARE(WheelMarkers(picture, wheelSize).find(QColor::fromHsv(348, 255, 255)).value(),
                 QPoint(120, 231));
    }

    void centerOfTheSearchIsThatOfTheWidget()
    {
        QImage picture = emptyPicture({400, 400});
        picture.setPixelColor(150 + 111, 120, red); // 301 / 2 and 241 / 2
        picture.setPixelColor(150, 120 + 111, red);
        QCOMPARE(WheelMarkers(picture, {301, 241}).find(red).value(), QPoint(261, 120));
        QCOMPARE(WheelMarkers(picture, {300, 240}).find(red).value(), QPoint(261, 120));
        QVERIFY(WheelMarkers(picture, {320, 241}).find(red) != QPoint(261, 120));
    }

    void nothingIsFoundWithoutAPictureAHueOrARing()
    {
        QVERIFY(!WheelMarkers(QImage(), wheelSize).find(red));
        QVERIFY(!WheelMarkers(emptyPicture(), wheelSize).find(red));
        QVERIFY(!WheelMarkers(ringPicture(), wheelSize).find(QColor(80, 80, 80)));
        QVERIFY(WheelMarkers(ringPicture(), wheelSize).find(red));
    }

    void missingPictureLeavesAWheelWithoutARing()
    {
        QVERIFY(QFile::remove(wheelPicturePath()));
        PaletteWheel wheel;
        wheel.setColor(red);
        QCOMPARE(shownColor(wheel), red);
        press(wheel, {220, 120});
        QCOMPARE(shownColor(wheel), red);
        const QImage picture = pictureOf(wheel);
        QCOMPARE(colorAt(picture, {220, 120}), QColor(0, 0, 0, 0));
        QCOMPARE(colorAt(picture, {120, 120}), red);
    }

    void discsShowTheColorOnAGround()
    {
        PaletteWheel wheel;
        wheel.setColor(QColor(10, 200, 30));
        const QImage picture = pictureOf(wheel, Qt::black);
        QCOMPARE(colorAt(picture, {120, 120}), QColor(10, 200, 30));
        QCOMPARE(colorAt(picture, {148, 120}), QColor(10, 200, 30));
        QCOMPARE(colorAt(picture, {151, 120}), QColor(0x41, 0x41, 0x41));
        QCOMPARE(colorAt(picture, {181, 120}), QColor(0x41, 0x41, 0x41));
        QCOMPARE(colorAt(picture, {120, 88}), QColor(0x41, 0x41, 0x41));
        QCOMPARE(colorAt(picture, {185, 120}), QColor(Qt::black)); // between disc and ring
        QCOMPARE(largestDifference(picture, expectedPicture(wheel, ringPicture())), 0);
    }

    void pictureFillsTheWholeWheel()
    {
        QImage small(60, 60, QImage::Format_ARGB32);
        small.fill(QColor(1, 2, 3));
        useWheelPicture(small);
        PaletteWheel wheel;
        wheel.setColor(red);
        const QImage picture = pictureOf(wheel);
        for (const QPoint& corner :
             {QPoint(10, 10), QPoint(239, 0), QPoint(0, 239), QPoint(239, 239)})
            QCOMPARE(colorAt(picture, corner), QColor(1, 2, 3));
    }

    void markerIsAWhiteRingAroundTheColor()
    {
        PaletteWheel wheel;
        wheel.setColor(QColor(10, 20, 250));
        const QPoint marker = shownMarker(wheel);
        const QImage picture = pictureOf(wheel, Qt::black);
        QCOMPARE(colorAt(picture, marker), QColor(10, 20, 250));
        QCOMPARE(colorAt(picture, marker - QPoint(1, 1)), QColor(10, 20, 250));
        for (const QPoint& edge : {QPoint(-4, 0), QPoint(3, 0), QPoint(0, -4), QPoint(0, 3)})
            QVERIFY(colorAt(picture, marker + edge).red() > 100);
        QVERIFY(colorAt(picture, marker + QPoint(6, 0)).red() < 60);
    }

    void arrowKeysTurnTheHueAndTell()
    {
        PaletteWheel wheel;
        wheel.setColor(QColor::fromHsv(0, 255, 255));
        QList<int> hues;
        wheel.onColorPicked([&](const QColor& color) { hues += color.hue(); });
        QTest::keyClick(&wheel, Qt::Key_Right);
        QTest::keyClick(&wheel, Qt::Key_Up);
        QTest::keyClick(&wheel, Qt::Key_Left);
        QTest::keyClick(&wheel, Qt::Key_Down);
        QTest::keyClick(&wheel, Qt::Key_Down);
        QKeyEvent other(QEvent::KeyPress, Qt::Key_A, {});
        QCoreApplication::sendEvent(&wheel, &other);
        QVERIFY(!other.isAccepted()); // it may mean something to the window
        QCOMPARE(hues, QList<int>({5, 10, 5, 0, 355}));
        QCOMPARE(shownColor(wheel).hue(), 355);
        QVERIFY(shownMarker(wheel).y() < 120);
        QCOMPARE(wheel.focusPolicy(), Qt::TabFocus);
    }

    void arrowKeysLeaveAGrayFromRed()
    {
        PaletteWheel wheel;
        wheel.setColor(QColor(9, 9, 9));
        QTest::keyClick(&wheel, Qt::Key_Right);
        QCOMPARE(shownColor(wheel).rgb(), QColor::fromHsv(5, 255, 255).rgb());
    }

private:
    QString wheelPicturePath() const
    {
        return directory->filePath("resources/official-skin/img_circlepalette.png");
    }

    void useWheelPicture(const QImage& picture) const { QVERIFY(picture.save(wheelPicturePath())); }

    static void press(PaletteWheel& wheel, QPointF position,
                      Qt::MouseButton button = Qt::LeftButton)
    {
        QMouseEvent event(QEvent::MouseButtonPress, position, position, button, button, {});
        QCoreApplication::sendEvent(&wheel, &event);
    }

    // What the callback is told of a press on a fresh wheel; invalid when it is not called.
    static QColor pressedColor(QPointF position)
    {
        PaletteWheel wheel;
        wheel.setColor(Qt::green);
        const QPoint marker = shownMarker(wheel);
        QColor told;
        wheel.onColorPicked([&](const QColor& color) { told = color; });
        press(wheel, position);
        if (!told.isValid() &&
            (shownColor(wheel) != QColor(Qt::green) || shownMarker(wheel) != marker))
            return Qt::green; // changed in secret
        return told;
    }

    static QColor shownColor(PaletteWheel& wheel)
    {
        return colorAt(pictureOf(wheel, Qt::black), {120, 120});
    }

    // The middle of the white ring outside the discs.
    static QPoint shownMarker(PaletteWheel& wheel)
    {
        QImage picture = pictureOf(wheel, Qt::black);
        QPainter(&picture).fillRect(57, 57, 126, 126, Qt::black);
        const QRect ring = areaWhere(picture, [](const QColor& pixel) {
            return std::min({pixel.red(), pixel.green(), pixel.blue()}) > 150;
        });
        return ring.center() + QPoint(1, 1);
    }

    static QImage expectedPicture(PaletteWheel& wheel, const QImage& ring)
    {
        return paintedPicture(wheelSize, Qt::black, [&](QPainter& painter) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawImage(QRect(QPoint(), wheelSize), ring);
            painter.setPen(QPen(QColor(0x58, 0x58, 0x58), 1.0));
            painter.setBrush(QColor(0x41, 0x41, 0x41));
            painter.drawEllipse(QRectF(57, 57, 126, 126));
            painter.setPen(Qt::NoPen);
            painter.setBrush(shownColor(wheel));
            painter.drawEllipse(QRectF(90, 90, 60, 60));
            painter.setPen(QPen(Qt::white, 1.5));
            const QPoint marker = shownMarker(wheel);
            painter.drawEllipse(QRect(marker - QPoint(4, 4), marker + QPoint(3, 3)));
        });
    }

    QScopedPointer<QTemporaryDir> directory;
};

QTEST_MAIN(PaletteWheelTest)
#include "palette_wheel_test.moc"
