// SPDX-License-Identifier: MIT
#include "app/main_window.h"

#include "app/application_style.h"
#include "app/shortcut_sheet.h"
#include "app/skin/skin_icons.h"
#include "app/skin_title_bar.h"
#include "app/skin_workspace.h"
#include "app/window_rim.h"
#include "device/device.h"
#include "model/keyboard_layout.h"
#include "pages/colors/rgb_widget.h"
#include "pages/keys/keymap_widget.h"
#include "pages/lighting/lighting_widget.h"
#include "pages/macros/macro_widget.h"
#include "pages/parts/accessible_controls.h"
#include "pages/parts/accessible_roles.h"
#include "pages/parts/announcement.h"
#include "pages/parts/focus_ring.h"
#include "pages/parts/keyboard_view.h"
#include "pages/parts/page_parts.h"
#include "pages/screen/screen_widget.h"
#include "pages/settings/settings_widget.h"
#include "pages/settings/state_exchange.h"

#include <QAbstractSpinBox>
#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <array>
#include <initializer_list>
#include <tuple>
#include <utility>

namespace tavik {

// One sidebar button; its place in the table is the index of its page.
struct SidebarEntry
{
    const char* title; // tool tip and page title
    const char* iconFile;
    QSize frameSize; // of a strip
    bool atBottom = false;
};

namespace {

constexpr std::array<SidebarEntry, 9> sidebarEntries{{
    {"Home", "tab_home.png", {36, 36}},
    {"Keys", "tab_customkey.png", {36, 36}},
    {"Macros", "tab_macro.png", {36, 36}},
    {"Light Effect Mode", "tab_light.png", {36, 36}},
    {"TFT Screen", "tab_lcd.png", {32, 22}},
    {"Favorites", "icon_favorites.png", {}},
    {"Custom Lighting", "tab_customlight.png", {36, 36}},
    {"Music", "icon_music.png", {}},
    {"Keyboard Settings", "tab_config.png", {36, 36}, true},
}};
constexpr std::size_t homeEntry = 0;
constexpr std::size_t keysEntry = 1;
constexpr std::size_t macrosEntry = 2;
constexpr std::size_t startEntry = 3;
constexpr std::size_t colorsEntry = 6;
constexpr std::size_t settingsEntry = 8;

QString windowTitleText()
{
    return QStringLiteral("ZEROLT TAVIK Pro");
}

QIcon sidebarIcon(const SidebarEntry& entry)
{
    const QString name = QLatin1String(entry.iconFile);
    return name.startsWith(QLatin1String("icon_")) ? tintedIcon(name)
                                                   : spriteStripIcon(name, entry.frameSize);
}

// The pages to see a change of this part on: when none of them is open, the first one is shown.
QList<std::size_t> entriesOf(StatePart part)
{
    switch (part) {
    case StatePart::BaseLayer:
    case StatePart::FnLayer:
        return {keysEntry};
    case StatePart::Macros:
        return {macrosEntry};
    case StatePart::Colors:
        return {colorsEntry};
    case StatePart::Everything:
        return {settingsEntry, keysEntry, macrosEntry, colorsEntry};
    }
    return {};
}

// The field that takes what is typed into the widget; null when it is no text field.
const QLineEdit* textFieldOf(const QObject* widget)
{
    // A spin box deals with the keys of the field in it.
    if (qobject_cast<const QAbstractSpinBox*>(widget) != nullptr)
        return widget->findChild<const QLineEdit*>();
    return qobject_cast<const QLineEdit*>(widget);
}

// The one settings file that is dragged; empty when it is anything else.
QString settingsFileIn(const QMimeData* data)
{
    const QList<QUrl> urls = data->urls();
    const QString path = urls.size() == 1 ? urls.first().toLocalFile() : QString();
    return path.endsWith(QLatin1String(".json"), Qt::CaseInsensitive) ? path : QString();
}

QWidget* createHomePage(QWidget* parent)
{
    auto* page = new QWidget(parent);
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(30, 25, 30, 30);
    cutAtEdges(column);
    auto* view = new KeyboardView(page);
    view->setKeyboardLayout(&KeyboardLayout::instance());
    view->setMinimumSize(600, 350);
    view->setFocusPolicy(Qt::ClickFocus); // it shows the keyboard, and has nothing to offer to keys
    column->addStretch();
    column->addWidget(view, 1);
    column->addStretch();
    return page;
}

QWidget* createEmptyPage(const QString& text, QWidget* parent)
{
    auto* page = new QWidget(parent);
    auto* label = new QLabel(text, page);
    label->setObjectName(QStringLiteral("emptyPageTitle"));
    label->setAlignment(Qt::AlignCenter);
    auto* column = new QVBoxLayout(page);
    column->addStretch();
    column->addWidget(label);
    column->addStretch();
    return page;
}

} // namespace

MainWindow::MainWindow()
{
    letToolsUseControls();
    std::ignore = KeyboardLayout::instance(); // read before any page asks for it
    setWindowTitle(windowTitleText());
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    setMinimumSize(900, 620);
    resize(1200, 720);
    setStyleSheet(windowStyleSheet());
    setAcceptDrops(true);

    connect(&Device::instance(), &Device::connectedChanged, this,
            [this] { setWindowTitle(windowTitleText()); });
    setCentralWidget(createShell());
    new WindowRim(centralWidget()); // over everything else
    new FocusRing(this);
    createShortcuts();

    sidebarButtons.at(homeEntry)->setChecked(true);
    letTabFindTheChosen({sidebarButtons.begin(), sidebarButtons.end()});
    showPage(sidebarEntries.at(startEntry));
    focusPage(Qt::OtherFocusReason);
}

QWidget* MainWindow::createShell()
{
    auto* shell = new QWidget(this);
    shell->setObjectName(QStringLiteral("shell"));
    auto* workspace = new SkinWorkspace(shell);
    pageStack = new QStackedWidget(workspace);
    pageStack->setObjectName(QStringLiteral("pageStack"));
    // The window may become smaller than a page wants; the page is then cut, not the sidebar.
    pageStack->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);

