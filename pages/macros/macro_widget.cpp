// SPDX-License-Identifier: MIT
#include "pages/macros/macro_widget.h"

#include "model/key_names.h"
#include "pages/macros/action_picture.h"
#include "pages/macros/macro_upload.h"
#include "pages/macros/record_dialog.h"
#include "pages/parts/accessible_roles.h"
#include "pages/parts/busy_wait.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/shown_text.h"
#include "pages/parts/status_label.h"
#include "pages/parts/undo_entries.h"

#include <QAction>
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

#include <algorithm>
#include <array>

namespace tavik {

namespace {

constexpr int groupMargin = 6;
constexpr int macroGroupWidth = 280; // at most
constexpr int formSpacing = 8;
constexpr int longestDelayMs = 65535;
constexpr int rowHeight = 30; // of the list and of the table
constexpr QColor codeColor(0xb8, 0xb8, 0xba);

// A list of 120 keys would otherwise open over the whole screen, and the scroll bars would show the
// ends of unstyled ones.
constexpr const char* pageStyleSheet =
    "QComboBox{combobox-popup:0;}"
    "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{height:0;}"
    "QListWidget::item{padding:0;}"
    "QHeaderView::section{padding:5px 3px;}"; // where the cells begin

enum ActionColumn { DelayColumn, ActionTextColumn, PressColumn, ActionColumnCount };

// Numbers end one below the other, and headings stand over what they head.
Qt::Alignment alignmentOf(int column)
{
    return (column == DelayColumn ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
}

QTableWidgetItem* createCell(int column, const QString& text)
{
    auto* cell = new QTableWidgetItem(text);
    cell->setTextAlignment(alignmentOf(column));
    return cell;
}

template <typename Item>
qsizetype firstDifference(const QList<Item>& one, const QList<Item>& other)
{
    return std::ranges::mismatch(one, other).in1 - one.begin();
}

// Tells assistive tools of the current place only when the focus is there.
template <class View>
class QuietView : public View
{
public:
    using View::View;

protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override
    {
        if (this->hasFocus())
            View::currentChanged(current, previous);
        else
            QAbstractItemView::currentChanged(current, previous);
    }
};

// The base class makes the first row current as soon as the focus comes in, and "Delete" does not
// ask: here a macro is chosen by the user only.
class MacroList : public QuietView<QListWidget>
{
public:
    using QuietView::QuietView;

protected:
    void focusInEvent(QFocusEvent*) override { viewport()->update(); }
};

} // namespace

MacroWidget::MacroWidget(QWidget* parent)
    : QWidget(parent), writtenMacros(AppState::instance().macros)
{
    setStyleSheet(QLatin1String(pageStyleSheet));
    auto* groups = new QHBoxLayout;
    groups->addWidget(createMacroGroup());
    groups->addWidget(createActionGroup(), 1);

    QLabel* hint = createHint(
        tr("Macros play from keys assigned in the Keys tab (assignment type: Macro)."), this);
    auto* sendRow = new QHBoxLayout;
    sendRow->addStretch();
    writeButton =
        createAccentButton(tr("Write macros to keyboard"), this, &MacroWidget::sendMacros);
    sendRow->addWidget(writeButton);
    sendRow->addStretch();
    statusLabel = new StatusLabel(this);

    QVBoxLayout* column = createPageColumn(this, -1);
    column->addLayout(groups, 1);
    column->addWidget(hint);
    column->addLayout(sendRow);
    column->addWidget(statusLabel);

    createMacroEntries();
    createActionEntries();
    refillMacroList();
    connect(macroList, &QListWidget::currentRowChanged, this, &MacroWidget::macroSelected);
    keepCurrentSelected(macroList);
    connect(&AppState::instance(), &AppState::macrosChanged, this, &MacroWidget::refillMacroList);
    connect(&EditHistory::instance(), &EditHistory::changed, this, &MacroWidget::showMark);
    connect(&EditHistory::instance(), &EditHistory::restored, this, &MacroWidget::showRestored);
    connect(actionTable, &QTableWidget::itemSelectionChanged, this, &MacroWidget::enableEntries);
    showMark();
}

QWidget* MacroWidget::createMacroGroup()
{
    auto* group = new QGroupBox(tr("Macros"), this);
    group->setMaximumWidth(macroGroupWidth);
    macroList = new MacroList(group);
    macroList->setAccessibleName(tr("Macros"));
    macroList->setToolTip(tr("Right click or Shift+F10 opens a menu; Ctrl+R records."));
    macroList->setAccessibleDescription(macroList->toolTip());
    openMenuOn(group, macroList);

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
    createActionTable(group);
    openMenuOn(group, actionTable);
    createActionForm(group);

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

// What belongs to the list opens its menu, too.
void MacroWidget::openMenuOn(QGroupBox* group, QAbstractScrollArea* list)
{
    const auto openOn = [this, list](QWidget* owner, QWidget* ground) {
        owner->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(owner, &QWidget::customContextMenuRequested, this,
                [this, ground, list](QPoint position) {
                    showMenu(list->accessibleName(), list->actions(), this,
                             ground->mapToGlobal(position));
                });
    };
    openOn(list, list->viewport());
    openOn(group, group);
    letToolsOpenMenu(group, QAccessible::Grouping, group->title());
}

void MacroWidget::createActionTable(QWidget* parent)
{
    actionTable = new QuietView<QTableWidget>(0, ActionColumnCount, parent);
    actionTable->setAccessibleName(tr("Actions"));
    actionTable->setToolTip(macroList->toolTip());
    actionTable->setAccessibleDescription(macroList->toolTip());
    actionTable->setHorizontalHeaderLabels({tr("Delay (ms)"), tr("Action"), tr("Type")});
    for (int column = 0; column < ActionColumnCount; ++column)
        actionTable->horizontalHeaderItem(column)->setTextAlignment(alignmentOf(column));
    actionTable->horizontalHeader()->setSectionResizeMode(ActionTextColumn, QHeaderView::Stretch);
    actionTable->horizontalHeader()->setHighlightSections(false);
    actionTable->verticalHeader()->hide();
    actionTable->verticalHeader()->setDefaultSectionSize(rowHeight);
    actionTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    actionTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    actionTable->setIconSize(actionPictureSize);
    actionTable->setTabKeyNavigation(false); // the arrow keys walk in it, and Tab leaves it
}

void MacroWidget::createMacroEntries()
{
    recordEntry =
        addMenuEntry(this, tr("Record…"), Qt::CTRL | Qt::Key_R, [this] { recordActions(); });
    recordEntry->setShortcutContext(Qt::WidgetWithChildrenShortcut); // wherever the focus is
    macroList->addAction(recordEntry);
    const auto add = [this](const QString& text, const QKeySequence& keys,
                            const std::function<void()>& act) {
        return macroEntries.emplaceBack(addMenuEntry(macroList, text, keys, act));
    };
    add(tr("Rename macro…"), Qt::Key_F2, [this] { renameMacro(); });
    add(tr("Duplicate macro"), Qt::CTRL | Qt::Key_D, [this] { duplicateMacro(); });
    macroUpEntry =
        add(tr("Move macro up"), Qt::CTRL | Qt::Key_Up, [this] { moveCurrentMacro(-1); });
    macroDownEntry =
        add(tr("Move macro down"), Qt::CTRL | Qt::Key_Down, [this] { moveCurrentMacro(1); });
    add(tr("Delete macro"), Qt::Key_Delete, [this] { deleteMacro(); });
}

void MacroWidget::createActionEntries()
{
    actionTable->addAction(recordEntry);
    const auto add = [this](const QString& text, const QKeySequence& keys,
                            const std::function<void()>& act) {
        return actionEntries.emplaceBack(addMenuEntry(actionTable, text, keys, act));
    };
    add(tr("Insert action above"), Qt::Key_Insert, [this] { insertAction(); });
    add(tr("Duplicate actions"), Qt::CTRL | Qt::Key_D, [this] { duplicateActions(); });
    add(tr("Change delay…"), Qt::Key_F2, [this] { changeDelay(); });
    actionsUpEntry =
        add(tr("Move actions up"), Qt::CTRL | Qt::Key_Up, [this] { moveSelectedActions(-1); });
    actionsDownEntry =
        add(tr("Move actions down"), Qt::CTRL | Qt::Key_Down, [this] { moveSelectedActions(1); });
    add(tr("Remove actions"), Qt::Key_Delete, [this] { deleteAction(); });
}

void MacroWidget::enableEntries()
{
    const int row = macroList->currentRow();
    for (QAction* entry : macroEntries)
        entry->setEnabled(currentMacro() != nullptr);
    macroUpEntry->setEnabled(row > 0);
    macroDownEntry->setEnabled(row >= 0 && row + 1 < macroList->count());

    const QList<int> rows = selectedActions();
    for (QAction* entry : actionEntries)
        entry->setEnabled(!rows.isEmpty());
    actionsUpEntry->setEnabled(!rows.isEmpty() && rows.first() > 0);
    actionsDownEntry->setEnabled(!rows.isEmpty() && rows.last() + 1 < actionTable->rowCount());
}

void MacroWidget::createActionForm(QWidget* parent)
{
    typeSelect = new QComboBox(parent);
    for (const MacroActionType& type : macroActionTypes)
        typeSelect->addItem(type.label.toString(), type.flags);
    keySelect = new QComboBox(parent);
    // While it has no entries: the font that it gets with its style measures every one of them.
    keySelect->ensurePolished();
    for (const std::uint8_t usage : offeredKeyUsages())
        keySelect->addItem(keyName(usage), usage);
    delayInput = new QSpinBox(parent);
    delayInput->setButtonSymbols(QAbstractSpinBox::NoButtons); // nobody clicks up to 65535
    delayInput->setRange(0, longestDelayMs);
    delayInput->setSuffix(tr(" ms"));
}

// Null when no row is current, or when the list is behind the model.
const MacroRecord* MacroWidget::currentMacro() const
{
    const QList<MacroRecord>& macros = AppState::instance().macros;
    const int row = macroList->currentRow();
    return row >= 0 && row < macros.size() ? &macros.at(row) : nullptr;
}

void MacroWidget::editMacros(const QString& name,
                             const std::function<void(QList<MacroRecord>&)>& change)
{
    EditHistory::instance().edit(StatePart::Macros, name,
                                 [&](SavedState& state) { change(state.macros); });
    warnOfFullSpace();
}

// The keyboard would not take them; better said now than when everything is written.
void MacroWidget::warnOfFullSpace()
{
    const QList<MacroRecord>& macros = AppState::instance().macros;
    const qsizetype used = macroSpaceUsed(macros);
    if (used > macroSpaceSize)
        statusLabel->showStatus(
            StatusLook::Warning,
            tr("The macros take %1 of %2 bytes: too many to write.").arg(used).arg(macroSpaceSize),
            StatePart::Macros);
    else if (macros.size() > macroLimit)
        statusLabel->showStatus(StatusLook::Warning,
                                tr("Only the first %1 macros are written.").arg(macroLimit),
                                StatePart::Macros);
}

// Of the current macro, which has to exist.
void MacroWidget::editActions(const QString& name,
                              const std::function<void(QList<MacroAction>&)>& change)
{
    editMacros(name, [&](auto& macros) { change(macros[macroList->currentRow()].actions); });
    refillActionTable(macroList->currentRow());
}

QString MacroWidget::nextMacroName() const
{
    return tr("Macro %1").arg(AppState::instance().macros.size() + 1);
}

void MacroWidget::newMacro()
{
    const QString name = QInputDialog::getText(this, tr("New macro"), tr("Name:"),
                                               QLineEdit::Normal, nextMacroName());
    if (name.isEmpty())
        return;
    editMacros(tr("New macro"), [&](auto& macros) { macros.append({name, {}}); });
    showMacro(macroList->count());
}

void MacroWidget::renameMacro()
{
    const MacroRecord* macro = currentMacro();
    if (macro == nullptr)
        return;
    QInputDialog* question = createQuestion(tr("Rename macro"), tr("Name:"));
    question->setTextValue(macro->name);
    connect(question, &QInputDialog::textValueSelected, this, [this](const QString& name) {
        const int row = macroList->currentRow();
        // Settings dropped just before the question came may have brought other macros.
        if (name.isEmpty() || currentMacro() == nullptr)
            return;
        editMacros(tr("Rename macro"), [&](auto& macros) { macros[row].name = name; });
        showMacro(row);
    });
    question->open();
}

QInputDialog* MacroWidget::createQuestion(const QString& title, const QString& label)
{
    auto* question = new QInputDialog(this);
    question->setAttribute(Qt::WA_DeleteOnClose);
    question->setWindowTitle(title);
    question->setLabelText(label);
    return question;
}

// At the end, so that no key has to follow another macro.
void MacroWidget::duplicateMacro()
{
    if (const MacroRecord* macro = currentMacro()) {
        const MacroRecord copy{tr("%1 copy").arg(macro->name), macro->actions};
        editMacros(tr("Duplicate macro"), [&](auto& macros) { macros.append(copy); });
        showMacro(macroList->count());
    }
}

void MacroWidget::moveCurrentMacro(int distance)
{
    const int row = macroList->currentRow();
    const int place = row + distance;
    const qsizetype count = AppState::instance().macros.size();
    if (currentMacro() == nullptr || place < 0 || place >= count)
        return;
    EditHistory::instance().edit(StatePart::Macros, tr("Move macro"),
                                 [=](SavedState& state) { moveMacro(state, row, place); });
    warnOfFullSpace();
    showMacro(place);
}

// Without a macro to add to, a new one.
void MacroWidget::recordActions()
{
    const MacroRecord* macro = currentMacro();
    const QString name = macro == nullptr ? nextMacroName() : beginningOf(macro->name, 40);
    auto* dialog = new RecordDialog(name, this);
    connect(dialog, &RecordDialog::recorded, this, &MacroWidget::appendRecorded);
    dialog->open();
}

void MacroWidget::appendRecorded(const QList<MacroAction>& recorded)
{
    qsizetype row = macroList->currentRow();
    if (currentMacro() == nullptr)
        row = AppState::instance().macros.size();
    editMacros(tr("Record actions"), [&](auto& macros) {
        if (row == macros.size())
            macros.append({nextMacroName(), {}});
        macros[row].actions += recorded;
    });
    showMacro(row);
    actionTable->scrollToBottom();
}

void MacroWidget::deleteMacro()
{
    if (currentMacro() == nullptr)
        return;
    editMacros(tr("Delete macro"),
               [this](auto& macros) { macros.removeAt(macroList->currentRow()); });
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
    if (currentMacro() == nullptr) {
        statusLabel->showStatus(StatusLook::Warning, tr("Select a macro first."));
        statusLabel->clearOn(macroList, &QListWidget::currentRowChanged);
        return;
    }
    editActions(tr("Add action"), [&](auto& actions) { actions.append(actionOfForm()); });
    actionTable->scrollToBottom();
}

MacroAction MacroWidget::actionOfForm() const
{
    return {static_cast<std::uint16_t>(delayInput->value()),
            static_cast<std::uint8_t>(keySelect->currentData().toUInt()),
            static_cast<std::uint8_t>(typeSelect->currentData().toUInt())};
}

void MacroWidget::deleteAction()
{
    const QList<int> rows = selectedActions();
    if (rows.isEmpty())
        return;
    editActions(tr("Remove action"), [&](auto& actions) {
        for (qsizetype index = rows.size() - 1; index >= 0; --index)
            actions.removeAt(rows.at(index));
    });
    // The one that has moved up is selected, or the last one left, so that several can be removed
    // one after the other.
    selectActions({std::min(rows.first(), actionTable->rowCount() - 1)});
}

void MacroWidget::insertAction()
{
    const QList<int> rows = selectedActions();
    if (rows.isEmpty())
        return;
    editActions(tr("Insert action"),
                [&](auto& actions) { actions.insert(rows.first(), actionOfForm()); });
    selectActions({rows.first()});
}

void MacroWidget::duplicateActions()
{
    const QList<int> rows = selectedActions();
    if (rows.isEmpty())
        return;
    QList<int> copies;
    editActions(tr("Duplicate actions"), [&](auto& actions) {
        QList<MacroAction> copied;
        for (const int row : rows) {
            copied += actions.at(row);
            copies += rows.last() + static_cast<int>(copied.size());
        }
        for (qsizetype index = 0; index < copied.size(); ++index)
            actions.insert(copies.at(index), copied.at(index));
    });
    selectActions(copies);
}

void MacroWidget::changeDelay()
{
    if (selectedActions().isEmpty())
        return;
    QInputDialog* question = createQuestion(tr("Change delay"), tr("Delay before (ms):"));
    question->setInputMode(QInputDialog::IntInput);
    question->setIntRange(0, longestDelayMs);
    question->setIntValue(currentMacro()->actions.at(selectedActions().first()).delay);
    connect(question, &QInputDialog::intValueSelected, this, [this](int delay) {
        const QList<int> rows = selectedActions();
        if (rows.isEmpty())
            return;
        editActions(tr("Change delay"), [&](auto& actions) {
            for (const int row : rows)
                actions[row].delay = static_cast<std::uint16_t>(delay);
        });
        selectActions(rows);
    });
    question->open();
}

// Each by one place; none when the first of them has no place to go to.
void MacroWidget::moveSelectedActions(int distance)
{
    QList<int> rows = selectedActions();
    if (rows.isEmpty() || rows.first() + distance < 0 ||
        rows.last() + distance >= currentMacro()->actions.size())
        return;
    editActions(tr("Move actions"), [&](auto& actions) {
        if (distance > 0)
            std::ranges::reverse(rows);
        for (int& row : rows) {
            actions.swapItemsAt(row, row + distance);
            row += distance;
        }
    });
    selectActions(rows);
}

// In their order. None when the table is behind the model.
QList<int> MacroWidget::selectedActions() const
{
    QList<int> rows;
    for (const QModelIndex& row : actionTable->selectionModel()->selectedRows())
        rows += row.row();
    std::ranges::sort(rows);
    const MacroRecord* macro = currentMacro();
    if (macro == nullptr || rows.isEmpty() || rows.last() >= macro->actions.size())
        return {};
    return rows;
}

void MacroWidget::selectActions(const QList<int>& rows)
{
    QItemSelection selection;
    for (const int row : rows)
        selection.select(actionTable->model()->index(row, 0),
                         actionTable->model()->index(row, ActionColumnCount - 1));
    const QModelIndex current = actionTable->model()->index(rows.first(), 0);
    actionTable->selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    actionTable->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    actionTable->scrollTo(current);
}

void MacroWidget::sendMacros()
{
    const BusyWait wait(this, statusLabel);
    if (!wait.hasBegun())
        return;
    const QList<MacroRecord>& macros = AppState::instance().macros;
    const std::optional<QByteArray> image = encodeMacroSpace(macros);
    if (!image) {
        statusLabel->showRefusal(macroSpaceExceededText.toString(),
                                 tr("Remove some actions or macros, then write again."),
                                 StatePart::Macros);
        return;
    }
    const bool written = writeMacroSpace(*image);
    if (written)
        writtenMacros = macros;
    showMark();
    statusLabel->showOutcome(written, tr("Macros written (%1 bytes).").arg(image->size()),
                             StatePart::Macros);
}

// What the keyboard held before the program started is unknown; then nothing is marked.
void MacroWidget::showMark()
{
    const QList<MacroRecord>& macros = AppState::instance().macros;
    writeButton->setMarked(macros != writtenMacros);
    writeButton->setNote(tr("%1 of %2 bytes").arg(macroSpaceUsed(macros)).arg(macroSpaceSize));
}

void MacroWidget::showMacro(qsizetype row)
{
    refillMacroList();
    macroList->setCurrentRow(static_cast<int>(row));
}

void MacroWidget::refillMacroList()
{
    macroList->clear();
    for (const MacroRecord& macro : AppState::instance().macros)
        addToList(beginningOf(macro.name, shownNameLimit));
    macroSelected(macroList->currentRow());
}

// Asking for no width, a name has that of the list and ends in an ellipsis; the tool tip tells it
// all.
void MacroWidget::addToList(const QString& name)
{
    auto* item = new QListWidgetItem(name);
    item->setSizeHint(QSize(0, rowHeight));
    item->setToolTip(wrappedToolTip(name));
    macroList->addItem(item); // last: the list searches itself at every change of an item in it
}

// No row is selected afterwards, unless the caller knows which.
void MacroWidget::refillActionTable(int macroIndex)
{
    const QList<MacroRecord>& macros = AppState::instance().macros;
    const bool exists = macroIndex >= 0 && macroIndex < macros.size();
    const QList<MacroAction> actions =
        exists ? macros.at(macroIndex).actions : QList<MacroAction>();
    actionTable->setRowCount(static_cast<int>(actions.size()));
    for (int row = 0; row < actions.size(); ++row) {
        const MacroAction& action = actions.at(row);
        const std::array<QString, ActionColumnCount> texts{
            QString::number(action.delay), macroActionText(action), macroPressText(action)};
        const QString words = macroActionWords(action);
        for (int column = 0; column < ActionColumnCount; ++column) {
            QTableWidgetItem* cell = createCell(column, texts.at(static_cast<std::size_t>(column)));
            cell->setToolTip(words);
            if (column == DelayColumn) // the first that is heard of a row
                cell->setData(Qt::AccessibleTextRole, tr("%1 ms, %2").arg(action.delay).arg(words));
            if (column == ActionTextColumn) {
                cell->setIcon(actionPicture(words));
                cell->setForeground(codeColor);
            }
            actionTable->setItem(row, column, cell);
        }
    }
    actionTable->clearSelection();
    enableEntries();
}

// What has come back is selected. Where something has gone nothing is, so that the next click
// cannot take its neighbor, too.
void MacroWidget::showRestored(StatePart part, const SavedState& left)
{
    if (part != StatePart::Macros && part != StatePart::Everything)
        return;
    const int rowBefore = macroList->currentRow();
    refillMacroList();
    warnOfFullSpace();
    const QList<MacroRecord>& macros = AppState::instance().macros;
    const qsizetype row = firstDifference(left.macros, macros);
    if (part == StatePart::Everything || macros.size() < left.macros.size() || row == macros.size())
        return;
    const bool isMove = macros.size() == left.macros.size() &&
                        macros.sliced(row + 1) != left.macros.sliced(row + 1);
    // The one that has moved is still the current one, above or below the other.
    const bool goesDown = isMove && rowBefore == row;
    macroList->setCurrentRow(static_cast<int>(goesDown ? row + 1 : row));
    if (isMove || macros.size() > left.macros.size())
        return;
    const QList<MacroAction>& actions = macros.at(row).actions;
    const QList<MacroAction>& leftActions = left.macros.at(row).actions;
    const int actionRow = static_cast<int>(firstDifference(leftActions, actions));
    actionTable->scrollTo(actionTable->model()->index(actionRow, DelayColumn));
    if (actions.size() >= leftActions.size())
        actionTable->selectRow(actionRow);
}

} // namespace tavik
