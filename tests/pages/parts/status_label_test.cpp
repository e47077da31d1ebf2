#include "pages/parts/status_label.h"

#include <QLabel>
#include <QTest>

using namespace tavik;

class StatusLabelTest : public QObject
{
    Q_OBJECT

private slots:
    void eachLookHasItsColor_data()
    {
        QTest::addColumn<StatusLook>("look");
        QTest::addColumn<QString>("styleSheet");
        QTest::newRow("plain") << StatusLook::Plain << QString();
        QTest::newRow("success") << StatusLook::Success << QStringLiteral("color:#7ec97e;");
        QTest::newRow("warning") << StatusLook::Warning << QStringLiteral("color:#e0a050;");
        QTest::newRow("error") << StatusLook::Error << QStringLiteral("color:#e07070;");
    }

    void eachLookHasItsColor()
    {
        QFETCH(StatusLook, look);
        QFETCH(QString, styleSheet);
        QLabel label;
        showStatus(&label, look, QStringLiteral("Layer 1 written."));
        QCOMPARE(label.text(), QStringLiteral("Layer 1 written."));
        QCOMPARE(label.styleSheet(), styleSheet);
    }

    void theNextLookReplacesTheOneBefore()
    {
        QLabel label;
        showError(&label, QStringLiteral("gone"));
        showStatus(&label, StatusLook::Success, QStringLiteral("written"));
        QCOMPARE(label.styleSheet(), QStringLiteral("color:#7ec97e;"));
        showStatus(&label, StatusLook::Plain, QString());
        QCOMPARE(label.styleSheet(), QString());
        QCOMPARE(label.text(), QString());
    }

    void anErrorIsNamedAsOne()
    {
        QLabel label;
        showError(&label, QStringLiteral("Command 11 rejected (status 03)"));
        QCOMPARE(label.text(), QStringLiteral("Error: Command 11 rejected (status 03)"));
        QCOMPARE(label.styleSheet(), QStringLiteral("color:#e07070;"));
    }

    void aPlaceholderInTheReasonStaysAsItIs()
    {
        QLabel label;
        showError(&label, QStringLiteral("50 %1"));
        QCOMPARE(label.text(), QStringLiteral("Error: 50 %1"));
    }
};

QTEST_MAIN(StatusLabelTest)
#include "status_label_test.moc"
