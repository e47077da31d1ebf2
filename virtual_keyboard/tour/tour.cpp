#include "virtual_keyboard/tour/tour.h"

#include "virtual_keyboard/virtual_bus.h"

#include <QApplication>
#include <QLabel>
#include <QRegularExpression>
#include <QSlider>

#include <cstdio>
#include <stdexcept>

namespace tavik::virtual_keyboard {

namespace {

constexpr unsigned leftArrowKey = 0xFF51;

VirtualBus& bus()
{
    return VirtualBus::instance();
}

const KeyboardState& held()
{
    return bus().keyboard().state();
}

QString lightingText()
{
    return QString::fromStdString(bus().keyboard().lightingSummary());
}

QWidget* widgetByAccessibleName(const QString& name)
{
    for (QWidget* widget : QApplication::allWidgets()) {
        if (widget->isVisible() && widget->accessibleName() == name)
            return widget;
    }
    return nullptr;
}

} // namespace

bool Tour::run()
{
    try {
        visitLighting();
        step(
            QStringLiteral("the keyboard has nothing to complain about"), [] {},
            [] { return bus().violations().empty(); },
            [] {
                QStringList texts;
                for (const std::string& text : bus().violations())
                    texts += QString::fromStdString(text);
                return texts.isEmpty() ? QStringLiteral("no violation")
                                       : texts.join(QStringLiteral("; "));
            });
    } catch (const std::runtime_error& error) {
        std::printf("   stopped: %s\n", error.what());
        driver.takePicture(QStringLiteral("stopped"));
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
    driver.takePicture(
        QStringLiteral("%1-%2")
            .arg(stepsTaken, 2, 10, QLatin1Char('0'))
            .arg(QString(title).replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9]+")),
                                        QStringLiteral("-"))));
    std::printf("%2d %s %s: %s\n", stepsTaken, passed ? "ok    " : "FAILED", qUtf8Printable(title),
                qUtf8Printable(driver.onGui(words)));
    std::fflush(stdout);
}

void Tour::showPage(const QString& title)
{
    driver.click([&] { return TourDriver::buttonWithToolTip(title); });
    const bool shown = driver.waitUntil([&] {
        const auto* label =
            qobject_cast<QLabel*>(TourDriver::widgetNamed(QStringLiteral("pageTitle")));
        return label != nullptr && label->text() == title;
    });
    if (!shown)
        throw std::runtime_error("a page does not show");
}

void Tour::visitLighting()
{
    showPage(QStringLiteral("Light Effect Mode"));
    step(
        QStringLiteral("choose the effect Breath"),
        [&] {
            driver.clickAt(
                [] {
                    auto* list = qobject_cast<QListWidget*>(
                        TourDriver::widgetNamed(QStringLiteral("effectList")));
                    return list == nullptr ? nullptr : list->viewport();
                },
                [](QWidget& viewport) {
                    auto* list = qobject_cast<QListWidget*>(viewport.parentWidget());
                    return list->visualItemRect(list->item(6)).center();
                });
        },
        [] { return held().lighting[0] == 0x07; }, lightingText);

    step(
        QStringLiteral("pick a blue on the color wheel"),
        [&] {
            driver.clickAt([] { return widgetByAccessibleName(QStringLiteral("Color wheel")); },
                           [](QWidget& wheel) { return wheel.rect().center() + QPoint(-48, 83); });
            driver.click([] { return widgetByAccessibleName(QStringLiteral("Random Color")); });
        },
        [] {
            const Report& lighting = held().lighting;
            return lighting[8] == 0 && (lighting[1] != 0xFF || lighting[3] != 0);
        },
        lightingText);

    step(
        QStringLiteral("take the orange swatch"),
        [&] {
            driver.click([] { return widgetByAccessibleName(QStringLiteral("Color #e94f00")); });
        },
        [] {
            const Report& lighting = held().lighting;
            return lighting[1] == 0xE9 && lighting[2] == 0x4F && lighting[3] == 0x00;
        },
        lightingText);

    step(
        QStringLiteral("lower the brightness by two"),
        [&] {
            const auto slider = [] { return widgetByAccessibleName(QStringLiteral("Brightness")); };
            // The handle stands at the right end; a press on it only takes the focus.
            driver.clickAt(slider, [](QWidget& widget) {
                return QPoint(widget.width() - 8, widget.height() / 2);
            });
            driver.pressKey(leftArrowKey);
            driver.pressKey(leftArrowKey);
        },
        [] { return held().lighting[9] == 3; }, lightingText);

    step(
        QStringLiteral("turn the effect upward"),
        [&] {
            driver.click([] { return widgetByAccessibleName(QStringLiteral("Direction up")); });
        },
        [] { return held().lighting[11] == 2; }, lightingText);

    step(
        QStringLiteral("sleep after 30 minutes"),
        [&] { driver.click([] { return TourDriver::buttonWithText(QStringLiteral("30 min")); }); },
        [] { return held().sleepCode == 3; },
        [] { return QStringLiteral("sleep code %1").arg(held().sleepCode); });
}

} // namespace tavik::virtual_keyboard
