// SPDX-License-Identifier: MIT
#include "pages/keys/action_menu.h"

#include "model/key_names.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/shown_text.h"

#include <QKeyEvent>
#include <QLabel>
#include <QWidgetAction>

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

// Stays open while its items are checked, because several belong together.
class LastingMenu : public QMenu
{
public:
    using QMenu::QMenu;

protected:
    void mouseReleaseEvent(QMouseEvent* event) override
    {
        if (!toggle(actionAt(event->position().toPoint())))
            QMenu::mouseReleaseEvent(event);
    }
    void keyPressEvent(QKeyEvent* event) override
    {
        const bool isPress = event->key() == Qt::Key_Space || event->key() == Qt::Key_Return ||
                             event->key() == Qt::Key_Enter;
        if (!isPress || !toggle(activeAction()))
            QMenu::keyPressEvent(event);
    }

private:
    // False where nothing can be checked.
    static bool toggle(QAction* item)
    {
        if (item == nullptr || !item->isEnabled())
            return false;
        item->trigger();
        return true;
    }
};

} // namespace

ActionMenu::ActionMenu(const QString& nameOfKey, const KeyAction& current,
                       const QList<MacroRecord>& macroList, QWidget* parent)
    : QMenu(parent), keyName(nameOfKey), currentAction(current), macros(macroList)
{
    addHeading();
    addSeparator();
    addAction(tr("Assign…"), this, &ActionMenu::assignRequested);
    addAction(tr("Press the keys…"), this, &ActionMenu::chordRequested);
    addModifiers();
    addSeparator();
    // For the user to read: the drawn keys answer to it, not the menu.
    addChoice(this, tr("Default key"), {})->setShortcut(Qt::Key_Delete);
    addChoice(this, tr("Disabled"), disabledKeyAction());
    addMacros();
    addSeparator();
    addKeys();
    addMediaKeys();
    addMouseActions();
    showCurrent();
}

void ActionMenu::addHeading()
{
    heading = new QLabel(this);
    heading->setTextFormat(Qt::PlainText);
    heading->setContentsMargins(14, 4, 14, 4);
    heading->setStyleSheet(QStringLiteral("font-weight:600;"));
    auto* item = new QWidgetAction(this);
    item->setDefaultWidget(heading);
    item->setEnabled(false); // to be read only
    addAction(item);
}

// The menu stays open while modifiers are added.
void ActionMenu::showCurrent()
{
    const QString text =
        keyName + QStringLiteral(": ") +
        beginningOf(keyActionWords(currentAction, macros), shownNameLimit).simplified();
    heading->setText(heading->fontMetrics().elidedText(text, Qt::ElideRight, macroNameWidth));
    actions().constFirst()->setText(text);
    setAccessibleName(text);

    for (QMenu* group : groups)
        group->menuAction()->setCheckable(false);
    for (const auto& [item, choice] : choices) {
        item->setChecked(choice == currentAction);
        for (QObject* way = item->parent(); item->isChecked() && way != this; way = way->parent()) {
            QAction* entry = static_cast<QMenu*>(way)->menuAction();
            entry->setCheckable(true);
            entry->setChecked(true);
        }
    }
    showModifiers();
}

void ActionMenu::addModifiers()
{
    modifierMenu = new LastingMenu(tr("With modifiers"), this);
    keepOpen(modifierMenu);
    addMenu(modifierMenu);
    for (const KeyModifier& modifier : keyModifiers) {
        QAction* item = modifierMenu->addAction(modifier.text.toString());
        item->setData(modifier.mask);
        item->setCheckable(true);
        connect(item, &QAction::triggered, this, [this, mask = modifier.mask] {
            currentAction.p1 ^= mask;
            showCurrent();
            emit actionChosen(currentAction);
        });
    }
}

void ActionMenu::showModifiers()
{
    const bool isKey = currentAction.page == static_cast<std::uint8_t>(KeyActionPage::Keyboard);
    modifierMenu->setEnabled(isKey);
    for (QAction* item : modifierMenu->actions()) {
        const int mask = item->data().toInt();
        item->setChecked(isKey && (currentAction.p1 & mask) != 0);
        // A modifier alone has nothing else to send.
        item->setEnabled(isKey && (currentAction.p2 != 0 || currentAction.p1 != mask));
    }
}

QMenu* ActionMenu::addGroup(const QString& title, QMenu* parent)
{
    QMenu* group = parent->addMenu(title);
    group->setToolTipsVisible(true);
    groups += group;
    return group;
}

void ActionMenu::addKeys()
{
    QMenu* keys = addGroup(tr("Keys"), this);
    QMenu* group = nullptr;
    for (const KeyGroup& row : keyGroups) {
        const QString title = tr(row.title);
        if (group == nullptr || group->title() != title)
            group = addGroup(title, keys);
        for (int usage = row.first; usage <= row.last; ++usage) {
            const auto code = static_cast<std::uint8_t>(usage);
            addChoice(group, tavik::keyName(code), keyboardKeyAction(code, 0));
        }
    }
}

void ActionMenu::addMediaKeys()
{
    QMenu* group = addGroup(tr("Multimedia"), this);
    for (const MediaChoice& choice : mediaChoices)
        addChoice(group, choice.text.toString(), consumerKeyAction(choice.usage));
}

void ActionMenu::addMouseActions()
{
    QMenu* group = addGroup(tr("Mouse"), this);
    for (const MouseChoice& choice : mouseChoices)
        addChoice(group, choice.text.toString(), mouseKeyAction(choice.value));
}

void ActionMenu::addMacros()
{
    const qsizetype count = std::min(macros.size(), assignableMacros);
    QMenu* group = nullptr;
    for (qsizetype index = 0; index < count; ++index) {
        if (index % macrosPerMenu == 0) {
            const qsizetype last = std::min(index + macrosPerMenu, count);
            group =
                addGroup(count <= macrosPerMenu ? tr("Macros")
                                                : tr("Macros %1 to %2").arg(index + 1).arg(last),
                         this);
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
    item->setCheckable(true); // all of them, so that they stand in line
    choices.append({item, choice});
    return item;
}

} // namespace tavik
