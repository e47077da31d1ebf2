// SPDX-License-Identifier: MIT
#include "tests/resources/skin_access.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

namespace tavik::tests {

namespace {

constexpr int size = 240;
constexpr int center = 120;

int hueDistance(int one, int other)
{
    const int distance = std::abs(one - other);
    return std::min(distance, 360 - distance);
}

double distanceOf(int x, int y)
{
    return std::hypot(x - center, y - center);
}

} // namespace

class ColorWheelTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        wheel = skinPicture("img_circlepalette.png");
        QCOMPARE(wheel.size(), QSize(size, size));
    }

    void markerStandsOnEveryHue_data()
    {
        QTest::addColumn<int>("hue");
        for (int hue = 0; hue < 360; ++hue)
            QTest::addRow("%d", hue) << hue;
    }
    void markerStandsOnEveryHue()
    {
        QFETCH(int, hue);
        const QPoint marker = markerFor(hue);
        QVERIFY(marker.x() >= 0);
        QVERIFY(hueDistance(wheel.pixelColor(marker).hsvHue(), hue) <= 1);
    }

    void everyRingPixelCanBePicked()
    {
        int ringPixels = 0;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const double distance = distanceOf(x, y);
                if (distance < 67.0 || distance > 119.0)
                    continue;
                ++ringPixels;
                const QColor color = wheel.pixelColor(x, y);
                const QString place = QString("%1, %2").arg(x).arg(y);
                QVERIFY2(color.alpha() >= 200, qPrintable(place));
                QVERIFY2(color.hsvSaturation() >= 150, qPrintable(place));
            }
        }
        QVERIFY(ringPixels > 30000);
    }

    void outerRingIsFull()
    {
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const int radius = static_cast<int>(std::floor(distanceOf(x, y) + 0.5));
                if (radius < 103 || radius > 119)
                    continue;
                const QColor color = wheel.pixelColor(x, y);
                const QString place = QString("%1, %2").arg(x).arg(y);
                QVERIFY2(color.alpha() >= 200, qPrintable(place));
                QVERIFY2(color.hsvSaturation() >= 190, qPrintable(place));
                QVERIFY2(color.value() >= 190, qPrintable(place));
            }
        }
    }

    void edgesFade()
    {
        int fadingOutside = 0;
        int fadingInside = 0;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const double distance = distanceOf(x, y);
                const int alpha = wheel.pixelColor(x, y).alpha();
                if (distance < 64.0 || distance > 121.0)
                    QCOMPARE(alpha, 0);
                if (distance > 68.0 && distance < 118.0)
                    QCOMPARE(alpha, 255);
                const bool fades = alpha > 0 && alpha < 255;
                fadingOutside += fades && distance > 118.0 ? 1 : 0;
                fadingInside += fades && distance < 68.0 ? 1 : 0;
            }
        }
        QVERIFY(fadingOutside > 300);
        QVERIFY(fadingInside > 200);
    }

    void redIsAtTheTopAndHuesRunClockwise()
    {
        QCOMPARE(wheel.pixelColor(center, center - 111), QColor(255, 0, 0));
        QVERIFY(hueDistance(wheel.pixelColor(center + 111, center).hsvHue(), 90) <= 1);
        QVERIFY(hueDistance(wheel.pixelColor(center, center + 111).hsvHue(), 180) <= 1);
        QVERIFY(hueDistance(wheel.pixelColor(center - 111, center).hsvHue(), 270) <= 1);
    }

private:
    // The search by which the program places its marker: nearest hue first, then nearest to the
    // middle of the outer ring.
    [[nodiscard]] QPoint markerFor(int hue) const
    {
        QPoint best(-1, -1);
        int bestScore = INT_MAX;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const int radius = static_cast<int>(std::floor(distanceOf(x, y) + 0.5));
                const QColor color = wheel.pixelColor(x, y);
                if (radius < 103 || radius > 119 || color.alpha() < 200 ||
                    color.hsvSaturation() < 190 || color.value() < 190)
                    continue;
                const int score = std::abs(111 - radius) + 8 * hueDistance(hue, color.hsvHue());
                if (score < bestScore) {
                    bestScore = score;
                    best = QPoint(x, y);
                }
            }
        }
        return best;
    }

    QImage wheel;
};

} // namespace tavik::tests

QTEST_GUILESS_MAIN(tavik::tests::ColorWheelTest)
#include "color_wheel_test.moc"
