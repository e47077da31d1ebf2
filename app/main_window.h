#pragma once

#include <QList>
#include <QMainWindow>

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

private:
    QWidget* createShell();
    QWidget* createSidebar();
    QToolButton* createSidebarButton(const SidebarEntry& entry, QWidget* parent);
    void addPages();
    void showPage(const SidebarEntry& entry);

    SkinTitleBar* titleBar = nullptr;
    QStackedWidget* pageStack = nullptr;
    QList<QToolButton*> sidebarButtons; // in sidebar order
};

} // namespace tavik
