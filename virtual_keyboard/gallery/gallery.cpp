#include "virtual_keyboard/gallery/gallery.h"

#include "model/app_state.h"
#include "model/key_action.h"
#include "model/keyboard_layout.h"
#include "pages/parts/keyboard_view.h"
#include "virtual_keyboard/virtual_bus.h"

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDir>
#include <QHelpEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QSlider>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>

#include <cstdio>

namespace tavik::virtual_keyboard {

namespace {

std::size_t lightIndexOf(const QString& description)
{
    for (const KeyRecord& key : KeyboardLayout::instance().keys) {
        if (key.desc == description)
            return static_cast<std::size_t>(key.lightIndex);
    }
    return layerSize; // at() then ends the program
}

QPoint middleOf(const KeyboardView& view, const QString& description)
{
    for (const KeyRecord& key : KeyboardLayout::instance().keys) {
        if (key.desc == description)
            return view.hitRectangle(key).center();
    }
    return {};
}

void assignKeys()
{
    AppState& state = AppState::instance();
    tavik::KeyLayer& layer = state.layerBase;
    layer.at(lightIndexOf(QStringLiteral("F1"))) = consumerKeyAction(0xE2);
    layer.at(lightIndexOf(QStringLiteral("F2"))) = consumerKeyAction(0xB7);
    layer.at(lightIndexOf(QStringLiteral("F3"))) = consumerKeyAction(0x8A);
    layer.at(lightIndexOf(QStringLiteral("A"))) = keyboardKeyAction(0x05, 0x01);
    layer.at(lightIndexOf(QStringLiteral("Q"))) = disabledKeyAction();
    layer.at(lightIndexOf(QStringLiteral("M"))) = macroKeyAction(0);
    layer.at(lightIndexOf(QStringLiteral("J"))) = keyboardKeyAction(0x50, 0x00);
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

// A small picture for the screen of the keyboard: an evening by the sea.
QImage eveningPicture()
{
    QImage image(128, 128, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 84);
    sky.setColorAt(0.0, QColor(0x2a, 0x1a, 0x4a));
    sky.setColorAt(0.6, QColor(0xda, 0x52, 0x00));
    sky.setColorAt(1.0, QColor(0xff, 0xb3, 0x5c));
    painter.fillRect(image.rect(), sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xff, 0xe2, 0xa8));
    painter.drawEllipse(QPointF(64, 76), 22, 22);
    painter.fillRect(0, 84, 128, 44, QColor(0x1b, 0x22, 0x3d));
    for (int line = 0; line < 4; ++line)
        painter.fillRect(52 - 6 * line, 89 + 9 * line, 24 + 12 * line, 3,
                         QColor(0xff, 0xb3, 0x5c, 190 - 40 * line));
    return image;
}

QWidget* topLevelOfClass(const char* className)
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->inherits(className))
            return widget;
    }
    return nullptr;
}

} // namespace

Gallery::Gallery(MainWindow& mainWindow, const QString& pictureDirectory)
    : window(mainWindow), directory(QDir(pictureDirectory).absolutePath())
{
    complete = QDir().mkpath(directory);
}

void Gallery::takeAll()
{
    recordMacros();
    assignKeys();
    paintKeys();
    for (const char* title : {"Home", "Favorites", "Music"}) {
        showPage(QLatin1String(title));
        savePage(QString(QLatin1String(title)).toLower());
    }
    visitLighting();
    visitKeys();
    visitMacros();
    visitColors();
    visitScreen();
    visitSettings();
}

void Gallery::visitLighting()
{
    showPage(QStringLiteral("Light Effect Mode"));
    savePage(QStringLiteral("lighting"));
    saveToolTip(QStringLiteral("tool-tip"),
                *window.findChild<QWidget*>(QStringLiteral("navButton")));
    VirtualBus::instance().failAt(1, busy(), 1000);
    page()->findChild<QSlider*>()->setValue(2);
    QMetaObject::invokeMethod(page(), "apply"); // not only after its delay
    savePage(QStringLiteral("lighting-error"));
    VirtualBus::instance().reset();
    QMetaObject::invokeMethod(page(), "apply");
}

void Gallery::visitKeys()
{
    showPage(QStringLiteral("Keys"));
    savePage(QStringLiteral("keys"));
    auto* view = page()->findChild<KeyboardView*>();
    const QPoint place = middleOf(*view, QStringLiteral("A"));

    const auto pressKey = [&] {
        QMouseEvent press(QEvent::MouseButtonPress, place, view->mapToGlobal(place), Qt::LeftButton,
                          Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view, &press);
    };
    saveDialog(QStringLiteral("assign-key-dialog"), pressKey, [this](QWidget& dialog) {
        for (QComboBox* list : dialog.findChildren<QComboBox*>()) {
            if (list->isVisible())
                savePopup(QStringLiteral("assign-key-list-") +
                              list->accessibleName().toLower().section(u' ', 0, 0),
                          [list] { list->showPopup(); });
        }
    });

    QMouseEvent press(QEvent::MouseButtonPress, place, view->mapToGlobal(place), Qt::RightButton,
                      Qt::RightButton, Qt::NoModifier);
    QApplication::sendEvent(view, &press);
    QContextMenuEvent request(QContextMenuEvent::Mouse, place, view->mapToGlobal(place));
    QApplication::sendEvent(view, &request);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    save(QStringLiteral("key-menu"), menu);
    if (menu != nullptr) {
        int number = 0;
        for (const QAction* action : menu->actions()) {
            if (action->menu() == nullptr)
                continue;
            action->menu()->popup(window.mapToGlobal(QPoint(600, 100)));
            save(QStringLiteral("key-menu-%1").arg(++number), action->menu());
            action->menu()->close();
        }
        menu->close();
    }
    button(QStringLiteral("Write layer to keyboard"))->click();
    savePage(QStringLiteral("keys-written"));
}

