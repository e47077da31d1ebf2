// SPDX-License-Identifier: MIT
#include "pages/colors/color_preview.h"
#include "tests/support/isolated_main.h"

#include <QImage>
#include <QPainter>
#include <QTest>

using namespace tavik;

namespace {

constexpr QColor ground(1, 2, 3);

QImage painted(ColorPreview& preview)
{
    QImage image(preview.size(), QImage::Format_RGB32);
    image.fill(ground);
    preview.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

} // namespace

class ColorPreviewTest : public QObject
{
    Q_OBJECT

private slots:
    void showsTheColorInARoundedFrame()
    {
        const QColor color(10, 200, 30);
        ColorPreview preview(color);
        preview.setFixedSize(56, 26);
        const QImage image = painted(preview);
        QCOMPARE(image.pixelColor(28, 13), color);
        // The frame is centered on the line from 1 on, so it covers the pixels to both sides by
        // half; the rows and columns outside stay clear.
        QCOMPARE(image.pixelColor(0, 0), ground);
        QCOMPARE(image.pixelColor(55, 13), ground);
        QCOMPARE(image.pixelColor(28, 25), ground);
        QVERIFY(image.pixelColor(28, 1) != color);
        QVERIFY(image.pixelColor(28, 1) != ground);
        QVERIFY(image.pixelColor(28, 1).red() > 30); // a gray
        QVERIFY(image.pixelColor(1, 13) != color);
        QVERIFY(image.pixelColor(54, 13) != ground);
        QVERIFY(image.pixelColor(28, 24) != ground);
        // The corner is cut off.
        QCOMPARE(image.pixelColor(1, 1), ground);
    }

    void followsTheColorItRefersTo()
    {
        QColor color(255, 0, 0);
        ColorPreview preview(color);
        preview.setFixedSize(56, 26);
        QCOMPARE(painted(preview).pixelColor(28, 13), QColor(255, 0, 0));
        color = QColor(0, 0, 255);
        QCOMPARE(painted(preview).pixelColor(28, 13), QColor(0, 0, 255));
    }
};

TAVIK_ISOLATED_TEST_MAIN(ColorPreviewTest)

#include "color_preview_test.moc"
