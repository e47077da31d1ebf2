#pragma once

#include "app/main_window.h"

#include <QAbstractButton>
#include <QString>

#include <functional>

namespace tavik::virtual_keyboard {

// Takes pictures of every page, dialog, menu and list of the program, each in a state that users
// meet: keys assigned, macros recorded, colors painted. Every picture shows one window alone.
class Gallery
{
public:
    // The window must be shown. Pictures go to the directory, which is created.
    Gallery(MainWindow& mainWindow, const QString& pictureDirectory);

    void takeAll();

    // False when a picture could not be taken or written.
    [[nodiscard]] bool isComplete() const { return complete; }

private:
    void visitLighting();
    void visitKeys();
    void visitMacros();
    void visitColors();
    void visitScreen();
    void visitSettings();

    void showPage(const QString& title);
    [[nodiscard]] QWidget* page() const;
    [[nodiscard]] QAbstractButton* button(const QString& text) const;

    void savePage(const QString& name);
    // Runs the function, which opens a modal dialog; the dialog is pictured, handed to the
    // visitor, and closed if it is still open.
    void saveDialog(const QString& name, const std::function<void()>& open,
                    const std::function<void(QWidget& dialog)>& visitor = {});
    void savePopup(const QString& name, const std::function<void()>& open);
    void saveToolTip(const QString& name, QWidget& widget);
    void save(const QString& name, QWidget* widget);

    MainWindow& window;
    QString directory;
    bool complete = true;
};

} // namespace tavik::virtual_keyboard
