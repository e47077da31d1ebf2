// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "model/app_state.h"
#include "pages/colors/rgb_widget.h"
#include "pages/keys/action_dialog.h"
#include "pages/keys/action_menu.h"
#include "pages/keys/keymap_widget.h"
#include "pages/macros/macro_widget.h"
#include "pages/screen/screen_widget.h"
#include "pages/settings/settings_widget.h"
#include "tests/app/window_pages.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFileDialog>
#include <QHash>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QTableWidget>
#include <QTest>
#include <QToolTip>

#include <cmath>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr double required = 4.5;

// Enlarged, a stroke is wide enough to show its own color between its soft edges.
constexpr int enlargement = 3;

// Magenta shows through wherever a window paints no ground.
constexpr QRgb nothingPainted = qRgb(255, 0, 255);

double luminance(QRgb pixel)
{
    const auto linear = [](int channel) {
        const double value = channel / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(pixel)) + 0.7152 * linear(qGreen(pixel)) +
           0.0722 * linear(qBlue(pixel));
}

double contrast(QRgb first, QRgb second)
{
    const double a = luminance(first);
    const double b = luminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

QImage enlargedPicture(QWidget& window)
{
    QImage picture(window.size() * enlargement, QImage::Format_RGB32);
    picture.setDevicePixelRatio(enlargement);
    picture.fill(nothingPainted);
    window.render(&picture);
    return picture;
}

struct Text
{
    QString name;
    QRect area; // in window coordinates; holds nothing but the text and its ground
    bool isEnabled;
};

// The contrast of the color that stands out most against the most frequent one. The frequent one is
// looked for in steps, since the backdrop of the window is a soft gradient.
double textContrast(const QImage& picture, const QRect& area)
{
    QHash<QRgb, int> counts;
    QRgb ground = 0;
    const QRect pixels(area.topLeft() * enlargement, area.size() * enlargement);
    const QRect inside = pixels.intersected(picture.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x) {
            const QRgb pixel = picture.pixel(x, y) | 0xFF000000;
            if (++counts[pixel] > counts.value(ground))
                ground = pixel;
        }
    }
    double best = 1.0;
    for (auto entry = counts.cbegin(); entry != counts.cend(); ++entry)
        best = std::max(best, contrast(entry.key(), ground));
    return best;
}

QRect areaIn(const QWidget& window, const QWidget& widget, const QRect& area)
{
    return {widget.mapTo(&window, area.topLeft()), area.size()};
}

// Where the widget writes; null when it shows no text.
QRect textArea(const QWidget& widget)
{
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        return label->text().trimmed().isEmpty() ? QRect() : label->contentsRect();
    if (const auto* edit = qobject_cast<const QLineEdit*>(&widget))
        return edit->text().isEmpty() ? QRect() : edit->contentsRect().adjusted(2, 2, -2, -2);
    if (const auto* combo = qobject_cast<const QComboBox*>(&widget)) {
        const QRect left = combo->rect().adjusted(3, 3, -30, -3);
        return combo->currentText().isEmpty() ? QRect() : left;
    }
    const auto* button = qobject_cast<const QAbstractButton*>(&widget);
    if (button == nullptr || button->text().isEmpty())
        return {};
    const bool hasIndicator = qobject_cast<const QCheckBox*>(button) != nullptr ||
                              qobject_cast<const QRadioButton*>(button) != nullptr;
    return button->rect().adjusted(hasIndicator ? 24 : 4, 4, -4, -4);
}

QString nameOf(const QWidget& widget, const QString& text)
{
    if (widget.styleSheet().contains(QStringLiteral("color:#ff7900")))
        return QStringLiteral("sliderValue: ") + text;
    const QString objectName = widget.objectName();
    return objectName.isEmpty() ? text : objectName + QStringLiteral(": ") + text;
}

QString textOf(const QWidget& widget)
{
    const QVariant text = widget.property("text");
    return text.isValid() ? text.toString() : widget.property("currentText").toString();
}

void appendRows(const QWidget& window, const QAbstractItemView& view, QList<Text>& texts)
{
    const auto* model = view.model();
    for (int row = 0; row < model->rowCount(); ++row) {
        const QModelIndex index = model->index(row, 0);
        const QRect area = view.visualRect(index).adjusted(1, 1, -1, -1);
        if (!view.viewport()->rect().contains(area) || index.data().toString().isEmpty())
            continue;
        const bool isSelected = view.selectionModel()->isSelected(index);
        texts.append({(isSelected ? QStringLiteral("selected row: ") : QStringLiteral("row: ")) +
                          index.data().toString(),
                      areaIn(window, *view.viewport(), area), true});
    }
}

