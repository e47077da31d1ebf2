// SPDX-License-Identifier: MIT
#include "tests/resources/skin_access.h"

#include <QRegularExpression>
#include <QSet>
#include <QtTest>

namespace tavik::tests {

namespace {

// The slots of the keyboard's tables are 0 to 143; the last bytes of slot 143 carry the marker.
constexpr int lastUsableSlot = 142;
constexpr uint usageFn = 0xAF;

bool isKeyboardUsage(uint usage)
{
    const bool isKey = usage >= 0x04 && usage <= 0x65;
    const bool isModifier = usage >= 0xE0 && usage <= 0xE7;
    return isKey || isModifier || usage == usageFn;
}

} // namespace

class LayoutFileTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        layout =
            readLayout(qEnvironmentVariable("TAVIK_SOURCE_DIR") + "/resources/keyboard-layout.xml");
        QCOMPARE(layout.error, QString());
    }

    void describesABoardOfThisSize()
    {
        QCOMPARE(layout.area, QRect(0, 0, 800, 300));
        QVERIFY2(layout.keys.size() >= 80 && layout.keys.size() <= 90,
                 qPrintable(QString::number(layout.keys.size())));
    }

    void installedFileIsTheSource()
    {
        QFile source(TAVIK_LAYOUT_FILE);
        QFile installed(shareDirectory() + "/keyboard-layout.xml");
        QVERIFY(source.open(QIODevice::ReadOnly));
        QVERIFY(installed.open(QIODevice::ReadOnly));
        QCOMPARE(installed.readAll(), source.readAll());
    }

    void indexesAreUniqueAndInTheTables()
    {
        QSet<int> lights;
        QSet<int> keys;
        for (const LayoutKey& key : layout.keys) {
            QVERIFY2(key.lightIndex >= 0 && key.lightIndex <= lastUsableSlot, qPrintable(key.desc));
            QVERIFY2(!lights.contains(key.lightIndex), qPrintable(key.desc));
            QVERIFY2(!keys.contains(key.keyIndex), qPrintable(key.desc));
            lights.insert(key.lightIndex);
            keys.insert(key.keyIndex);
        }
    }

    void usagesAreRealAndUnique()
    {
        QSet<uint> usages;
        QSet<QString> names;
        for (const LayoutKey& key : layout.keys) {
            QVERIFY2(isKeyboardUsage(key.usage), qPrintable(key.desc));
            QVERIFY2(!usages.contains(key.usage), qPrintable(key.desc));
            QVERIFY2(!key.desc.isEmpty() && !names.contains(key.desc), qPrintable(key.desc));
            usages.insert(key.usage);
            names.insert(key.desc);
        }
        for (uint letter = 0x04; letter <= 0x1D; ++letter)
            QVERIFY2(usages.contains(letter), qPrintable(QString::number(letter, 16)));
    }

    void rectanglesLieApartInsideTheBoard()
    {
        QVERIFY(layout.area.contains(layout.caseRect));
        QVERIFY(layout.caseRect.contains(layout.screenRect, true));
        for (qsizetype i = 0; i < layout.keys.size(); ++i) {
            const LayoutKey& key = layout.keys.at(i);
            QVERIFY2(key.rect.width() >= 30 && key.rect.height() >= 30, qPrintable(key.desc));
            QVERIFY2(layout.caseRect.contains(key.rect, true), qPrintable(key.desc));
            QVERIFY2(!layout.screenRect.intersects(key.rect), qPrintable(key.desc));
            for (qsizetype j = i + 1; j < layout.keys.size(); ++j) {
                const LayoutKey& other = layout.keys.at(j);
                const QRect grown = key.rect.adjusted(-2, -2, 2, 2);
                QVERIFY2(!grown.intersects(other.rect),
                         qPrintable(key.desc + " and " + other.desc));
            }
        }
    }

    void rowsRunDownAndColumnsRunRight()
    {
        static const QRegularExpression form("^(\\d+)#(\\d+)$");
        int lastRow = 0;
        int lastColumn = -1;
        QRect last;
        for (const LayoutKey& key : layout.keys) {
            const QRegularExpressionMatch match = form.match(key.rowCol);
            QVERIFY2(match.hasMatch(), qPrintable(key.desc));
            const int row = match.captured(1).toInt();
            const int column = match.captured(2).toInt();
            if (row == lastRow) {
                QVERIFY2(column > lastColumn, qPrintable(key.desc));
                QVERIFY2(last.isNull() ||
                             (key.rect.left() > last.right() && key.rect.top() == last.top()),
                         qPrintable(key.desc));
            } else {
                QCOMPARE(row, lastRow + 1);
                QVERIFY2(key.rect.top() > last.bottom(), qPrintable(key.desc));
            }
            lastRow = row;
            lastColumn = column;
            last = key.rect;
        }
        QCOMPARE(lastRow, 5);
    }

    void onlyFnIsLockedOnTheFnLayer()
    {
        int locked = 0;
        for (const LayoutKey& key : layout.keys) {
            QCOMPARE(key.fnLayerDisable, key.usage == usageFn ? QString("1") : QString("0"));
            locked += key.fnLayerDisable == "1" ? 1 : 0;
        }
        QCOMPARE(locked, 1);
    }

private:
    Layout layout;
};

} // namespace tavik::tests

QTEST_GUILESS_MAIN(tavik::tests::LayoutFileTest)
#include "layout_file_test.moc"
