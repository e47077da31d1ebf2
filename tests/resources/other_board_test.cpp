// SPDX-License-Identifier: MIT
#include "model/keyboard_layout.h"
#include "pages/parts/keyboard_view.h"
#include "tests/support/files.h"
#include "tests/support/pixel_probe.h"

#include <QBuffer>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <limits>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr QSize boardSize(640, 260);
constexpr int keySize = 38;

// As the file gives it, beyond what a rectangle can hold as well.
struct Place
{
    int left = 0;
    int top = 0;
    int width = keySize;
    int height = keySize;
};

QByteArray keyElement(int code, const char* name, int lightIndex, const Place& place)
{
    return QString::asprintf("<key code='0x%x' desc='%s' light_index='%d' rect_left='%d' "
                             "rect_top='%d' rect_width='%d' rect_height='%d'/>\n",
                             code, name, lightIndex, place.left, place.top, place.width,
                             place.height)
        .toUtf8();
}

QByteArray board(QSize size, const QByteArray& elements)
{
    return QString::asprintf("<Keyboard width='%d' height='%d'>\n%s</Keyboard>", size.width(),
                             size.height(), elements.constData())
        .toUtf8();
}

// Five rows of 68 keys up to the right edge, usages beyond those of letters and modifiers among
// them; their light indexes run backwards. No case and no screen.
QByteArray smallBoard()
{
    QByteArray keys;
    int number = 0;
    int top = 8;
    for (const int columns : {15, 15, 14, 12, 12}) {
        for (int column = 0; column < columns; ++column, ++number) {
            const bool isLast = column == columns - 1;
            const int left = isLast ? boardSize.width() - keySize - 8 : 8 + 41 * column;
            keys += keyElement(4 + 3 * number, "Key with a long name", 143 - number, {left, top});
        }
        top += 50;
    }
    return board(boardSize, keys);
}

// Where a lonely program looks for its share directory.
QString shareDirectory()
{
    return QCoreApplication::applicationDirPath() + "/../share/tavik-center";
}

// What the generator complains of, after "failed: " when it paints nothing.
QString paintSkin(const QByteArray& layoutFile)
{
    const QString path = shareDirectory() + "/keyboard-layout.xml";
    QDir(shareDirectory()).removeRecursively();
    writeFile(path, layoutFile);
    QProcess generator;
    generator.setProcessChannelMode(QProcess::MergedChannels);
    generator.start(TAVIK_SKIN_GENERATOR,
                    {TAVIK_SHAPES, path, TAVIK_FONT, shareDirectory() + "/official-skin"});
    generator.waitForFinished();
    const bool succeeded =
        generator.exitStatus() == QProcess::NormalExit && generator.exitCode() == 0;
    return (succeeded ? "" : "failed: ") + QString::fromUtf8(generator.readAll());
}

QImage keyboardPicture()
{
    return QImage(shareDirectory() + "/official-skin/img_keyboard_brix9.png");
}

bool isPainted(const QColor& color)
{
    return color.alpha() > 0;
}

bool isLight(const QColor& color)
{
    return color.alpha() == 255 && qGray(color.rgb()) > 110;
}

bool isGlass(const QColor& color)
{
    return color.alpha() == 255 && qGray(color.rgb()) < 20;
}

KeyboardLayout readSmallBoard()
{
    QByteArray layoutFile = smallBoard();
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
        QVERIFY(!paintSkin(smallBoard()).startsWith("failed"));
        const QImage picture = keyboardPicture();
        QCOMPARE(picture.size(), boardSize * 3);
        const KeyboardLayout layout = readSmallBoard();
        QCOMPARE(layout.keys.size(), 68);
        QRegion outside(picture.rect());
        for (const KeyRecord& key : layout.keys) {
            const QRect cap(key.rect.topLeft() * 3, key.rect.size() * 3);
            const QRect inner = cap.adjusted(6, 6, -6, -6);
            outside -= cap;
            for (const QPoint place : {cap.center(), inner.topLeft(), inner.topRight(),
                                       inner.bottomLeft(), inner.bottomRight()})
                QVERIFY(isLight(picture.pixelColor(place)));
        }
        for (const QRect& gap : outside)
            QVERIFY(areaWhere(picture.copy(gap), isPainted).isEmpty());
    }

    // The name, cut to the width of the cap.
    void keyShowsItsName()
    {
        const QRect cap(100, 100, keySize, keySize);
        const auto pictureOfKey = [&](const char* name) {
            paintSkin(board(boardSize, keyElement(0x99, name, 0, {100, 100})));
            return keyboardPicture();
        };
        const QImage blank = pictureOfKey("");
        QVERIFY(!blank.isNull());
        const QRect print = changedArea(blank, pictureOfKey("A name longer than the cap"));
        QVERIFY(print.width() > keySize);
        QVERIFY(QRect(cap.topLeft() * 3, QSize(cap.width(), cap.height() / 2) * 3).contains(print));
        QVERIFY(changedArea(blank, pictureOfKey("Short")).width() < print.width());
    }

    void caseAndScreenStandWhereTheFileSays()
    {
        const QString complaints = paintSkin(board(
            boardSize, "<case rect_left='4' rect_top='10' rect_width='600' rect_height='200'/>"
                       "<screen rect_left='500' rect_top='120' rect_width='60' rect_height='50'/>" +
                           keyElement(4, "A", 0, {20, 20})));
        QVERIFY2(!complaints.startsWith("failed"), qPrintable(complaints));
        QCOMPARE(areaWhere(keyboardPicture(), isPainted), QRect(12, 30, 1800, 600));
        const QRect glass = areaWhere(keyboardPicture(), isGlass);
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
        QVERIFY(!paintSkin(smallBoard()).startsWith("failed"));
        const KeyboardLayout layout = readSmallBoard();
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
        QByteArray keys = keyElement(4, "A", 0, {10, 10, 1, 1}) + keyElement(5, "B", 1, {100, 100});
        for (const Place& place :
             {Place{10, 10, 0, 40}, Place{10, 10, -40, 40}, Place{700, 10, 40, 40},
              Place{620, 10, 40, 40}, Place{most - 9, 10, 40, 40}, Place{0, 0, most, most}})
            keys += keyElement(6, "Odd", 2, place);
        const QString complaints = paintSkin(board(boardSize, keys));
        QVERIFY2(!complaints.startsWith("failed"), qPrintable(complaints));
        QCOMPARE(complaints.count("the key Odd"), 6);
        QCOMPARE(areaWhere(keyboardPicture(), isLight).bottomRight(), QPoint(413, 413));
    }

    void uselessFileIsRefusedWithItsReason()
    {
        const QByteArray key = keyElement(4, "A", 0, {10, 10});
        for (const auto& [layoutFile, reason] : {
                 std::pair{QByteArray("<Keyboard width='640' height='260'>\n" + key),
                           "keyboard-layout.xml is broken: line 3: "},
                 {board(boardSize, {}), "keyboard-layout.xml is broken: it has no key"},
                 {QByteArray("<Keyboard>" + key + "</Keyboard>"), "0 x 0"},
                 {board({640, -1}, key), "640 x -1"},
                 {board({2147483647, 1}, key), "2147483647 x 1"},
                 {board({640, 1000000}, key), "640 x 1000000"},
             }) {
            const QString complaints = paintSkin(layoutFile);
            QVERIFY2(complaints.startsWith("failed") && complaints.contains(reason),
                     qPrintable(complaints));
            QVERIFY(keyboardPicture().isNull());
        }
    }
};

QTEST_MAIN(OtherBoardTest)
#include "other_board_test.moc"
