// SPDX-License-Identifier: MIT
#pragma once

#include "model/app_state.h"

class QWidget;

namespace tavik {

// How many keys, macros and colors a state holds that are not as they come.
[[nodiscard]] QString contentsText(const SavedState& state);

// Asks for a file and writes the present state to it, whole or not at all. A message box tells of a
// failure.
void exportSettings(QWidget* parent);

// Asks for a file and imports it.
void importSettings(QWidget* parent);

// Takes over the state in the file, as a step that can be undone, once the user has agreed; what
// the file lacks stays as it is. A message box tells why a file cannot be imported.
void importSettingsFrom(const QString& path, QWidget* parent);

// Opens the menu of all this, with the earlier states, at a point of the screen and returns at
// once.
void showExchangeMenu(QWidget* parent, QPoint globalPos);

} // namespace tavik
