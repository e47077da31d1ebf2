// SPDX-License-Identifier: MIT
#include "virtual_keyboard/tour/gallery.h"

#include "model/app_state.h"
#include "model/key_action.h"
#include "model/state_copies.h"
#include "pages/parts/keyboard_view.h"
#include "pages/settings/state_exchange.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/named_keys.h"
#include "virtual_keyboard/demo/keyboard_in_use.h"
#include "virtual_keyboard/demo/lit_board.h"
#include "virtual_keyboard/tour/evening_picture.h"
#include "virtual_keyboard/tour/held.h"
#include "virtual_keyboard/tour/tour_driver.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QHelpEvent>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QSlider>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QTest>

#include <cstdio>
#include <tuple>

namespace tavik::virtual_keyboard {

namespace {

void assignKeys()
{
    using tests::indexOf;
    AppState& state = AppState::instance();
    tavik::KeyLayer& layer = state.layerBase;
    layer.at(indexOf("1")) = consumerKeyAction(0xE2);
    layer.at(indexOf("2")) = consumerKeyAction(0xB7);
    layer.at(indexOf("3")) = consumerKeyAction(0x8A);
    layer.at(indexOf("A")) = keyboardKeyAction(0x05, 0x01);
    layer.at(indexOf("Q")) = disabledKeyAction();
    layer.at(indexOf("M")) = macroKeyAction(0);
    layer.at(indexOf("J")) = keyboardKeyAction(0x50, 0x00);
    layer.at(indexOf("B")) = keyboardKeyAction(0x05, 0x07);
    layer.at(indexOf("5")) = consumerKeyAction(0xB5);
    layer.at(indexOf("Backspace")) = keyboardKeyAction(0x4C, 0x05);
    layer.at(indexOf("[")) = consumerKeyAction(0xCD);
    layer.at(indexOf("S")) = macroKeyAction(1);
    emit state.layersChanged();
}

void recordMacros()
{
    AppState& state = AppState::instance();
    state.macros = {
        {QStringLiteral("Greet"),
         {{0, 0x0B, 0xB0}, {40, 0x0B, 0x30}, {60, 0x0C, 0xB0}, {40, 0x0C, 0x30}, {500, 0, 0x50}}},
        {QStringLiteral("Save and build"), {{0, 0x16, 0xB0}, {30, 0x16, 0x30}}},
        {QStringLiteral("A macro whose name is far longer than the list is wide"), {}}};
    emit state.macrosChanged();
}

void paintKeys()
{
    AppState& state = AppState::instance();
    for (const KeyRecord& key : KeyboardLayout::instance().keys) {
        if (key.lightIndex < 0 || key.lightIndex >= static_cast<int>(layerSize))
            continue;
        const QColor color = QColor::fromHsv((15 + key.rect.left() / 4) % 360, 255, 255);
        const auto first = static_cast<std::size_t>(3 * key.lightIndex);
        state.customRgb.at(first) = static_cast<unsigned char>(color.red());
        state.customRgb.at(first + 1) = static_cast<unsigned char>(color.green());
        state.customRgb.at(first + 2) = static_cast<unsigned char>(color.blue());
    }
    emit state.rgbChanged();
}

class Gallery
{
public:
    Gallery(MainWindow& mainWindow, KeyboardWindow& virtualKeyboard,
            const QString& pictureDirectory)
        : window(mainWindow),
          keyboardWindow(virtualKeyboard),
          directory(QDir(pictureDirectory).absolutePath())
    {
    }

    bool takeAll()
    {
        complete = QDir().mkpath(directory);
        for (const char* title : {"Home", "Favorites", "Music"}) {
            showPage(title);
            savePage(QString(title).toLower());
        }
        visitLighting();
        visitKeys();
        visitMacros();
        visitColors();
        visitScreen();
        visitSettings();
        return complete;
    }

private:
    void visitLighting()
    {
        showPage("Light Effect Mode");
        savePage("lighting");
        saveToolTip("tool-tip", *TourDriver::buttonWithToolTip("Home"));
        bus().failAt(1, busy(), 1000);
        page()->findChild<QSlider*>()->setValue(2);
        QMetaObject::invokeMethod(page(), "apply"); // not only after its delay
        savePage("lighting-error");
        bus().reset();
        page()->findChild<QSlider*>()->setValue(5);
        QMetaObject::invokeMethod(page(), "apply");
        saveEffects();
    }

