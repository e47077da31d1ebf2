#pragma once

#include "model/key_action.h"
#include "model/macro_record.h"

#include <QList>
#include <QMenu>

namespace tavik {

// The menu of one key: every single action it can be given, at most one sub-menu away, and the way
// to the dialog for the rest. The key's current action carries a mark.
class ActionMenu : public QMenu
{
    Q_OBJECT

public:
    // current is what the key does now; macros is the list its macro actions point into.
    ActionMenu(const KeyAction& current, const QList<MacroRecord>& macros,
               QWidget* parent = nullptr);

signals:
    void assignRequested();
    void actionChosen(tavik::KeyAction action);

private:
    QMenu* addGroup(const QString& title);
    void addKeys();
    void addMediaKeys();
    void addMouseActions();
    void addMacros(const QList<MacroRecord>& macros);
    QAction* addChoice(QMenu* menu, const QString& text, const KeyAction& choice);

    KeyAction currentAction;
};

} // namespace tavik
