// SPDX-License-Identifier: MIT
#include "app/skin/skin_icons.h"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

using namespace tavik;

namespace {

const QList<QColor> frameColors{QColor(10, 20, 30), QColor(40, 50, 60), QColor(70, 80, 90),
                                QColor(100, 110, 120), QColor(130, 140, 150)};

// A strip of 8 x 6 frames, each of one color.
void saveStrip(const QString& path)
{
    QImage strip(8 * 5, 6, QImage::Format_ARGB32);
    for (int x = 0; x < strip.width(); ++x) {
        for (int y = 0; y < strip.height(); ++y)
            strip.setPixelColor(x, y, frameColors.at(x / 8));
    }
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QVERIFY(strip.save(path));
}

QColor colorOf(const QIcon& icon, QSize size, QIcon::Mode mode, QIcon::State state)
{
    const QImage image = icon.pixmap(size, mode, state).toImage();
    return image.isNull() ? QColor() : image.pixelColor(image.width() / 2, image.height() / 2);
}

} // namespace

class SkinIconsTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        directory.reset(new QTemporaryDir);
        QDir::setCurrent(directory->path());
    }

    void cleanup() { QDir::setCurrent(QDir::rootPath()); }

    void stripGivesOneFrameForEachState()
    {
        saveStrip(skinPath("icons/strip.png"));
        const QSize size(8, 6);
        const QIcon icon = spriteStripIcon("strip.png", size);
        QCOMPARE(colorOf(icon, size, QIcon::Normal, QIcon::Off), frameColors.at(0));
        QCOMPARE(colorOf(icon, size, QIcon::Active, QIcon::Off), frameColors.at(1));
        QCOMPARE(colorOf(icon, size, QIcon::Selected, QIcon::Off), frameColors.at(2));
        QCOMPARE(colorOf(icon, size, QIcon::Normal, QIcon::On), frameColors.at(2));
        QCOMPARE(colorOf(icon, size, QIcon::Disabled, QIcon::Off), frameColors.at(3));
        // Hovering the chosen page keeps it orange.
        QCOMPARE(colorOf(icon, size, QIcon::Active, QIcon::On), frameColors.at(2));
        QCOMPARE(icon.pixmap(size).size(), size);
    }

    void stripIsLookedUpAmongTheIconsFirst()
    {
        saveStrip(skinPath("bare.png"));
        const QSize size(8, 6);
        QVERIFY(!spriteStripIcon("bare.png", size).isNull());
        QImage other(32, 6, QImage::Format_ARGB32);
        other.fill(Qt::white);
        QVERIFY(QDir().mkpath(skinPath("icons")));
        QVERIFY(other.save(skinPath("icons/bare.png")));
        QCOMPARE(colorOf(spriteStripIcon("bare.png", size), size, QIcon::Normal, QIcon::Off),
                 QColor(Qt::white));
    }

    void tintedIconTurnsOrangeAndKeepsItsAlpha()
    {
        QImage image(48, 48, QImage::Format_ARGB32);
        image.fill(QColor(200, 210, 220, 128));
        QVERIFY(QDir().mkpath(skinPath("icons")));
        QVERIFY(image.save(skinPath("icons/icon_probe.png")));
        const QIcon icon = tintedIcon("icon_probe.png");
        const QSize size(24, 24);
        QCOMPARE(icon.pixmap(size, QIcon::Normal, QIcon::Off).size(), size);
        const QColor plain = colorOf(icon, size, QIcon::Normal, QIcon::Off);
        QVERIFY(qAbs(plain.red() - 200) <= 1 && plain.alpha() == 128);
        QCOMPARE(colorOf(icon, size, QIcon::Active, QIcon::Off), plain);
        for (const QColor& tinted : {colorOf(icon, size, QIcon::Normal, QIcon::On),
                                     colorOf(icon, size, QIcon::Selected, QIcon::Off)}) {
            QVERIFY(qAbs(tinted.red() - 0xE7) <= 1);
            QVERIFY(qAbs(tinted.green() - 0x7A) <= 1);
            QVERIFY(qAbs(tinted.blue() - 0x19) <= 1);
            QCOMPARE(tinted.alpha(), 128);
        }
    }

    void tintedIconIsLookedUpAmongTheIconsOnly()
    {
        saveStrip(skinPath("icon_probe.png"));
        QVERIFY(tintedIcon("icon_probe.png").isNull());
    }

    void frameIconCutsOneFrameOfTheBareName()
    {
        saveStrip(skinPath("frames.png"));
        const QSize size(8, 6);
        QCOMPARE(colorOf(frameIcon("frames.png", 4, size), size, QIcon::Normal, QIcon::Off),
                 frameColors.at(4));
        QCOMPARE(colorOf(frameIcon("frames.png", 0, size), size, QIcon::Normal, QIcon::Off),
                 frameColors.at(0));
        saveStrip(skinPath("icons/prefixed.png"));
        QVERIFY(frameIcon("prefixed.png", 0, size).isNull());
    }

    void pictureOfTheLargestSizeIsRead()
    {
        const QString path = skinPath("strip.png");
        saveStrip(path);
        QVERIFY(QFile::resize(path, 32 * 1024 * 1024));
        QVERIFY(!frameIcon("strip.png", 0, {8, 6}).isNull());
        QVERIFY(QFile::resize(path, 32 * 1024 * 1024 + 1));
        QVERIFY(frameIcon("strip.png", 0, {8, 6}).isNull());
    }

    void missingAndBrokenPicturesGiveEmptyIcons()
    {
        QVERIFY(QDir().mkpath(skinPath("icons")));
        QFile file(skinPath("icons/broken.png"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("no picture");
        file.close();
        for (const QString& name : {QString("missing.png"), QString("broken.png")}) {
            QVERIFY(spriteStripIcon(name, {8, 6}).isNull());
            QVERIFY(tintedIcon(name).isNull());
            QVERIFY(frameIcon(name, 0, {8, 6}).isNull());
        }
    }

private:
    QString skinPath(const QString& name) const
    {
        return directory->filePath("resources/official-skin/" + name);
    }

    QScopedPointer<QTemporaryDir> directory;
};

QTEST_MAIN(SkinIconsTest)
#include "skin_icons_test.moc"
