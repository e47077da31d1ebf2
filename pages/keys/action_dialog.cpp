// SPDX-License-Identifier: MIT
#include "pages/keys/action_dialog.h"

#include "model/app_state.h"
#include "model/key_names.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/shown_text.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

namespace tavik {

namespace {

struct TypeChoice
{
    KeyActionPage page;
    const char* text;
};

constexpr std::array<TypeChoice, 5> typeChoices{{
    {KeyActionPage::Default, QT_TRANSLATE_NOOP("tavik::ActionDialog", "Default key")},
    {KeyActionPage::Keyboard,
     QT_TRANSLATE_NOOP("tavik::ActionDialog", "Keyboard key (+ modifiers)")},
    {KeyActionPage::Consumer, QT_TRANSLATE_NOOP("tavik::ActionDialog", "Multimedia key")},
    {KeyActionPage::Mouse, QT_TRANSLATE_NOOP("tavik::ActionDialog", "Mouse action")},
    {KeyActionPage::Special, QT_TRANSLATE_NOOP("tavik::ActionDialog", "Disabled")},
}};

// The stack page that choosing a type brings up, by the type's number. On purpose they do not pair
// every type with its own list; what is stored never depends on the page shown.
constexpr int keepPage = -1;
constexpr std::array<int, 9> pageOfType{0, keepPage, 1, 2, keepPage, 3, 4, keepPage, 5};

constexpr int dialogWidth = 460;
constexpr int formSpacing = 10;
// A macro may have a name of any length; the list then shows as much of it as fits.
constexpr int listCharacters = 24;

QComboBox* createList(const QString& accessibleName, QWidget* parent)
{
    auto* list = new QComboBox(parent);
    list->setAccessibleName(accessibleName);
    list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    list->setMinimumContentsLength(listCharacters);
    return list;
}

// -1, no selection, when no item has the value.
void selectData(QComboBox* list, int value)
{
    list->setCurrentIndex(list->findData(value));
}

// 0 when nothing is selected.
int selectedData(const QComboBox* list)
{
    return list->currentData().toInt();
}

QWidget* createPage(QWidget* control)
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(control);
    column->addStretch();
    if (qobject_cast<QComboBox*>(control) != nullptr)
        labelUnseen(control);
    return page;
}

} // namespace

ActionDialog::ActionDialog(const KeyAction& current, int macroCount, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Assign key"));
    setMinimumWidth(dialogWidth);
    createTypeList(macroCount);
    createActionLists();
    pages = createPages();
    createArrangement();
    // Selecting the current type is meant to bring up its page.
    connect(typeList, &QComboBox::currentIndexChanged, this, &ActionDialog::showPageOf);
    select(current);
}

void ActionDialog::createTypeList(int macroCount)
{
    typeList = createList(tr("Assignment type"), this);
    for (const TypeChoice& choice : typeChoices)
        typeList->addItem(tr(choice.text), static_cast<int>(choice.page));
    if (macroCount > 0)
        typeList->addItem(tr("Macro"), static_cast<int>(KeyActionPage::Macro));
}

void ActionDialog::createActionLists()
{
    keyList = createList(tr("Key"), this);
    for (const std::uint8_t usage : offeredKeyUsages())
        keyList->addItem(keyName(usage), int{usage});

    modifierList = createList(tr("Modifier (keyboard)"), this);
    modifierList->addItem(tr("None"), 0);
    for (const KeyModifier& modifier : keyModifiers)
        modifierList->addItem(modifier.text.toString(), int{modifier.mask});

    mediaList = createList(tr("Multimedia key"), this);
    for (const MediaChoice& choice : mediaChoices)
        mediaList->addItem(choice.text.toString(), int{choice.usage});

    mouseList = createList(tr("Mouse action"), this);
    for (const MouseChoice& choice : mouseChoices)
        mouseList->addItem(choice.text.toString(), int{choice.value});

    macroList = createList(tr("Macro"), this);
    const QList<MacroRecord>& macros = AppState::instance().macros;
    for (int index = 0; index < macros.size(); ++index)
        macroList->addItem(beginningOf(macros.at(index).name, shownNameLimit), index);
}

QStackedWidget* ActionDialog::createPages()
{
    auto* defaultHint = new QLabel(tr("The key keeps its factory function."));
    auto* disabledHint = new QLabel(tr("The key will do nothing."));
    auto* stack = new QStackedWidget(this);
    for (QWidget* control : std::initializer_list<QWidget*>{defaultHint, mouseList, keyList,
                                                            mediaList, disabledHint, macroList})
        stack->addWidget(createPage(control));
    return stack;
}

void ActionDialog::createArrangement()
{
    auto* form = new QFormLayout;
    form->setSpacing(formSpacing);
    form->addRow(tr("Assignment type"), typeList);
    form->addRow(tr("Modifier (keyboard)"), modifierList);
    form->addRow(pages);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &ActionDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &ActionDialog::reject);

    auto* column = new QVBoxLayout(this);
    column->addLayout(form);
    column->addWidget(buttons);
}

void ActionDialog::select(const KeyAction& current)
{
    const int type = typeList->findData(int{current.page});
    typeList->setCurrentIndex(std::max(type, 0)); // "Default key" is the first

    switch (static_cast<KeyActionPage>(current.page)) {
    case KeyActionPage::Mouse:
        selectData(mouseList, current.p1 * 256 + current.p2);
        break;
    case KeyActionPage::Keyboard:
        selectData(keyList, current.p2);
        selectData(modifierList, current.p1);
        break;
    case KeyActionPage::Consumer:
        selectData(mediaList, current.p1);
        break;
    case KeyActionPage::Macro:
        macroList->setCurrentIndex(current.p1 < macroList->count() ? int{current.p1} : -1);
        break;
    case KeyActionPage::Default:
    case KeyActionPage::Special:
    case KeyActionPage::Extended:
        break;
    }
}

void ActionDialog::showPageOf(int typeIndex)
{
    const int type = typeList->itemData(typeIndex).toInt();
    const bool isKnown = type >= 0 && type < static_cast<int>(pageOfType.size());
    const int page = isKnown ? pageOfType.at(static_cast<std::size_t>(type)) : keepPage;
    if (page != keepPage)
        pages->setCurrentIndex(page);
}

KeyAction ActionDialog::buildAction() const
{
    switch (static_cast<KeyActionPage>(selectedData(typeList))) {
    case KeyActionPage::Mouse:
        return mouseKeyAction(static_cast<std::uint16_t>(selectedData(mouseList)));
    case KeyActionPage::Keyboard:
        return keyboardKeyAction(static_cast<std::uint8_t>(selectedData(keyList)),
                                 static_cast<std::uint8_t>(selectedData(modifierList)));
    case KeyActionPage::Consumer:
        return consumerKeyAction(static_cast<std::uint8_t>(selectedData(mediaList)));
    case KeyActionPage::Special:
        return disabledKeyAction();
    case KeyActionPage::Macro:
        return macroKeyAction(selectedData(macroList));
    case KeyActionPage::Default:
    case KeyActionPage::Extended:
        break;
    }
    return {};
}

void ActionDialog::accept()
{
    chosenAction = buildAction();
    QDialog::accept();
}

} // namespace tavik
