// SPDX-License-Identifier: MIT
#include "app/skin/skin_picture.h"
#include "tests/support/files.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace tavik;

class SkinPictureTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        directory.reset(new QTemporaryDir);
        QDir::setCurrent(directory->path());
        QVERIFY(QDir().mkpath("resources/official-skin"));
    }

    void cleanup() { QDir::setCurrent(QDir::rootPath()); }

    void pictureIsStretchedToTheSizeAskedFor()
    {
        savePicture(Qt::red, {40, 10});
        const auto picture = shown("a.png").scaled({30, 30});
        QVERIFY(picture);
        QCOMPARE(picture->size(), QSize(30, 30));
        QCOMPARE(picture->toImage().pixelColor(15, 15), QColor(Qt::red));
    }

    void oneSizeIsSharedByAllWhoShowIt()
    {
        savePicture(Qt::red, {40, 10});
        const SkinPicture one = shown("a.png");
        const SkinPicture other = shown("a.png");
        const auto first = one.scaled({20, 20});
        QCOMPARE(other.scaled({20, 20}).get(), first.get());
        QVERIFY(other.scaled({20, 21}).get() != first.get());
    }

    void aPictureNobodyShowsIsLetGo()
    {
        savePicture(Qt::red, {40, 10});
        const SkinPicture skinPicture = shown("a.png");
        std::weak_ptr<const QPixmap> watched = skinPicture.scaled({20, 20});
        QVERIFY(watched.expired());
        QVERIFY(skinPicture.scaled({20, 20})); // and read again
    }

    // The program may be replaced by a newer one while it runs.
    void aPictureIsTheFileItWasMadeFrom()
    {
        savePicture(Qt::red, {40, 10});
        const SkinPicture before = shown("a.png");
        savePicture(Qt::blue, {50, 10});
        const SkinPicture after = shown("a.png");
        QVERIFY(QFile::remove("resources/official-skin/a.png"));
        QCOMPARE(before.scaled({20, 20})->toImage().pixelColor(10, 10), QColor(Qt::red));
        QCOMPARE(after.scaled({20, 20})->toImage().pixelColor(10, 10), QColor(Qt::blue));
        QVERIFY(!shown("a.png").scaled({20, 20}));
    }

    void missingBrokenAndEmptyPicturesAreNull()
    {
        QVERIFY(!shown("a.png").scaled({20, 20}));
        QFile broken("resources/official-skin/broken.png");
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("no picture");
        broken.close();
        QVERIFY(!shown("broken.png").scaled({20, 20}));
        savePicture(Qt::red, {40, 10});
        QVERIFY(!shown("a.png").scaled({0, 20}));
    }

    void aPictureAtASizeIsTakenFromTheFile_data()
    {
        QTest::addColumn<SkinPicture::Scaling>("scaling");
        QTest::addColumn<QByteArray>("prepared");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QColor>("color");
        const auto averaged = SkinPicture::Scaling::Averaged;
        const auto stretched = SkinPicture::Scaling::Stretched;
        const QByteArray green = png(Qt::green, {20, 20});
        const QByteArray both = chunk(averaged, png(Qt::blue, {9, 9})) + chunk(averaged, green);
        QTest::newRow("its first size") << averaged << both << QSize(9, 9) << QColor(Qt::blue);
        QTest::newRow("its second size") << averaged << both << QSize(20, 20) << QColor(Qt::green);
        QTest::newRow("another size") << averaged << both << QSize(20, 21) << QColor(Qt::red);
        QTest::newRow("another scaling") << stretched << both << QSize(20, 20) << QColor(Qt::red);
        QTest::newRow("no picture")
            << averaged << chunk(averaged, green.first(50)) << QSize(20, 20) << QColor(Qt::red);
        QTest::newRow("beyond the end")
            << averaged << chunk(averaged, green).chopped(5) << QSize(20, 20) << QColor(Qt::red);
        QTest::newRow("nothing but a length")
            << averaged << QByteArray("\xff\xff\xff\xff") << QSize(20, 20) << QColor(Qt::red);
    }
    void aPictureAtASizeIsTakenFromTheFile()
    {
        QFETCH(SkinPicture::Scaling, scaling);
        QFETCH(QByteArray, prepared);
        QFETCH(QSize, size);
        QFETCH(QColor, color);
        tests::writeFile("resources/official-skin/a.png", png(Qt::red, {40, 10}) + prepared);
        const auto picture = SkinPicture("a.png", scaling).scaled(size);
        QCOMPARE(picture->size(), size);
        QCOMPARE(picture->toImage().pixelColor(5, 5), color);
    }

    // They may be a thousand times as long as the file.
    void textsOfAPictureAtASizeAreNotRead()
    {
        tests::writeFile("resources/official-skin/a.png",
                         png(Qt::red, {40, 10}) + chunk(SkinPicture::Scaling::Averaged,
                                                        png(Qt::green, {20, 20}, "a text")));
        const QImage picture = shown("a.png").scaled({20, 20})->toImage();
        QCOMPARE(picture.pixelColor(5, 5), QColor(Qt::green));
        QCOMPARE(picture.textKeys(), QStringList());
    }

private:
    static QByteArray png(const QColor& color, QSize size, const QString& text = {})
    {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(color);
        if (!text.isEmpty())
            picture.setText("Comment", text);
        QBuffer file;
        picture.save(&file, "png");
        return file.data();
    }

    static QByteArray chunk(SkinPicture::Scaling scaling, const QByteArray& content)
    {
        const quint32 size = qToBigEndian(static_cast<quint32>(content.size()));
        return QByteArray(reinterpret_cast<const char*>(&size), sizeof size) +
               SkinPicture::preparedChunk(scaling) + content + QByteArray(4, '\0');
    }

    static SkinPicture shown(const QString& name) { return {name, SkinPicture::Scaling::Averaged}; }

    static void savePicture(const QColor& color, QSize size)
    {
        tests::writeFile("resources/official-skin/a.png", png(color, size));
    }

    QScopedPointer<QTemporaryDir> directory;
};

QTEST_MAIN(SkinPictureTest)
#include "skin_picture_test.moc"
