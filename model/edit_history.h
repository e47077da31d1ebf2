// SPDX-License-Identifier: MIT
#pragma once

#include "model/app_state.h"

#include <QUndoStack>

#include <functional>

namespace tavik {

// What of the state an edit is about.
enum class StatePart { BaseLayer, FnLayer, Macros, Colors, Everything };

// The user's edits of this process, the last 1000 of which can be taken back. Undoing or redoing
// one brings the other state back exactly, saves it and emits changed and restored. Used from the
// GUI thread only.
class EditHistory : public QUndoStack
{
    Q_OBJECT

public:
    static EditHistory& instance();

    // Calls the function, which changes the state, and saves. An edit that made a difference is a
    // step under this name, which stands behind "Undo" in menus: a single line, its ampersands
    // doubled. It emits changed, also for a layer that has followed, and the signals of the stack;
    // one that made none emits nothing.
    void edit(StatePart part, const QString& name, const std::function<void(SavedState&)>& change);

    // Keeps the present state among the earlier ones, takes over another by an edit of this name
    // and emits changed and restored.
    void takeOver(const QString& name, const SavedState& state);

signals:
    // This part of the state is another one than before, by an edit, an undo or a redo.
    void changed(tavik::StatePart part);
    // Another state has been brought back or taken over; left is the one whose place it takes.
    void restored(tavik::StatePart part, const tavik::SavedState& left);

private:
    class Step;

    EditHistory();
    void exchange(StatePart part, SavedState& other);
    void tellOfChange(StatePart part, const SavedState& before);
};

} // namespace tavik