    auto* workspaceRow = new QHBoxLayout(workspace);
    workspaceRow->setContentsMargins(0, 0, 0, 0);
    workspaceRow->setSpacing(0);
    workspaceRow->addWidget(createSidebar());
    workspaceRow->addWidget(pageStack, 1);
    addPages();

    // Made last, its buttons are the last that Tab comes to.
    titleBar = new SkinTitleBar(shell);
    connect(titleBar, &SkinTitleBar::minimizeRequested, this, &QWidget::showMinimized);
    connect(titleBar, &SkinTitleBar::closeRequested, this, &QWidget::close);
    connect(titleBar, &SkinTitleBar::maximizeToggled, this,
            [this] { setWindowState(windowState() ^ Qt::WindowMaximized); });

    auto* column = new QVBoxLayout(shell);
    column->setContentsMargins(1, 1, 1, 1);
    column->setSpacing(0);
    column->addWidget(titleBar);
    column->addWidget(workspace, 1);
    return shell;
}

QWidget* MainWindow::createSidebar()
{
    auto* sidebar = new QWidget(this);
    sidebar->setObjectName(QStringLiteral("sidebar"));
    sidebar->setFixedWidth(58);
    setAccessibleRole(sidebar, QAccessible::PageTabList, tr("Pages"));
    auto* column = new QVBoxLayout(sidebar);
    column->setContentsMargins(5, 9, 5, 8);
    for (const SidebarEntry& entry : sidebarEntries) {
        QToolButton* button = createSidebarButton(entry, sidebar);
        if (entry.atBottom) {
            button->setObjectName(QStringLiteral("settingsNavButton"));
            column->addStretch();
        }
        column->addWidget(button, 0, Qt::AlignHCenter);
    }
    return sidebar;
}

QToolButton* MainWindow::createSidebarButton(const SidebarEntry& entry, QWidget* parent)
{
    auto* button = new QToolButton(parent);
    const QString title = QLatin1String(entry.title);
    button->setObjectName(QStringLiteral("navButton"));
    button->setFixedSize(48, 48);
    button->setIconSize(QSize(24, 24));
    button->setIcon(sidebarIcon(entry));
    button->setCheckable(true);
    button->setAutoExclusive(true);
    button->setFocusPolicy(Qt::StrongFocus); // after a click, the focus stays here
    button->setToolTip(title);
    button->setAccessibleName(title);
    setAccessibleRole(button, QAccessible::PageTab);
    connect(button, &QToolButton::clicked, this, [this, &entry] { showPage(entry); });
    sidebarButtons.append(button);
    return button;
}

