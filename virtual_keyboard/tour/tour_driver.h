// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QMetaObject>
#include <QString>
#include <QWidget>

#include <functional>
#include <memory>
#include <type_traits>

struct xcb_connection_t;

namespace tavik::virtual_keyboard {

enum class MouseButton { Left = 1, Middle = 2, Right = 3 };

// Keys that stand for no character, by their X key symbols.
enum class KeySymbol : unsigned {
    Return = 0xFF0D,
    Home = 0xFF50,
    Left = 0xFF51,
    F10 = 0xFFC7,
    Shift = 0xFFE1,
    Control = 0xFFE3,
};

// Uses the program as a person would: it moves the pointer, clicks and types through the X server,
// so that every event takes the way of a real one. It runs in a thread of its own, because the
// program blocks its GUI thread during transfers and runs nested event loops in its dialogs;
// widgets are looked at in the GUI thread only.
class TourDriver
{
public:
    // Needs a QApplication on an X display. Pictures go to the directory.
    explicit TourDriver(QString pictureDirectory);
    ~TourDriver();
    TourDriver(const TourDriver&) = delete;
    TourDriver& operator=(const TourDriver&) = delete;

    // Runs the function in the GUI thread and returns what it returns.
    template <typename Function>
    auto onGui(Function function)
    {
        using Result = std::invoke_result_t<Function>;
        if constexpr (std::is_void_v<Result>) {
            runOnGui([&] { function(); });
        } else {
            Result result{};
            runOnGui([&] { result = function(); });
            return result;
        }
    }

    // Waits until the condition holds in the GUI thread; false when it never does within the
    // patience of a tour.
    [[nodiscard]] bool waitUntil(const std::function<bool()>& condition);

    // The same, but throws std::runtime_error with the words.
    void require(const std::function<bool()>& condition, const char* otherwise);

    // Finders, for the GUI thread: the visible widget, or null.
    static QWidget* widgetNamed(const QString& objectName);
    static QAbstractButton* buttonWithText(const QString& text);
    static QAbstractButton* buttonWithToolTip(const QString& toolTip);
    static QLabel* labelWithText(const QString& text);
    template <typename View>
    static QWidget* visible()
    {
        return findVisible([](QWidget& widget) { return qobject_cast<View*>(&widget) != nullptr; });
    }

    // The same for later.
    using Finder = std::function<QWidget*()>;
    static Finder called(const QString& accessibleName);
    static Finder labeled(const QString& labelText); // the buddy of that label

    // Input. A widget is clicked at its center or at a point of its own. The functions wait until
    // the finder finds something and throw std::runtime_error when it never does.
    void click(const Finder& finder, MouseButton button = MouseButton::Left);
    void clickAt(const Finder& finder, const std::function<QPoint(QWidget&)>& where,
                 MouseButton button = MouseButton::Left);
    // The button with this text.
    void press(const QString& text, MouseButton button = MouseButton::Left);
    void chooseItem(const Finder& comboFinder, const QString& text);
    // In the menu that is open: enters the submenu, when one is named, and clicks the entry.
    void chooseMenuEntry(const QString& submenu, const QString& text);
    void pressKey(KeySymbol key);
    // Holds the modifier meanwhile. Latin letters are their own symbols; capital ones add Shift.
    void pressWith(KeySymbol modifier, KeySymbol key);
    // Takes what is there to the other place and lets it go.
    void drag(const Finder& from, const Finder& to);
    // Latin text, into the text field that has the focus or gets it soon.
    void type(const QString& text);

    // Saves what the screen shows as "<name>.png".
    void takePicture(const QString& name);

private:
    static QWidget* findVisible(const std::function<bool(QWidget&)>& matches);
    void runOnGui(const std::function<void()>& function);
    QPoint screenPoint(const Finder& finder, const std::function<QPoint(QWidget&)>& where);
    void clickScreen(QPoint point, MouseButton button);
    void fakeInput(unsigned type, unsigned detail, QPoint point = {});
    void pressSymbol(unsigned keySymbol);
    void clickMenuEntry(const QString& text);

    xcb_connection_t* connection = nullptr;
    QString directory;
};

} // namespace tavik::virtual_keyboard
