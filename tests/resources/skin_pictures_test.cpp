// SPDX-License-Identifier: MIT
#include "tests/resources/skin_access.h"

#include <QDir>
#include <QFontDatabase>
#include <QPainter>
#include <QSvgRenderer>
#include <QtTest>

#include <algorithm>
#include <cmath>

namespace tavik::tests {

namespace {

const QColor accent("#e77a19");

struct Strip
{
    const char* name;
    QSize frame;
    int frames;
    int chosen; // the frame the program shows for what is selected
};

const QList<Strip>& strips()
{
    static const QList<Strip> all{
        {"icons/tab_home.png", {36, 36}, 4, 2},       {"icons/tab_customkey.png", {36, 36}, 4, 2},
        {"icons/tab_macro.png", {36, 36}, 4, 2},      {"icons/tab_light.png", {36, 36}, 4, 2},
        {"icons/tab_lcd.png", {32, 22}, 4, 2},        {"icons/tab_customlight.png", {36, 36}, 4, 2},
        {"icons/tab_config.png", {36, 36}, 4, 2},     {"main_sysbtn_min.png", {30, 30}, 4, 2},
        {"main_sysbtn_close.png", {30, 30}, 4, 2},    {"img_direction_right.png", {30, 30}, 5, 4},
        {"img_direction_bottom.png", {30, 30}, 5, 4}, {"img_direction_top.png", {30, 30}, 5, 4},
        {"img_direction_left.png", {30, 30}, 5, 4},
    };
    return all;
}

// Beside each picture stand those for dense screens.
QString nameAt(const QString& name, int density)
{
    return density == 1 ? name : QString(name).replace(".png", QString("@%1x.png").arg(density));
}

// Direction buttons mark the chosen one by a disc.
bool isFilled(const Strip& strip, int frame)
{
    return strip.frames == 5 && frame == strip.chosen;
}

void addStripRows()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < strips().size(); ++index)
        QTest::addRow("%s", strips().at(index).name) << index;
}

QImage frameOf(const Strip& strip, int frame, int density = 1)
{
    const QSize size = strip.frame * density;
    return skinPicture(nameAt(strip.name, density))
        .copy(QRect(QPoint(frame * size.width(), 0), size));
}

// The color of the most opaque pixel: what the shape is painted in.
QColor inkOf(const QImage& picture)
{
    QColor ink(0, 0, 0, 0);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y).alpha() > ink.alpha())
                ink = picture.pixelColor(x, y);
        }
    }
    return ink;
}

// The middle of what is drawn, weighted by alpha.
QPointF weightOf(const QImage& picture)
{
    double sum = 0.0;
    QPointF weight;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double alpha = picture.pixelColor(x, y).alphaF();
            weight += QPointF(x + 0.5, y + 0.5) * alpha;
            sum += alpha;
        }
    }
    return weight / sum;
}

QImage alphaOf(const QImage& picture)
{
    return picture.convertToFormat(QImage::Format_Alpha8);
}

bool borderIsClear(const QImage& picture)
{
    for (int x = 0; x < picture.width(); ++x) {
        if (picture.pixelColor(x, 0).alpha() != 0 ||
            picture.pixelColor(x, picture.height() - 1).alpha() != 0)
            return false;
    }
    for (int y = 0; y < picture.height(); ++y) {
        if (picture.pixelColor(0, y).alpha() != 0 ||
            picture.pixelColor(picture.width() - 1, y).alpha() != 0)
            return false;
    }
    return true;
}

// The middle of the light knob of a switch.
double knobOf(const QImage& picture)
{
    double sum = 0.0;
    int pixels = 0;
    for (int y = 6; y < picture.height() - 6; ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor color = picture.pixelColor(x, y);
            if (color.alpha() < 255 || color.hsvSaturation() > 20 || color.value() < 190)
                continue;
            sum += x + 0.5;
            ++pixels;
        }
    }
    return pixels == 0 ? -1.0 : sum / pixels;
}

} // namespace

class SkinPicturesTest : public QObject
{
    Q_OBJECT

private slots:
    void stripHasItsFrames_data() { addStripRows(); }
    void stripHasItsFrames()
    {
        QFETCH(int, index);
        const Strip& strip = strips().at(index);
        for (const int density : {1, 2, 3}) {
            const QImage picture = skinPicture(nameAt(strip.name, density));
            QCOMPARE(picture.size(),
                     QSize(strip.frame.width() * strip.frames, strip.frame.height()) * density);
            for (int frame = 0; frame < strip.frames; ++frame) {
                const QImage shown = frameOf(strip, frame, density);
                QCOMPARE(inkOf(shown).alpha(), 255);
                QVERIFY2(borderIsClear(shown), qPrintable(QString::number(frame)));
            }
        }
    }

    void framesAreOneShapeInDifferentColors_data() { addStripRows(); }
    void framesAreOneShapeInDifferentColors()
    {
        QFETCH(int, index);
        const Strip& strip = strips().at(index);
        for (int one = 0; one < strip.frames; ++one) {
            if (!isFilled(strip, one))
                QCOMPARE(alphaOf(frameOf(strip, one)), alphaOf(frameOf(strip, 0)));
            for (int other = one + 1; other < strip.frames; ++other)
                QVERIFY(frameOf(strip, one) != frameOf(strip, other));
        }
    }

