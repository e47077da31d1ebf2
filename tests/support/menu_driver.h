// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QTest>

#include <algorithm>

namespace tavik::tests {

// Chooses an item of an open menu as a person does by the keys: a click that only a test makes is
// nothing to a menu in some versions of Qt. The test is aborted when no key leads there.
inline void chooseInMenu(QMenu* menu, const QAction* item)
{
    for (qsizetype step = 0; item == nullptr || menu->activeAction() != item; ++step) {
        if (item == nullptr || step > menu->actions().size())
            qFatal("no key leads to the item of the menu");
        QTest::keyClick(menu, Qt::Key_Down);
    }
    QTest::keyClick(menu, Qt::Key_Return);
}

// The first item whose text begins like this.
inline void chooseInMenu(QMenu* menu, const QString& beginning)
{
    const QList<QAction*> items = menu->actions();
    const auto found = std::ranges::find_if(
        items, [&](const QAction* item) { return item->text().startsWith(beginning); });
    chooseInMenu(menu, found == items.end() ? nullptr : *found);
}

} // namespace tavik::tests
