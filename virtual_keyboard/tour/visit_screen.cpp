// SPDX-License-Identifier: MIT
#include "tests/support/files.h"
#include "tests/support/made_images.h"
#include "virtual_keyboard/tour/evening_picture.h"
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour.h"

#include <QApplication>
#include <QDrag>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QScreen>
#include <QTemporaryDir>
#include <QUrl>

namespace tavik::virtual_keyboard {

namespace {

constexpr int animationFrames = 4;
constexpr int animationHundredths = 20;

// As a file manager shows a file.
class FileIcon : public QLabel
{
public:
    explicit FileIcon(const QString& file)
        : QLabel(QFileInfo(file).fileName(), nullptr, Qt::ToolTip), path(file)
    {
        setFixedSize(90, 40);
        setAlignment(Qt::AlignCenter);
        move(QApplication::primaryScreen()->size().width() - width(), 0);
        show();
    }

protected:
    void mousePressEvent(QMouseEvent*) override
    {
        auto* dragged = new QMimeData;
        dragged->setUrls({QUrl::fromLocalFile(path)});
        auto* drag = new QDrag(this);
        drag->setMimeData(dragged);
        drag->exec(Qt::CopyAction | Qt::MoveAction);
    }

private:
    QString path;
};

bool slotHolds(int slot, std::size_t frames)
{
    return bus().keyboard().screenSlot(slot).size() == frames;
}

} // namespace

void Tour::visitScreen()
{
    const QTemporaryDir pictures;
    const QString gif = pictures.filePath("colors.gif");
    const QString png = pictures.filePath("photo.png");
    tests::writeFile(gif, tests::encodePlainGif(QSize(96, 64),
                                                {qRgb(218, 82, 0), qRgb(30, 120, 220),
                                                 qRgb(40, 160, 80), qRgb(240, 200, 60)},
                                                animationHundredths));
    tests::writeFile(png, tests::encodeImage(eveningPicture(QSize(640, 480)), "png"));

    showPage("TFT Screen");
    step(
        "import an animation and a photo",
        [&] {
            driver.press("Import GIF / images (resized to 128×128)…");
            driver.click([] { return TourDriver::widgetNamed("fileNameEdit"); });
            driver.type(QStringLiteral("\"%1\" \"%2\"").arg(gif, png));
            driver.takePicture("file-dialog");
            driver.pressKey(KeySymbol::Return);
        },
        [] { return TourDriver::labelWithText("5 frame(s) imported.") != nullptr; },
        [] { return "5 frames"; });

    step(
        "send them to slot 1", [&] { driver.press("Send to screen"); },
        [] {
            const QString text =
                "Animation sent (slot 1, 5 frames). Press Fn + Delete to display it.";
            return slotHolds(1, animationFrames + 1) && TourDriver::labelWithText(text) != nullptr;
        },
        [] {
            return QStringLiteral("slot 1 plays %1 frames")
                .arg(bus().keyboard().screenSlot(1).size());
        });

    FileIcon* icon = driver.onGui([&] { return new FileIcon(gif); });
    step(
        "drop the animation on the page",
        [&] { driver.drag([&] { return icon; }, [] { return TourDriver::called("Preview")(); }); },
        [] { return TourDriver::labelWithText("4 frame(s) imported.") != nullptr; },
        [] { return "4 frames"; });
    driver.onGui([&] { delete icon; });

    step(
        "play it",
        [&] {
            driver.click(TourDriver::called("Preview"), MouseButton::Right);
            driver.chooseMenuEntry(QString(), "Play");
            driver.press("4 ×");
        },
        [] { return TourDriver::labelWithText("Frame 3 of 4, 200 ms") != nullptr; },
        [] { return "the third frame is shown"; });
    driver.onGui([] { QApplication::activeModalWidget()->close(); });

    step(
        "show them with Fn and Delete",
        [&] {
            pressOnKeyboard("Fn");
            pressOnKeyboard("Delete");
        },
        [] {
            return TourDriver::labelWithText(
                       "The computer gets: nothing; the screen shows slot 1") != nullptr;
        },
        [] { return "the screen shows slot 1"; });
}

} // namespace tavik::virtual_keyboard