void Gallery::visitMacros()
{
    showPage(QStringLiteral("Macros"));
    button(QStringLiteral("Add action"))->click();
    savePage(QStringLiteral("macros-warning"));
    page()->findChild<QListWidget*>()->setCurrentRow(0);
    button(QStringLiteral("Write macros to keyboard"))->click();
    savePage(QStringLiteral("macros"));
    saveDialog(QStringLiteral("new-macro-dialog"),
               [this] { button(QStringLiteral("New macro"))->click(); });
    for (QComboBox* list : page()->findChildren<QComboBox*>())
        savePopup(QStringLiteral("macro-list-%1").arg(list->count()),
                  [list] { list->showPopup(); });
}

void Gallery::visitColors()
{
    showPage(QStringLiteral("Custom Lighting"));
    button(QStringLiteral("Send painting to keyboard"))->click();
    savePage(QStringLiteral("custom-lighting"));
    saveDialog(QStringLiteral("brush-color-dialog"),
               [this] { button(QStringLiteral("Brush color…"))->click(); });
}

void Gallery::visitScreen()
{
    showPage(QStringLiteral("TFT Screen"));
    button(QStringLiteral("Send to screen"))->click();
    savePage(QStringLiteral("screen-error"));
    const QTemporaryDir pictures;
    const QString path = pictures.filePath(QStringLiteral("evening.png"));
    complete = eveningPicture().save(path) && complete;
    const QString startDirectory = QDir::currentPath();
    QDir::setCurrent(pictures.path()); // where the dialog opens
    saveDialog(
        QStringLiteral("file-dialog"),
        [this] { button(QStringLiteral("Import GIF / images (resized to 128×128)…"))->click(); },
        [&](QWidget& dialog) {
            dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
            QMetaObject::invokeMethod(&dialog, "accept");
        });
    QDir::setCurrent(startDirectory);
    button(QStringLiteral("Send to screen"))->click();
    savePage(QStringLiteral("screen"));
}

void Gallery::visitSettings()
{
    showPage(QStringLiteral("Keyboard Settings"));
    savePage(QStringLiteral("settings"));
    auto* languages = page()->findChild<QComboBox*>();
    savePopup(QStringLiteral("language-list"), [languages] { languages->showPopup(); });
    saveDialog(QStringLiteral("reset-question"),
               [this] { button(QStringLiteral("Reset Keyboard Data"))->click(); });
    saveDialog(QStringLiteral("restore-notice"),
               [this] { button(QStringLiteral("Restore Factory Settings"))->click(); });
}

void Gallery::showPage(const QString& title)
{
    for (QToolButton* entry : window.findChildren<QToolButton*>()) {
        if (entry->toolTip() == title)
            entry->click();
    }
}

QWidget* Gallery::page() const
{
    return window.findChild<QStackedWidget*>(QStringLiteral("pageStack"))->currentWidget();
}

QAbstractButton* Gallery::button(const QString& text) const
{
    for (QAbstractButton* candidate : page()->findChildren<QAbstractButton*>()) {
        if (candidate->text() == text)
            return candidate;
    }
    qFatal("no button \"%s\"", qUtf8Printable(text));
}

void Gallery::savePage(const QString& name)
{
    save(name, &window);
}

void Gallery::saveDialog(const QString& name, const std::function<void()>& open,
                         const std::function<void(QWidget& dialog)>& visitor)
{
    bool seen = false;
    QTimer::singleShot(0, qApp, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        save(name, dialog);
        seen = dialog != nullptr;
        if (seen && visitor)
            visitor(*dialog);
        if (seen && dialog->isVisible())
            dialog->close();
    });
    open();
    complete = seen && complete;
}

void Gallery::savePopup(const QString& name, const std::function<void()>& open)
{
    open();
    QWidget* popup = QApplication::activePopupWidget();
    save(name, popup);
    if (popup != nullptr)
        popup->close();
}

void Gallery::saveToolTip(const QString& name, QWidget& widget)
{
    const QPoint place = widget.rect().center();
    QHelpEvent asked(QEvent::ToolTip, place, widget.mapToGlobal(place));
    QApplication::sendEvent(&widget, &asked);
    QWidget* tip = topLevelOfClass("QTipLabel");
    save(name, tip);
    if (tip != nullptr)
        tip->close();
}

void Gallery::save(const QString& name, QWidget* widget)
{
    const QString path = directory + u'/' + name + QStringLiteral(".png");
    if (widget != nullptr) {
        QCoreApplication::processEvents(); // lays it out
        if (widget->grab().save(path))
            return;
    }
    std::fprintf(stderr, "no picture \"%s\"\n", qUtf8Printable(name));
    complete = false;
}

} // namespace tavik::virtual_keyboard
