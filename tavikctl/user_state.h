// SPDX-License-Identifier: MIT
#pragma once

#include "model/app_state.h"
#include "tavikctl/output.h"

#include <functional>

namespace tavik {

// What the user's state file holds, without touching anything; empty where there is none yet.
// Throws when it is damaged.
[[nodiscard]] SavedState presentState();

// The same, and nothing of a damaged file.
[[nodiscard]] SavedState whatIsLeftOfState();

// The state in a file the user names. Throws when there is none.
[[nodiscard]] SavedState stateIn(const QString& path, const SavedState& otherwise);

// Throws while a window or another command edits the state, but not in a dry run: for what takes
// its time before it edits.
void requireEditable(const Output& output);

// Changes the user's state and saves it. Throws, and leaves it as it was, while a window
// or another command edits it, when it cannot be saved, and when the change throws. In a dry run
// the change is tried on a copy.
void editState(const Output& output, const std::function<void(SavedState&)>& change);

// As an edit that takes over another state; the one it replaces is kept among the earlier ones, and
// may be damaged.
void takeOverState(const Output& output, const std::function<SavedState()>& other);

} // namespace tavik
