#include "model/keyboard_layout.h"
#include "pages/parts/keyboard_view.h"
#include "tests/support/pixel_probe.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <limits>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr QSize boardSize(640, 260);
constexpr int keySize = 38;

struct Outcome
{
    bool succeeded = false;
    QString messages;
};

QByteArray keyElement(const QByteArray& code, const QByteArray& name, int lightIndex, QRect rect)
{
    const auto attribute = [](const char* attributeName, int value) {
        return QByteArray(attributeName) + "='" + QByteArray::number(value) + "' ";
    };
    return "<key code='" + code + "' desc='" + name + "' " + attribute("light_index", lightIndex) +
           attribute("rect_left", rect.left()) + attribute("rect_top", rect.top()) +
           attribute("rect_width", rect.width()) + attribute("rect_height", rect.height()) + "/>\n";
}

QByteArray board(QSize size, const QByteArray& elements)
{
    return "<Keyboard width='" + QByteArray::number(size.width()) + "' height='" +
           QByteArray::number(size.height()) + "'>\n" + elements + "</Keyboard>";
}

// Five rows of 68 keys up to the right edge, usages beyond those of letters and modifiers among
// them; their light indexes run backwards. No case and no screen.
QByteArray smallBoard()
{
    constexpr int pitch = 41;
    QByteArray keys;
    int number = 0;
    int row = 0;
    for (const int columns : {15, 15, 14, 12, 12}) {
        for (int column = 0; column < columns; ++column, ++number) {
            const int left =
                column == columns - 1 ? boardSize.width() - keySize - 8 : 8 + pitch * column;
            keys +=
                keyElement("0x" + QByteArray::number(4 + 3 * number, 16), "Key with a long name",
                           143 - number, {left, 8 + 50 * row, keySize, keySize});
        }
        ++row;
    }
    return board(boardSize, keys);
}

// Where a lonely program looks for its share directory.
QString shareDirectory()
{
    return QCoreApplication::applicationDirPath() + "/../share/tavik-center";
}

Outcome paintSkin(const QByteArray& layoutFile)
{
    const QString path = shareDirectory() + "/keyboard-layout.xml";
    QFile file(path);
    if (!QDir(shareDirectory()).removeRecursively() || !QDir().mkpath(shareDirectory()) ||
        !file.open(QIODevice::WriteOnly) || file.write(layoutFile) != layoutFile.size())
        qFatal("cannot write %s", qPrintable(path));
    file.close();

    QProcess generator;
    generator.setProcessChannelMode(QProcess::MergedChannels);
    generator.start(TAVIK_SKIN_GENERATOR,
                    {TAVIK_SHAPES, path, TAVIK_FONT, shareDirectory() + "/official-skin"});
    generator.waitForFinished();
    return {generator.exitStatus() == QProcess::NormalExit && generator.exitCode() == 0,
            QString::fromUtf8(generator.readAll())};
}

QImage keyboardPicture()
{
    return QImage(shareDirectory() + "/official-skin/img_keyboard_brix9.png");
}

bool isLight(const QColor& color)
{
    return color.alpha() == 255 && qGray(color.rgb()) > 110;
}

KeyboardLayout layoutOf(QByteArray layoutFile)
{
    QBuffer buffer(&layoutFile);
    KeyboardLayout layout;
    if (!buffer.open(QIODevice::ReadOnly) || !layout.read(buffer))
        qFatal("the program cannot read the board");
    return layout;
}

} // namespace

// The skin and the program on a board that is not the shipped one.
class OtherBoardTest : public QObject
{
    Q_OBJECT

private slots:
    void pictureShowsEveryKeyAndNothingElse()
    {
        const Outcome outcome = paintSkin(smallBoard());
        QVERIFY2(outcome.succeeded, qPrintable(outcome.messages));
        const QImage picture = keyboardPicture();
        QCOMPARE(picture.size(), boardSize * 3);

        const KeyboardLayout layout = layoutOf(smallBoard());
        QCOMPARE(layout.keys.size(), 68);
        QRegion outside(picture.rect());
        for (const KeyRecord& key : layout.keys) {
            const QRect cap(key.rect.topLeft() * 3, key.rect.size() * 3);
            outside -= cap;
            QVERIFY(isLight(picture.pixelColor(cap.center())));
            for (const QPoint corner :
                 {QPoint(6, 6), QPoint(cap.width() - 7, 6), QPoint(6, cap.height() - 7),
                  QPoint(cap.width() - 7, cap.height() - 7)})
                QVERIFY(isLight(picture.pixelColor(cap.topLeft() + corner)));
        }
        for (const QRect& gap : outside) {
            QVERIFY(areaWhere(picture.copy(gap), [](const QColor& color) {
                        return color.alpha() > 0;
                    }).isEmpty());
        }
    }

