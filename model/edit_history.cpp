// SPDX-License-Identifier: MIT
#include "model/edit_history.h"

#include "model/state_copies.h"

#include <tuple>
#include <utility>

namespace tavik {

namespace {

constexpr int longestHistory = 1000; // steps

} // namespace

// Holds whichever of its two states is not the present one. States share their macros, so a step
// takes little room.
class EditHistory::Step : public QUndoCommand
{
public:
    Step(StatePart changedPart, const QString& name, const SavedState& before)
        : QUndoCommand(name), part(changedPart), other(before)
    {
    }

    void undo() override { instance().exchange(part, other); }

    void redo() override
    {
        // Called for the edit itself, too, which has been made by then.
        if (std::exchange(isMade, true))
            instance().exchange(part, other);
    }

private:
    StatePart part;
    SavedState other;
    bool isMade = false;
};

// Here, because a program without undo takes no part of it.
void AppState::replace(const QString& name, const SavedState& state)
{
    std::ignore = keepEarlier(stateToJson(*this));
    EditHistory::instance().edit(StatePart::Everything, name,
                                 [&](SavedState& present) { present = state; });
    emit layersChanged();
    emit macrosChanged();
    emit rgbChanged();
}

EditHistory& EditHistory::instance()
{
    static EditHistory history;
    return history;
}

EditHistory::EditHistory()
{
    setUndoLimit(longestHistory);
}

void EditHistory::edit(StatePart part, const QString& name,
                       const std::function<void(SavedState&)>& change)
{
    AppState& state = AppState::instance();
    const SavedState before = state;
    change(state);
    state.save();
    if (static_cast<const SavedState&>(state) == before)
        return;
    push(new Step(part, name, before));
    tellOfChange(part, before);
}

void EditHistory::takeOver(const QString& name, const SavedState& state)
{
    const SavedState left = AppState::instance();
    std::ignore = keepEarlier(stateToJson(left));
    edit(StatePart::Everything, name, [&](SavedState& present) { present = state; });
    emit restored(StatePart::Everything, left);
}

void EditHistory::exchange(StatePart part, SavedState& other)
{
    AppState& state = AppState::instance();
    std::swap(static_cast<SavedState&>(state), other);
    state.save();
    tellOfChange(part, other);
    emit restored(part, other);
}

// Keys follow the macros that they play.
void EditHistory::tellOfChange(StatePart part, const SavedState& before)
{
    const AppState& state = AppState::instance();
    emit changed(part);
    if (part == StatePart::Macros && state.layerBase != before.layerBase)
        emit changed(StatePart::BaseLayer);
    if (part == StatePart::Macros && state.layerFn != before.layerFn)
        emit changed(StatePart::FnLayer);
}

} // namespace tavik
