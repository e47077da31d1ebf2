// SPDX-License-Identifier: MIT
#include "pages/parts/page_parts.h"

#include "pages/parts/keyboard_view.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace tavik {

namespace {

constexpr int pageMargin = 12;
constexpr const char* lastingProperty = "staysOpen";

// Where it is back after a menu has closed, of which Qt tells nobody.
void tellOfFocus()
{
    QWidget* focus = QApplication::focusWidget();
    if (focus == nullptr || !QAccessible::isActive() ||
        QApplication::activePopupWidget() != nullptr ||
        QApplication::activeModalWidget() != nullptr ||
        qobject_cast<KeyboardView*>(focus) != nullptr) // which tells of its key
        return;
    QAccessibleInterface* known = QAccessible::queryAccessibleInterface(focus);
    const auto* list = qobject_cast<QAbstractItemView*>(focus);
    if (list != nullptr && list->currentIndex().isValid() && known->tableInterface() != nullptr)
        known = known->tableInterface()->cellAt(list->currentIndex().row(),
                                                list->currentIndex().column());
    if (known == nullptr)
        return;
    QAccessibleEvent event(known, QAccessible::Focus);
    QAccessible::updateAccessibility(&event);
}

} // namespace

void cutAtEdges(QLayout* pageLayout)
{
    pageLayout->setSizeConstraint(QLayout::SetMinimumSize);
}

QVBoxLayout* createPageColumn(QWidget* page, int spacing)
{
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(pageMargin, pageMargin, pageMargin, pageMargin);
    column->setSpacing(spacing);
    cutAtEdges(column);
    return column;
}

QHBoxLayout* createRow(std::initializer_list<QWidget*> widgets)
{
    auto* row = new QHBoxLayout;
    for (QWidget* widget : widgets)
        row->addWidget(widget);
    row->addStretch();
    return row;
}

QAction* addMenuEntry(QWidget* widget, const QString& text, const QKeySequence& keys,
                      const std::function<void()>& act)
{
    auto* entry = new QAction(text, widget);
    entry->setShortcut(keys);
    entry->setAutoRepeat(false); // one press, one step
    entry->setShortcutContext(Qt::WidgetShortcut);
    QObject::connect(entry, &QAction::triggered, widget, act);
    widget->addAction(entry);
    return entry;
}

void popUp(QMenu* menu, QPoint globalPos)
{
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(menu, &QMenu::triggered, menu, [menu](const QAction* entry) {
        if (!entry->parent()->property(lastingProperty).toBool())
            menu->close();
    });
    QObject::connect(menu, &QObject::destroyed, qApp, tellOfFocus);
    const QList<QAction*> entries = menu->actions();
    // Assistive tools take one that menus share for that of the first, which may be gone.
    for (QAction* entry : entries) {
        if (QAccessibleInterface* known = QAccessible::queryAccessibleInterface(entry))
            QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(known));
    }
    for (QMenu* inner : menu->findChildren<QMenu*>())
        inner->setAccessibleName(inner->title());
    menu->popup(globalPos);
    // Who did not open it with the pointer goes on with keys, or hears where he is.
    const auto first = std::ranges::find_if(
        entries, [](const QAction* entry) { return entry->isEnabled() && !entry->isSeparator(); });
    if (QApplication::mouseButtons() == Qt::NoButton && first != entries.end())
        menu->setActiveAction(*first);
}

void keepOpen(QMenu* menu)
{
    menu->setProperty(lastingProperty, true);
}

void centerAt(QWidget* window, QPoint globalCenter)
{
    QRect place(QPoint(), window->size());
    place.moveCenter(globalCenter);
    const QRect room = window->parentWidget()->screen()->availableGeometry();
    place.moveTo(
        std::clamp(place.left(), room.left(), std::max(room.left(), room.right() - place.width())),
        std::clamp(place.top(), room.top(), std::max(room.top(), room.bottom() - place.height())));
    window->setGeometry(place); // without the frame, as its center was told
}

void labelUnseen(QWidget* control)
{
    auto* label = new QLabel(control->accessibleName(), control->parentWidget());
    label->setBuddy(control);
    label->hide();
}

void keepCurrentSelected(QListWidget* list)
{
    // Later: assistive tools empty the selection before they select.
    const auto follow = [list] {
        const QList<QListWidgetItem*> selected = list->selectedItems();
        if (!selected.isEmpty() && !selected.contains(list->currentItem()))
            list->setCurrentItem(selected.first());
        else if (selected.isEmpty() && list->currentItem() != nullptr)
            list->currentItem()->setSelected(true);
    };
    QObject::connect(list, &QListWidget::itemSelectionChanged, list, follow, Qt::QueuedConnection);
}

QLabel* createHeading(const QString& text, int pixelSize, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setStyleSheet(QStringLiteral("font-size:%1px;font-weight:600;").arg(pixelSize));
    return label;
}

QLabel* createHint(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(QStringLiteral("hint"));
    return label;
}

void letTabFindTheChosen(const QList<QAbstractButton*>& buttons)
{
    const auto follow = [buttons] {
        for (QAbstractButton* button : buttons) {
            const Qt::FocusPolicy policy = button->focusPolicy();
            button->setFocusPolicy(button->isChecked()
                                       ? static_cast<Qt::FocusPolicy>(policy | Qt::TabFocus)
                                       : static_cast<Qt::FocusPolicy>(policy & ~Qt::TabFocus));
        }
    };
    for (QAbstractButton* button : buttons)
        QObject::connect(button, &QAbstractButton::toggled, button, follow);
    follow();
}

} // namespace tavik
