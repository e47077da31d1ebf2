// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QCheckBox;
class QComboBox;
class QGridLayout;

namespace tavik {

// The page of the program's own settings. It also looks for the keyboard: once when it is built and
// then every five seconds as long as none is open.
class SettingsWidget : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsWidget(QWidget* parent = nullptr);

public slots:
    // Keeps the index of the chosen language for the next start; no text changes.
    void saveLanguage(int index);
    // Writes or removes the entry that starts the program at log-in; a failure is silent.
    void setAutoRun(bool enabled);
    // Asks, then empties both layers, the macros and the key colors, saves and tells all pages.
    // Nothing is sent to the keyboard.
    void resetLocalData();
    // Tells that the keyboard knows no such command; nothing else happens.
    void restoreFactorySettings();
    // Opens the keyboard unless it is open; a failure is silent. Locks the device itself.
    void refreshConnection();

private:
    QWidget* createSidePanel();
    QWidget* createLanguageSelect(QWidget* panel);
    QWidget* createAutoRunOption(QWidget* panel);
    QWidget* createRightSide();
    QWidget* createGameModePanel();
    void addGameModeMaster(QGridLayout* grid);
    void addGameModeChoices(QGridLayout* grid);
    void startReconnecting();
};

} // namespace tavik
