// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

class QAction;
class QWidget;

namespace tavik {

// Actions under one heading; those without a shortcut are passed over.
struct ShortcutGroup
{
    QString title;
    QList<QAction*> actions;
};

// Opens a dialog over the parent that lists what each shortcut does, and returns at once.
void showShortcutSheet(const QList<ShortcutGroup>& groups, QWidget* parent);

} // namespace tavik
