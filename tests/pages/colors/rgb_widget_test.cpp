// SPDX-License-Identifier: MIT
#include "device/device.h"
#include "model/app_state.h"
#include "model/edit_history.h"
#include "model/keyboard_layout.h"
#include "pages/colors/color_preview.h"
#include "pages/colors/rgb_widget.h"
#include "pages/parts/color_names.h"
#include "pages/parts/keyboard_view.h"
#include "tests/support/bus_view.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/isolated_main.h"
#include "tests/support/named_keys.h"
#include "tests/support/page_view.h"

#include <QApplication>
#include <QColorDialog>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QSlider>
#include <QTest>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>

using namespace tavik;
using namespace tavik::tests;

namespace {

tavik::ColorBank& bank()
{
    return AppState::instance().customRgb;
}

tavik::ColorBank filledBank(unsigned char red, unsigned char green, unsigned char blue)
{
    tavik::ColorBank colors;
    for (std::size_t key = 0; key < 144; ++key) {
        colors.at(3 * key) = red;
        colors.at(3 * key + 1) = green;
        colors.at(3 * key + 2) = blue;
    }
    return colors;
}

tavik::ColorBank variedBank()
{
    tavik::ColorBank colors;
    unsigned char next = 5;
    for (unsigned char& byte : colors) {
        byte = next;
        next = static_cast<unsigned char>(next + 11);
    }
    return colors;
}

void giveKeyboardColors(const tavik::ColorBank& colors)
{
    virtual_keyboard::KeyboardState state;
    for (std::size_t key = 0; key < 144; ++key)
        state.colorBank.at(key) = {colors.at(3 * key), colors.at(3 * key + 1),
                                   colors.at(3 * key + 2)};
    bus().keyboard().setState(state);
}

// The buttons that talk to the keyboard, what they show when all is well, and the exchange at which
// a broken cable is noticed.
void transferRows()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("successText");
    QTest::newRow("send") << "Send painting to keyboard"
                          << "Painting sent.";
    QTest::newRow("read") << "Read from keyboard"
                          << "Color bank read from keyboard.";
    QTest::newRow("custom mode") << "Enable custom mode"
                                 << "Custom mode enabled.";
}

// Counts how often a widget paints itself of its own accord; grabbing it would always paint it.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget* watched) { watched->installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

    int count = 0;
};

} // namespace

class RgbWidgetTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { showPage(); }
    void cleanupTestCase() { page.reset(); }

    void creationSendsAndWritesNothing()
    {
        QCOMPARE(busTrace(), QStringList());
        QVERIFY(!QFile::exists(stateFilePath()));
        QCOMPARE(status()->text(), QString());
    }

    void partsStandInTheirOrder()
    {
        const auto* column = qobject_cast<QVBoxLayout*>(page->layout());
        QVERIFY(column != nullptr);
        QCOMPARE(column->contentsMargins(), QMargins(12, 12, 12, 12));
        QCOMPARE(column->spacing(), 8);
        QCOMPARE(column->count(), 6);
        QCOMPARE(column->itemAt(0)->layout()->itemAt(0)->widget(), preview());
        QCOMPARE(column->itemAt(1)->layout()->itemAt(1)->widget(), slider());
        QCOMPARE(column->itemAt(3)->widget(), view());
        QCOMPARE(column->stretch(3), 1);
        const auto* hint = qobject_cast<QLabel*>(column->itemAt(4)->widget());
        QCOMPARE(hint->objectName(), QStringLiteral("hint"));
        QCOMPARE(hint->text(), QStringLiteral("Click keys to paint them with the brush color."));
        QCOMPARE(preview()->size(), QSize(56, 26));
        QCOMPARE(slider()->width(), 160);
        QCOMPARE(slider()->minimum(), 0);
        QCOMPARE(slider()->maximum(), 5);
        QCOMPARE(slider()->value(), 5);
        QCOMPARE(button("Send painting to keyboard")->objectName(), QStringLiteral("accent"));
    }

    void menuOfAKeyPaints_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("painted"); // in the brush color
        QTest::addColumn<bool>("isCleared");
        QTest::addColumn<QString>("step");
        QTest::newRow("same color") << "Fill keys of this color"
                                    << "like W" << false << "Fill keys of a color";
        QTest::newRow("unpainted") << "Fill unpainted keys"
                                   << "black" << false << "Fill unpainted keys";
        QTest::newRow("clear") << "Clear key"
                               << "none" << true << "Clear W";
        QTest::newRow("take") << "Take this color"
                              << "none" << false << "";
    }
    void menuOfAKeyPaints()
    {
        QFETCH(QString, entry);
        QFETCH(QString, painted);
        QFETCH(bool, isCleared);
        QFETCH(QString, step);
        const auto w = static_cast<std::size_t>(keyNamed("W").lightIndex);
        const auto a = static_cast<std::size_t>(keyNamed("A").lightIndex);
        const auto s = static_cast<std::size_t>(keyNamed("S").lightIndex);
        const auto d = static_cast<std::size_t>(keyNamed("D").lightIndex);
        bank() = filledBank(1, 2, 3);
        setColor(bank(), w, {7, 8, 9});
        setColor(bank(), a, {7, 8, 9});
        setColor(bank(), 0, {7, 8, 9});
        setColor(bank(), s, {});
        setColor(bank(), 143, {});
        setColor(bank(), d, {0, 0, 1});
        const tavik::ColorBank before = bank();
        tavik::ColorBank expected = before;
        const tavik::KeyColor brush{255, 60, 60};
        if (painted == QStringLiteral("like W")) {
            setColor(expected, w, brush);
            setColor(expected, a, brush);
            setColor(expected, 0, brush);
        } else if (painted == QStringLiteral("black")) {
            setColor(expected, s, brush);
            setColor(expected, 143, brush);
        }
        if (isCleared)
            setColor(expected, w, {});

        chooseInMenu("W", entry);
        QVERIFY(bank() == expected);
        QVERIFY((stateOnDisk().customRgb == expected) == !step.isEmpty());
        QCOMPARE(EditHistory::instance().undoText(), step);
        const bool isTaken = entry.startsWith(QStringLiteral("Take"));
        QCOMPARE(brushShown(), isTaken ? QColor(7, 8, 9) : QColor(255, 60, 60));
        QCOMPARE(busTrace(), QStringList());
        EditHistory::instance().undo();
        QVERIFY(bank() == before);
    }

    void deleteClearsTheMarkedKey()
    {
        bank() = filledBank(1, 2, 3);
        QTest::mouseClick(view(), Qt::MiddleButton, {},
                          view()->hitRectangle(keyNamed("D")).center());
        view()->setFocus();
        QTest::keyClick(view(), Qt::Key_Delete);
        tavik::ColorBank expected = filledBank(1, 2, 3);
        setColor(expected, static_cast<std::size_t>(keyNamed("D").lightIndex), {});
        QVERIFY(bank() == expected);
    }

    void lastEightBrushColorsAreOffered()
    {
        QCOMPARE(earlierBrushes(), QStringList());
        // Ten brushes, one of them twice.
        for (const int red : {10, 20, 30, 40, 20, 50, 60, 70, 80, 90, 100}) {
            setColor(bank(), 0, {});
            setColor(bank(), static_cast<std::size_t>(keyNamed("W").lightIndex),
                     {static_cast<unsigned char>(red), 0, 0});
            chooseInMenu("W", QStringLiteral("Take this color"));
            QCOMPARE(brushShown(), QColor(red, 0, 0));
        }
        const auto brushes = [](const QList<int>& reds) {
            QStringList texts;
            for (const int red : reds)
                texts += QStringLiteral("Brush ") + QColor(red, 0, 0).name();
            return texts;
        };
        QCOMPARE(earlierBrushes(), brushes({90, 80, 70, 60, 50, 20, 40, 30}));
        chooseInMenu("W", brushes({50}).first());
        QCOMPARE(brushShown(), QColor(50, 0, 0));
        QCOMPARE(earlierBrushes(), brushes({100, 90, 80, 70, 60, 20, 40, 30}));
        QCOMPARE(EditHistory::instance().count(), 0);
    }

    void entriesShowTheirColors()
    {
        setColor(bank(), static_cast<std::size_t>(keyNamed("W").lightIndex), {7, 8, 9});
        QMenu* menu = openMenu("W");
        QCOMPARE(menu->accessibleName(), QStringLiteral("W: %1").arg(colorWords(QColor(7, 8, 9))));
        QCOMPARE(colorOfEntry(*menu, 0), QColor(7, 8, 9));
        QCOMPARE(colorOfEntry(*menu, 1), QColor(255, 60, 60));
        QCOMPARE(colorOfEntry(*menu, 2), QColor(255, 60, 60));
        for (const QPoint corner : {QPoint(4, 2), QPoint(15, 2), QPoint(4, 13), QPoint(15, 13)})
            QCOMPARE(colorOfEntry(*menu, 0, corner), QColor(0x80, 0x80, 0x88));
        for (const QPoint beside : {QPoint(3, 8), QPoint(8, 1), QPoint(8, 14)})
            QCOMPARE(colorOfEntry(*menu, 0, beside).alpha(), 0);
        menu->close();
    }

    void brushIsRedAtTheStart()
    {
        QCOMPARE(preview()->grab().toImage().pixelColor(28, 13), QColor(255, 60, 60));
    }

    void pressOnAKeyPaintsItWithoutKeyboard()
    {
        bus().unplug();
        QTest::mouseClick(view(), Qt::LeftButton, {}, view()->hitRectangle(keyNamed("W")).center());

        tavik::ColorBank expected{};
        const std::size_t offset = 3 * indexOf("W");
        expected.at(offset) = 0xFF;
        expected.at(offset + 1) = 0x3C;
        expected.at(offset + 2) = 0x3C;
        QCOMPARE(bank(), expected);
        QCOMPARE(stateOnDisk().customRgb, expected);
        QCOMPARE(busTrace(), QStringList());
        QCOMPARE(shownColors(), colorsShownFor(expected));
    }

    void paintingOneKeyLeavesTheOthers_data()
    {
        QTest::addColumn<int>("lightIndex");
        QTest::newRow("first") << 0;
        QTest::newRow("last") << 143;
    }
    void paintingOneKeyLeavesTheOthers()
    {
        QFETCH(int, lightIndex);
        bank() = variedBank();
        page->keyClicked(lightIndex);
        tavik::ColorBank expected = variedBank();
        const auto offset = 3 * static_cast<std::size_t>(lightIndex);
        expected.at(offset) = 0xFF;
        expected.at(offset + 1) = 0x3C;
        expected.at(offset + 2) = 0x3C;
        QCOMPARE(bank(), expected);
        QCOMPARE(stateOnDisk().customRgb, expected);
    }

    void lastKeySendsItsRedOnly()
    {
        page->keyClicked(143);
        button("Send painting to keyboard")->click();
        QVERIFY(busSends().at(10).endsWith(QStringLiteral("8f ff aa 55")));
        QCOMPARE(bank()[430], static_cast<unsigned char>(0x3C));
    }

    void fillPaintsAllKeysWithoutKeyboard()
    {
        bus().unplug();
        button("Fill all keys")->click();
        QCOMPARE(bank(), filledBank(0xFF, 0x3C, 0x3C));
        QCOMPARE(stateOnDisk().customRgb, filledBank(0xFF, 0x3C, 0x3C));
        QCOMPARE(busTrace(), QStringList());
        QCOMPARE(shownColors(), colorsShownFor(filledBank(0xFF, 0x3C, 0x3C)));
    }

    void storedColorsAreShownAtTheStart()
    {
        bank() = variedBank();
        showPage();
        QCOMPARE(shownColors(), colorsShownFor(variedBank()));
    }

    void chosenBrushPaintsAndIsShown()
    {
        onNextDialog([](QWidget& dialog) {
            const auto closing = closeAtTheEnd(dialog);
            auto* colorDialog = qobject_cast<QColorDialog*>(&dialog);
            QVERIFY(colorDialog != nullptr);
            QCOMPARE(colorDialog->windowTitle(), QStringLiteral("Brush color"));
            QCOMPARE(colorDialog->currentColor(), QColor(255, 60, 60));
            colorDialog->setCurrentColor(QColor(1, 2, 3));
            clickButton(dialog, QStringLiteral("OK"));
        });
        const PaintCounter painted(preview());
        button("Brush color…")->click();
        QCOMPARE(dialogsStillExpected(), 0);
        QTRY_VERIFY(painted.count > 0);
        QCOMPARE(preview()->grab().toImage().pixelColor(28, 13), QColor(1, 2, 3));
        page->paintAll();
        QCOMPARE(bank(), filledBank(1, 2, 3));
    }

    void cancelledBrushStays()
    {
        onNextDialog([](QWidget& dialog) {
            qobject_cast<QColorDialog*>(&dialog)->setCurrentColor(QColor(1, 2, 3));
            clickButton(dialog, QStringLiteral("Cancel"));
        });
        button("Brush color…")->click();
        QCOMPARE(dialogsStillExpected(), 0);
        page->paintAll();
        QCOMPARE(bank(), filledBank(0xFF, 0x3C, 0x3C));
    }

    void successIsShownInGreen_data() { transferRows(); }
    void successIsShownInGreen()
    {
        QFETCH(QString, button);
        QFETCH(QString, successText);
        this->button(button)->click();
        QCOMPARE(status()->text(), successText);
        QCOMPARE(status()->styleSheet(), successStyle);
        QVERIFY(deviceLockIsFree());
    }

    void failureIsShownInRedAndChangesNothing_data() { transferRows(); }
    void failureIsShownInRedAndChangesNothing()
    {
        QFETCH(QString, button);
        bank() = variedBank();
        AppState::instance().save();
        giveKeyboardColors(filledBank(9, 9, 9));
        bus().failAt(3, virtual_keyboard::sendError("Broken pipe"), 10);
        this->button(button)->click();
        QCOMPARE(status()->text(), QStringLiteral("Error: Broken pipe"));
        QCOMPARE(status()->styleSheet(), errorStyle);
        QCOMPARE(bank(), variedBank());
        QCOMPARE(stateOnDisk().customRgb, variedBank());
        QVERIFY(deviceLockIsFree());
    }

    void absentKeyboardIsShownInRed_data() { transferRows(); }
    void absentKeyboardIsShownInRed()
    {
        QFETCH(QString, button);
        bank() = variedBank();
        bus().unplug();
        this->button(button)->click();
        QCOMPARE(status()->text(), QStringLiteral("Error: ") + notFoundText);
        QCOMPARE(status()->styleSheet(), errorStyle);
        QCOMPARE(bank(), variedBank());
        QCOMPARE(busWire(), QStringList());
    }

    void refusedBankIsShownWithItsStatus()
    {
        bus().failCommand(0x23, virtual_keyboard::answerStatus(5));
        button("Send painting to keyboard")->click();
        QCOMPARE(status()->text(), QStringLiteral("Error: RGB bank rejected (status 05)"));
        QCOMPARE(status()->styleSheet(), errorStyle);
        QCOMPARE(busSends().constLast(), QStringLiteral("04 f0"));
    }

    void successAfterAFailureIsGreen()
    {
        bus().failAt(1, virtual_keyboard::sendError("Broken pipe"));
        button("Enable custom mode")->click();
        QCOMPARE(status()->styleSheet(), errorStyle);
        button("Enable custom mode")->click();
        QCOMPARE(status()->text(), QStringLiteral("Custom mode enabled."));
        QCOMPARE(status()->styleSheet(), successStyle);
    }

    void customModeCarriesTheSlider()
    {
        slider()->setValue(0);
        button("Enable custom mode")->click();
        QCOMPARE(busSends().at(2),
                 QStringLiteral("80 00 00 00 00 00 00 00 00 00 00 00 00 00 aa 55"));
        slider()->setValue(3);
        button("Enable custom mode")->click();
        QCOMPARE(int(bus().keyboard().state().lighting[9]), 3);
    }

    void readingReplacesTheBank()
    {
        bank() = filledBank(1, 1, 1);
        giveKeyboardColors(variedBank());
        button("Read from keyboard")->click();
        QCOMPARE(bank(), variedBank());
        QCOMPARE(stateOnDisk().customRgb, variedBank());
        QCOMPARE(shownColors(), colorsShownFor(variedBank()));
        QVERIFY(!bus().keyboard().sessionOpen());
        QCOMPARE(EditHistory::instance().undoText(), QStringLiteral("Read from keyboard"));
    }

    void readingWhatIsThereTakesTheMarkAway()
    {
        bank() = {};
        showPage();
        setColor(bank(), 0, {1, 2, 3});
        emit AppState::instance().rgbChanged();
        QVERIFY(!button("Send painting to keyboard")->toolTip().isEmpty());
        giveKeyboardColors(bank());
        button("Read from keyboard")->click();
        QCOMPARE(button("Send painting to keyboard")->toolTip(), QString());
    }

    void partOfAReadNeverReachesTheBank_data()
    {
        QTest::addColumn<int>("exchange");
        for (int exchange = 1; exchange <= 9; ++exchange)
            QTest::addRow("report %d", exchange) << exchange;
    }
    void partOfAReadNeverReachesTheBank()
    {
        QFETCH(int, exchange);
        bank() = filledBank(1, 1, 1);
        giveKeyboardColors(variedBank());
        bus().failAt(exchange, virtual_keyboard::readError("read broke"));
        button("Read from keyboard")->click();
        QCOMPARE(bank(), filledBank(1, 1, 1));
        QVERIFY(!QFile::exists(stateFilePath()));
        QCOMPARE(status()->text(), QStringLiteral("Error: read broke"));
        QCOMPARE(busSends().size(), exchange);
    }

    void clearedColorsAreShown()
    {
        page->paintAll();
        bank() = {};
        emit AppState::instance().rgbChanged();
        QCOMPARE(shownColors(), colorsShownFor({}));
    }

