#include "app/application_style.h"
#include "app/main_window.h"
#include "tests/support/isolated_main.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QLabel>
#include <QRegularExpression>
#include <QTest>
#include <QToolButton>

using namespace tavik;

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
        QString sheet = qApp->styleSheet();
        QCOMPARE(sheet.count('{'), 40);
        QCOMPARE(sheet.count('}'), 40);
        const QByteArray digest =
            QCryptographicHash::hash(sheet.simplified().toUtf8(), QCryptographicHash::Sha256);
        QCOMPARE(digest.toHex(),
                 QByteArray("bcf9c439def20ea894e7b899f48901448e045d85e29cb75ac41efbd67945f99d"));
    }
};

TAVIK_ISOLATED_TEST_MAIN(BareWindowTest)
#include "bare_window_test.moc"
