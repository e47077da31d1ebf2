#include "pages/keys/action_menu.h"

#include "model/key_names.h"
#include "pages/parts/shown_text.h"

#include <algorithm>
#include <array>

namespace tavik {

namespace {

// Consecutive usages that are offered together; rows of the same title share a sub-menu.
struct KeyGroup
{
    const char* title;
    std::uint8_t first;
    std::uint8_t last;
};

constexpr std::array<KeyGroup, 17> keyGroups{{
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Letters A to M"), 0x04, 0x10},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Letters N to Z"), 0x11, 0x1D},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Digits"), 0x1E, 0x27},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Punctuation"), 0x2D, 0x38},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Editing"), 0x28, 0x2C},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Editing"), 0x49, 0x49},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Editing"), 0x4C, 0x4C},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Navigation"), 0x4F, 0x52},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Navigation"), 0x4A, 0x4B},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Navigation"), 0x4D, 0x4E},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Function keys"), 0x3A, 0x45},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Modifiers"), 0xE0, 0xE7},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Locks and system"), 0x39, 0x39},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Locks and system"), 0x53, 0x53},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Locks and system"), 0x46, 0x48},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Keypad"), 0x54, 0x63},
    {QT_TRANSLATE_NOOP("tavik::ActionMenu", "Unnamed keys"), 0x64, 0x73},
}};

// An action names its macro in eight bits; those behind cannot be told from the first ones.
constexpr qsizetype assignableMacros = 256;
// More than these do not fit below one another on a small screen.
constexpr qsizetype macrosPerMenu = 20;
constexpr int macroNameWidth = 320; // pixels

void mark(QAction* item)
{
    item->setCheckable(true);
    item->setChecked(true);
}

} // namespace

ActionMenu::ActionMenu(const KeyAction& current, const QList<MacroRecord>& macros, QWidget* parent)
    : QMenu(parent), currentAction(current)
{
    addAction(tr("Assign…"), this, &ActionMenu::assignRequested);
    addSeparator();
    addChoice(this, tr("Default key"), {});
    addChoice(this, tr("Disabled"), disabledKeyAction());
    addSeparator();
    addKeys();
    addSeparator();
    addMediaKeys();
    addMouseActions();
    addMacros(macros);
}

QMenu* ActionMenu::addGroup(const QString& title)
{
    QMenu* group = addMenu(title);
    group->setToolTipsVisible(true);
    return group;
}

void ActionMenu::addKeys()
{
    QMenu* group = nullptr;
    for (const KeyGroup& row : keyGroups) {
        const QString title = tr(row.title);
        if (group == nullptr || group->title() != title)
            group = addGroup(title);
        for (int usage = row.first; usage <= row.last; ++usage) {
            const auto code = static_cast<std::uint8_t>(usage);
            addChoice(group, keyName(code), keyboardKeyAction(code, 0));
        }
    }
}

void ActionMenu::addMediaKeys()
{
    QMenu* group = addGroup(tr("Multimedia"));
    for (const MediaChoice& choice : mediaChoices)
        addChoice(group, choice.text.toString(), consumerKeyAction(choice.usage));
}

void ActionMenu::addMouseActions()
{
    QMenu* group = addGroup(tr("Mouse"));
    for (const MouseChoice& choice : mouseChoices)
        addChoice(group, choice.text.toString(), mouseKeyAction(choice.value));
}

void ActionMenu::addMacros(const QList<MacroRecord>& macros)
{
    const qsizetype count = std::min(macros.size(), assignableMacros);
    QMenu* group = nullptr;
    for (qsizetype index = 0; index < count; ++index) {
        if (index % macrosPerMenu == 0) {
            const qsizetype last = std::min(index + macrosPerMenu, count);
            group =
                addGroup(count <= macrosPerMenu ? tr("Macros")
                                                : tr("Macros %1 to %2").arg(index + 1).arg(last));
        }
        const QString name = beginningOf(macros.at(index).name, shownNameLimit);
        // Line breaks of any kind would break the item, too.
        const QString line = name.simplified();
        QString shown = fontMetrics().elidedText(line, Qt::ElideRight, macroNameWidth);
        // A key without a caption is normal; a menu item without a text could not be chosen.
        if (line.isEmpty())
            shown = tr("Macro %1").arg(index);
        QAction* item = addChoice(group, shown, macroKeyAction(static_cast<int>(index)));
        if (shown != name)
            item->setToolTip(QStringLiteral("<qt>%1</qt>").arg(name.toHtmlEscaped()));
    }
}

QAction* ActionMenu::addChoice(QMenu* menu, const QString& text, const KeyAction& choice)
{
    QAction* item = menu->addAction(menuText(text));
    connect(item, &QAction::triggered, this, [this, choice] { emit actionChosen(choice); });
    if (choice == currentAction) {
        mark(item);
        if (menu != this)
            mark(menu->menuAction());
    }
    return item;
}

} // namespace tavik
