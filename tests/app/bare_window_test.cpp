#include "app/application_style.h"
#include "app/main_window.h"
#include "tests/support/isolated_main.h"

#include <QApplication>
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
        QTest::failOnWarning(QRegularExpression(".*"));
        QDir::setCurrent(QDir::rootPath());
        applyApplicationStyle(*qApp);
    }

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

    void styleSheetHasFortyRules()
    {
        QCOMPARE(qApp->styleSheet().count('{'), 40);
        QCOMPARE(qApp->styleSheet().count('}'), 40);
    }
};

TAVIK_ISOLATED_TEST_MAIN(BareWindowTest)
#include "bare_window_test.moc"