    // Not by its color alone: the arrow is cut out of a disc.
    void chosenDirectionIsToldByItsShape_data() { addStripRows(); }
    void chosenDirectionIsToldByItsShape()
    {
        QFETCH(int, index);
        const Strip& strip = strips().at(index);
        if (strip.frames != 5)
            return;
        const QImage plain = frameOf(strip, 0);
        const QImage chosen = frameOf(strip, strip.chosen);
        QVERIFY(plain.pixelColor(15, 15).alpha() > 250 && chosen.pixelColor(15, 15).alpha() < 5);
        for (const QPoint& corner : {QPoint(6, 6), QPoint(23, 6), QPoint(6, 23), QPoint(23, 23)})
            QVERIFY(plain.pixelColor(corner).alpha() < 5 &&
                    chosen.pixelColor(corner).alpha() > 250);
    }

    void chosenFrameShowsTheAccent_data() { addStripRows(); }
    void chosenFrameShowsTheAccent()
    {
        QFETCH(int, index);
        const Strip& strip = strips().at(index);
        QCOMPARE(inkOf(frameOf(strip, strip.chosen)).name(), accent.name());
        QVERIFY(inkOf(frameOf(strip, 0)).hsvSaturation() < 30);
    }

    void restingFrameIsReadable_data() { addStripRows(); }
    void restingFrameIsReadable()
    {
        QFETCH(int, index);
        const Strip& strip = strips().at(index);
        // The direction pad stands on the gray panel, everything else on the dark frame of the
        // window.
        const QColor ground = strip.frames == 5 ? QColor(65, 65, 65) : QColor(17, 17, 17);
        QVERIFY(contrast(inkOf(frameOf(strip, 0)), ground) >= 4.5);
        QVERIFY(contrast(inkOf(frameOf(strip, 1)), ground) >
                contrast(inkOf(frameOf(strip, 0)), ground));
        QVERIFY(contrast(inkOf(frameOf(strip, strip.chosen)), ground) >= 3.0);
    }

