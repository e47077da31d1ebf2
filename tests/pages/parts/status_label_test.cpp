#include "device/device.h"
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
        showStatus(&label, StatusLook::Error, QStringLiteral("gone"));
        showStatus(&label, StatusLook::Success, QStringLiteral("written"));
        QCOMPARE(label.styleSheet(), QStringLiteral("color:#7ec97e;"));
        showStatus(&label, StatusLook::Plain, QString());
        QCOMPARE(label.styleSheet(), QString());
        QCOMPARE(label.text(), QString());
    }

    void anOutcomeIsTheTextOrTheDevicesReason_data()
    {
        QTest::addColumn<QString>("reason");
        QTest::newRow("rejected") << QStringLiteral("Command 11 rejected (status 03)");
        QTest::newRow("with a placeholder") << QStringLiteral("50 %1");
    }

    void anOutcomeIsTheTextOrTheDevicesReason()
    {
        QFETCH(QString, reason);
        Device::instance().lastError = reason;
        QLabel label;
        showOutcome(&label, false, QStringLiteral("written"));
        QCOMPARE(label.text(), QStringLiteral("Error: ") + reason);
        QCOMPARE(label.styleSheet(), QStringLiteral("color:#e07070;"));
        showOutcome(&label, true, QStringLiteral("written"));
        QCOMPARE(label.text(), QStringLiteral("written"));
        QCOMPARE(label.styleSheet(), QStringLiteral("color:#7ec97e;"));
    }

    void textsAreShownAsTheyStand()
    {
        QWidget page;
        QCOMPARE(createStatusLabel(&page)->textFormat(), Qt::PlainText);
    }
};

QTEST_MAIN(StatusLabelTest)
#include "status_label_test.moc"
