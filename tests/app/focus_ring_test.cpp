// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "app/main_window.h"
#include "model/app_state.h"
#include "model/keyboard_layout.h"
#include "pages/keys/action_dialog.h"
#include "pages/macros/macro_widget.h"
#include "pages/parts/keyboard_view.h"
#include "tests/app/window_pages.h"
#include "tests/support/pixel_probe.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSlider>
#include <QStackedWidget>
#include <QTest>

#include <algorithm>
#include <cmath>

using namespace tavik;
using namespace tavik::tests;

namespace {

constexpr int ringWidth = 4;

// A part of the window, which need not lie wholly inside.
QImage pictureOf(const QWidget& window, const QRect& part)
{
    return const_cast<QWidget&>(window).grab(part).toImage().convertToFormat(QImage::Format_RGB32);
}

QImage pictureOfWindow(const QWidget& window)
{
    return pictureOf(window, window.rect());
}

double luminance(const QColor& color)
{
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

double contrast(const QColor& first, const QColor& second)
{
    const double a = luminance(first);
    const double b = luminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

// The cursor and the selection of a text field show that it takes what is typed.
bool isTextField(const QWidget* widget)
{
    return qobject_cast<const QLineEdit*>(widget) != nullptr ||
           qobject_cast<const QAbstractSpinBox*>(widget) != nullptr;
}

QString nameOf(const QWidget* widget)
{
    const QString text = widget->property("text").toString();
    return QStringLiteral("%1 %2 %3 %4")
        .arg(widget->metaObject()->className(), widget->objectName(), text,
             widget->accessibleName());
}

// What can have the focus; the drawn keyboards mark their keys themselves.
QList<QWidget*> controlsOf(QWidget& window)
{
    QList<QWidget*> controls;
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        if (widget->isVisible() && widget->isEnabled() && widget->window() == &window &&
            widget->focusPolicy() != Qt::NoFocus && widget->focusProxy() == nullptr &&
            qobject_cast<KeyboardView*>(widget) == nullptr)
            controls += widget;
    }
    return controls;
}

QRect placeOf(const QWidget& widget)
{
    const QWidget& window = *widget.window();
    const QRect place(widget.mapTo(&window, QPoint()), widget.size());
    return place & window.rect().adjusted(ringWidth, ringWidth, -ringWidth, -ringWidth);
}

// Everywhere, the inner half of the ring has to be dark and its outer half light.
bool hasRing(const QImage& picture, const QRect& place)
{
    for (int distance = 1; distance <= ringWidth; ++distance) {
        const QRect line = place.adjusted(-distance, -distance, distance, distance);
        const auto fits = [&](int x, int y) {
            const int gray = qGray(colorAt(picture, {x, y}).rgb());
            return distance > ringWidth / 2 ? gray > 240 : gray < 30;
        };
        for (int x = line.left(); x <= line.right(); ++x) {
            if (!fits(x, line.top()) || !fits(x, line.bottom()))
                return false;
        }
        for (int y = line.top(); y <= line.bottom(); ++y) {
            if (!fits(line.left(), y) || !fits(line.right(), y))
                return false;
        }
    }
    return true;
}

bool hasRing(const QWidget& control)
{
    return hasRing(pictureOfWindow(*control.window()), placeOf(control));
}

} // namespace

class FocusRingTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        applyApplicationStyle(*qApp);
        QApplication::setCursorFlashTime(0);
        AppState::instance().macros = {{QStringLiteral("Greet"), {{10, 4, 0xB0}, {0, 0, 0x50}}}};
        window = std::make_unique<MainWindow>();
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }

    void cleanupTestCase() { window.reset(); }

    void init()
    {
        useMouse();
        clearFocus();
        QTest::keyClick(window.get(), Qt::Key_Shift);
    }

    void oneOfTheTonesStandsOutFromEveryGround()
    {
        stackOf(*window)->setCurrentIndex(3);
        QWidget* control = stackOf(*window)->currentWidget()->findChild<QSlider*>();
        control->setFocus(Qt::TabFocusReason);
        const QImage picture = pictureOfWindow(*window);
        const QRect place = placeOf(*control);
        const QColor dark = colorAt(picture, {place.center().x(), place.top() - 1});
        const QColor light = colorAt(picture, {place.center().x(), place.top() - 4});
        QVERIFY(contrast(dark, light) >= 3);
        for (int gray = 0; gray < 256; ++gray) { // only the luminance counts
            const QColor ground(gray, gray, gray);
            QVERIFY2(std::max(contrast(dark, ground), contrast(light, ground)) >= 3,
                     qPrintable(ground.name()));
        }
    }

    void keysMarkEveryControlAlike_data() { addPageRows(); }
    void keysMarkEveryControlAlike()
    {
        QFETCH(int, page);
        stackOf(*window)->setCurrentIndex(page);
        // As a press of Tab does. The marks of the style itself come only then.
        window->setAttribute(Qt::WA_KeyboardFocusChange);
        const QList<QWidget*> controls = controlsOf(*window);
        QVERIFY(controls.size() >= 3); // one of the sidebar, two of the title bar
        for (QWidget* control : controls) {
            clearFocus();
            const QRect place = placeOf(*control);
            const QRect around =
                place.adjusted(-2 * ringWidth, -2 * ringWidth, 2 * ringWidth, 2 * ringWidth);
            const QImage before = pictureOf(*window, place);
            control->setFocus(Qt::TabFocusReason);
            QVERIFY2(control->hasFocus(), qPrintable(nameOf(control)));
            const QRect marked = place.translated(-around.topLeft());
            QVERIFY2(hasRing(pictureOf(*window, around), marked), qPrintable(nameOf(control)));
            // The mark stands alone: nothing inside shows the focus as well.
            if (!isTextField(control))
                QVERIFY2(before == pictureOf(*window, place), qPrintable(nameOf(control)));
        }
    }

    void mouseMarksNothing_data() { addPageRows(); }
    void mouseMarksNothing()
    {
        QFETCH(int, page);
        stackOf(*window)->setCurrentIndex(page);
        for (QWidget* control : controlsOf(*window)) {
            clearFocus();
            const QImage before = pictureOf(*window, placeOf(*control));
            control->setFocus(Qt::MouseFocusReason);
            QVERIFY2(control->hasFocus(), qPrintable(nameOf(control)));
            if (!isTextField(control))
                QVERIFY2(before == pictureOf(*window, placeOf(*control)),
                         qPrintable(nameOf(control)));
            QVERIFY(!isMarked(*window));
        }
    }

    void pressTakesTheMarkAway()
    {
        stackOf(*window)->setCurrentIndex(2);
        auto* list = window->findChild<MacroWidget*>()->findChild<QListWidget*>();
        list->setFocus(Qt::BacktabFocusReason);
        QVERIFY(isMarked(*window));
        QTest::mousePress(list->viewport(), Qt::LeftButton, {}, {5, list->height() - 20});
        QVERIFY(list->hasFocus());
        QVERIFY(!isMarked(*window));
    }

    void markFollowsItsControl()
    {
        stackOf(*window)->setCurrentIndex(1);
        QPushButton* button = accentOf(stackOf(*window)->currentWidget());
        button->setFocus(Qt::ShortcutFocusReason);
        QVERIFY(hasRing(*button));
        window->resize(1000, 640);
        QVERIFY(QTest::qWaitFor([&] { return window->size() == QSize(1000, 640); }));
        QCoreApplication::processEvents();
        QVERIFY(hasRing(*button));
        useMouse();
        button->setFocus();
        button->hide(); // gives the focus away
        QVERIFY(!isMarked(*window));
        button->show();
        window->resize(1200, 720);
        QVERIFY(QTest::qWaitFor([&] { return window->size() == QSize(1200, 720); }));
    }

    void markFollowsAControlThatMovesAlone()
    {
        QWidget part(window.get());
        part.setGeometry(300, 200, 200, 200);
        QPushButton button(QStringLiteral("Button"), &part);
        button.setGeometry(50, 50, 80, 30);
        part.show();
        button.setFocus(Qt::TabFocusReason);
        QVERIFY(hasRing(button));
        button.move(100, 120);
        QVERIFY(hasRing(button));
        part.move(600, 300); // and it with the part
        QVERIFY(hasRing(button));
    }

    void markGoesWithTheFocus()
    {
        QPushButton* button = accentOf(stackOf(*window)->widget(1));
        stackOf(*window)->setCurrentIndex(1);
        button->setFocus(Qt::TabFocusReason);
        QVERIFY(isMarked(*window));
        button->clearFocus();
        QVERIFY(!isMarked(*window));
    }

    // In the smallest window, the page is cut at its right and lower edge.
    void whatIsCutOffIsMarkedAsFarAsItIsSeen()
    {
        stackOf(*window)->setCurrentIndex(3);
        window->resize(900, 620);
        QVERIFY(QTest::qWaitFor([&] { return window->size() == QSize(900, 620); }));
        QCoreApplication::processEvents();
        int outside = 0;
        for (QWidget* control : controlsOf(*window)) {
            control->setFocus(Qt::TabFocusReason);
            const bool isSeen = !placeOf(*control).isEmpty();
            outside += isSeen ? 0 : 1;
            QVERIFY2(isSeen ? hasRing(*control) : !isMarked(*window), qPrintable(nameOf(control)));
        }
        QVERIFY(outside > 0);
        window->resize(1200, 720);
        QVERIFY(QTest::qWaitFor([&] { return window->size() == QSize(1200, 720); }));
    }

    void menuKeepsTheMarkOfItsOwner()
    {
        stackOf(*window)->setCurrentIndex(1);
        QPushButton* button = accentOf(stackOf(*window)->currentWidget());
        button->setFocus(Qt::TabFocusReason);
        QMenu menu(button);
        menu.addAction(QStringLiteral("Copy"));
        menu.popup({0, 0});
        QVERIFY(hasRing(*button));
        menu.close();
        QVERIFY(hasRing(*button));
    }

    void dialogIsMarkedWhenKeysOpenedIt_data()
    {
        QTest::addColumn<Qt::FocusReason>("reason");
        QTest::addColumn<bool>("marked");
        QTest::newRow("keys") << Qt::TabFocusReason << true;
        QTest::newRow("mouse") << Qt::MouseFocusReason << false;
    }

    void dialogIsMarkedWhenKeysOpenedIt()
    {
        QFETCH(Qt::FocusReason, reason);
        QFETCH(bool, marked);
        stackOf(*window)->setCurrentIndex(1);
        QPushButton* button = accentOf(stackOf(*window)->currentWidget());
        if (!marked)
            useMouse();
        button->setFocus(reason);
        {
            ActionDialog dialog({}, 1, window.get());
            dialog.show();
            dialog.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&dialog));
            QTRY_VERIFY(QApplication::focusWidget() != nullptr &&
                        QApplication::focusWidget()->window() == &dialog);
            QCOMPARE(isMarked(dialog), marked);
            QVERIFY(!isMarked(*window));
            for (QWidget* control : marked ? controlsOf(dialog) : QList<QWidget*>()) {
                control->setFocus(Qt::TabFocusReason);
                QVERIFY2(hasRing(*control), qPrintable(nameOf(control)));
            }
        }
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }

    void linkIsMarked()
    {
        QLabel label(QStringLiteral("<a href=\"x\">Manual</a>"), window.get());
        label.setTextInteractionFlags(Qt::LinksAccessibleByKeyboard);
        label.setGeometry(400, 300, 80, 20);
        label.show();
        label.setFocus(Qt::TabFocusReason);
        QVERIFY(hasRing(label));
    }

    // Round corners, since its caps are round; the tones and their order are the same.
    void drawnKeyIsMarkedLikeAControl()
    {
        stackOf(*window)->setCurrentIndex(1);
        auto* view = stackOf(*window)->currentWidget()->findChild<KeyboardView*>();
        view->setFocus(Qt::TabFocusReason);
        QVERIFY(!isMarked(*window));
        const KeyRecord& key = KeyboardLayout::instance().keys.first();
        const KeyboardGeometry geometry(&KeyboardLayout::instance(), view->size());
        const QRect inner = geometry.innerRectangle(key);
        const QImage picture = pictureOfWindow(*window);
        const QPoint top = view->mapTo(window.get(), QPoint(inner.center().x(), inner.top()));
        const QPoint left = view->mapTo(window.get(), QPoint(inner.left(), inner.center().y()));
        for (int distance = 1; distance <= ringWidth; ++distance) {
            for (const QPoint& pixel : {top - QPoint(0, distance), left - QPoint(distance, 0)}) {
                const int lightness = colorAt(picture, pixel).lightness();
                QVERIFY(distance > ringWidth / 2 ? lightness > 240 : lightness < 30);
            }
        }
    }

private:
    void useMouse() const { QTest::mousePress(window.get(), Qt::MiddleButton, {}, {300, 20}); }

    static bool isMarked(const QWidget& shown)
    {
        const auto rings =
            shown.findChildren<QWidget*>(QStringLiteral("focusRing"), Qt::FindDirectChildrenOnly);
        return std::ranges::any_of(rings, &QWidget::isVisible);
    }

    static QPushButton* accentOf(const QWidget* page)
    {
        return page->findChild<QPushButton*>(QStringLiteral("accent"));
    }

    static void clearFocus()
    {
        if (QWidget* focused = QApplication::focusWidget())
            focused->clearFocus();
    }

    std::unique_ptr<MainWindow> window;
};

QTEST_MAIN(FocusRingTest)
#include "focus_ring_test.moc"
