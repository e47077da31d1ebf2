#include "model/app_state.h"
#include "tests/support/named_keys.h"
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour.h"

#include <QApplication>

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
    const auto combo = [](const char* name) {
        return [name] { return TourDriver::widgetCalled(QLatin1String(name)); };
    };
    const auto ok = [] { return TourDriver::buttonWithText(QStringLiteral("OK")); };
    showPage(QStringLiteral("Keys"));

    // The dialog shows its key list under "Multimedia key", and its multimedia list under
    // "Disabled"; the type chosen last decides.
    step(
        QStringLiteral("assign Ctrl+B to A"),
        [&] {
            clickKey(QStringLiteral("A"));
            driver.chooseItem(combo("Assignment type"), QStringLiteral("Multimedia key"));
            driver.chooseItem(combo("Key"), QStringLiteral("B"));
            driver.chooseItem(combo("Modifier (keyboard)"), QStringLiteral("Ctrl"));
            driver.chooseItem(combo("Assignment type"),
                              QStringLiteral("Keyboard key (+ modifiers)"));
            driver.takePicture(QStringLiteral("assign-key-dialog"));
            driver.click(ok);
        },
        [] {
            return savedAction(AppState::instance().layerBase, QStringLiteral("A")) ==
                   KeyAction{2, 0x01, 0x05, 0};
        },
        [] { return actionText(LayerId::Base, QStringLiteral("A")) + QStringLiteral(" so far"); });

    step(
        QStringLiteral("write the base layer"),
        [&] {
            driver.click([] {
                return TourDriver::buttonWithText(QStringLiteral("Write layer to keyboard"));
            });
        },
        [] {
            return heldAction(LayerId::Base, QStringLiteral("A")) ==
                       KeyActionBytes{2, 0x01, 0x05, 0} &&
                   TourDriver::labelWithText(QStringLiteral("Layer base written.")) != nullptr;
        },
        [] { return actionText(LayerId::Base, QStringLiteral("A")); });

    step(
        QStringLiteral("assign Volume up to U on the Fn layer"),
        [&] {
            driver.click([] { return TourDriver::buttonWithText(QStringLiteral("Fn layer")); });
            clickKey(QStringLiteral("U"));
            driver.chooseItem(combo("Assignment type"), QStringLiteral("Disabled"));
            driver.chooseItem(combo("Multimedia key"), QStringLiteral("Volume up"));
            driver.chooseItem(combo("Assignment type"), QStringLiteral("Multimedia key"));
            driver.click(ok);
        },
        [] {
            return savedAction(AppState::instance().layerFn, QStringLiteral("U")) ==
                   KeyAction{3, 0xE9, 0, 0};
        },
        [] { return actionText(LayerId::Fn, QStringLiteral("U")) + QStringLiteral(" so far"); });

    step(
        QStringLiteral("write the Fn layer"),
        [&] {
            driver.click([] {
                return TourDriver::buttonWithText(QStringLiteral("Write layer to keyboard"));
            });
        },
        [] {
            return heldAction(LayerId::Fn, QStringLiteral("U")) == KeyActionBytes{3, 0xE9, 0, 0} &&
                   TourDriver::labelWithText(QStringLiteral("Layer Fn written.")) != nullptr;
        },
        [] { return actionText(LayerId::Fn, QStringLiteral("U")); });
}

void Tour::visitMacros()
{
    const auto button = [](const char* text) {
        return [text] { return TourDriver::buttonWithText(QLatin1String(text)); };
    };
    const auto labeled = [](const char* text) {
        return [text] { return TourDriver::widgetLabeled(QLatin1String(text)); };
    };
    const auto addAction = [&](const char* type, const char* key) {
        driver.chooseItem(labeled("Type"), QLatin1String(type));
        driver.chooseItem(labeled("Key / button"), QLatin1String(key));
        driver.click(button("Add action"));
    };

    showPage(QStringLiteral("Macros"));
    step(
        QStringLiteral("make a macro"),
        [&] {
            driver.click(button("New macro"));
            driver.type(QStringLiteral("Greet"));
            driver.takePicture(QStringLiteral("new-macro-dialog"));
            driver.click(button("OK"));
            addAction("Key press", "H");
            driver.click(labeled("Delay before"));
            driver.pressKey(KeySymbol::Home); // in front of the 0
            driver.type(QString::number(delayMs / 10));
            addAction("Key release", "H");
            addAction("Pause", "A");
            addAction("Mouse click", "A");
        },
        [] {
            const QList<MacroRecord>& macros = AppState::instance().macros;
            return macros.size() == 1 && macros.at(0).name == QStringLiteral("Greet") &&
                   macros.at(0).actions.size() == 4;
        },
        [] {
            const QList<MacroRecord>& macros = AppState::instance().macros;
            return macros.isEmpty() ? QStringLiteral("no macro")
                                    : QStringLiteral("\"%1\" with %2 actions")
                                          .arg(macros.at(0).name)
                                          .arg(macros.at(0).actions.size());
        });

    step(
        QStringLiteral("write the macros"),
        [&] { driver.click(button("Write macros to keyboard")); },
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

    showPage(QStringLiteral("Keys"));
    step(
        QStringLiteral("assign the macro by the menu of a key"),
        [&] {
            driver.click(button("Base layer"));
            clickKey(QStringLiteral("M"), MouseButton::Right);
            const bool open =
                driver.waitUntil([] { return QApplication::activePopupWidget() != nullptr; });
            if (!open)
                throw std::runtime_error("no menu opens");
            driver.takePicture(QStringLiteral("key-menu"));
            driver.chooseMenuEntry(QStringLiteral("Macros"), QStringLiteral("Greet"));
            driver.click(button("Write layer to keyboard"));
        },
        [] {
            return heldAction(LayerId::Base, QStringLiteral("M")) == KeyActionBytes{6, 0, 0, 0};
        },
        [] { return actionText(LayerId::Base, QStringLiteral("M")); });

    step(
        QStringLiteral("press A on the keyboard"), [&] { pressOnKeyboard(QStringLiteral("A")); },
        [] {
            return TourDriver::labelWithText(QStringLiteral("The computer gets: Ctrl+B")) !=
                   nullptr;
        },
        [] { return QStringLiteral("the computer gets Ctrl+B"); });
}

} // namespace tavik::virtual_keyboard
