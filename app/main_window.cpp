#include "app/main_window.h"

#include "app/application_style.h"
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
#include "pages/parts/keyboard_view.h"
#include "pages/parts/page_parts.h"
#include "pages/screen/screen_widget.h"
#include "pages/settings/settings_widget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>
#include <initializer_list>
#include <tuple>

namespace tavik {

// One sidebar button; its place in the table is the index of its page.
struct SidebarEntry
{
    const char* title; // tool tip and page title
    const char* iconFile;
    QSize frameSize; // not looked at for tinted icons
    bool atBottom = false;
};

namespace {

constexpr std::array<SidebarEntry, 9> sidebarEntries{{
    {"Home", "tab_home.png", {36, 36}},
    {"Keys", "tab_customkey.png", {36, 36}},
    {"Macros", "tab_macro.png", {36, 36}},
    {"Light Effect Mode", "tab_light.png", {36, 36}},
    {"TFT Screen", "tab_lcd.png", {32, 22}},
    {"Favorites", "icon_favorites.png", {24, 24}},
    {"Custom Lighting", "tab_customlight.png", {36, 36}},
    {"Music", "icon_music.png", {24, 24}},
    {"Keyboard Settings", "tab_config.png", {36, 36}, true},
}};
constexpr std::size_t homeEntry = 0;
constexpr std::size_t startEntry = 3;

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

QWidget* createHomePage(QWidget* parent)
{
    auto* page = new QWidget(parent);
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(30, 25, 30, 30);
    cutAtEdges(column);
    auto* view = new KeyboardView(page);
    view->setKeyboardLayout(&KeyboardLayout::instance());
    view->setMinimumSize(600, 350);
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
    std::ignore = KeyboardLayout::instance(); // read before any page asks for it
    setWindowTitle(windowTitleText());
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    setMinimumSize(900, 620);
    resize(1200, 720);
    setStyleSheet(windowStyleSheet());

    connect(&Device::instance(), &Device::connectedChanged, this,
            [this] { setWindowTitle(windowTitleText()); });
    setCentralWidget(createShell());
    addPages();
    new WindowRim(centralWidget()); // over everything else

    sidebarButtons.at(homeEntry)->setChecked(true);
    sidebarButtons.at(startEntry)->setChecked(true);
    showPage(sidebarEntries.at(startEntry));
}

QWidget* MainWindow::createShell()
{
    auto* shell = new QWidget(this);
    shell->setObjectName(QStringLiteral("shell"));
    titleBar = new SkinTitleBar(shell);
    connect(titleBar, &SkinTitleBar::minimizeRequested, this, &QWidget::showMinimized);
    connect(titleBar, &SkinTitleBar::closeRequested, this, &QWidget::close);
    connect(titleBar, &SkinTitleBar::maximizeToggled, this,
            [this] { setWindowState(windowState() ^ Qt::WindowMaximized); });

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
    button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    button->setCheckable(true);
    button->setAutoExclusive(true);
    button->setToolTip(title);
    button->setAccessibleName(title);
    connect(button, &QToolButton::clicked, this, [this, &entry] { showPage(entry); });
    sidebarButtons.append(button);
    return button;
}

void MainWindow::addPages()
{
    auto* lighting = new LightingWidget(pageStack);
    auto* keymap = new KeymapWidget(pageStack);
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
    pageStack->setCurrentIndex(static_cast<int>(&entry - sidebarEntries.data()));
    titleBar->setTitle(QLatin1String(entry.title));
}

} // namespace tavik
