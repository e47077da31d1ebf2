// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>

namespace tavik::virtual_keyboard {

namespace {

QString autostartPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           "/autostart/tavik-center.desktop";
}

} // namespace

void Tour::visitSettings()
{
    showPage("Keyboard Settings");

    step(
        "start at log-in", [&] { driver.press("Run at startup"); },
        [] {
            return QFile::exists(autostartPath()) &&
                   QProcess::execute("desktop-file-validate", {autostartPath()}) == 0;
        },
        [] { return "a desktop entry that is valid"; });

    step(
        "do not start at log-in", [&] { driver.press("Run at startup"); },
        [] { return !QFile::exists(autostartPath()); }, [] { return "no desktop entry"; });

    step(
        "clear the saved data",
        [&] {
            driver.press("Reset Keyboard Data");
            driver.press("Yes");
        },
        [] { return static_cast<const SavedState&>(AppState::instance()) == SavedState{}; },
        [] { return "no key, macro or color is saved"; });

    for (const char* page : {"Keys", "Macros", "Custom Lighting"}) {
        showPage(page);
        step(
            QStringLiteral("see the page %1 empty").arg(page), [] {},
            [] { return AppState::instance().macros.isEmpty(); }, [] { return "empty"; });
    }
}

} // namespace tavik::virtual_keyboard
