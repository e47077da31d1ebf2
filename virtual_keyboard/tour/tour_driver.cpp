// SPDX-License-Identifier: MIT
#include "virtual_keyboard/tour/tour_driver.h"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QPixmap>
#include <QScreen>
#include <QThread>
#include <QWindow>

#include <stdexcept>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace tavik::virtual_keyboard {

namespace {

constexpr qint64 patienceMs = 20'000;
constexpr unsigned long pollEveryMs = 5;

struct KeyCode
{
    unsigned code = 0;
    bool shifted = false;
};

// Looks the symbol up in the server's keyboard map, plain column first.
KeyCode findKeyCode(xcb_connection_t* connection, unsigned keySymbol)
{
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> reply(
        xcb_get_keyboard_mapping_reply(
            connection,
            xcb_get_keyboard_mapping(
                connection, setup->min_keycode,
                static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1)),
            nullptr),
        &std::free);
    if (!reply)
        throw std::runtime_error("the X server has no keyboard map");
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int columns = reply->keysyms_per_keycode;
    const int codes = xcb_get_keyboard_mapping_keysyms_length(reply.get()) / columns;
    for (int column = 0; column < std::min(columns, 2); ++column) {
        for (int row = 0; row < codes; ++row) {
            if (symbols[row * columns + column] == keySymbol)
                return {setup->min_keycode + static_cast<unsigned>(row), column == 1};
        }
    }
    throw std::runtime_error("no key for a symbol");
}

// A window is shown before the X server maps it; an early click would go through it.
bool isMapped(const QWidget& widget)
{
    const QWindow* window = widget.window()->windowHandle();
    return window != nullptr && window->isExposed();
}

} // namespace

TourDriver::TourDriver(QString pictureDirectory)
    : connection(xcb_connect(nullptr, nullptr)), directory(std::move(pictureDirectory))
{
    if (xcb_connection_has_error(connection) != 0)
        throw std::runtime_error("no X display");
    QDir().mkpath(directory);
}

TourDriver::~TourDriver()
{
    xcb_disconnect(connection);
}

void TourDriver::runOnGui(const std::function<void()>& function)
{
    QMetaObject::invokeMethod(qApp, function, Qt::BlockingQueuedConnection);
}

bool TourDriver::waitUntil(const std::function<bool()>& condition)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (elapsed.elapsed() < patienceMs) {
        if (onGui(condition))
            return true;
        QThread::msleep(pollEveryMs);
    }
    return false;
}

void TourDriver::require(const std::function<bool()>& condition, const char* otherwise)
{
    if (!waitUntil(condition))
        throw std::runtime_error(otherwise);
}

QWidget* TourDriver::findVisible(const std::function<bool(QWidget&)>& matches)
{
    // A dialog is asked first: what lies behind it cannot be clicked.
    QWidget* const modal = QApplication::activeModalWidget();
    const QWidgetList candidates =
        modal != nullptr ? modal->findChildren<QWidget*>() : QApplication::allWidgets();
    for (QWidget* widget : candidates) {
        if (widget->isVisible() && matches(*widget))
            return widget;
    }
    return nullptr;
}

QWidget* TourDriver::widgetNamed(const QString& objectName)
{
    return findVisible([&](QWidget& widget) { return widget.objectName() == objectName; });
}

QAbstractButton* TourDriver::buttonWithText(const QString& text)
{
    return qobject_cast<QAbstractButton*>(findVisible([&](QWidget& widget) {
        const auto* button = qobject_cast<QAbstractButton*>(&widget);
        return button != nullptr && button->text().remove(u'&') == text;
    }));
}

QAbstractButton* TourDriver::buttonWithToolTip(const QString& toolTip)
{
    return qobject_cast<QAbstractButton*>(findVisible([&](QWidget& widget) {
        return qobject_cast<QAbstractButton*>(&widget) != nullptr && widget.toolTip() == toolTip;
    }));
}

QLabel* TourDriver::labelWithText(const QString& text)
{
    return qobject_cast<QLabel*>(findVisible([&](QWidget& widget) {
        const auto* label = qobject_cast<QLabel*>(&widget);
        return label != nullptr && label->text() == text;
    }));
}

TourDriver::Finder TourDriver::called(const QString& accessibleName)
{
    return [accessibleName] {
        return findVisible(
            [&](QWidget& widget) { return widget.accessibleName() == accessibleName; });
    };
}

TourDriver::Finder TourDriver::labeled(const QString& labelText)
{
    return [labelText] {
        const auto* label = static_cast<QLabel*>(findVisible([&](QWidget& widget) {
            const auto* candidate = qobject_cast<QLabel*>(&widget);
            return candidate != nullptr && candidate->text() == labelText &&
                   candidate->buddy() != nullptr;
        }));
        return label == nullptr ? nullptr : label->buddy();
    };
}

QPoint TourDriver::screenPoint(const Finder& finder, const std::function<QPoint(QWidget&)>& where)
{
    const auto isThere = [&] {
        const QWidget* widget = finder();
        return widget != nullptr && isMapped(*widget);
    };
    require(isThere, "a widget of the tour is not there");
    return onGui([&] {
        QWidget* widget = finder();
        return widget == nullptr ? QPoint() : widget->mapToGlobal(where(*widget));
    });
}

void TourDriver::click(const Finder& finder, MouseButton button)
{
    clickAt(
        finder, [](QWidget& widget) { return widget.rect().center(); }, button);
}

void TourDriver::clickAt(const Finder& finder, const std::function<QPoint(QWidget&)>& where,
                         MouseButton button)
{
    clickScreen(screenPoint(finder, where), button);
}

