// SPDX-License-Identifier: MIT
#include "app/skin/skin_files.h"
#include "tests/support/made_shared_place.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

class SkinFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        directory.reset(new QTemporaryDir);
        QDir::setCurrent(directory->path());
    }

    void cleanup()
    {
        QDir::setCurrent(QDir::rootPath());
        const QString own = QCoreApplication::applicationDirPath();
        QDir(own + "/official-skin").removeRecursively();
        QDir(own + "/../share").removeRecursively();
    }

    void missingFileGivesANullString() { QVERIFY(resolveSkinFile("lookup-probe.png").isNull()); }

    void currentDirectoryCountsAtTheMomentOfTheCall()
    {
        writeFile(directory->filePath("resources/official-skin/fonts/probe.ttf"), {});
        QCOMPARE(resolveSkinFile("fonts/probe.ttf"),
                 QDir::currentPath() + "/resources/official-skin/fonts/probe.ttf");
        QDir::setCurrent(QDir::rootPath());
        QVERIFY(resolveSkinFile("fonts/probe.ttf").isNull());
    }

    void directoriesAreTriedInTheirOrder()
    {
        const QString own = QCoreApplication::applicationDirPath();
        const MadeSharedPlace shared;
        if (!shared.isMade())
            QSKIP("/tmp/tavik-center is in use");
        const QStringList lastToFirst{
            QDir::currentPath() + "/resources/official-skin",
            QDir::currentPath() + "/native/tavik-center/resources/official-skin",
            own + "/official-skin", own + "/../share/tavik-center/official-skin",
            "/tmp/tavik-center/app/../resources/official-skin"};
        for (const QString& place : lastToFirst) {
            writeFile(QDir(place).filePath("lookup-probe.png"), {});
            QCOMPARE(resolveSkinFile("lookup-probe.png"), place + "/lookup-probe.png");
        }
    }

    // Anybody may put files into the first place, and nobody wants their keys to change by that.
    void firstPlaceCountsOnlyWhenNobodyElseMayWriteToIt()
    {
        const MadeSharedPlace shared;
        if (!shared.isMade())
            QSKIP("/tmp/tavik-center is in use");
        const QString next = QDir::currentPath() + "/resources/official-skin/lookup-probe.png";
        writeFile(next, {});
        const QString first = MadeSharedPlace::path("official-skin/lookup-probe.png");
        writeFile(first, {});
        QCOMPARE(resolveSkinFile("lookup-probe.png"), first);
        QVERIFY(QFile::setPermissions(first, QFile::permissions(first) | QFile::WriteOther));
        QCOMPARE(resolveSkinFile("lookup-probe.png"), next);
    }

    void directoriesCountAsFiles()
    {
        QVERIFY(QDir().mkpath(directory->filePath("resources/official-skin")));
        QCOMPARE(resolveSkinFile(QString()),
                 QDir(QDir::currentPath() + "/resources/official-skin").filePath(QString()));
    }

    void onlyPicturesOfTheirFormatAreDecoded_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<bool>("isDecoded");
        QTest::newRow("png") << "png" << true;
        for (const char* other : {"bmp", "jpg"})
            QTest::newRow(other) << QString(other) << false;
    }
    void onlyPicturesOfTheirFormatAreDecoded()
    {
        QFETCH(QString, format);
        QFETCH(bool, isDecoded);
        QImage picture(3, 2, QImage::Format_RGB32);
        picture.fill(Qt::red);
        picture.setText("Comment", "a text");
        QBuffer file;
        QVERIFY(picture.save(&file, format.toLatin1().constData()));
        const QImage decoded = decodeSkinImage(file.data());
        QCOMPARE(!decoded.isNull(), isDecoded);
        QCOMPARE(decoded.textKeys(), QStringList());
        QVERIFY(!isDecoded || decoded == picture);
    }

    void largestPicturesAreDecoded_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QImage::Format>("format");
        QTest::addColumn<bool>("isDecoded");
        const auto plain = QImage::Format_RGB32;
        const auto deep = QImage::Format_RGBA64;
        QTest::newRow("ten million pixels") << QSize(2000, 5000) << plain << true;
        QTest::newRow("a row more") << QSize(2000, 5001) << plain << false;
        QTest::newRow("five million deep ones") << QSize(2000, 2500) << deep << true;
        QTest::newRow("a row of them more") << QSize(2000, 2501) << deep << false;
    }
    void largestPicturesAreDecoded()
    {
        QFETCH(QSize, size);
        QFETCH(QImage::Format, format);
        QImage picture(size, format);
        picture.fill(Qt::red);
        QBuffer file;
        QVERIFY(picture.save(&file, "png"));
        QTEST(!decodeSkinImage(file.data()).isNull(), "isDecoded");
    }

private:
    QScopedPointer<QTemporaryDir> directory;
};

QTEST_GUILESS_MAIN(SkinFilesTest)
#include "skin_files_test.moc"
