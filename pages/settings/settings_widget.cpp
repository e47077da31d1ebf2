// SPDX-License-Identifier: MIT
#include "pages/settings/settings_widget.h"

#include "device/device.h"
#include "files/regular_file.h"
#include "model/app_state.h"
#include "model/keyboard_layout.h"
#include "pages/parts/accessible_roles.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/preview_area.h"
#include "pages/settings/autostart_entry.h"
#include "pages/settings/state_exchange.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>
#include <QVBoxLayout>

#include <array>
#include <chrono>
#include <optional>
#include <tuple>

using namespace std::chrono_literals;

namespace tavik {

namespace {

constexpr auto reconnectInterval = 5000ms;

constexpr qint64 largestStore = 1024 * 1024; // it takes some bytes

constexpr int sidePanelWidth = 220;
constexpr int languageSelectHeight = 31;
constexpr int actionHeight = 29;
constexpr Qt::Alignment gameModeCell = Qt::AlignLeft | Qt::AlignVCenter;

// The stored setting is a position in this list.
constexpr std::array<const char*, 3> languages{
    QT_TRANSLATE_NOOP("tavik::SettingsWidget", "English"),
    QT_TRANSLATE_NOOP("tavik::SettingsWidget", "Chinese (简体中文)"),
    QT_TRANSLATE_NOOP("tavik::SettingsWidget", "Traditional Chinese (繁體中文)"),
};

constexpr std::array<const char*, 3> gameModeKeys{
    QT_TRANSLATE_NOOP("tavik::SettingsWidget", "Alt + Tab"),
    QT_TRANSLATE_NOOP("tavik::SettingsWidget", "Alt + F4"),
    QT_TRANSLATE_NOOP("tavik::SettingsWidget", "Windows Key"),
};

QString languageKey()
{
    return QStringLiteral("language");
}

// Whether the files in which the settings may be, two in each place, are missing or such as can be
// read: Qt opens them all, waits for ever for a pipe, takes whatever there is into memory, and
// makes objects of any kind and size out of "@Variant(", whose letters may be written as numbers.
bool isStoreSound()
{
    static const QRegularExpression packed(QStringLiteral("@(Variant|DateTime)\\(|\\\\[x0-7]"));
    const QString organization = QCoreApplication::organizationName();
    for (const QString& place :
         QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation)) {
        for (const QString& name :
             {organization, organization + u'/' + QCoreApplication::applicationName()}) {
            const QString path = place + u'/' + name + QStringLiteral(".conf");
            if (!QFileInfo(path).isReadable())
                continue;
            const std::optional<QByteArray> content = readRegularFile(path, largestStore);
            if (!content || packed.match(QString::fromLatin1(*content)).hasMatch())
                return false;
        }
    }
    return true;
}

QPushButton* createAction(const QString& text, QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    button->setObjectName(QStringLiteral("settingsAction"));
    button->setFixedHeight(actionHeight);
    return button;
}

} // namespace

SettingsWidget::SettingsWidget(QWidget* parent) : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(11, 10, 5, 0);
    row->setSpacing(10);
    cutAtEdges(row);
    row->addWidget(createSidePanel());
    row->addWidget(createRightSide(), 1);
    startReconnecting();
}

QWidget* SettingsWidget::createSidePanel()
{
    auto* panel = new QWidget(this);
    panel->setObjectName(QStringLiteral("settingsSidePanel"));
    panel->setFixedWidth(sidePanelWidth);
    QWidget* languageSelect = createLanguageSelect(panel); // in the order in which Tab comes by
    QWidget* autoRunOption = createAutoRunOption(panel);
    auto* resetButton = createAction(tr("Reset Keyboard Data"), panel);
    auto* restoreButton = createAction(tr("Restore Factory Settings"), panel);
    connect(resetButton, &QPushButton::clicked, this, &SettingsWidget::resetLocalData);
    connect(restoreButton, &QPushButton::clicked, this, &SettingsWidget::restoreFactorySettings);
    resetButton->setToolTip(tr(
        "Its menu (right click or Shift+F10) exports or imports the settings, or goes back to an "
        "earlier state."));
    letToolsOpenMenu(resetButton, QAccessible::Button);
    resetButton->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(resetButton, &QWidget::customContextMenuRequested, this,
            [this, resetButton](QPoint position) {
                showExchangeMenu(this, resetButton->mapToGlobal(position));
            });

    auto* column = new QVBoxLayout(panel);
    column->setContentsMargins(10, 0, 10, 10);
    column->setSpacing(0); // every gap is given
    column->addSpacing(46);
    QLabel* languageHeading = createHeading(tr("Language"), 15, panel);
    languageHeading->setBuddy(languageSelect);
    column->addWidget(languageHeading);
    column->addSpacing(5);
    column->addWidget(languageSelect);
    column->addSpacing(198);
    column->addWidget(autoRunOption);
    column->addSpacing(13);
    column->addWidget(resetButton);
    column->addSpacing(10);
    column->addWidget(restoreButton);
    column->addStretch();
    return panel;
}

