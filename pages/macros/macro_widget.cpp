#include "pages/macros/macro_widget.h"

#include "model/app_state.h"
#include "model/key_names.h"
#include "pages/macros/macro_upload.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/shown_text.h"
#include "pages/parts/status_label.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QVBoxLayout>

namespace tavik {

namespace {

constexpr int groupMargin = 6;
constexpr int macroGroupWidth = 280; // at most
constexpr int formSpacing = 8;
constexpr int longestDelayMs = 65535;

// A list of 120 keys would otherwise open over the whole screen, and the scroll bars would show the
// ends of unstyled ones.
constexpr const char* pageStyleSheet =
    "QComboBox{combobox-popup:0;}"
    "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{height:0;}"
    "QListWidget::item{padding:2px 0;}";

enum ActionColumn { DelayColumn, ActionTextColumn, PressColumn, ActionColumnCount };

// The base class makes the first row current as soon as the focus comes in, and "Delete" does not
// ask: here a macro is chosen by the user only.
class MacroList : public QListWidget
{
public:
    using QListWidget::QListWidget;

protected:
    void focusInEvent(QFocusEvent*) override { viewport()->update(); }
};

} // namespace

MacroWidget::MacroWidget(QWidget* parent) : QWidget(parent)
{
    setStyleSheet(QLatin1String(pageStyleSheet));
    auto* groups = new QHBoxLayout;
    groups->addWidget(createMacroGroup());
    groups->addWidget(createActionGroup(), 1);

    QLabel* hint = createHint(
        tr("Macros play from keys assigned in the Keys tab (assignment type: Macro)."), this);
    auto* sendRow = new QHBoxLayout;
    sendRow->addStretch();
    sendRow->addWidget(
        createAccentButton(tr("Write macros to keyboard"), this, &MacroWidget::sendMacros));
    sendRow->addStretch();
    statusLabel = createStatusLabel(this);

    QVBoxLayout* column = createPageColumn(this, -1);
    column->addLayout(groups, 1);
    column->addWidget(hint);
    column->addLayout(sendRow);
    column->addWidget(statusLabel);

    refillMacroList();
    connect(macroList, &QListWidget::currentRowChanged, this, &MacroWidget::macroSelected);
    connect(&AppState::instance(), &AppState::macrosChanged, this, &MacroWidget::refillMacroList);
}

QWidget* MacroWidget::createMacroGroup()
{
    auto* group = new QGroupBox(tr("Macros"), this);
    group->setMaximumWidth(macroGroupWidth);
    macroList = new MacroList(group);
    macroList->setAccessibleName(tr("Macros"));

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(createButton(tr("New macro"), this, &MacroWidget::newMacro));
    buttons->addWidget(createButton(tr("Delete"), this, &MacroWidget::deleteMacro));
    auto* column = new QVBoxLayout(group);
    column->setContentsMargins(groupMargin, groupMargin, groupMargin, groupMargin);
    column->addWidget(macroList);
    column->addLayout(buttons);
    return group;
}

QWidget* MacroWidget::createActionGroup()
{
    auto* group = new QGroupBox(tr("Actions"), this);
    createActionTable();
    createActionForm();

    QHBoxLayout* buttons =
        createRow({createButton(tr("Add action"), this, &MacroWidget::addAction),
                   createButton(tr("Remove action"), this, &MacroWidget::deleteAction)});
    buttons->setSpacing(formSpacing);
    auto* form = new QFormLayout;
    form->setVerticalSpacing(formSpacing);
    form->addRow(tr("Type"), typeSelect);
    form->addRow(tr("Key / button"), keySelect);
    form->addRow(tr("Delay before"), delayInput);
    form->addRow(buttons);

    auto* column = new QVBoxLayout(group);
    column->setContentsMargins(groupMargin, groupMargin, groupMargin, groupMargin);
    column->addWidget(actionTable, 1);
    column->addLayout(form);
    return group;
}

void MacroWidget::createActionTable()
{
    actionTable = new QTableWidget(0, ActionColumnCount, this);
    actionTable->setAccessibleName(tr("Actions"));
    actionTable->setHorizontalHeaderLabels({tr("Delay (ms)"), tr("Action"), tr("Type")});
    actionTable->horizontalHeader()->setSectionResizeMode(ActionTextColumn, QHeaderView::Stretch);
    actionTable->horizontalHeader()->setHighlightSections(false);
    actionTable->verticalHeader()->hide();
    actionTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    actionTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    actionTable->setSelectionMode(QAbstractItemView::SingleSelection);
}

void MacroWidget::createActionForm()
{
    typeSelect = new QComboBox(this);
    for (const MacroActionType& type : macroActionTypes)
        typeSelect->addItem(type.label.toString(), type.flags);
    keySelect = new QComboBox(this);
    for (const std::uint8_t usage : offeredKeyUsages())
        keySelect->addItem(keyName(usage), usage);
    delayInput = new QSpinBox(this);
    delayInput->setButtonSymbols(QAbstractSpinBox::NoButtons); // nobody clicks up to 65535
    delayInput->setRange(0, longestDelayMs);
    delayInput->setSuffix(tr(" ms"));
}

// Null when no row is current, or when the list is behind the model.
MacroRecord* MacroWidget::currentMacro() const
{
    QList<MacroRecord>& macros = AppState::instance().macros;
    const int row = macroList->currentRow();
    return row >= 0 && row < macros.size() ? &macros[row] : nullptr;
}

void MacroWidget::newMacro()
{
    QList<MacroRecord>& macros = AppState::instance().macros;
    bool accepted = false;
    const QString name =
        QInputDialog::getText(this, tr("New macro"), tr("Name:"), QLineEdit::Normal,
                              tr("Macro %1").arg(macros.size() + 1), &accepted);
    if (!accepted || name.isEmpty())
        return;
    macros.append({name, {}});
    AppState::instance().save();
    refillMacroList();
    macroList->setCurrentRow(macroList->count() - 1);
}

void MacroWidget::deleteMacro()
{
    if (currentMacro() == nullptr)
        return;
    AppState::instance().macros.removeAt(macroList->currentRow());
    AppState::instance().save();
    // No row is current afterwards, so that a second click cannot take a second macro.
    refillMacroList();
}

void MacroWidget::macroSelected(int row)
{
    // Every button acts on the current row, so it has to be the marked one.
    if (QListWidgetItem* item = macroList->item(row))
        item->setSelected(true);
    refillActionTable(row);
    actionTable->scrollToTop();
}

void MacroWidget::addAction()
{
    MacroRecord* macro = currentMacro();
    if (macro == nullptr) {
        showStatus(statusLabel, StatusLook::Warning, tr("Select a macro first."));
        return;
    }
    macro->actions.append({static_cast<std::uint16_t>(delayInput->value()),
                           static_cast<std::uint8_t>(keySelect->currentData().toUInt()),
                           static_cast<std::uint8_t>(typeSelect->currentData().toUInt())});
    AppState::instance().save();
    refillActionTable(macroList->currentRow());
    actionTable->scrollToBottom();
}

void MacroWidget::deleteAction()
{
    MacroRecord* macro = currentMacro();
    const QModelIndexList rows = actionTable->selectionModel()->selectedRows();
    if (macro == nullptr || rows.isEmpty() || rows.first().row() >= macro->actions.size())
        return;
    macro->actions.removeAt(rows.first().row());
    AppState::instance().save();
    refillActionTable(macroList->currentRow());
}

void MacroWidget::sendMacros()
{
    const std::optional<QByteArray> image = encodeMacroSpace(AppState::instance().macros);
    if (!image)
        showStatus(statusLabel, StatusLook::Error, macroSpaceExceededText.toString());
    else
        showOutcome(statusLabel, writeMacroSpace(*image),
                    tr("Macros written (%1 bytes).").arg(image->size()));
}

void MacroWidget::refillMacroList()
{
    macroList->clear();
    for (const MacroRecord& macro : AppState::instance().macros)
        macroList->addItem(beginningOf(macro.name, shownNameLimit));
    macroSelected(macroList->currentRow());
}

// No row is selected afterwards, so that a second click on "Remove action" cannot take a second
// one.
void MacroWidget::refillActionTable(int macroIndex)
{
    const QList<MacroRecord>& macros = AppState::instance().macros;
    const bool exists = macroIndex >= 0 && macroIndex < macros.size();
    const QList<MacroAction> actions =
        exists ? macros.at(macroIndex).actions : QList<MacroAction>();
    actionTable->setRowCount(static_cast<int>(actions.size()));
    for (int row = 0; row < actions.size(); ++row) {
        const MacroAction& action = actions.at(row);
        actionTable->setItem(row, DelayColumn, new QTableWidgetItem(QString::number(action.delay)));
        actionTable->setItem(row, ActionTextColumn, new QTableWidgetItem(macroActionText(action)));
        actionTable->setItem(row, PressColumn, new QTableWidgetItem(macroPressText(action)));
    }
    actionTable->clearSelection();
}

} // namespace tavik