    // The name, cut to the width of the cap.
    void keyShowsItsName()
    {
        const QRect cap(100, 100, keySize, keySize);
        const auto pictureOfKey = [&](const QByteArray& name) {
            paintSkin(board(boardSize, keyElement("0x99", name, 0, cap)));
            return keyboardPicture();
        };
        const QImage blank = pictureOfKey({});
        QVERIFY(!blank.isNull());
        const QRect print = changedArea(blank, pictureOfKey("A name longer than the cap"));
        QVERIFY(print.width() > keySize);
        QVERIFY(QRect(cap.topLeft() * 3, QSize(cap.width(), cap.height() / 2) * 3).contains(print));
        QVERIFY(changedArea(blank, pictureOfKey("Short")).width() < print.width());
    }

    void caseAndScreenStandWhereTheFileSays()
    {
        const QByteArray key = keyElement("4", "A", 0, {20, 20, keySize, keySize});
        const Outcome outcome = paintSkin(board(
            boardSize, "<case rect_left='4' rect_top='10' rect_width='600' rect_height='200'/>"
                       "<screen rect_left='500' rect_top='120' rect_width='60' rect_height='50'/>" +
                           key));
        QVERIFY2(outcome.succeeded, qPrintable(outcome.messages));
        const QImage picture = keyboardPicture();
        const auto isPainted = [](const QColor& color) { return color.alpha() > 0; };
        QCOMPARE(areaWhere(picture, isPainted), QRect(12, 30, 1800, 600));
        const auto isGlass = [](const QColor& color) {
            return color.alpha() == 255 && qGray(color.rgb()) < 20;
        };
        const QRect glass = areaWhere(picture, isGlass);
        QVERIFY(QRect(1500, 360, 180, 150).contains(glass));
        QVERIFY(glass.contains(QRect(1510, 370, 160, 130)));
    }

    void programShowsTheBoardAsItIsPainted_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("painted size") << boardSize * 3;
        QTest::newRow("wide window") << QSize(1500, 520);
        QTest::newRow("high window") << QSize(960, 700);
    }
    void programShowsTheBoardAsItIsPainted()
    {
        QFETCH(QSize, size);
        QVERIFY(paintSkin(smallBoard()).succeeded);
        const KeyboardLayout layout = layoutOf(smallBoard());
        KeyboardView view;
        view.setMinimumSize(0, 0);
        view.resize(size);
        view.setKeyboardLayout(&layout);
        view.setMode(KeyboardViewMode::KeyColors);
        const QImage shown = pictureOf(view);
        QSignalSpy clicks(&view, &KeyboardView::slotActivated);

        for (const KeyRecord& key : layout.keys) {
            const QRect hit = view.hitRectangle(key);
            QVERIFY(isLight(shown.pixelColor(hit.center())));
            QVERIFY(shown.pixelColor(hit.right() + 2, hit.center().y()).alpha() < 64);
            QTest::mouseClick(&view, Qt::LeftButton, {}, hit.center());
            QCOMPARE(clicks.takeLast(), QVariantList{key.lightIndex});
        }
    }

    void oddRectanglesDoNotStopIt()
    {
        constexpr int most = std::numeric_limits<int>::max();
        const QList<QRect> odd{{10, 10, 0, 40},   {10, 10, -40, 40},      {700, 10, 40, 40},
                               {620, 10, 40, 40}, {most - 9, 10, 40, 40}, {0, 0, most, most}};
        QByteArray keys = keyElement("4", "A", 0, {10, 10, 1, 1}) +
                          keyElement("5", "B", 1, {100, 100, keySize, keySize});
        for (const QRect& rect : odd)
            keys += keyElement("6", "Odd", 2, rect);
        const Outcome outcome = paintSkin(board(boardSize, keys));
        QVERIFY2(outcome.succeeded, qPrintable(outcome.messages));
        QCOMPARE(outcome.messages.count("the key Odd"), odd.size());
        QCOMPARE(areaWhere(keyboardPicture(), isLight).bottomRight(), QPoint(413, 413));
    }

    void uselessFileIsRefusedWithItsReason_data()
    {
        QTest::addColumn<QByteArray>("layoutFile");
        QTest::addColumn<QString>("reason");
        const QByteArray key = keyElement("4", "A", 0, {10, 10, keySize, keySize});
        QTest::newRow("broken") << QByteArray("<Keyboard width='640' height='260'>\n" + key)
                                << "keyboard-layout.xml is broken: line 3: ";
        QTest::newRow("no key") << board(boardSize, {})
                                << "keyboard-layout.xml is broken: it has no key";
        QTest::newRow("no size") << QByteArray("<Keyboard>" + key + "</Keyboard>") << "0 x 0";
        QTest::newRow("negative") << board({640, -1}, key) << "640 x -1";
        QTest::newRow("too wide") << board({2147483647, 1}, key) << "2147483647 x 1";
        QTest::newRow("too high") << board({640, 1000000}, key) << "640 x 1000000";
    }
    void uselessFileIsRefusedWithItsReason()
    {
        QFETCH(QByteArray, layoutFile);
        QFETCH(QString, reason);
        const Outcome outcome = paintSkin(layoutFile);
        QVERIFY(!outcome.succeeded);
        QVERIFY2(outcome.messages.contains(reason), qPrintable(outcome.messages));
        QVERIFY(keyboardPicture().isNull());
    }
};

QTEST_MAIN(OtherBoardTest)
#include "other_board_test.moc"
