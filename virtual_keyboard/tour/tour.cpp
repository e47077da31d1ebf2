// SPDX-License-Identifier: MIT
#include "virtual_keyboard/tour/tour.h"

#include "pages/parts/keyboard_view.h"
#include "tests/support/named_keys.h"
#include "virtual_keyboard/demo/lit_board.h"
#include "virtual_keyboard/tour/held.h"

#include <QApplication>
#include <QLabel>
#include <QRegularExpression>

#include <cstdio>
#include <stdexcept>

namespace tavik::virtual_keyboard {

bool Tour::run()
{
    try {
        visitWithoutKeyboard();
        visitLighting();
        visitKeys();
        visitMacros();
        visitColors();
        visitScreen();
        visitSettings();
        visitHistory();
        visitExchange();
        step(
            "the keyboard has nothing to complain about", [] {},
            [] { return bus().violations().empty(); },
            [] {
                QStringList texts;
                for (const std::string& text : bus().violations())
                    texts += QString::fromStdString(text);
                return texts.isEmpty() ? "no violation" : texts.join("; ");
            });
    } catch (const std::runtime_error& error) {
        std::printf("   stopped: %s\n", error.what());
        driver.takePicture("stopped");
        return false;
    }
    std::printf("%d steps, %d failed\n", stepsTaken, stepsFailed);
    return stepsFailed == 0;
}

void Tour::step(const QString& title, const std::function<void()>& action, const Check& check,
                const Words& words)
{
    ++stepsTaken;
    action();
    const bool passed = driver.waitUntil(check);
    stepsFailed += passed ? 0 : 1;
    driver.takePicture(QStringLiteral("%1-%2")
                           .arg(stepsTaken, 2, 10, QLatin1Char('0'))
                           .arg(QString(title).replace(QRegularExpression("[^A-Za-z0-9]+"), "-")));
    std::printf("%2d %s %s: %s\n", stepsTaken, passed ? "ok    " : "FAILED", qUtf8Printable(title),
                qUtf8Printable(driver.onGui(words)));
    std::fflush(stdout);
}

void Tour::showPage(const QString& title)
{
    driver.click([&] { return TourDriver::buttonWithToolTip(title); });
    driver.require([&] { return shownPage() == title; }, "a page does not show");
}

QString Tour::shownPage()
{
    const auto* label = qobject_cast<QLabel*>(TourDriver::widgetNamed("pageTitle"));
    return label == nullptr ? QString() : label->text();
}

void Tour::clickKey(const QString& description, MouseButton button)
{
    driver.clickAt(
        TourDriver::visible<KeyboardView>,
        [description](QWidget& widget) {
            const KeyRecord& key = tests::keyNamed(description);
            return static_cast<KeyboardView&>(widget).hitRectangle(key).center();
        },
        button);
}

void Tour::pressOnKeyboard(const QString& description)
{
    driver.clickAt(TourDriver::called("Virtual keyboard"), [description](QWidget& widget) {
        const KeyRecord& key = tests::keyNamed(description);
        return static_cast<LitBoard&>(widget).keyRectangle(key.lightIndex).center();
    });
}

// The settings page looks for the keyboard every five seconds.
void Tour::visitWithoutKeyboard()
{
    step(
        "start without a keyboard", [] {}, [] { return bus().openHandles() == 0; },
        [] { return "not connected"; });
    step(
        "plug the keyboard in", [&] { driver.onGui([] { bus().plug(); }); },
        [] { return bus().openHandles() == 1; }, [] { return "connected"; });
}

} // namespace tavik::virtual_keyboard
