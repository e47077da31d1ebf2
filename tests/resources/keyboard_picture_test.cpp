// SPDX-License-Identifier: MIT
#include "tests/resources/skin_access.h"

#include <QtTest>

#include <algorithm>
#include <array>
#include <cmath>

namespace tavik::tests {

namespace {

constexpr QColor captionText(30, 30, 30);
constexpr QColor captionFill(231, 122, 25, 72);
constexpr int rainbowAlpha = 78;
constexpr int keyColorAlpha = 112;

// Where a legend stands on its cap, from the upper left corner of the key, in layout units.
QRectF legendArea(const QRect& key)
{
    return QRectF(key.left() + 4, key.top() + 2, key.width() - 8, 11);
}

bool isLight(const QColor& color)
{
    return qGray(color.rgb()) > 110;
}

bool isDark(const QColor& color)
{
    return qGray(color.rgb()) < 80;
}

QColor withAlpha(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

// The glow fades from the middle of the key to nothing at `factor` times its longer side.
int glowAlpha(const QRect& key, QPointF place, int alpha, double factor)
{
    const QPointF middle = QRectF(key).center();
    const double radius = std::max(key.width(), key.height()) * factor;
    const double distance = std::hypot(place.x() - middle.x(), place.y() - middle.y());
    return static_cast<int>(std::lround(alpha * std::max(0.0, 1.0 - distance / radius)));
}

int largestDifference(const QColor& one, const QColor& other)
{
    return std::max({std::abs(one.red() - other.red()), std::abs(one.green() - other.green()),
                     std::abs(one.blue() - other.blue())});
}

} // namespace

class KeyboardPictureTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        layout = readLayout(shareDirectory() + "/keyboard-layout.xml");
        QCOMPARE(layout.error, QString());
        QVERIFY(!layout.keys.isEmpty());
        picture = skinPicture("img_keyboard_brix9.png");
        QVERIFY(!picture.isNull());
        scale = picture.width() / layout.area.width();
    }

    void isLargeEnoughForBigScreens()
    {
        QVERIFY(scale >= 3);
        QCOMPARE(picture.size(), layout.area.size() * scale);
    }

    void caseHasTransparentCorners()
    {
        QCOMPARE(picture.pixelColor(0, 0).alpha(), 0);
        QCOMPARE(picture.pixelColor(picture.width() - 1, picture.height() - 1).alpha(), 0);
        if (layout.caseRect.isNull())
            QSKIP("this board is drawn without a case");
        const QPointF rim(layout.caseRect.left() + 6, layout.caseRect.center().y());
        QCOMPARE(at(rim.x(), rim.y()).alpha(), 255);
        QVERIFY(isDark(at(rim.x(), rim.y())));
    }

    void capsStandWhereTheKeysAre_data() { addKeyRows(); }
    void capsStandWhereTheKeysAre()
    {
        QFETCH(int, index);
        const QRectF key = layout.keys.at(index).rect;
        const QPointF middle = key.center();

        // Half a unit on either side of each edge, and each corner: round, so a little further in.
        const std::array<QPointF, 8> inside{
            QPointF(key.left() + 0.5, middle.y()), QPointF(key.right() - 0.5, middle.y()),
            QPointF(middle.x(), key.top() + 0.5),  QPointF(middle.x(), key.bottom() - 0.5),
            key.topLeft() + QPointF(2, 2),         key.topRight() + QPointF(-2, 2),
            key.bottomLeft() + QPointF(2, -2),     key.bottomRight() + QPointF(-2, -2)};
        const std::array<QPointF, 8> outside{
            QPointF(key.left() - 0.5, middle.y()), QPointF(key.right() + 0.5, middle.y()),
            QPointF(middle.x(), key.top() - 0.5),  QPointF(middle.x(), key.bottom() + 0.5),
            key.topLeft() - QPointF(0.5, 0.5),     key.topRight() + QPointF(0.5, -0.5),
            key.bottomLeft() + QPointF(-0.5, 0.5), key.bottomRight() + QPointF(0.5, 0.5)};
        for (const QPointF& place : inside)
            QVERIFY2(isLight(at(place.x(), place.y())),
                     qPrintable(QString("%1, %2").arg(place.x()).arg(place.y())));
        for (const QPointF& place : outside)
            QVERIFY2(isDark(at(place.x(), place.y())),
                     qPrintable(QString("%1, %2").arg(place.x()).arg(place.y())));
    }