void MainWindow::addPages()
{
    auto* keymap = new KeymapWidget(pageStack); // reads the state, before large pictures are there
    auto* lighting = new LightingWidget(pageStack);
    auto* rgb = new RgbWidget(pageStack);
    auto* macros = new MacroWidget(pageStack);
    auto* screen = new ScreenWidget(pageStack);
    auto* settings = new SettingsWidget(pageStack);
    auto* favorites = createEmptyPage(QStringLiteral("Favorites"), pageStack);
    auto* music = createEmptyPage(QStringLiteral("Music mode"), pageStack);

    // In the order of the sidebar.
    for (QWidget* page :
         std::initializer_list<QWidget*>{createHomePage(pageStack), keymap, macros, lighting,
                                         screen, favorites, rgb, music, settings})
        pageStack->addWidget(page);
}

void MainWindow::showPage(const SidebarEntry& entry)
{
    const auto index = static_cast<int>(&entry - sidebarEntries.data());
    sidebarButtons.at(index)->setChecked(true);
    pageStack->setCurrentIndex(index);
    titleBar->setTitle(QLatin1String(entry.title));
}

// The focus goes to the first control of the open page, if there is one.
void MainWindow::focusPage(Qt::FocusReason reason)
{
    const QWidget* page = pageStack->currentWidget();
    for (QWidget* widget = page->nextInFocusChain(); widget != page;
         widget = widget->nextInFocusChain()) {
        const bool isTabStop = (widget->focusPolicy() & Qt::TabFocus) != 0;
        if (isTabStop && page->isAncestorOf(widget) && widget->isVisibleTo(page) &&
            widget->isEnabled()) {
            widget->setFocus(reason);
            return;
        }
    }
}

void MainWindow::showPageOf(StatePart part)
{
    const QList<std::size_t> entries = entriesOf(part);
    const auto open = static_cast<std::size_t>(pageStack->currentIndex());
    if (entries.contains(open))
        return;
    const bool isInSidebar = sidebarButtons.contains(QApplication::focusWidget());
    showPage(sidebarEntries.at(entries.first()));
    if (isInSidebar)
        sidebarButtons.at(static_cast<qsizetype>(entries.first()))
            ->setFocus(Qt::ShortcutFocusReason);
}

void MainWindow::createShortcuts()
{
    EditHistory& history = EditHistory::instance();
    undoAction = history.createUndoAction(this);
    undoAction->setShortcut(Qt::CTRL | Qt::Key_Z);
    redoAction = history.createRedoAction(this);
    redoAction->setShortcuts({Qt::CTRL | Qt::SHIFT | Qt::Key_Z, Qt::CTRL | Qt::Key_Y});
    undoAction->setWhatsThis(tr("Undo")); // whatever it would undo now
    redoAction->setWhatsThis(tr("Redo"));
    addActions({undoAction, redoAction});
    connect(&history, &EditHistory::restored, this, &MainWindow::showPageOf);
    toldStep = history.index();
    connect(&history, &EditHistory::indexChanged, this, &MainWindow::tellStep);
    qApp->installEventFilter(this);

    for (int page = 0; page < sidebarButtons.size(); ++page)
        addShortcut(QLatin1String(sidebarEntries.at(static_cast<std::size_t>(page)).title),
                    {Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + page)},
                    [this, page] { openByKey(page); });
    const auto openNeighbor = [this](qsizetype distance) {
        const qsizetype count = sidebarButtons.size();
        openByKey((pageStack->currentIndex() + distance + count) % count);
    };
    addShortcut(tr("Previous page"), {Qt::CTRL | Qt::Key_PageUp}, [=] { openNeighbor(-1); });
    addShortcut(tr("Next page"), {Qt::CTRL | Qt::Key_PageDown}, [=] { openNeighbor(1); });
    addShortcut(tr("Orange button of the page"),
                {Qt::CTRL | Qt::Key_Return, Qt::CTRL | Qt::Key_Enter}, [this] {
                    if (auto* button = pageStack->currentWidget()->findChild<AccentButton*>())
                        button->click();
                });
    addShortcut(tr("Menu of what has the focus"), {Qt::SHIFT | Qt::Key_F10},
                [this] { openContextMenu(); });
    addShortcut(tr("Close"), {Qt::CTRL | Qt::Key_Q}, [this] { close(); });
    addShortcut(tr("All shortcuts"), {Qt::Key_F1}, [this] { showShortcuts(); });
}

