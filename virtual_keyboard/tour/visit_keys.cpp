// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "tests/support/named_keys.h"
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour.h"

#include <QApplication>
#include <QWindow>

#include <algorithm>

namespace tavik::virtual_keyboard {

namespace {

constexpr int delayMs = 40; // in front of all actions of the macro but the first

KeyActionBytes heldAction(LayerId layer, const QString& key)
{
    return bus().keyboard().keyAction(layer, tests::indexOf(key));
}

KeyAction savedAction(const tavik::KeyLayer& layer, const QString& key)
{
    return layer.at(tests::indexOf(key));
}

QString actionText(LayerId layer, const QString& key)
{
    QStringList bytes;
    for (const std::uint8_t byte : heldAction(layer, key))
        bytes += QStringLiteral("%1").arg(byte, 2, 16, QLatin1Char('0'));
    return QStringLiteral("the keyboard holds %1 for %2").arg(bytes.join(u' '), key);
}

} // namespace

void Tour::visitKeys()
{
    const auto write = [this](const QString& name, LayerId layer, const char* key,
                              const KeyActionBytes& action) {
        step(
            "write the " + name + " layer", [this] { driver.press("Write layer to keyboard"); },
            [&] {
                return heldAction(layer, key) == action &&
                       TourDriver::labelWithText("Layer " + name + " written.") != nullptr;
            },
            [&] { return actionText(layer, key); });
    };
    showPage("Keys");

    // The dialog shows its key list under "Multimedia key", and its multimedia list under
    // "Disabled"; the type chosen last decides.
    step(
        "assign Ctrl+B to A",
        [&] {
            clickKey("A");
            driver.chooseItem(TourDriver::called("Assignment type"), "Multimedia key");
            driver.chooseItem(TourDriver::called("Key"), "B");
            driver.chooseItem(TourDriver::called("Modifier (keyboard)"), "Ctrl");
            driver.chooseItem(TourDriver::called("Assignment type"), "Keyboard key (+ modifiers)");
            driver.takePicture("assign-key-dialog");
            driver.press("OK");
        },
        [] {
            return savedAction(AppState::instance().layerBase, "A") == KeyAction{2, 0x01, 0x05, 0};
        },
        [] { return actionText(LayerId::Base, "A") + " so far"; });

    write("base", LayerId::Base, "A", {2, 0x01, 0x05, 0});

    step(
        "assign Volume up to U on the Fn layer",
        [&] {
            driver.press("Fn layer");
            clickKey("U");
            driver.chooseItem(TourDriver::called("Assignment type"), "Disabled");
            driver.chooseItem(TourDriver::called("Multimedia key"), "Volume up");
            driver.chooseItem(TourDriver::called("Assignment type"), "Multimedia key");
            driver.press("OK");
        },
        [] {
            return savedAction(AppState::instance().layerFn, "U") == KeyAction{3, 0xE9, 0, 0};
        },
        [] { return actionText(LayerId::Fn, "U") + " so far"; });

    write("Fn", LayerId::Fn, "U", {3, 0xE9, 0, 0});
}

void Tour::visitMacros()
{
    const auto addAction = [&](const char* type, const char* key) {
        driver.chooseItem(TourDriver::labeled("Type"), type);
        driver.chooseItem(TourDriver::labeled("Key / button"), key);
        driver.press("Add action");
    };

    showPage("Macros");
    step(
        "make a macro",
        [&] {
            driver.press("New macro");
            driver.type("Greet");
            driver.takePicture("new-macro-dialog");
            driver.press("OK");
            addAction("Key press", "H");
            driver.click(TourDriver::labeled("Delay before"));
            driver.pressKey(KeySymbol::Home); // in front of the 0
            driver.type(QString::number(delayMs / 10));
            addAction("Key release", "H");
            addAction("Pause", "A");
            addAction("Mouse click", "A");
        },
        [] {
            const QList<MacroRecord>& macros = AppState::instance().macros;
            return macros.size() == 1 && macros.at(0).name == "Greet" &&
                   macros.at(0).actions.size() == 4;
        },
        [] {
            const QList<MacroRecord>& macros = AppState::instance().macros;
            return macros.isEmpty() ? "no macro"
                                    : QStringLiteral("\"%1\" with %2 actions")
                                          .arg(macros.at(0).name)
                                          .arg(macros.at(0).actions.size());
        });

    step(
        "write the macros", [&] { driver.press("Write macros to keyboard"); },
        [] {
            const std::vector<MacroEvent> expected{{0, MacroEventKind::KeyPress, 0x0B},
                                                   {delayMs, MacroEventKind::KeyRelease, 0x0B},
                                                   {delayMs, MacroEventKind::Pause, 0x04},
                                                   {delayMs, MacroEventKind::MousePress, 0x04}};
            return bus().keyboard().playMacro(0) == expected;
        },
        [] {
            return QStringLiteral("macro 0 plays %1 events")
                .arg(bus().keyboard().playMacro(0).size());
        });

    step(
        "record Ctrl+C behind it",
        [&] {
            driver.click(TourDriver::visible<QListWidget>, MouseButton::Right);
            driver.chooseMenuEntry(QString(), "Record…");
            driver.require(
                [] {
                    const QWidget* dialog = QApplication::activeModalWidget();
                    return dialog != nullptr && dialog->windowHandle()->isExposed() &&
                           dialog->isActiveWindow();
                },
                "nothing records");
            driver.pressWith(KeySymbol::Control, KeySymbol{'c'});
            driver.press("Stop");
            driver.press("The same delay between actions:");
            driver.takePicture("recorded");
            driver.press("Add to macro");
            driver.require([] { return QApplication::activeModalWidget() == nullptr; },
                           "a recording is not taken");
            driver.press("Write macros to keyboard");
        },
        [] {
            const std::vector<MacroEvent> expected{{0, MacroEventKind::KeyPress, 0xE0},
                                                   {20, MacroEventKind::KeyPress, 0x06},
                                                   {20, MacroEventKind::KeyRelease, 0x06},
                                                   {20, MacroEventKind::KeyRelease, 0xE0}};
            const std::vector<MacroEvent> played = bus().keyboard().playMacro(0);
            return played.size() == 8 &&
                   std::equal(expected.begin(), expected.end(), played.begin() + 4);
        },
        [] {
            return QStringLiteral("macro 0 plays %1 events")
                .arg(bus().keyboard().playMacro(0).size());
        });

    showPage("Keys");
    step(
        "assign the macro by the menu of a key",
        [&] {
            driver.press("Base layer");
            clickKey("M", MouseButton::Right);
            driver.require([] { return QApplication::activePopupWidget() != nullptr; },
                           "no menu opens");
            driver.takePicture("key-menu");
            driver.chooseMenuEntry("Macros", "Greet");
            driver.press("Write layer to keyboard");
        },
        [] {
            return heldAction(LayerId::Base, "M") == KeyActionBytes{6, 0, 0, 0};
        },
        [] { return actionText(LayerId::Base, "M"); });

    step(
        "give Q a combination by pressing it",
        [&] {
            clickKey("Q", MouseButton::Right);
            driver.chooseMenuEntry(QString(), "Press the keys…");
            driver.require(
                [] {
                    const QWidget* dialog = TourDriver::widgetNamed("chordDialog");
                    return dialog != nullptr && dialog->windowHandle()->isExposed();
                },
                "nothing waits for keys");
            driver.takePicture("chord-dialog");
            driver.pressWith(KeySymbol::Control, KeySymbol{'B'});
            driver.require([] { return TourDriver::widgetNamed("chordDialog") == nullptr; },
                           "keys that were pressed are not taken");
            driver.press("Write layer to keyboard");
        },
        [] {
            return heldAction(LayerId::Base, "Q") == KeyActionBytes{2, 0x03, 0x05, 0};
        },
        [] { return actionText(LayerId::Base, "Q"); });

    step(
        "press A on the keyboard", [&] { pressOnKeyboard("A"); },
        [] { return TourDriver::labelWithText("The computer gets: Ctrl+B") != nullptr; },
        [] { return "the computer gets Ctrl+B"; });
}

} // namespace tavik::virtual_keyboard
