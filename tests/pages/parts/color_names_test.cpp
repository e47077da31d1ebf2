// SPDX-License-Identifier: MIT
#include "pages/parts/color_names.h"

#include <QTest>

using namespace tavik;

class ColorNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void swatchesAreCalledByTheirOwnNames()
    {
        for (const NamedColor& swatch : swatchColors) {
            const QColor color(swatch.color);
            QCOMPARE(colorWords(color), nameOf(swatch).toLower() + ", " + color.name());
        }
    }

    void otherColorsAreCalledLikeOneMuchLikeThem_data()
    {
        QTest::addColumn<QString>("color");
        QTest::addColumn<QString>("name");
        QTest::newRow("unpainted key") << "#000000"
                                       << "black";
        QTest::newRow("nearly black") << "#120000"
                                      << "black";
        QTest::newRow("first brush") << "#ff3c3c"
                                     << "red";
        QTest::newRow("red from the other side of the circle") << "#ff0010"
                                                               << "red";
        QTest::newRow("gray") << "#7f7f7f"
                              << "gray";
        QTest::newRow("white") << "#ffffff"
                               << "white";
        QTest::newRow("pale red") << "#ffa0b4"
                                  << "pink";
        QTest::newRow("deep red") << "#8b0000"
                                  << "dark red";
        QTest::newRow("navy") << "#00006e"
                              << "dark blue";
        QTest::newRow("full blue") << "#0000ff"
                                   << "blue";
        QTest::newRow("full green") << "#00ff00"
                                    << "green";
        QTest::newRow("full yellow") << "#ffff00"
                                     << "yellow";
        QTest::newRow("brown") << "#8b4513"
                               << "brown";
        QTest::newRow("indigo") << "#5a0082"
                                << "purple";
        QTest::newRow("dark cyan") << "#008b8b"
                                   << "teal";
        QTest::newRow("pale blue") << "#add8e6"
                                   << "light blue";
        QTest::newRow("pale green") << "#98fb98"
                                    << "light green";
    }

    void otherColorsAreCalledLikeOneMuchLikeThem()
    {
        QFETCH(QString, color);
        QFETCH(QString, name);
        QCOMPARE(colorWords(QColor(color)), name + ", " + color);
    }
};

QTEST_APPLESS_MAIN(ColorNamesTest)
#include "color_names_test.moc"
