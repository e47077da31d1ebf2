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
           QStringLiteral("/autostart/tavik-center.desktop");
}

} // namespace

void Tour::visitSettings()
{
    const auto button = [](const char* text) {
        return [text] { return TourDriver::buttonWithText(QLatin1String(text)); };
    };
    showPage(QStringLiteral("Keyboard Settings"));

    step(
        QStringLiteral("start at log-in"), [&] { driver.click(button("Run at startup")); },
        [] {
            return QFile::exists(autostartPath()) &&
                   QProcess::execute(QStringLiteral("desktop-file-validate"), {autostartPath()}) ==
                       0;
        },
        [] { return QStringLiteral("a desktop entry that is valid"); });

    step(
        QStringLiteral("do not start at log-in"), [&] { driver.click(button("Run at startup")); },
        [] { return !QFile::exists(autostartPath()); },
        [] { return QStringLiteral("no desktop entry"); });

    step(
        QStringLiteral("clear the saved data"),
        [&] {
            driver.click(button("Reset Keyboard Data"));
            driver.click(button("Yes"));
        },
        [] { return static_cast<const SavedState&>(AppState::instance()) == SavedState{}; },
        [] { return QStringLiteral("no key, macro or color is saved"); });

    for (const char* page : {"Keys", "Macros", "Custom Lighting"}) {
        showPage(QLatin1String(page));
        step(
            QStringLiteral("see the page %1 empty").arg(QLatin1String(page)), [] {},
            [] { return AppState::instance().macros.isEmpty(); },
            [] { return QStringLiteral("empty"); });
    }
}

} // namespace tavik::virtual_keyboard