QList<Text> textsIn(const QWidget& window)
{
    QList<Text> texts;
    QList<QWidget*> widgets = window.findChildren<QWidget*>();
    widgets.prepend(const_cast<QWidget*>(&window));
    for (const QWidget* widget : std::as_const(widgets)) {
        if (!widget->isVisibleTo(&window) || widget->window() != &window)
            continue;
        if (const auto* view = qobject_cast<const QAbstractItemView*>(widget))
            appendRows(window, *view, texts);
        const QRect area = textArea(*widget).intersected(widget->visibleRegion().boundingRect());
        if (!area.isEmpty())
            texts.append({nameOf(*widget, textOf(*widget)), areaIn(window, *widget, area),
                          widget->isEnabled()});
    }
    return texts;
}

// What falls short of the required contrast, with the reason why it may, and how far.
struct Exception
{
    const char* nameStart;
    double atLeast;
};
constexpr Exception exceptions[] = {
    {"accent: ", 4.0},           // white on the accent color of the program
    {"selected row: ", 4.0},     // likewise; the row is marked by its ground as well
    {"sleepChoice: 5 min", 3.8}, // the chosen one: orange, and marked by its filled button
    {"sliderValue", 3.8},        // shown by the slider as well
};

// Controls that cannot be used are pale on purpose, but must be legible.
constexpr double requiredOfDisabled = 2.5;

double requiredFor(const Text& text)
{
    if (!text.isEnabled)
        return requiredOfDisabled;
    for (const Exception& exception : exceptions) {
        if (text.name.startsWith(QLatin1String(exception.nameStart)))
            return exception.atLeast;
    }
    return required;
}

} // namespace

class ContrastTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        applyApplicationStyle(*qApp);
        AppState::instance().macros = {{QStringLiteral("Greet"), {{10, 4, 0xB0}, {0, 0, 0x50}}},
                                       {QStringLiteral("Wave"), {}}};
        window = std::make_unique<MainWindow>();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }

    void cleanupTestCase() { window.reset(); }

    void measuresWhatIsPainted()
    {
        QLabel label(QStringLiteral("Hill"));
        label.setStyleSheet(QStringLiteral("color: #767676; background: #ffffff;"));
        label.resize(80, 30);
        const double measured = textContrast(enlargedPicture(label), label.rect());
        QVERIFY2(std::abs(measured - 4.54) < 0.05, qPrintable(QString::number(measured)));
    }

    void pageIsReadable_data() { addPageRows(); }
    void pageIsReadable()
    {
        QFETCH(int, page);
        auto* stack = stackOf(*window);
        stack->setCurrentIndex(page);
        if (auto* list = stack->currentWidget()->findChild<QListWidget*>())
            list->setCurrentRow(0);
        // One text of each color that a page may come to show.
        for (QPushButton* button : stack->currentWidget()->findChildren<QPushButton*>()) {
            if (button->text() == QStringLiteral("Send to screen"))
                button->click();
        }
        checkReadable(*window);
    }

    void statusColorsAreReadable_data()
    {
        QTest::addColumn<QString>("color");
        for (const char* color : {"#7ec97e", "#e07070", "#e0a050"})
            QTest::newRow(color) << QString::fromLatin1(color);
    }

    // On the ground of every page that has a status label.
    void statusColorsAreReadable()
    {
        QFETCH(QString, color);
        auto* stack = stackOf(*window);
        for (QWidget* shown :
             std::initializer_list<QWidget*>{page<KeymapWidget>(), page<MacroWidget>(),
                                             page<ScreenWidget>(), page<RgbWidget>()}) {
            stack->setCurrentWidget(shown);
            for (QLabel* label : stack->currentWidget()->findChildren<QLabel*>()) {
                if (label->objectName().isEmpty() && label->text().isEmpty() &&
                    label->pixmap().isNull()) {
                    label->setText(QStringLiteral("Status"));
                    label->setStyleSheet(QStringLiteral("color:%1;").arg(color));
                }
            }
            QCoreApplication::processEvents();
            checkReadable(*window);
        }
    }

    // The colors of the two layer buttons are too much alike to tell which one is chosen.
    void chosenLayerIsUnderlined()
    {
        stackOf(*window)->setCurrentWidget(page<KeymapWidget>());
        const auto underlined = [&](const QPushButton& button) {
            const QImage picture = enlargedPicture(*window);
            const QPoint corner = button.mapTo(window.get(), button.rect().bottomLeft());
            const auto at = [&](int above) {
                return picture.pixel((corner + QPoint(10, -above)) * enlargement);
            };
            return contrast(at(1), at(4)) >= 3 && contrast(at(1), at(-2)) >= 3;
        };
        QList<QPushButton*> buttons;
        for (QPushButton* button : page<KeymapWidget>()->findChildren<QPushButton*>()) {
            if (button->isCheckable())
                buttons += button;
        }
        QCOMPARE(buttons.size(), 2);
        for (QPushButton* chosen : {buttons.last(), buttons.first()}) {
            const QSize hint = chosen->sizeHint();
            chosen->click();
            QCOMPARE(chosen->sizeHint(), hint); // nothing moves
            for (QPushButton* button : std::as_const(buttons))
                QCOMPARE(underlined(*button), button == chosen);
        }
    }

    void lightingErrorIsReadable()
    {
        auto* label = window->findChild<QLabel*>(QStringLiteral("lightingStatus"));
        label->setText(QStringLiteral("Keyboard refuses to open a session (busy?)"));
        label->show();
        checkReadable(*window);
    }

    void actionDialogIsReadable()
    {
        ActionDialog dialog({}, 2, page<KeymapWidget>());
        checkWindow(dialog);
    }

    void messageBoxesAreReadable()
    {
        QMessageBox question(QMessageBox::Question, {}, QStringLiteral("Clear saved data?"),
                             QMessageBox::Yes | QMessageBox::No, page<SettingsWidget>());
        checkWindow(question);
        QMessageBox notice(QMessageBox::Information, {}, QStringLiteral("Not present."),
                           QMessageBox::Ok, page<SettingsWidget>());
        checkWindow(notice);
    }

    void inputDialogIsReadable()
    {
        QInputDialog dialog(page<MacroWidget>());
        dialog.setLabelText(QStringLiteral("Name:"));
        dialog.setTextValue(QStringLiteral("Macro 1"));
        checkWindow(dialog);
    }

    void colorDialogIsReadable()
    {
        QColorDialog dialog(Qt::red, page<RgbWidget>());
        checkWindow(dialog);
    }

    void fileDialogIsReadable()
    {
        QFileDialog dialog(page<ScreenWidget>());
        checkWindow(dialog);
    }

    void menuIsReadable()
    {
        ActionMenu menu(QStringLiteral("Caps Lock"), keyboardKeyAction(4, 0),
                        AppState::instance().macros, page<KeymapWidget>());
        menu.popup({0, 0});
        menu.setActiveAction(menu.actions().at(2));
        QCoreApplication::processEvents();
        const QImage picture = enlargedPicture(menu);
        for (QAction* action : menu.actions()) {
            if (action->isSeparator())
                continue;
            const double measured =
                textContrast(picture, menu.actionGeometry(action).adjusted(2, 2, -24, -2));
            QVERIFY2(measured >= required, qPrintable(QStringLiteral("%1: %2").arg(
                                               action->text(), QString::number(measured))));
        }
        checkGround(menu, picture);
    }

    void comboListIsReadable()
    {
        auto* stack = stackOf(*window);
        stack->setCurrentWidget(page<SettingsWidget>());
        auto* list = page<SettingsWidget>()->findChild<QComboBox*>();
        list->showPopup();
        QCoreApplication::processEvents();
        QWidget* popup = list->view()->window();
        QVERIFY(popup != window.get());
        checkReadable(*popup);
        checkGround(*popup, enlargedPicture(*popup));
        list->hidePopup();
    }

    void toolTipIsReadable()
    {
        QToolTip::showText({100, 100}, QStringLiteral("Home"), window.get());
        QWidget* tip = nullptr;
        for (QWidget* candidate : QApplication::topLevelWidgets()) {
            if (candidate->inherits("QTipLabel"))
                tip = candidate;
        }
        QVERIFY(tip != nullptr);
        checkReadable(*tip);
        checkGround(*tip, enlargedPicture(*tip));
    }

