// SPDX-License-Identifier: MIT
#include "model/color_bank.h"

#include <QTest>

#include <stdexcept>
#include <tuple>

using namespace tavik;

class ColorBankTest : public QObject
{
    Q_OBJECT

private slots:
    void aKeyHasThreeBytesOfItsOwn()
    {
        for (std::size_t key = 0; key < layerSize; ++key) {
            ColorBank bank{};
            setColor(bank, key, {1, 2, 3});
            ColorBank expected{};
            expected.at(3 * key) = 1;
            expected.at(3 * key + 1) = 2;
            expected.at(3 * key + 2) = 3;
            QVERIFY(bank == expected);
            QVERIFY((colorOf(bank, key) == KeyColor{1, 2, 3}));
        }
    }

    void thereAreNoMoreKeys()
    {
        ColorBank bank{};
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, setColor(bank, layerSize, {}));
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, std::ignore = colorOf(bank, layerSize));
    }
};

QTEST_APPLESS_MAIN(ColorBankTest)
#include "color_bank_test.moc"