QWidget* SettingsWidget::createLanguageSelect(QWidget* panel)
{
    auto* select = new QComboBox(panel);
    select->setObjectName(QStringLiteral("languageSelect"));
    select->setAccessibleName(tr("Language"));
    select->setFixedHeight(languageSelectHeight);
    // Its list opens below it, as long as it is, and not as a menu over it.
    select->setStyleSheet(QStringLiteral("QComboBox{combobox-popup:0;}"));
    for (const char* language : languages)
        select->addItem(tr(language));
    // Connected only afterwards: showing the setting must not write it.
    select->setCurrentIndex(isStoreSound() ? QSettings().value(languageKey(), 0).toInt() : 0);
    connect(select, &QComboBox::currentIndexChanged, this, &SettingsWidget::saveLanguage);
    return select;
}

QWidget* SettingsWidget::createAutoRunOption(QWidget* panel)
{
    auto* option = new QCheckBox(tr("Run at startup"), panel);
    option->setObjectName(QStringLiteral("autoRunOption"));
    // Connected only afterwards: an entry the user has edited must survive the start.
    option->setChecked(isAutostartEnabled());
    connect(option, &QCheckBox::toggled, this, &SettingsWidget::setAutoRun);
    return option;
}

QWidget* SettingsWidget::createRightSide()
{
    auto* right = new QWidget(this);
    auto* column = new QVBoxLayout(right);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new PreviewArea(KeyboardLayout::instance(), right), 1);
    column->addWidget(createGameModePanel());
    return right;
}

// The wired connection has no command for any of this, so nothing here is connected.
QWidget* SettingsWidget::createGameModePanel()
{
    auto* panel = new QWidget(this);
    panel->setObjectName(QStringLiteral("gameModePanel"));
    panel->setMinimumHeight(290);
    auto* grid = new QGridLayout(panel);
    grid->setContentsMargins(62, 63, 10, 10);
    grid->setHorizontalSpacing(0);
    grid->setVerticalSpacing(12);
    grid->setColumnMinimumWidth(0, 148);
    grid->setColumnStretch(1, 1);
    addGameModeMaster(grid);
    addGameModeChoices(grid);
    grid->setRowStretch(grid->rowCount(), 1);
    return panel;
}

void SettingsWidget::addGameModeMaster(QGridLayout* grid)
{
    auto* master = new QCheckBox(tr("Disable"), this);
    master->setObjectName(QStringLiteral("gameModeMaster"));
    master->setToolTip(tr("Game-mode key blocking is not available on this USB driver interface."));
    master->setAccessibleName(tr("Disable game mode"));
    grid->addWidget(createHeading(tr("Game mode"), 16, this), 0, 0, gameModeCell);
    grid->addWidget(master, 0, 1, gameModeCell);
}

void SettingsWidget::addGameModeChoices(QGridLayout* grid)
{
    for (const char* key : gameModeKeys) {
        auto* choice = new QCheckBox(tr("Disable"), this);
        choice->setObjectName(QStringLiteral("gameModeChoice"));
        choice->setAccessibleName(tr("Disable %1").arg(tr(key)));
        choice->setEnabled(false);
        const int row = grid->rowCount();
        grid->addWidget(new QLabel(tr(key), this), row, 0, gameModeCell);
        grid->addWidget(choice, row, 1, gameModeCell);
    }
}

void SettingsWidget::startReconnecting()
{
    refreshConnection();
    auto* timer = new QTimer(this);
    timer->setInterval(reconnectInterval);
    connect(timer, &QTimer::timeout, this, &SettingsWidget::refreshConnection);
    timer->start();
}

void SettingsWidget::saveLanguage(int index)
{
    // A store of its own writes at once; a longer-lived one would wait for the event loop.
    if (isStoreSound())
        QSettings().setValue(languageKey(), index);
}

void SettingsWidget::setAutoRun(bool enabled)
{
    std::ignore = enabled ? enableAutostart() : disableAutostart();
}

void SettingsWidget::resetLocalData()
{
    const auto answer =
        QMessageBox::question(this, tr("Reset Keyboard Data"),
                              tr("Clear saved key mappings, macros and custom RGB data?"),
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer != QMessageBox::Yes)
        return;
    AppState::instance().replace(tr("Reset Keyboard Data"), {});
}

void SettingsWidget::restoreFactorySettings()
{
    QMessageBox::information(
        this, tr("Restore Factory Settings"),
        tr("A factory-reset command is not present in the recovered wired USB protocol."));
}

void SettingsWidget::refreshConnection()
{
    if (!Device::instance().isOpen())
        std::ignore = Device::instance().refresh();
}

} // namespace tavik
