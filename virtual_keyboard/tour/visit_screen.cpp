#include "tests/support/files.h"
#include "tests/support/made_images.h"
#include "virtual_keyboard/tour/evening_picture.h"
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour.h"

#include <QLineEdit>
#include <QTemporaryDir>

namespace tavik::virtual_keyboard {

namespace {

constexpr int animationFrames = 4;
constexpr int animationHundredths = 20;

bool slotHolds(int slot, std::size_t frames)
{
    return bus().keyboard().screenSlot(slot).size() == frames;
}

} // namespace

void Tour::visitScreen()
{
    const QTemporaryDir pictures;
    const QString gif = pictures.filePath(QStringLiteral("colors.gif"));
    const QString png = pictures.filePath(QStringLiteral("photo.png"));
    tests::writeFile(gif, tests::encodePlainGif(QSize(96, 64),
                                                {qRgb(218, 82, 0), qRgb(30, 120, 220),
                                                 qRgb(40, 160, 80), qRgb(240, 200, 60)},
                                                animationHundredths));
    tests::writeFile(png, tests::encodeImage(eveningPicture(QSize(640, 480)), "png"));

    const auto button = [](const char* text) {
        return [text] { return TourDriver::buttonWithText(QLatin1String(text)); };
    };
    showPage(QStringLiteral("TFT Screen"));
    step(
        QStringLiteral("import an animation and a photo"),
        [&] {
            driver.click([] {
                return TourDriver::buttonWithText(
                    QStringLiteral("Import GIF / images (resized to 128×128)…"));
            });
            driver.click([] { return TourDriver::widgetNamed(QStringLiteral("fileNameEdit")); });
            driver.type(QStringLiteral("\"%1\" \"%2\"").arg(gif, png));
            driver.takePicture(QStringLiteral("file-dialog"));
            driver.pressKey(KeySymbol::Return);
        },
        [] { return TourDriver::labelWithText(QStringLiteral("5 frame(s) imported.")) != nullptr; },
        [] { return QStringLiteral("5 frames"); });

    step(
        QStringLiteral("send them to slot 1"), [&] { driver.click(button("Send to screen")); },
        [] {
            const QString text = QStringLiteral(
                "Animation sent (slot 1, 5 frames). Press Fn + Delete to display it.");
            return slotHolds(1, animationFrames + 1) && TourDriver::labelWithText(text) != nullptr;
        },
        [] {
            return QStringLiteral("slot 1 plays %1 frames")
                .arg(bus().keyboard().screenSlot(1).size());
        });

    step(
        QStringLiteral("show them with Fn and Delete"),
        [&] {
            pressOnKeyboard(QStringLiteral("Fn"));
            pressOnKeyboard(QStringLiteral("Delete"));
        },
        [] {
            return TourDriver::labelWithText(QStringLiteral(
                       "The computer gets: nothing; the screen shows slot 1")) != nullptr;
        },
        [] { return QStringLiteral("the screen shows slot 1"); });
}

} // namespace tavik::virtual_keyboard
