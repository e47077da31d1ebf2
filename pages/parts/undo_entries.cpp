// SPDX-License-Identifier: MIT
#include "pages/parts/undo_entries.h"

#include "model/edit_history.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/shown_text.h"

#include <QAction>
#include <QMenu>

namespace tavik {

void addUndoEntries(QMenu* menu)
{
    EditHistory& history = EditHistory::instance();
    if (!menu->isEmpty())
        menu->addSeparator();
    QAction* undo = history.createUndoAction(menu);
    QAction* redo = history.createRedoAction(menu);
    // For the user to read: no menu answers to them, but the window does.
    undo->setShortcut(Qt::CTRL | Qt::Key_Z);
    redo->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_Z);
    menu->addActions({undo, redo});
}

void showMenu(const QString& name, const QList<QAction*>& entries, QWidget* parent,
              QPoint globalPos)
{
    auto* menu = new QMenu(parent);
    menu->setAccessibleName(name);
    menu->addActions(entries);
    addUndoEntries(menu);
    popUp(menu, globalPos);
}

QString keyInStepName(int lightIndex)
{
    return menuText(nameOfKey(lightIndex));
}

} // namespace tavik