private:
    template <typename Page>
    QWidget* page() const
    {
        return window->findChild<Page*>();
    }

    static void checkWindow(QWidget& dialog)
    {
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        checkReadable(dialog);
        checkGround(dialog, enlargedPicture(dialog));
    }

    static void checkReadable(QWidget& shown)
    {
        const QImage picture = enlargedPicture(shown);
        const QList<Text> texts = textsIn(shown);
        QVERIFY(!texts.isEmpty());
        QStringList failures;
        for (const Text& text : texts) {
            const double measured = textContrast(picture, text.area);
            if (measured < requiredFor(text))
                failures.append(
                    QStringLiteral("%1 (%2)").arg(text.name, QString::number(measured, 'f', 2)));
        }
        QCOMPARE(failures.join(u'\n'), QString());
    }

    // Everywhere opaque, and not the black of a window without a ground.
    static void checkGround(const QWidget& shown, const QImage& picture)
    {
        const QRect inner = shown.rect().adjusted(2, 2, -3, -3);
        for (const QPoint corner :
             {inner.topLeft(), inner.topRight(), inner.bottomLeft(), inner.bottomRight()}) {
            const QRgb pixel = picture.pixel(corner * enlargement);
            QVERIFY2(luminance(pixel) > 0.01 && pixel != nothingPainted,
                     qPrintable(QColor(pixel).name()));
        }
    }

    std::unique_ptr<MainWindow> window;
};

QTEST_MAIN(ContrastTest)
#include "contrast_test.moc"
