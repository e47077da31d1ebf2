// SPDX-License-Identifier: MIT
#include "app/shortcut_sheet.h"

#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <utility>

namespace tavik {

namespace {

QString keysOf(const QAction& action)
{
    QStringList texts;
    for (const QKeySequence& keys : action.shortcuts())
        texts += keys.toString(QKeySequence::NativeText);
    return texts.join(QStringLiteral(", "));
}

} // namespace

void showShortcutSheet(const QList<ShortcutGroup>& groups, QWidget* parent)
{
    auto* dialog = new QDialog(parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(QDialog::tr("Shortcuts"));
    // The first group beside all the others: one below the other they are too high for many
    // screens.
    auto* columns = new QHBoxLayout;
    columns->setSpacing(44);
    QGridLayout* grid = nullptr;
    const auto addLabel = [&](const QString& text, int column, const QString& style) {
        auto* label = new QLabel(text, dialog);
        label->setTextFormat(Qt::PlainText);
        label->setStyleSheet(style);
        label->setIndent(0); // with and without a style of its own
        grid->addWidget(label, grid->rowCount() - (column == 1 ? 1 : 0), column);
    };
    for (const ShortcutGroup& group : groups) {
        if (columns->count() < 2) {
            grid = new QGridLayout;
            grid->setHorizontalSpacing(28);
            grid->setVerticalSpacing(5);
            columns->addLayout(grid);
            columns->setAlignment(grid, Qt::AlignTop);
        }
        bool isFirst = true;
        for (const QAction* action : group.actions) {
            if (action->shortcut().isEmpty())
                continue;
            if (std::exchange(isFirst, false))
                addLabel(group.title, 0, QStringLiteral("font-weight:600;margin-top:6px;"));
            addLabel(action->whatsThis().isEmpty() ? action->text() : action->whatsThis(), 0, {});
            addLabel(keysOf(*action), 1, QStringLiteral("color:#b8b8ba;"));
        }
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto* rows = new QVBoxLayout(dialog);
    rows->setContentsMargins(22, 16, 22, 16);
    rows->setSpacing(16);
    rows->addLayout(columns);
    rows->addWidget(buttons);
    dialog->open();
}

} // namespace tavik