    void legendIsPrinted_data() { addKeyRows(); }
    void legendIsPrinted()
    {
        QFETCH(int, index);
        const LayoutKey& key = layout.keys.at(index);
        const QPointF darkest = darkestPlace(legendArea(key.rect));
        QCOMPARE(isLight(at(darkest.x(), darkest.y())), key.legend.isEmpty());
    }

    void captionsReachTheirContrast_data() { addKeyRows(); }
    // A caption of one line stands in the middle of the key, where nothing may be printed; a longer
    // one reaches down to the lower edge, past the hint in the right corner. Every pixel under the
    // translucent box must be light enough for the dark text.
    void captionsReachTheirContrast()
    {
        QFETCH(int, index);
        const QRect key = layout.keys.at(index).rect;
        const int middle = (key.top() + key.bottom()) / 2;
        const QRect oneLine(key.left() + 3, middle - 7, key.width() - 8, 14);
        const QRect below(key.left() + 3, middle + 7, key.width() / 2,
                          key.bottom() - 4 - middle - 7);
        for (const QRect& area : {oneLine, below}) {
            const double worst = worstCaptionContrast(area);
            QVERIFY2(worst >= 4.5, qPrintable(QString::number(worst)));
        }
    }

    void glowsShowOnTheCap_data() { addKeyRows(); }
    void glowsShowOnTheCap()
    {
        constexpr int clearlyVisible = 20;
        QFETCH(int, index);
        const QPointF middle = QRectF(layout.keys.at(index).rect).center();
        const QColor cap = at(middle.x(), middle.y());

        for (int hue = 0; hue < 360; ++hue) {
            const QColor glow = withAlpha(QColor::fromHsv(hue, 220, 255), rainbowAlpha);
            QVERIFY2(largestDifference(cap, over(glow, cap)) >= clearlyVisible,
                     qPrintable(QString::number(hue)));
        }
        for (const QColor& color : {QColor(Qt::white), QColor(Qt::yellow), QColor(Qt::black)}) {
            const QColor glow = withAlpha(color, keyColorAlpha);
            QVERIFY2(largestDifference(cap, over(glow, cap)) >= clearlyVisible,
                     qPrintable(color.name()));
        }
    }

    void legendsAreReadableUnderEveryGlow_data() { addKeyRows(); }
    void legendsAreReadableUnderEveryGlow()
    {
        QFETCH(int, index);
        const LayoutKey& key = layout.keys.at(index);
        if (key.legend.isEmpty())
            return;
        const QPointF print = darkestPlace(legendArea(key.rect));
        const QColor ink = at(print.x(), print.y());
        const QColor ground = at(key.rect.left() + 4, print.y());

        for (int corner = 0; corner < 8; ++corner) {
            const QColor color((corner & 1) * 255, (corner >> 1 & 1) * 255,
                               (corner >> 2 & 1) * 255);
            const QColor glow = withAlpha(color, glowAlpha(key.rect, print, keyColorAlpha, 0.8));
            const double reached = contrast(over(glow, ink), over(glow, ground));
            QVERIFY2(reached >= 4.5,
                     qPrintable(QString("%1 under %2").arg(reached).arg(color.name())));
        }
        for (int hue = 0; hue < 360; hue += 10) {
            const QColor glow = withAlpha(QColor::fromHsv(hue, 220, 255),
                                          glowAlpha(key.rect, print, rainbowAlpha, 0.82));
            const double reached = contrast(over(glow, ink), over(glow, ground));
            QVERIFY2(reached >= 4.5, qPrintable(QString("%1 under hue %2").arg(reached).arg(hue)));
        }
    }

