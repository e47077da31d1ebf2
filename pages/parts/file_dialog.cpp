// SPDX-License-Identifier: MIT
#include "pages/parts/file_dialog.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QTreeView>

namespace tavik {

namespace {

void furnish(QFileDialog& dialog)
{
    // A dialog of the platform has neither of the two.
    const auto* nameInput = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    if (nameInput != nullptr && nameInput->completer() != nullptr) {
        // A window of its own, which no sheet of the dialog reaches.
        nameInput->completer()->popup()->setStyleSheet(QStringLiteral(
            "QAbstractItemView{background:#242426;border:1px solid #585858;padding:2px;outline:0;"
            "selection-background-color:#c04800;selection-color:#ffffff;}"));
    }
    if (const auto* files = dialog.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        QHeaderView* header = files->header();
        header->setStretchLastSection(false);
        header->setSectionResizeMode(QHeaderView::ResizeToContents);
        header->setSectionResizeMode(0, QHeaderView::Stretch); // the name
    }
}

} // namespace

QStringList chosenFiles(QFileDialog& dialog)
{
    furnish(dialog);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles() : QStringList();
}

} // namespace tavik