    // Each effect at four times after a press of "A", row by row.
    void saveEffects()
    {
        using namespace std::chrono_literals;
        constexpr int timesShown = 4;
        const KeyboardLayout& layout = KeyboardLayout::instance();
        LitBoard board(layout);
        board.resize(360, board.heightForWidth(360));
        auto* list = page()->findChild<QListWidget*>();
        const int chosen = list->currentRow();
        QImage sheet(timesShown * board.width(), list->count() * board.height(),
                     QImage::Format_RGB32);
        QPainter painter(&sheet);
        painter.setPen(Qt::white);
        for (int row = 0; row < list->count(); ++row) {
            list->setCurrentRow(row);
            QMetaObject::invokeMethod(page(), "apply");
            KeyboardInUse keyboard(bus().keyboard(), layout);
            keyboard.press(tests::keyNamed("A").lightIndex, 0ms);
            for (int column = 0; column < timesShown; ++column) {
                board.setLights(keyboard.lights(150ms + 350ms * column));
                board.render(&painter, QPoint(column * board.width(), row * board.height()));
            }
            painter.drawText(4, row * board.height() + 14, list->item(row)->text());
        }
        list->setCurrentRow(chosen);
        QMetaObject::invokeMethod(page(), "apply");
        complete = sheet.save(directory + QStringLiteral("/effects.png")) && complete;
    }

    void visitKeys()
    {
        showPage("Keys");
        savePage("keys");
        auto* view = page()->findChild<KeyboardView*>();
        const QPoint place = view->hitRectangle(tests::keyNamed("A")).center();
        saveDialog(
            "assign-key-dialog", [&] { QTest::mousePress(view, Qt::LeftButton, {}, place); },
            [this](QWidget& dialog) {
                for (QComboBox* list : dialog.findChildren<QComboBox*>()) {
                    const QString name = list->accessibleName().toLower().section(u' ', 0, 0);
                    if (list->isVisible())
                        saveList("assign-key-list-" + name, *list);
                }
            });

        QTest::mousePress(view, Qt::RightButton, {}, place);
        saveMenu("key-menu", qobject_cast<QMenu*>(QApplication::activePopupWidget()));
        click("Write layer to keyboard");
        savePage("keys-written");
        keyboardWindow.resize(768, keyboardWindow.heightForWidth(768));
        QCoreApplication::processEvents(); // lays it out
        pressOnKeyboard("A");
        save("virtual-keyboard", &keyboardWindow);
    }

    void visitMacros()
    {
        showPage("Macros");
        click("Add action");
        savePage("macros-warning");
        page()->findChild<QListWidget*>()->setCurrentRow(0);
        click("Write macros to keyboard");
        savePage("macros");
        saveContextMenu("macro-menu", *page()->findChild<QListWidget*>()->viewport());
        saveDialog("new-macro-dialog", [] { click("New macro"); });
        for (QComboBox* list : page()->findChildren<QComboBox*>())
            saveList(QStringLiteral("macro-list-%1").arg(list->count()), *list);
    }

    void visitColors()
    {
        showPage("Custom Lighting");
        click("Send painting to keyboard");
        savePage("custom-lighting");
        saveDialog("brush-color-dialog", [] { click("Brush color…"); });
    }

    void visitScreen()
    {
        showPage("TFT Screen");
        click("Send to screen");
        savePage("screen-error");
        const QString path =
            QStandardPaths::writableLocation(QStandardPaths::PicturesLocation) + "/evening.png";
        complete = eveningPicture(QSize(128, 128)).save(path) && complete;
        saveDialog(
            "file-dialog", [] { click("Import GIF / images (resized to 128×128)…"); },
            [&](QWidget& dialog) {
                dialog.findChild<QLineEdit*>("fileNameEdit")->setText(path);
                QMetaObject::invokeMethod(&dialog, "accept");
            });
        click("Send to screen");
        savePage("screen");
    }

