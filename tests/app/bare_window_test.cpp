// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "tests/support/isolated_main.h"
#include "tests/support/made_images.h"
#include "tests/support/made_shared_place.h"

#include <QApplication>
#include <QDir>
#include <QFontDatabase>
#include <QLabel>
#include <QRegularExpression>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QtEndian>

using namespace tavik;
using namespace tavik::tests;

namespace {

const char* const agreedStyleSheet = R"(
QWidget { color: #f1f1f1; background: transparent; font-family: "Open Sans", "Segoe UI", sans-serif; font-size: 14px; }
QMainWindow { background: #000000; }
QWidget#shell { background: #111111; border: 1px solid #484848; }
QWidget#titleBar { background: #111111; border-bottom: 1px solid #202020; }
QLabel#pageTitle { color: #f1f1f1; font-size: 15px; font-weight: 600; }
QWidget#sidebar { background: rgba(15,15,16,245); border-right: 1px solid #252527; }
QWidget#lightingPanel { background: rgba(65,65,65,235); }
QWidget#settingsSidePanel, QWidget#gameModePanel { background: rgba(65,65,65,225); }
QToolButton#navButton, QToolButton#windowMinimize, QToolButton#windowClose { border: 0; border-radius: 0; padding: 0; background: transparent; }
QToolButton#navButton:hover { background: rgba(255,255,255,10); }
QToolButton#windowMinimize:hover, QToolButton#windowClose:hover { background: #2b2b2d; }
QStackedWidget#pageStack { background: transparent; border: 0; }
QLabel { background: transparent; }
QLabel#hint { color: #9c9c9f; }
QLabel#headerTitle { color: #f3f3f3; font-size: 17px; font-weight: 700; }
QLabel#emptyPageTitle { color: #dfdfdf; font-size: 18px; font-weight: 600; }
QPushButton { color: #f1f1f1; background: #505050; border: 1px solid #666666; border-radius: 0; padding: 4px 8px; font-weight: 500; }
QPushButton:hover { background: #5a5a5a; }
QPushButton:pressed { background: #454545; }
QPushButton:disabled { color: #858585; background: #414141; }
QPushButton#accent { color: #ffffff; background: #da5200; border-color: #da5200; }
QPushButton#accent:hover { background: #e36512; }
QComboBox, QLineEdit, QSpinBox { color: #f2f2f2; background: #515151; border: 1px solid #777777; border-radius: 0; padding: 3px 6px; min-height: 24px; }
QComboBox:hover, QLineEdit:hover, QSpinBox:hover { border-color: #9a9a9a; }
QComboBox QAbstractItemView { color: #f2f2f2; background: #515151; border: 1px solid #777777; selection-background-color: #da5200; }
QSlider::groove:horizontal { height: 5px; background: #777777; border-radius: 0; }
QSlider::sub-page:horizontal { background: #ee7300; }
QSlider::handle:horizontal { background: #f7f7f7; border: 2px solid #ee7300; width: 13px; height: 13px; margin: -5px 0; border-radius: 7px; }
QCheckBox { spacing: 8px; }
QCheckBox::indicator { width: 18px; height: 18px; border: 1px solid #dddddd; border-radius: 0; }
QCheckBox::indicator:checked { background: #e77a19; }
QGroupBox { color: #e2e2e2; background: rgba(65,65,65,220); border: 1px solid #585858; border-radius: 0; margin-top: 14px; padding: 12px 10px 10px; }
QGroupBox::title { subcontrol-origin: margin; left: 10px; padding: 0 4px; }
QLabel#statusOk { color: #7ec97e; font-weight: 600; }
QLabel#statusErr { color: #e07070; font-weight: 600; }
QListWidget, QTableWidget { color: #f2f2f2; background: rgba(40,40,40,180); border: 1px solid #666666; }
QTableWidget::item:selected, QListWidget::item:selected { background: #da5200; }
QHeaderView::section { color: #eeeeee; background: #505050; border: 0; padding: 5px; }
QScrollBar:vertical { width: 8px; background: #303030; }
QScrollBar::handle:vertical { background: #777777; min-height: 24px; }
)";

const QStringList controls{"control_check.png", "control_down.png", "control_up.png",
                           "dialog_information.png", "dialog_question.png"};

QByteArray smallPicture()
{
    return encodeBlackPng({12, 12}, 8);
}

// The font of the skin under a name that no system has.
QByteArray fontNamed(const QString& name)
{
    const auto bigEndian = [](const QString& text) {
        return QByteArray(QStringEncoder(QStringConverter::Utf16BE)(text));
    };
    return readFile(QStringLiteral(TAVIK_FONT))
        .replace(bigEndian(QStringLiteral("Open Sans")), bigEndian(name));
}

// The same font as web pages have it, whose tables may be packed.
QByteArray webFontOf(const QByteArray& font)
{
    const auto bytesOf = [](qsizetype number) {
        const auto big = qToBigEndian(static_cast<quint32>(number));
        return QByteArray(reinterpret_cast<const char*>(&big), 4);
    };
    const QByteArray count = font.mid(4, 2);
    const qsizetype begin = 44 + 20 * qFromBigEndian<quint16>(count.constData());
    QByteArray directory;
    QByteArray tables;
    while (directory.size() < begin - 44) {
        // Name, checksum, offset, length.
        const QByteArray entry = font.mid(12 + directory.size() / 20 * 16, 16);
        const QByteArray length = entry.mid(12);
        directory +=
            entry.first(4) + bytesOf(begin + tables.size()) + length + length + entry.mid(4, 4);
        tables += font.mid(qFromBigEndian<quint32>(entry.constData() + 8),
                           qFromBigEndian<quint32>(length.constData()));
        tables += QByteArray(-tables.size() & 3, '\0');
    }
    return "wOFF" + font.first(4) + bytesOf(begin + tables.size()) + count + QByteArray(2, '\0') +
           bytesOf(12 + directory.size() / 20 * 16 + tables.size()) + QByteArray(24, '\0') +
           directory + tables;
}

// A rule each; line breaks and indentation carry no meaning.
QStringList rulesOf(const QString& sheet)
{
    return sheet.simplified().split(QStringLiteral("} "), Qt::SkipEmptyParts);
}

} // namespace

// The program where neither skin nor layout file can be found.
class BareWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QDir::setCurrent(QDir::rootPath());
        applyApplicationStyle(*qApp);
    }

    // A missing picture is no reason to complain on standard error.
    void init() { QTest::failOnWarning(QRegularExpression(".*")); }

    void startsWithItsStyleSheetAndAFallbackFont()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(qApp->styleSheet().contains("QPushButton#accent"));
        QCOMPARE(QApplication::font().family(), QStringLiteral("Open Sans"));
        QCOMPARE(QApplication::font().pointSize(), 10);
        QVERIFY(QFontDatabase::applicationFontFamilies(0).isEmpty()); // none but the system's
    }

    void fontsOfTheCurrentDirectoryAreTaken_data()
    {
        QTest::addColumn<bool>("runsThere");
        QTest::newRow("there") << true;
        QTest::newRow("elsewhere") << false;
    }
    void fontsOfTheCurrentDirectoryAreTaken()
    {
        QFETCH(bool, runsThere);
        const QTemporaryDir directory;
        const QString fonts = directory.filePath("resources/official-skin/fonts/");
        // In the order in which they are taken.
        writeFile(fonts + "OpenSans-Regular.ttf", fontNamed("Tavik One"));
        writeFile(fonts + "OpenSans-Semibold.ttf", fontNamed("Tavik Two"));
        QDir::setCurrent(runsThere ? directory.path() : QDir::rootPath());
        applyApplicationStyle(*qApp);
        QDir::setCurrent(QDir::rootPath());
        QCOMPARE(QFontDatabase::applicationFontFamilies(0).contains("Tavik One"), runsThere);
        QCOMPARE(QFontDatabase::applicationFontFamilies(1).contains("Tavik Two"), runsThere);
    }

    void plainFontsOfSaneSizeAreTaken_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("isTaken");
        const QByteArray font = fontNamed("Tavik One");
        QByteArray largest = font;
        largest.resize(32 * 1024 * 1024, '\0');
        QTest::newRow("32 MB") << largest << true;
        QTest::newRow("a byte more") << largest + '\0' << false;
        QTest::newRow("web font") << webFontOf(font) << false;
    }
    void plainFontsOfSaneSizeAreTaken()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, isTaken);
        const QString name = QStringLiteral("Tavik One");
        const QTemporaryDir directory;
        writeFile(directory.filePath("resources/official-skin/fonts/OpenSans-Regular.ttf"), bytes);
        QDir::setCurrent(directory.path());
        QVERIFY(!QFontDatabase::families().contains(name));
        applyApplicationStyle(*qApp);
        QCOMPARE(QFontDatabase::families().contains(name), isTaken);
        QDir::setCurrent(QDir::rootPath());
    }

    // Qt opens them itself, and would wait for a pipe.
    void picturesOfControlsAreSmallOnesOrNone_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("areShown");
        const QByteArray picture = smallPicture();
        const QByteArray largest = picture + QByteArray(8 * 1024 - picture.size(), ' ');
        QTest::newRow("8 kB") << "control_up.png" << largest << true;
        QTest::newRow("a byte more") << "control_up.png" << largest + ' ' << false;
        QTest::newRow("many pixels") << "control_up.png" << encodeBlackPng({256, 256}, 8) << true;
        QTest::newRow("a row more") << "control_up.png" << encodeBlackPng({256, 257}, 8) << false;
        QTest::newRow("the last one") << "dialog_information.png" << largest + ' ' << false;
        QTest::newRow("no picture") << "control_check.png" << QByteArray("no picture") << false;
        QTest::newRow("dense") << "control_down@2x.png" << picture << true;
        QTest::newRow("dense, no picture") << "control_down@2x.png" << QByteArray("none") << false;
        QTest::newRow("densest, no picture")
            << "control_down@9x.png" << QByteArray("none") << false;
    }
    void picturesOfControlsAreSmallOnesOrNone()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        const QTemporaryDir directory;
        const QString skin = directory.filePath("resources/official-skin/");
        for (const QString& control : controls)
            writeFile(skin + control, smallPicture());
        writeFile(skin + name, content);
        QDir::setCurrent(directory.path());
        QTEST(windowStyleSheet().contains("control_up.png"), "areShown");
    }

    void picturesOfControlsAreNobodyElses()
    {
        const MadeSharedPlace shared;
        if (!shared.isMade())
            QSKIP("/tmp/tavik-center is in use");
        for (const QString& control : controls)
            writeFile(MadeSharedPlace::path("official-skin/" + control), smallPicture());
        QVERIFY(windowStyleSheet().contains("control_up.png"));
        const QString dense = MadeSharedPlace::path("official-skin/control_down@2x.png");
        writeFile(dense, smallPicture());
        QVERIFY(MadeSharedPlace::setMode(dense, 0646));
        QVERIFY(!windowStyleSheet().contains("control_up.png"));
    }

    void iconsStayEmptyAndTheWorkspaceIsFilled()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        for (const QToolButton* button :
             window.findChild<QWidget*>("sidebar")->findChildren<QToolButton*>())
            QVERIFY(button->icon().isNull());
        const auto* workspace = window.findChild<QWidget*>("workspace");
        const QImage picture = window.grab().toImage();
        const QPoint corner = workspace->mapTo(&window, workspace->rect().bottomLeft());
        QCOMPARE(picture.pixelColor(corner + QPoint(62, -2)), QColor(0x0A, 0x0A, 0x0A));
    }

    // The look of every page hangs on this sheet; a change of it is a decision, not an accident.
    void styleSheetIsTheAgreedOne()
    {
        const QStringList rules = rulesOf(qApp->styleSheet());
        const QStringList agreed = rulesOf(QString::fromLatin1(agreedStyleSheet));
        for (qsizetype rule = 0; rule < agreed.size(); ++rule)
            QCOMPARE(rules.value(rule), agreed.at(rule));
        QCOMPARE(rules.size(), 40);
    }
};

TAVIK_ISOLATED_TEST_MAIN(BareWindowTest)
#include "bare_window_test.moc"
