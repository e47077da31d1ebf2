// SPDX-License-Identifier: MIT
#pragma once

#include "model/edit_history.h"

#include <QList>
#include <QMainWindow>

#include <functional>

class QStackedWidget;
class QToolButton;

namespace tavik {

struct SidebarEntry;
class SkinTitleBar;

// The program's only window: title bar, sidebar and one page per sidebar entry. Every page is built
// once and lives as long as the window. Building it sends nothing to the keyboard.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();

protected:
    // One settings file dropped on the window is imported.
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* createShell();
    QWidget* createSidebar();
    QToolButton* createSidebarButton(const SidebarEntry& entry, QWidget* parent);
    void addPages();
    void createShortcuts();
    void tellStep(int index);
    void addShortcut(const QString& text, const QList<QKeySequence>& keys,
                     const std::function<void()>& act);
    void showShortcuts();
    void openByKey(qsizetype page);
    void showPage(const SidebarEntry& entry);
    void focusPage(Qt::FocusReason reason);
    void showPageOf(StatePart part);
    [[nodiscard]] bool leavesUndoToWindow(const QObject* watched, QKeyEvent* event) const;
    void openContextMenu();

    SkinTitleBar* titleBar = nullptr;
    QStackedWidget* pageStack = nullptr;
    QList<QToolButton*> sidebarButtons; // in sidebar order
    int toldStep = 0;                   // of the history, to a screen reader
    QAction* undoAction = nullptr;
    QAction* redoAction = nullptr;
};

} // namespace tavik
