// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

class QAction;
class QMenu;
class QPoint;
class QWidget;

namespace tavik {

// Adds "Undo" and "Redo", each with the name of the step it is about, at the end of the menu.
void addUndoEntries(QMenu* menu);

// Opens a menu of these entries, which stay their owner's, and of those two at a point of the
// screen and returns at once. The name is for screen readers.
void showMenu(const QString& name, const QList<QAction*>& entries, QWidget* parent,
              QPoint globalPos);

// The key (0 to 143) in the name of a step: as the layout file calls it.
[[nodiscard]] QString keyInStepName(int lightIndex);

} // namespace tavik
