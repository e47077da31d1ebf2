// SPDX-License-Identifier: MIT
#pragma once

#include "model/key_action.h"
#include "model/macro_record.h"

#include <QList>
#include <QMenu>

class QLabel;

namespace tavik {

// The menu of one key: which one it is and what it does, every single action it can be given,
// modifiers for a key action, and the ways to the two dialogs for the rest. The key's current
// action carries a mark.
class ActionMenu : public QMenu
{
    Q_OBJECT

public:
    // current is what the key of that name does now; macroList is the list its macro actions point
    // into.
    ActionMenu(const QString& nameOfKey, const KeyAction& current,
               const QList<MacroRecord>& macroList, QWidget* parent = nullptr);

signals:
    void assignRequested();
    void chordRequested();
    // More than once when modifiers are chosen, because the menu stays open for the next one.
    void actionChosen(tavik::KeyAction action);

private:
    void addHeading();
    void showCurrent();
    void addModifiers();
    void showModifiers();
    QMenu* addGroup(const QString& title, QMenu* parent);
    void addKeys();
    void addMediaKeys();
    void addMouseActions();
    void addMacros();
    QAction* addChoice(QMenu* menu, const QString& text, const KeyAction& choice);

    struct Choice
    {
        QAction* item;
        KeyAction action;
    };

    QString keyName;
    KeyAction currentAction;
    QList<MacroRecord> macros;
    QLabel* heading = nullptr;
    QList<QMenu*> groups;
    QList<Choice> choices;
    QMenu* modifierMenu = nullptr;
};

} // namespace tavik
