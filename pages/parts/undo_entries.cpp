#include "pages/parts/undo_entries.h"

#include "model/edit_history.h"
#include "model/keyboard_layout.h"
#include "pages/parts/shown_text.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenu>

#include <algorithm>

namespace tavik {

namespace {

constexpr qsizetype keyNameLimit = 40; // characters; a layout file may give a key any name

} // namespace

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

void showUndoMenu(QWidget* parent, QPoint globalPos)
{
    auto* menu = new QMenu(parent);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    addUndoEntries(menu);
    menu->popup(globalPos);
}

QString keyInStepName(int lightIndex)
{
    const QList<KeyRecord>& keys = KeyboardLayout::instance().keys;
    const auto key = std::ranges::find(keys, lightIndex, &KeyRecord::lightIndex);
    const QString name = key == keys.end() ? QString() : key->desc.simplified();
    if (name.isEmpty())
        return QCoreApplication::translate("tavik::UndoEntries", "key %1").arg(lightIndex);
    return menuText(beginningOf(name, keyNameLimit));
}

} // namespace tavik