private:
    void showPage()
    {
        page = std::make_unique<RgbWidget>();
        page->resize(1140, 670);
        page->show();
        QVERIFY(QTest::qWaitForWindowExposed(page.get()));
    }

    QMenu* openMenu(const QString& key) const
    {
        QTest::mouseClick(view(), Qt::RightButton, {},
                          view()->hitRectangle(keyNamed(key)).center());
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }

    // By keys, as every style takes them.
    void chooseInMenu(const QString& key, const QString& entry) const
    {
        QMenu* menu = openMenu(key);
        QVERIFY(menu != nullptr);
        for (QAction* action : menu->actions()) {
            if (action->text() != entry)
                continue;
            menu->setActiveAction(action);
            QTest::keyClick(menu, Qt::Key_Return);
            return;
        }
        QFAIL(qPrintable(entry));
    }

    QStringList earlierBrushes() const
    {
        QMenu* menu = openMenu(QStringLiteral("W"));
        QStringList texts;
        for (const QAction* action : menu->actions()) {
            if (action->text().startsWith(QStringLiteral("Brush ")))
                texts += action->text();
        }
        menu->close();
        return texts;
    }

    static QColor colorOfEntry(const QMenu& menu, int index, QPoint place = {10, 8})
    {
        const QImage picture = menu.actions().at(index)->icon().pixmap(16, 16).toImage();
        return picture.pixelColor((QPointF(place) * picture.devicePixelRatio()).toPoint());
    }

    QColor brushShown() const { return preview()->grab().toImage().pixelColor(28, 13); }

    // The drawn keys, without the frame round the selected one.
    QImage shownColors() { return keysOf(*view()); }

    QImage colorsShownFor(const tavik::ColorBank& colors)
    {
        KeyboardView reference;
        reference.resize(view()->size());
        reference.setKeyboardLayout(&KeyboardLayout::instance());
        reference.setMode(KeyboardViewMode::KeyColors);
        for (std::size_t key = 0; key < 144; ++key)
            reference.setKeyColor(
                static_cast<int>(key),
                QColor(colors.at(3 * key), colors.at(3 * key + 1), colors.at(3 * key + 2)));
        return keysOf(reference);
    }

    static QImage keysOf(KeyboardView& drawn)
    {
        const QImage whole = drawn.grab().toImage();
        QImage keys(static_cast<int>(KeyboardLayout::instance().keys.size()), 1,
                    QImage::Format_RGB32);
        int column = 0;
        for (const KeyRecord& key : KeyboardLayout::instance().keys)
            keys.setPixelColor(column++, 0, whole.pixelColor(drawn.hitRectangle(key).center()));
        return keys;
    }

    QPushButton* button(const QString& text) const { return buttonOf(*page, text); }
    KeyboardView* view() const { return page->findChild<KeyboardView*>(); }
    ColorPreview* preview() const { return page->findChild<ColorPreview*>(); }
    QSlider* slider() const { return page->findChild<QSlider*>(); }
    QLabel* status() const { return qobject_cast<QLabel*>(page->layout()->itemAt(5)->widget()); }

    std::unique_ptr<RgbWidget> page;
};

TAVIK_ISOLATED_TEST_MAIN(RgbWidgetTest)

#include "rgb_widget_test.moc"
