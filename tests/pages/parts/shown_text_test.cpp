// SPDX-License-Identifier: MIT
#include "pages/parts/shown_text.h"

#include <QTest>

using namespace tavik;

class ShownTextTest : public QObject
{
    Q_OBJECT

private slots:
    void shortTextsStayAsTheyAre()
    {
        QCOMPARE(beginningOf(QString(), 4), QString());
        QCOMPARE(beginningOf(QStringLiteral("four"), 4), QStringLiteral("four"));
    }

    void longTextsAreCutAndMarked()
    {
        QCOMPARE(beginningOf(QStringLiteral("fives"), 4), QStringLiteral("five…"));
        QCOMPARE(beginningOf(QString(5'000'000, u'W'), 3), QStringLiteral("WWW…"));
    }

    void noCharacterIsCutInHalf()
    {
        QCOMPARE(beginningOf(QStringLiteral("ab😀cd"), 3), QStringLiteral("ab…"));
        QCOMPARE(beginningOf(QStringLiteral("ab😀cd"), 4), QStringLiteral("ab😀…"));
    }
};

QTEST_APPLESS_MAIN(ShownTextTest)
#include "shown_text_test.moc"
