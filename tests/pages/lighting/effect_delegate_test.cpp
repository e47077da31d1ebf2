// SPDX-License-Identifier: MIT
#include "pages/lighting/effect_delegate.h"
#include "tests/support/pixel_probe.h"

#include <QListWidget>
#include <QPainter>
#include <QStandardItemModel>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

const QColor ground(55, 55, 55);
const QColor orange(0xD8, 0x53, 0x00);
constexpr QSize pictureSize(240, 60);
constexpr QRect rowRectangle(10, 7, 221, 30); // middle at (7 + 36) / 2 = 21

} // namespace

class EffectDelegateTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        model.appendRow(new QStandardItem(QStringLiteral("Rolling")));
        model.appendRow(new QStandardItem(QString()));
        model.item(0)->setData(QSize(220, 44), Qt::SizeHintRole);
    }

    void sizeHintIsTheSameForEveryRow()
    {
        const EffectDelegate delegate;
        QCOMPARE(delegate.sizeHint(option(false), model.index(0, 0)), QSize(210, 30));
        QCOMPARE(delegate.sizeHint(option(true), model.index(1, 0)), QSize(210, 30));
        QCOMPARE(delegate.sizeHint({}, {}), QSize(210, 30));
    }

    void listRowsAreThirtyHigh()
    {
        QListWidget list;
        auto* item = new QListWidgetItem(QStringLiteral("Static"), &list);
        item->setData(Qt::SizeHintRole, QSize(220, 50));
        list.setItemDelegate(new EffectDelegate(&list));
        QCOMPARE(list.sizeHintForRow(0), 30);
    }

    void plainRowHasAHollowCircle()
    {
        const QImage picture = paintRow(false, 1);
        QCOMPARE(colorAt(picture, {34, 21}), ground); // inside the circle
        QCOMPARE(colorAt(picture, {15, 10}), ground); // the row is not filled
        QCOMPARE(picture, paintedPicture(pictureSize, ground, [](QPainter& painter) {
                     painter.setPen(QPen(Qt::white, 1.7));
                     painter.drawEllipse(QRect(26, 13, 16, 16));
                 }));
        // From left + 16 to left + 31 and 8 above to 7 below the middle, the pen around.
        QCOMPARE(areaWhere(picture, isClearlyWhite), QRect(QPoint(25, 12), QPoint(42, 29)));
    }

    void selectedRowIsFilledAndItsCircleTooWithADot()
    {
        const QImage picture = paintRow(true, 1);
        QCOMPARE(colorAt(picture, {10, 7}), orange);
        QCOMPARE(colorAt(picture, {230, 36}), orange);
        QCOMPARE(colorAt(picture, {9, 20}), ground);
        QCOMPARE(colorAt(picture, {231, 20}), ground);
        QCOMPARE(colorAt(picture, {100, 6}), ground);
        QCOMPARE(colorAt(picture, {100, 37}), ground);
        QCOMPARE(colorAt(picture, {28, 21}), QColor(Qt::white)); // between circle and dot
        QCOMPARE(colorAt(picture, {33, 20}), orange);            // the dot
        QCOMPARE(picture, paintedPicture(pictureSize, ground, [](QPainter& painter) {
                     painter.setRenderHint(QPainter::Antialiasing, false);
                     painter.fillRect(rowRectangle, orange);
                     painter.setRenderHint(QPainter::Antialiasing);
                     painter.setPen(QPen(Qt::white, 1.7));
                     painter.setBrush(Qt::white);
                     painter.drawEllipse(QRect(26, 13, 16, 16));
                     painter.setPen(Qt::NoPen);
                     painter.setBrush(orange);
                     painter.drawEllipse(QRect(30, 17, 8, 8));
                 }));
    }

    void nameIsWrittenInWhiteBesideTheMark_data()
    {
        QTest::addColumn<bool>("selected");
        QTest::newRow("plain") << false;
        QTest::newRow("selected") << true;
    }

    void nameIsWrittenInWhiteBesideTheMark()
    {
        QFETCH(bool, selected);
        const QImage named = paintRow(selected, 0);
        const QImage expected =
            paintedPicture(pictureSize, ground, [this, selected](QPainter& painter) {
                painter.drawImage(0, 0, paintRow(selected, 1));
                painter.setPen(Qt::white);
                painter.setFont(QFont(QStringLiteral("DejaVu Serif"), 11, QFont::DemiBold));
                painter.drawText(QRect(QPoint(61, 7), QPoint(225, 36)),
                                 Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Rolling"));
            });
        QCOMPARE(named, expected);
        const QRect text = changedArea(paintRow(selected, 1), named);
        QVERIFY(text.left() >= 61 && text.left() <= 64);
        QVERIFY(std::abs(text.center().y() - 21) <= 3);
    }

    void aLongNameEndsBeforeTheEdge()
    {
        QStandardItemModel wide;
        wide.appendRow(new QStandardItem(QString(80, QChar(0x2588))));
        QImage picture = paintedPicture(pictureSize, ground, [&](QPainter& painter) {
            EffectDelegate().paint(&painter, option(false), wide.index(0, 0));
        });
        QCOMPARE(changedArea(paintRow(false, 1), picture).right(), 225); // a full block is cut
    }

    void painterIsLeftAsItWas()
    {
        QImage picture(pictureSize, QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&picture);
        painter.setPen(QPen(Qt::green, 3));
        painter.setBrush(Qt::yellow);
        painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 20));
        EffectDelegate().paint(&painter, option(true), model.index(0, 0));
        QCOMPARE(painter.pen(), QPen(Qt::green, 3));
        QCOMPARE(painter.brush(), QBrush(Qt::yellow));
        QCOMPARE(painter.font(), QFont(QStringLiteral("DejaVu Sans"), 20));
        QVERIFY(!painter.testRenderHint(QPainter::Antialiasing));
    }

private:
    static bool isClearlyWhite(const QColor& pixel) { return pixel.red() > 130; }

    static QStyleOptionViewItem option(bool selected)
    {
        QStyleOptionViewItem result;
        result.rect = rowRectangle;
        result.font = QFont(QStringLiteral("DejaVu Serif"), 30, QFont::Light);
        result.state = selected ? QStyle::State_Selected | QStyle::State_Enabled
                                : QStyle::State_Enabled | QStyle::State_MouseOver;
        return result;
    }

    QImage paintRow(bool selected, int row) const
    {
        QImage picture = filledPicture(pictureSize, ground);
        QPainter painter(&picture);
        EffectDelegate().paint(&painter, option(selected), model.index(row, 0));
        return picture;
    }

    QStandardItemModel model;
};

QTEST_MAIN(EffectDelegateTest)
#include "effect_delegate_test.moc"
