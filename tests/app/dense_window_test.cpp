// SPDX-License-Identifier: MIT
#include "app/skin/skin_picture.h"
#include "app/skin_title_bar.h"
#include "app/skin_workspace.h"
#include "pages/parts/keyboard_view.h"
#include "pages/screen/screen_widget.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/made_board.h"
#include "tests/support/page_view.h"
#include "tests/support/pixel_probe.h"

#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

qreal ratio()
{
    return qGuiApp->devicePixelRatio();
}

QImage grabbed(QWidget& widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

// Pictures are made for the pixels of the screen, not enlarged from those of another one.
class DenseWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void logoHasThePixelsOfItsPlace()
    {
        const SkinTitleBar bar(nullptr);
        QPixmap logo;
        for (const QLabel* label : bar.findChildren<QLabel*>())
            logo = label->pixmap().isNull() ? logo : label->pixmap();
        QCOMPARE(logo.devicePixelRatio(), ratio());
        const QSize room = QSize(62, 26) * ratio();
        QVERIFY(logo.width() == room.width() || logo.height() == room.height());
        QVERIFY(logo.width() <= room.width() && logo.height() <= room.height());
    }

    void keyboardIsAveragedToThePixels()
    {
        const KeyboardLayout layout = board({800, 300}, {keyRecord(0, {0, 0, 10, 10})});
        KeyboardView view;
        view.setKeyboardLayout(&layout);
        view.setMode(KeyboardViewMode::Captions); // without any: the picture alone
        view.resize(960, 360);
        const QImage painted = grabbed(view);
        QCOMPARE(painted.size(), QSize(960, 360) * ratio());
        const auto picture = SkinPicture("img_keyboard_brix9.png", SkinPicture::Scaling::Averaged)
                                 .scaled(painted.size());
        QVERIFY(picture != nullptr);
        QVERIFY(largestDifference(painted, picture->toImage()) <= 1);
    }

    // Behind the view stands what the workspace would show there.
    void groundGoesOnUnderTheView()
    {
        SkinWorkspace workspace(nullptr);
        workspace.setObjectName("workspace");
        workspace.resize(900, 600);
        const QImage bare = grabbed(workspace);
        const KeyboardLayout nothing;
        auto* view = new KeyboardView(&workspace);
        view->setKeyboardLayout(&nothing);
        view->setGeometry(10, 20, 880, 560);
        QCOMPARE(largestDifference(grabbed(workspace), bare), 0);
    }

    void previewKeepsSharpPixels()
    {
        const QTemporaryDir directory;
        QImage checkered(128, 128, QImage::Format_RGB32);
        for (int y = 0; y < 128; ++y) {
            for (int x = 0; x < 128; ++x)
                checkered.setPixelColor(x, y, (x + y) % 2 == 0 ? Qt::white : Qt::black);
        }
        QVERIFY(checkered.save(directory.filePath("checkered.png")));
        const ScreenWidget page;
        onNextDialog([&](QWidget& dialog) {
            dialog.findChild<QLineEdit*>("fileNameEdit")
                ->setText(directory.filePath("checkered.png"));
            QMetaObject::invokeMethod(&dialog, "accept");
        });
        buttonOf(page, QStringLiteral("Import GIF / images (resized to 128×128)…"))->click();
        QCOMPARE(dialogsStillExpected(), 0);
        QPixmap shown;
        for (const QLabel* label : page.findChildren<QLabel*>())
            shown = label->pixmap().isNull() ? shown : label->pixmap();
        QCOMPARE(shown.devicePixelRatio(), ratio());
        QCOMPARE(shown.size(), QSize(256, 256) * ratio());
        const QImage pixels = shown.toImage();
        for (int x = 0; x < pixels.width(); ++x)
            QCOMPARE(pixels.pixelColor(x, 0),
                     checkered.pixelColor(static_cast<int>(x / (2 * ratio())), 0));
    }
};

QTEST_MAIN(DenseWindowTest)
#include "dense_window_test.moc"