// For who does not see it: what was done, or done once more, or taken back.
void MainWindow::tellStep(int index)
{
    const EditHistory& history = EditHistory::instance();
    QString text = index < std::exchange(toldStep, index)
                       ? tr("Undone: %1").arg(history.text(index))
                       : history.text(index - 1);
    announce(centralWidget(), text.replace(QLatin1String("&&"), QLatin1String("&")));
}

void MainWindow::addShortcut(const QString& text, const QList<QKeySequence>& keys,
                             const std::function<void()>& act)
{
    auto* action = new QAction(text, this);
    action->setShortcuts(keys);
    action->setAutoRepeat(false); // a held key must not write the keyboard again and again
    connect(action, &QAction::triggered, this, act);
    addAction(action);
}

// What a key has opened is gone on with by keys.
void MainWindow::openByKey(qsizetype page)
{
    sidebarButtons.at(page)->setFocus(Qt::ShortcutFocusReason); // not what happens to be next
    showPage(sidebarEntries.at(static_cast<std::size_t>(page)));
    focusPage(Qt::TabFocusReason);
}

// Those of the window, then those of each page.
void MainWindow::showShortcuts()
{
    QList<ShortcutGroup> groups{{tr("Everywhere"), actions()}};
    for (int page = 0; page < pageStack->count(); ++page) {
        ShortcutGroup group{QLatin1String(sidebarEntries.at(static_cast<std::size_t>(page)).title),
                            {}};
        QWidget* const root = pageStack->widget(page);
        for (QWidget* widget : QWidgetList{root} + root->findChildren<QWidget*>()) {
            if (qobject_cast<QMenu*>(widget) != nullptr)
                continue;
            for (QAction* action : widget->actions()) {
                if (!group.actions.contains(action)) // two lists may share one
                    group.actions += action;
            }
        }
        groups += group;
    }
    showShortcutSheet(groups, this);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!settingsFileIn(event->mimeData()).isEmpty() &&
        QApplication::activeModalWidget() == nullptr) {
        // Whoever offers to move a file would delete it.
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void MainWindow::dropEvent(QDropEvent* event)
{
    event->setDropAction(Qt::CopyAction);
    event->accept();
    // The program that the file comes from waits until this returns, so the question comes later.
    const QString path = settingsFileIn(event->mimeData());
    QTimer::singleShot(0, this, [this, path] { importSettingsFrom(path, this); });
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride)
        return leavesUndoToWindow(watched, static_cast<QKeyEvent*>(event));
    if (event->type() == QEvent::KeyPress && sidebarButtons.contains(watched) &&
        (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Return ||
         static_cast<QKeyEvent*>(event)->key() == Qt::Key_Enter)) {
        openByKey(sidebarButtons.indexOf(watched));
        return true;
    }
    // A page opened with the space key is gone on with by keys.
    if (event->type() == QEvent::KeyRelease && sidebarButtons.contains(watched) &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space)
        QTimer::singleShot(0, this, [this] { focusPage(Qt::TabFocusReason); });
    return QMainWindow::eventFilter(watched, event);
}

// A text field claims the keys of its own undo and redo even when it has nothing to take back;
// then they are the window's.
bool MainWindow::leavesUndoToWindow(const QObject* watched, QKeyEvent* event) const
{
    const QLineEdit* field = textFieldOf(watched);
    if (field == nullptr || field->window() != this)
        return false;
    const QKeySequence keys(event->keyCombination());
    const bool isUndo = undoAction->shortcuts().contains(keys) && !field->isUndoAvailable();
    const bool isRedo = redoAction->shortcuts().contains(keys) && !field->isRedoAvailable();
    if (!isUndo && !isRedo)
        return false;
    event->ignore();
    return true;
}

// The second way to the menu of what has the focus; the menu key itself is the platform's.
void MainWindow::openContextMenu()
{
    QWidget* widget = QApplication::focusWidget();
    if (widget == nullptr)
        return;
    const QPoint position = widget->inputMethodQuery(Qt::ImCursorRectangle).toRect().center();
    QContextMenuEvent request(QContextMenuEvent::Keyboard, position, widget->mapToGlobal(position));
    QApplication::sendEvent(widget, &request);
}

} // namespace tavik
