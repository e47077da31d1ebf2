// SPDX-License-Identifier: MIT
#pragma once

#include "virtual_keyboard/tour/tour_driver.h"

#include <QString>

#include <functional>

namespace tavik::virtual_keyboard {

// Goes through the program's work on the virtual keyboard, step by step: each step does something
// by mouse and keys, waits until the keyboard (or the user's data) holds what it should, takes a
// picture and prints a line. Runs outside the GUI thread.
class Tour
{
public:
    explicit Tour(TourDriver& tourDriver) : driver(tourDriver) {}

    // True when every step ended as it should.
    [[nodiscard]] bool run();

private:
    // What a step leaves: checked and put into words in the GUI thread.
    using Check = std::function<bool()>;
    using Words = std::function<QString()>;

    void step(const QString& title, const std::function<void()>& action, const Check& check,
              const Words& words);
    void showPage(const QString& title);
    [[nodiscard]] static QString shownPage(); // for the GUI thread
    void undoAndRedo(const QString& title, const QString& page, const std::function<void()>& edit);

    // A press on the drawn key that the layout file calls so, on the page shown.
    void clickKey(const QString& description, MouseButton button = MouseButton::Left);

    // A press on a key of the virtual keyboard.
    void pressOnKeyboard(const QString& description);

    void visitWithoutKeyboard();
    void visitLighting();
    void visitKeys();
    void visitMacros();
    void visitColors();
    void visitScreen();
    void visitSettings();
    void visitHistory();
    void visitExchange();

    TourDriver& driver;
    int stepsTaken = 0;
    int stepsFailed = 0;
};

} // namespace tavik::virtual_keyboard