void TourDriver::drag(const Finder& from, const Finder& to)
{
    const auto center = [](QWidget& widget) { return widget.rect().center(); };
    const QPoint start = screenPoint(from, center);
    const QPoint end = screenPoint(to, center);
    fakeInput(XCB_MOTION_NOTIFY, 0, start);
    fakeInput(XCB_BUTTON_PRESS, static_cast<unsigned>(MouseButton::Left));
    // The window below learns step by step what comes.
    for (int step = 1; step <= 10; ++step) {
        fakeInput(XCB_MOTION_NOTIFY, 0, start + (end - start) * step / 10);
        onGui([] {});
    }
    fakeInput(XCB_BUTTON_RELEASE, static_cast<unsigned>(MouseButton::Left));
}

void TourDriver::press(const QString& text, MouseButton button)
{
    click([text] { return buttonWithText(text); }, button);
}

void TourDriver::chooseItem(const Finder& comboFinder, const QString& text)
{
    click(comboFinder);
    QAbstractItemView* view = nullptr;
    require(
        [&] {
            auto* combo = qobject_cast<QComboBox*>(comboFinder());
            view = combo == nullptr ? nullptr : combo->view();
            return view != nullptr && view->isVisible() && view->window()->isVisible();
        },
        "a selector does not open");
    const QPoint point = onGui([&] {
        auto* combo = qobject_cast<QComboBox*>(comboFinder());
        const QModelIndex index = view->model()->index(combo->findText(text), 0);
        view->scrollTo(index);
        return view->viewport()->mapToGlobal(view->visualRect(index).center());
    });
    clickScreen(point, MouseButton::Left);
    require([&] { return !view->isVisible(); }, "a selector does not close");
}

void TourDriver::clickScreen(QPoint point, MouseButton button)
{
    const auto detail = static_cast<unsigned>(button);
    fakeInput(XCB_MOTION_NOTIFY, 0, point);
    fakeInput(XCB_BUTTON_PRESS, detail);
    fakeInput(XCB_BUTTON_RELEASE, detail);
}

void TourDriver::chooseMenuEntry(const QString& submenu, const QString& text)
{
    if (!submenu.isEmpty())
        clickMenuEntry(submenu);
    clickMenuEntry(text);
    // Until it is gone, the menu swallows the next click.
    require([] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()) == nullptr; },
            "a menu does not close");
}

void TourDriver::clickMenuEntry(const QString& text)
{
    const auto entry = [text]() -> std::pair<QMenu*, QAction*> {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* menu = qobject_cast<QMenu*>(widget);
            if (menu == nullptr || !menu->isVisible() || !isMapped(*menu))
                continue;
            for (QAction* action : menu->actions()) {
                if (action->text() == text)
                    return {menu, action};
            }
        }
        return {nullptr, nullptr};
    };
    require([&] { return entry().first != nullptr; }, "a menu entry is not there");
    clickScreen(onGui([&] {
                    const auto [menu, action] = entry();
                    return menu->mapToGlobal(menu->actionGeometry(action).center());
                }),
                MouseButton::Left);
}

void TourDriver::pressKey(KeySymbol key)
{
    pressSymbol(static_cast<unsigned>(key));
}

void TourDriver::pressWith(KeySymbol modifier, KeySymbol key)
{
    const unsigned held = findKeyCode(connection, static_cast<unsigned>(modifier)).code;
    fakeInput(XCB_KEY_PRESS, held);
    pressKey(key);
    fakeInput(XCB_KEY_RELEASE, held);
}

void TourDriver::type(const QString& text)
{
    // The X server focuses a new window some time after it shows.
    const bool isListening = waitUntil([] {
        const QWidget* field = QApplication::focusWidget();
        return (qobject_cast<const QLineEdit*>(field) != nullptr ||
                qobject_cast<const QAbstractSpinBox*>(field) != nullptr) &&
               field->isActiveWindow();
    });
    if (!isListening)
        throw std::runtime_error("no text field has the focus");
    // Latin-1 characters are their own key symbols.
    for (const QChar character : text)
        pressSymbol(character.unicode());
}

void TourDriver::pressSymbol(unsigned keySymbol)
{
    const KeyCode key = findKeyCode(connection, keySymbol);
    const unsigned shift = findKeyCode(connection, static_cast<unsigned>(KeySymbol::Shift)).code;
    if (key.shifted)
        fakeInput(XCB_KEY_PRESS, shift);
    fakeInput(XCB_KEY_PRESS, key.code);
    fakeInput(XCB_KEY_RELEASE, key.code);
    if (key.shifted)
        fakeInput(XCB_KEY_RELEASE, shift);
}

void TourDriver::fakeInput(unsigned type, unsigned detail, QPoint point)
{
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_test_fake_input(connection, static_cast<std::uint8_t>(type),
                        static_cast<std::uint8_t>(detail), XCB_CURRENT_TIME, root,
                        static_cast<std::int16_t>(point.x()), static_cast<std::int16_t>(point.y()),
                        0);
    // A round trip: the server has handed the event on when it answers.
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

void TourDriver::takePicture(const QString& name)
{
    onGui([&] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->isVisible())
                window->repaint();
        }
    });
    const bool saved = onGui([&] {
        const QString path = QDir(directory).filePath(name + QStringLiteral(".png"));
        return QGuiApplication::primaryScreen()->grabWindow().save(path);
    });
    if (!saved)
        throw std::runtime_error("a picture of the tour cannot be saved");
}

} // namespace tavik::virtual_keyboard
