// SPDX-License-Identifier: MIT
#include "app/skin/skin_files.h"
#include "app/skin/skin_icons.h"
#include "tests/support/made_shared_place.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

QImage shown(const QIcon& icon, QSize size)
{
    return icon.pixmap(size, qGuiApp->devicePixelRatio(), QIcon::Normal, QIcon::Off)
        .toImage()
        .convertToFormat(QImage::Format_ARGB32);
}

// Pixels that are neither clear nor full: the softness of edges.
int softPixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int alpha = qAlpha(image.pixel(x, y));
            count += alpha > 40 && alpha < 215 ? 1 : 0;
        }
    }
    return count;
}

// The same frame as it looks when the plain strip is stretched to these pixels.
QImage stretched(const QString& name, int frame, QSize frameSize, QSize pixels)
{
    const QImage strip(resolveSkinFile(name));
    return strip.copy(QRect(QPoint(frame * frameSize.width(), 0), frameSize))
        .scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_ARGB32);
}

} // namespace

class DenseIconsTest : public QObject
{
    Q_OBJECT

private slots:
    void iconsAreSharp_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("frameSize");
        QTest::addColumn<QSize>("size");
        const QSize button(30, 30);
        QTest::newRow("sidebar") << "icons/tab_home.png" << QSize(36, 36) << QSize(24, 24);
        QTest::newRow("tinted") << "icons/icon_music.png" << QSize(72, 72) << QSize(24, 24);
        QTest::newRow("screen") << "icons/tab_lcd.png" << QSize(32, 22) << QSize(24, 24);
        QTest::newRow("title bar") << "main_sysbtn_close.png" << button << button;
        QTest::newRow("direction") << "img_direction_top.png" << button << button;
        QTest::newRow("switch") << "img_switch_on.png" << QSize(44, 26) << QSize(44, 26);
    }

    void iconsAreSharp()
    {
        QFETCH(QString, name);
        QFETCH(QSize, frameSize);
        QFETCH(QSize, size);
        const qreal ratio = qGuiApp->devicePixelRatio();
        const QString bare = name.section(u'/', -1);
        const QIcon icon = bare.startsWith(u"icon_") ? tintedIcon(bare)
                           : name.contains(u'/')     ? spriteStripIcon(bare, frameSize)
                                                     : frameIcon(bare, 0, frameSize);
        const QImage image = shown(icon, size);
        QVERIFY(!image.isNull());
        const QSizeF units = frameSize.scaled(size, Qt::KeepAspectRatio);
        QVERIFY(std::abs(image.width() - units.width() * ratio) <= 1);
        QVERIFY(std::abs(image.height() - units.height() * ratio) <= 1);
        if (image.width() <= frameSize.width())
            return; // the plain strip has pixels enough
        const int soft = softPixels(image);
        const int softWhenStretched = softPixels(stretched(name, 0, frameSize, image.size()));
        QVERIFY2(soft < softWhenStretched * 0.8,
                 qPrintable(QStringLiteral("%1 of %2").arg(soft).arg(softWhenStretched)));
    }

    void tintedIconsHavePixelsEnough()
    {
        QVERIFY(QImage(resolveSkinFile("icons/icon_music.png")).width() >=
                24 * qGuiApp->devicePixelRatio());
    }

    // A skin may bring no pictures for dense screens, or only some of them.
    void plainStripServesWhereNoDenserOneIs()
    {
        const QTemporaryDir directory;
        const QString start = QDir::currentPath();
        QVERIFY(QDir(directory.path()).mkpath("resources/official-skin"));
        QDir::setCurrent(directory.path());
        const auto save = [](const QString& name, int density, const QColor& color) {
            QImage strip(QSize(8, 6) * density, QImage::Format_ARGB32);
            strip.fill(color);
            QVERIFY(strip.save("resources/official-skin/" + name));
        };
        const auto color = [] {
            return shown(frameIcon("probe.png", 0, {8, 6}), {8, 6}).pixelColor(3, 3);
        };
        const qreal ratio = qGuiApp->devicePixelRatio();
        save("probe.png", 1, Qt::red);
        QCOMPARE(color(), QColor(Qt::red));
        save("probe@2x.png", 2, Qt::green);
        QCOMPARE(color(), QColor(ratio > 1 ? Qt::green : Qt::red));
        save("probe@3x.png", 3, Qt::blue);
        QCOMPARE(color(), QColor(ratio > 2 ? Qt::blue : ratio > 1 ? Qt::green : Qt::red));
        QDir::setCurrent(start);
    }

    // Where everybody may put files, somebody else may put one beside the user's own.
    void denserStripOfSomebodyElseIsPassedOver()
    {
        const MadeSharedPlace shared;
        if (!shared.isMade())
            QSKIP("/tmp/tavik-center is in use");
        QImage strip(8, 6, QImage::Format_ARGB32);
        strip.fill(Qt::red);
        QVERIFY(strip.save(MadeSharedPlace::path("official-skin/probe.png")));
        for (const int density : {2, 3}) {
            QImage other(QSize(8, 6) * density, QImage::Format_ARGB32);
            other.fill(Qt::green);
            const QString path =
                MadeSharedPlace::path(QStringLiteral("official-skin/probe@%1x.png").arg(density));
            QVERIFY(other.save(path));
            QVERIFY(MadeSharedPlace::setMode(path, 0646));
        }
        QCOMPARE(shown(frameIcon("probe.png", 0, {8, 6}), {8, 6}).pixelColor(3, 3),
                 QColor(Qt::red));
    }
};

QTEST_MAIN(DenseIconsTest)
#include "dense_icons_test.moc"
