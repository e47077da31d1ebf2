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

    void toolTipsShowTheTextAsItStands()
    {
        QCOMPARE(wrappedToolTip(QStringLiteral("<b> & \nc")),
                 QStringLiteral("<qt>&lt;b&gt; &amp; <br>c</qt>"));
        QCOMPARE(wrappedToolTip(QStringLiteral("<b>"), QColor(0xf1, 0x0f, 0x10)),
                 QStringLiteral("<qt><font color=\"#f10f10\">&lt;b&gt;</font></qt>"));
        QCOMPARE(colorToolTip(QStringLiteral("Red"), Qt::red), QStringLiteral("Red  #ff0000"));
        QCOMPARE(colorToolTip(QStringLiteral("<b>Red</b>"), Qt::red),
                 QStringLiteral("<qt>&lt;b&gt;Red&lt;/b&gt;  #ff0000</qt>"));
    }

    void menusShowTheTextAsItStands()
    {
        QCOMPARE(menuText(QStringLiteral("a\tb\nc & d")), QStringLiteral("a b c && d"));
    }
};

QTEST_APPLESS_MAIN(ShownTextTest)
#include "shown_text_test.moc"
