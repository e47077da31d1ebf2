#pragma once

#include "model/key_action.h"
#include "model/macro_record.h"

#include <QList>
#include <QMenu>

namespace tavik {

// The menu of one key: which one it is and what it does, every single action it can be given,
// modifiers for a key action, and the ways to the two dialogs for the rest. The key's current
// action carries a mark.
class ActionMenu : public QMenu
{
    Q_OBJECT

public:
    // current is what the key of that name does now; macros is the list its macro actions point
    // into.
    ActionMenu(const QString& keyName, const KeyAction& current, const QList<MacroRecord>& macros,
               QWidget* parent = nullptr);

signals:
    void assignRequested();
    void chordRequested();
    // More than once when modifiers are chosen, because the menu stays open for the next one.
    void actionChosen(tavik::KeyAction action);

private:
    void addHeading(const QString& keyName, const QList<MacroRecord>& macros);
    void addModifiers();
    void showModifiers();
    QMenu* addGroup(const QString& title, QMenu* parent);
    void addKeys();
    void addMediaKeys();
    void addMouseActions();
    void addMacros(const QList<MacroRecord>& macros);
    QAction* addChoice(QMenu* menu, const QString& text, const KeyAction& choice);

    KeyAction currentAction;
    QMenu* modifierMenu = nullptr;
};

} // namespace tavik