    void arrowPointsWhereItSays_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QPoint>("direction");
        QTest::newRow("right") << "img_direction_right.png" << QPoint(1, 0);
        QTest::newRow("bottom") << "img_direction_bottom.png" << QPoint(0, 1);
        QTest::newRow("top") << "img_direction_top.png" << QPoint(0, -1);
        QTest::newRow("left") << "img_direction_left.png" << QPoint(-1, 0);
    }
    void arrowPointsWhereItSays()
    {
        QFETCH(QString, name);
        QFETCH(QPoint, direction);
        // The head of an arrow is heavier than its tail.
        const QPointF offset = weightOf(skinPicture(name).copy(0, 0, 30, 30)) - QPointF(15, 15);
        QVERIFY(QPointF::dotProduct(offset, direction) > 1.0);
        QVERIFY(std::abs(QPointF::dotProduct(offset, QPoint(direction.y(), direction.x()))) < 0.2);
    }

    void tintedIconIsSharpAndSquare_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("favorites") << "icons/icon_favorites.png";
        QTest::newRow("music") << "icons/icon_music.png";
    }
    void tintedIconIsSharpAndSquare()
    {
        QFETCH(QString, name);
        const QImage picture = skinPicture(name);
        QCOMPARE(picture.size(), QSize(72, 72));
        QVERIFY(borderIsClear(picture));
        // It stands between the strips of the sidebar and must rest in the same color.
        QCOMPARE(inkOf(picture), inkOf(frameOf(strips().first(), 0)));
    }

    void marksOfControlsAreSharp_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("shownWidth");
        QTest::newRow("up") << "control_up.png" << 12;
        QTest::newRow("down") << "control_down.png" << 12;
        QTest::newRow("check") << "control_check.png" << 18;
        QTest::newRow("question") << "dialog_question.png" << 48;
        QTest::newRow("information") << "dialog_information.png" << 48;
    }
    // Large enough for a pixel ratio of two, and never cut at its border.
    void marksOfControlsAreSharp()
    {
        QFETCH(QString, name);
        QFETCH(int, shownWidth);
        const QImage picture = skinPicture(name);
        QCOMPARE(picture.width(), picture.height());
        QVERIFY(picture.width() >= 2 * shownWidth);
        QVERIFY(borderIsClear(picture));
    }

    void controlArrowsPointUpAndDown()
    {
        const QImage up = skinPicture("control_up.png");
        const auto firstRow = [](const QImage& picture, int column) {
            for (int y = 0; y < picture.height(); ++y) {
                if (picture.pixelColor(column, y).alpha() > 128)
                    return y;
            }
            return picture.height();
        };
        QVERIFY(firstRow(up, up.width() / 2) < firstRow(up, up.width() / 4));
        const QImage down = skinPicture("control_down.png");
        QVERIFY(firstRow(down, down.width() / 2) > firstRow(down, down.width() / 4));
    }

    void switchShowsItsState()
    {
        const QImage on = skinPicture("img_switch_on.png");
        const QImage off = skinPicture("img_switch_off.png");
        QCOMPARE(on.size(), QSize(44, 26));
        QCOMPARE(off.size(), QSize(44, 26));
        for (const int density : {2, 3}) {
            QCOMPARE(skinPicture(nameAt("img_switch_on.png", density)).size(), on.size() * density);
            QCOMPARE(skinPicture(nameAt("img_switch_off.png", density)).size(),
                     on.size() * density);
        }
        QVERIFY(knobOf(on) > 28.0);
        QVERIFY(knobOf(off) > 0.0 && knobOf(off) < 16.0);
        QCOMPARE(on.pixelColor(12, 13).name(), accent.name());
        QVERIFY(off.pixelColor(30, 13).hsvSaturation() < 30);
        for (const QImage& picture : {on, off})
            QVERIFY(borderIsClear(picture));
    }

    void logoFitsTheTitleBar()
    {
        const QImage logo = skinPicture("zerolt-logo.png");
        QVERIFY(logo.width() >= 2 * 62);
        QCOMPARE(logo.width() * 26, logo.height() * 62);
        QVERIFY(borderIsClear(logo));

        int light = 0;
        int orange = 0;
        for (int y = 0; y < logo.height(); ++y) {
            for (int x = 0; x < logo.width(); ++x) {
                light += logo.pixelColor(x, y) == QColor("#f1f1f1") ? 1 : 0;
                orange += logo.pixelColor(x, y) == accent ? 1 : 0;
            }
        }
        QVERIFY(light > 1000);
        QVERIFY(orange > 200);
    }

    void backdropIsQuiet()
    {
        const QImage backdrop = skinPicture("keyboard_bkg.png");
        QVERIFY(backdrop.width() >= 1200 && backdrop.height() >= 720);
        int darkest = 255;
        int lightest = 0;
        for (int y = 0; y < backdrop.height(); ++y) {
            for (int x = 0; x < backdrop.width(); ++x) {
                const QColor color = backdrop.pixelColor(x, y);
                QCOMPARE(color.alpha(), 255);
                darkest = std::min(darkest, color.value());
                lightest = std::max(lightest, color.value());
                if (x == 0)
                    continue;
                const int step = std::abs(color.value() - backdrop.pixelColor(x - 1, y).value());
                QVERIFY2(step <= 1, qPrintable(QString("%1, %2").arg(x).arg(y)));
            }
        }
        QVERIFY(lightest <= 32);
        QVERIFY(lightest > darkest);
    }

    void backdropCarriesText_data()
    {
        QTest::addColumn<QColor>("text");
        for (const char* name : {"#f1f1f1", "#9c9c9f", "#dfdfdf", "#7ec97e", "#e07070", "#e0a050"})
            QTest::addRow("%s", name) << QColor(name);
    }
    void backdropCarriesText()
    {
        QFETCH(QColor, text);
        const QImage backdrop = skinPicture("keyboard_bkg.png");
        QVERIFY(!backdrop.isNull());
        for (int y = 0; y < backdrop.height(); y += 3) {
            for (int x = 0; x < backdrop.width(); x += 3)
                QVERIFY(contrast(text, backdrop.pixelColor(x, y)) >= 4.5);
        }
    }

    void fontsAreOpenSans_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("regular") << "fonts/OpenSans-Regular.ttf";
        QTest::newRow("semibold") << "fonts/OpenSans-Semibold.ttf";
    }
    void fontsAreOpenSans()
    {
        QFETCH(QString, name);
        const int id = QFontDatabase::addApplicationFont(skinDirectory() + '/' + name);
        QVERIFY(id >= 0);
        QVERIFY(QFontDatabase::applicationFontFamilies(id).first().startsWith("Open Sans"));
    }

    // At 16 pixels the two caps, the screen and the tile they lie on must still be told apart.
    void applicationIconIsReadableSmall()
    {
        QSvgRenderer renderer(qEnvironmentVariable("TAVIK_SOURCE_DIR") +
                              "/resources/shapes/tavik-center.svg");
        QVERIFY(renderer.isValid());
        QImage icon(16, 16, QImage::Format_ARGB32);
        icon.fill(Qt::transparent);
        QPainter painter(&icon);
        renderer.render(&painter);
        painter.end();

        const QColor cap = icon.pixelColor(5, 5);
        const QColor screen = icon.pixelColor(10, 5);
        const QColor bar = icon.pixelColor(8, 10);
        const QColor gap = icon.pixelColor(5, 1);
        QVERIFY(contrast(cap, gap) >= 4.5);
        QVERIFY(contrast(bar, gap) >= 4.5);
        QVERIFY(contrast(screen, gap) >= 4.5);
        QCOMPARE(screen.name(), accent.name());
        QCOMPARE(icon.pixelColor(0, 0).alpha(), 0);
    }
};

} // namespace tavik::tests

QTEST_MAIN(tavik::tests::SkinPicturesTest)
#include "skin_pictures_test.moc"
