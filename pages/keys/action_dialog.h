// SPDX-License-Identifier: MIT
#pragma once

#include "model/key_action.h"

#include <QDialog>

class QComboBox;
class QStackedWidget;

namespace tavik {

// Asks what one key does. The result is built from the lists that belong to the chosen type,
// whichever page is shown.
class ActionDialog : public QDialog
{
    Q_OBJECT

public:
    // Opens on the key's current action; a kind the dialog does not offer opens as "Default key".
    // Macros are offered when macroCount is above 0, by the names that AppState holds.
    ActionDialog(const KeyAction& current, int macroCount, QWidget* parent = nullptr);

    // The action the user chose; all zero until the dialog is accepted.
    [[nodiscard]] KeyAction action() const { return chosenAction; }

public slots:
    void accept() override;

private:
    void createTypeList(int macroCount);
    void createActionLists();
    QStackedWidget* createPages();
    void createArrangement();
    void select(const KeyAction& current);
    void showPageOf(int typeIndex);
    [[nodiscard]] KeyAction buildAction() const;

    QComboBox* typeList = nullptr;
    QComboBox* keyList = nullptr;
    QComboBox* modifierList = nullptr;
    QComboBox* mediaList = nullptr;
    QComboBox* mouseList = nullptr;
    QComboBox* macroList = nullptr;
    QStackedWidget* pages = nullptr;
    KeyAction chosenAction;
};

} // namespace tavik