    void visitSettings()
    {
        showPage("Keyboard Settings");
        savePage("settings");
        saveList("language-list", *page()->findChild<QComboBox*>());
        for (const SavedState& state : {SavedState(), SavedState(AppState::instance())})
            std::ignore = keepEarlier(stateToJson(state));
        saveContextMenu("settings-menu", *TourDriver::buttonWithText("Reset Keyboard Data"));
        saveDialog("import-question",
                   [this] { importSettingsFrom(earlierStates().constLast().path, &window); });
        saveDialog("import-refused", [this] { importSettingsFrom("a picture.png", &window); });
        saveDialog("reset-question", [] { click("Reset Keyboard Data"); });
        saveDialog("restore-notice", [] { click("Restore Factory Settings"); });
    }

    // Left pressed, so that the picture shows it.
    void pressOnKeyboard(const QString& key)
    {
        auto* board = keyboardWindow.findChild<LitBoard*>();
        const QRect cap = board->keyRectangle(tests::keyNamed(key).lightIndex);
        QTest::mousePress(board, Qt::LeftButton, {}, cap.center());
    }

    static void showPage(const QString& title) { TourDriver::buttonWithToolTip(title)->click(); }
    static void click(const QString& text) { TourDriver::buttonWithText(text)->click(); }

    QWidget* page() const
    {
        return window.findChild<QStackedWidget*>("pageStack")->currentWidget();
    }

    void savePage(const QString& name) { save(name, &window); }

    // Runs the function, which opens a modal dialog; the dialog is pictured, handed to the
    // visitor, and closed if it is still open.
    void saveDialog(const QString& name, const std::function<void()>& open,
                    const std::function<void(QWidget& dialog)>& visitor = {})
    {
        tests::onNextDialog([&](QWidget& dialog) {
            save(name, &dialog);
            if (visitor)
                visitor(dialog);
            if (dialog.isVisible())
                dialog.close();
        });
        open();
        complete = tests::dialogsStillExpected() == 0 && complete;
    }

    // With its sub-menus.
    void saveContextMenu(const QString& name, QWidget& widget)
    {
        const QPoint place = widget.rect().center();
        QContextMenuEvent asked(QContextMenuEvent::Mouse, place, widget.mapToGlobal(place));
        QApplication::sendEvent(&widget, &asked);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        saveMenu(name, menu);
    }

    void saveMenu(const QString& name, QMenu* menu)
    {
        save(name, menu);
        int number = 0;
        for (const QAction* action : menu->actions()) {
            if (action->menu() == nullptr)
                continue;
            action->menu()->popup(window.mapToGlobal(QPoint(600, 100)));
            save(name + QStringLiteral("-%1").arg(++number), action->menu());
            action->menu()->close();
        }
        menu->close();
    }

    void saveList(const QString& name, QComboBox& list)
    {
        list.showPopup();
        save(name, QApplication::activePopupWidget());
        list.hidePopup();
    }

    void saveToolTip(const QString& name, QWidget& widget)
    {
        const QPoint place = widget.rect().center();
        QHelpEvent asked(QEvent::ToolTip, place, widget.mapToGlobal(place));
        QApplication::sendEvent(&widget, &asked);
        QWidget* tip = TourDriver::widgetNamed("qtooltip_label");
        save(name, tip);
        if (tip != nullptr)
            tip->close();
    }

    void save(const QString& name, QWidget* widget)
    {
        if (widget != nullptr) {
            QCoreApplication::processEvents(); // lays it out
            if (widget->grab().save(directory + u'/' + name + ".png"))
                return;
        }
        std::fprintf(stderr, "no picture \"%s\"\n", qUtf8Printable(name));
        complete = false;
    }

    MainWindow& window;
    KeyboardWindow& keyboardWindow;
    QString directory;
    bool complete = true;
};

} // namespace

bool takeGallery(MainWindow& window, KeyboardWindow& keyboardWindow, const QString& directory)
{
    recordMacros();
    assignKeys();
    paintKeys();
    return Gallery(window, keyboardWindow, directory).takeAll();
}

} // namespace tavik::virtual_keyboard