    void legendsAreReadableBesideACaption_data() { addKeyRows(); }
    // The first legend, the one of the Shift layer, and the picture of what a key does with Fn;
    // bare and under the box of a caption.
    void legendsAreReadableBesideACaption()
    {
        QFETCH(int, index);
        const QRectF key = layout.keys.at(index).rect;
        const QRectF first(key.left() + 4, key.top() + 2, key.width() / 2 - 4, 11);
        const QRectF lower(key.right() - 17, key.bottom() - 15, 13, 9);
        for (const QRectF& area : {first, first.translated(key.width() / 2 - 4, 0), lower}) {
            const QPointF print = darkestPlace(area);
            const QColor ink = at(print.x(), print.y());
            const QColor ground = at(key.left() + 4, print.y());
            if (isLight(ink))
                continue; // nothing is printed here
            QVERIFY2(contrast(ink, ground) >= 4.5, qPrintable(ink.name()));
            const double beside = contrast(over(captionFill, ink), over(captionFill, ground));
            QVERIFY2(beside >= 4.5, qPrintable(QString("%1: %2").arg(ink.name()).arg(beside)));
        }
    }

    // Dark glass with light hands and one in the accent.
    void screenShowsAClock()
    {
        if (layout.screenRect.isNull())
            QSKIP("this board has no screen");
        const QRect glass = layout.screenRect.adjusted(2, 2, -2, -2);
        for (const LayoutKey& key : layout.keys)
            QVERIFY2(!glass.intersects(key.rect), qPrintable(key.desc));

        int dark = 0;
        int light = 0;
        int accent = 0;
        const int pixels = glass.width() * glass.height();
        for (int y = glass.top(); y <= glass.bottom(); ++y) {
            for (int x = glass.left(); x <= glass.right(); ++x) {
                const QColor color = at(x + 0.5, y + 0.5);
                dark += qGray(color.rgb()) < 40 ? 1 : 0;
                light += qGray(color.rgb()) > 200 ? 1 : 0;
                accent += largestDifference(color, QColor("#e77a19")) < 30 ? 1 : 0;
            }
        }
        QVERIFY(dark > pixels * 8 / 10);
        QVERIFY(light > 60);
        QVERIFY(accent > 20);
    }

private:
    void addKeyRows() const
    {
        QTest::addColumn<int>("index");
        for (int index = 0; index < layout.keys.size(); ++index)
            QTest::addRow("%s", qPrintable(layout.keys.at(index).desc)) << index;
    }

    // The color at a place in layout units.
    [[nodiscard]] QColor at(double x, double y) const
    {
        return picture.pixelColor(static_cast<int>(std::floor(x * scale)),
                                  static_cast<int>(std::floor(y * scale)));
    }

    [[nodiscard]] QPointF darkestPlace(const QRectF& area) const
    {
        QPointF darkest = area.topLeft();
        const double step = 1.0 / scale;
        for (double y = area.top(); y < area.bottom(); y += step) {
            for (double x = area.left(); x < area.right(); x += step) {
                if (qGray(at(x, y).rgb()) < qGray(at(darkest.x(), darkest.y()).rgb()))
                    darkest = QPointF(x, y);
            }
        }
        return darkest;
    }

    [[nodiscard]] double worstCaptionContrast(const QRect& area) const
    {
        double worst = 21.0;
        for (int y = area.top() * scale; y <= area.bottom() * scale; ++y) {
            for (int x = area.left() * scale; x <= area.right() * scale; ++x)
                worst =
                    std::min(worst, contrast(captionText, over(captionFill, picture.pixel(x, y))));
        }
        return worst;
    }

    Layout layout;
    QImage picture;
    int scale = 0;
};

} // namespace tavik::tests

QTEST_GUILESS_MAIN(tavik::tests::KeyboardPictureTest)
#include "keyboard_picture_test.moc"
