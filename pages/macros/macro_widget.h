// SPDX-License-Identifier: MIT
#pragma once

#include "model/edit_history.h"

#include <QWidget>

class QAbstractScrollArea;
class QAction;
class QComboBox;
class QGroupBox;
class QInputDialog;
class QListWidget;
class QSpinBox;
class QTableWidget;

namespace tavik {

class AccentButton;
class StatusLabel;

// The page on which the user makes macros. Every change is stored and saved at once; the keyboard
// learns of it only when the user writes the macros.
class MacroWidget : public QWidget
{
    Q_OBJECT

public:
    explicit MacroWidget(QWidget* parent = nullptr);

public slots:
    // Asks for a name and appends a macro without actions.
    void newMacro();
    // Removes the current macro, without asking. The keys that play later ones are not adjusted.
    void deleteMacro();
    // Shows the actions of the macro in this row; of none when there is no such macro.
    void macroSelected(int row);
    // Appends the action set in the form to the current macro.
    void addAction();
    // Removes the selected actions of the current macro.
    void deleteAction();
    // Writes all macros to the keyboard, which blocks, and shows the outcome.
    void sendMacros();

private:
    QWidget* createMacroGroup();
    QWidget* createActionGroup();
    void openMenuOn(QGroupBox* group, QAbstractScrollArea* list);
    void createActionTable(QWidget* parent);
    void createActionForm(QWidget* parent);
    void createMacroEntries();
    void createActionEntries();
    void enableEntries();

    void renameMacro();
    [[nodiscard]] QInputDialog* createQuestion(const QString& title, const QString& label);
    void duplicateMacro();
    void moveCurrentMacro(int distance);
    void recordActions();
    void appendRecorded(const QList<MacroAction>& recorded);
    void insertAction();
    void duplicateActions();
    void changeDelay();
    void moveSelectedActions(int distance);

    [[nodiscard]] const MacroRecord* currentMacro() const;
    [[nodiscard]] QString nextMacroName() const;
    [[nodiscard]] MacroAction actionOfForm() const;
    [[nodiscard]] QList<int> selectedActions() const;
    void selectActions(const QList<int>& rows);
    void showMacro(qsizetype row);
    void warnOfFullSpace();
    void editMacros(const QString& name, const std::function<void(QList<MacroRecord>&)>& change);
    void editActions(const QString& name, const std::function<void(QList<MacroAction>&)>& change);
    void refillMacroList();
    void addToList(const QString& name);
    void refillActionTable(int macroIndex);
    void showMark();
    void showRestored(StatePart part, const SavedState& left);

    QList<MacroRecord> writtenMacros; // as they were last written, or at the start

    // Entries of both menus, and those that need a macro, selected actions, or room to move.
    QAction* recordEntry = nullptr;
    QList<QAction*> macroEntries;
    QList<QAction*> actionEntries;
    QAction* macroUpEntry = nullptr;
    QAction* macroDownEntry = nullptr;
    QAction* actionsUpEntry = nullptr;
    QAction* actionsDownEntry = nullptr;

    QListWidget* macroList = nullptr;
    QTableWidget* actionTable = nullptr;
    QComboBox* typeSelect = nullptr;
    QComboBox* keySelect = nullptr;
    QSpinBox* delayInput = nullptr;
    AccentButton* writeButton = nullptr;
    StatusLabel* statusLabel = nullptr;
};

} // namespace tavik
