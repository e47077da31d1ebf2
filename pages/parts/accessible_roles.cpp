// SPDX-License-Identifier: MIT
#include "pages/parts/accessible_roles.h"

#include <QAbstractButton>
#include <QAccessibleObject>
#include <QAccessibleWidget>
#include <QButtonGroup>
#include <QContextMenuEvent>
#include <QCoreApplication>

namespace tavik {

namespace {

constexpr const char* roleProperty = "accessibleRole";
constexpr const char* nameProperty = "accessibleRoleName";
constexpr const char* menuProperty = "accessibleMenu";

QAccessible::Role roleOf(const QObject* object)
{
    return static_cast<QAccessible::Role>(object->property(roleProperty).toInt());
}

// The group that takes the object's place among the children of its parent; null for none.
QButtonGroup* groupOf(const QObject* object)
{
    const auto* button = qobject_cast<const QAbstractButton*>(object);
    QButtonGroup* group = button == nullptr ? nullptr : button->group();
    return group != nullptr && roleOf(group) == QAccessible::Grouping ? group : nullptr;
}

// Where the menu key would open a menu, whoever has no keys opens it, too.
class MenuOwnerInterface : public QAccessibleWidget
{
public:
    using QAccessibleWidget::QAccessibleWidget;

    QStringList actionNames() const override
    {
        QStringList names = QAccessibleWidget::actionNames();
        if (widget()->property(menuProperty).toBool() && widget()->isEnabled() &&
            widget()->isVisible())
            names += showMenuAction();
        return names;
    }
    void doAction(const QString& name) override
    {
        if (name != showMenuAction()) {
            QAccessibleWidget::doAction(name);
            return;
        }
        if (!actionNames().contains(name))
            return;
        const QPoint center = widget()->rect().center();
        QCoreApplication::postEvent(widget(),
                                    new QContextMenuEvent(QContextMenuEvent::Keyboard, center,
                                                          widget()->mapToGlobal(center)));
    }
};

// A widget in whose children groups take the place of their buttons.
class PanelInterface : public MenuOwnerInterface
{
public:
    using MenuOwnerInterface::MenuOwnerInterface;

    int childCount() const override { return static_cast<int>(children().size()); }
    QAccessibleInterface* child(int index) const override { return children().value(index); }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return static_cast<int>(children().indexOf(child));
    }

private:
    QList<QAccessibleInterface*> children() const
    {
        QList<QAccessibleInterface*> found;
        for (int index = 0; index < QAccessibleWidget::childCount(); ++index) {
            QAccessibleInterface* child = QAccessibleWidget::child(index);
            if (QButtonGroup* group = child == nullptr ? nullptr : groupOf(child->object()))
                child = QAccessible::queryAccessibleInterface(group);
            if (child != nullptr && !found.contains(child))
                found += child;
        }
        return found;
    }
};

// Buttons that exclude each other, for which there is no widget.
class GroupInterface : public QAccessibleObject
{
public:
    explicit GroupInterface(QButtonGroup* group) : QAccessibleObject(group) {}

    QAccessibleInterface* parent() const override
    {
        return buttons().isEmpty()
                   ? nullptr
                   : QAccessible::queryAccessibleInterface(buttons().first()->parentWidget());
    }
    QWindow* window() const override { return parent() == nullptr ? nullptr : parent()->window(); }
    int childCount() const override { return static_cast<int>(buttons().size()); }
    QAccessibleInterface* child(int index) const override
    {
        return QAccessible::queryAccessibleInterface(buttons().value(index));
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return static_cast<int>(buttons().indexOf(qobject_cast<QAbstractButton*>(child->object())));
    }

    QAccessible::Role role() const override { return QAccessible::Grouping; }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? object()->property(nameProperty).toString() : QString();
    }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.disabled = true;
        state.invisible = true;
        for (int index = 0; index < childCount(); ++index) {
            const QAccessible::State inner = child(index)->state();
            state.disabled &= inner.disabled;
            state.invisible &= inner.invisible;
        }
        return state;
    }
    QRect rect() const override
    {
        QRect all;
        for (int index = 0; index < childCount(); ++index)
            all |= child(index)->rect();
        return all;
    }

private:
    QList<QAbstractButton*> buttons() const
    {
        return static_cast<QButtonGroup*>(object())->buttons();
    }
};

// A button that may stay down, as a page tab or a radio button. What acts on it clicks it.
class ButtonInterface : public MenuOwnerInterface
{
public:
    using MenuOwnerInterface::MenuOwnerInterface;

    QAccessibleInterface* parent() const override
    {
        QButtonGroup* group = groupOf(object());
        return group == nullptr ? QAccessibleWidget::parent()
                                : QAccessible::queryAccessibleInterface(group);
    }
    QString text(QAccessible::Text kind) const override
    {
        const QString text = MenuOwnerInterface::text(kind);
        if (kind == QAccessible::Name)
            return text.isEmpty() ? button()->text() : text;
        // A tool tip may say the name to those who see a picture only.
        return kind == QAccessible::Description && text == button()->accessibleName() ? QString()
                                                                                      : text;
    }
    QAccessible::State state() const override
    {
        QAccessible::State state = MenuOwnerInterface::state();
        state.checkable = button()->isCheckable();
        state.checked = button()->isChecked();
        state.pressed = button()->isDown();
        state.selectable = role() == QAccessible::PageTab;
        state.selected = state.selectable && button()->isChecked();
        return state;
    }
    QStringList actionNames() const override
    {
        QStringList names = MenuOwnerInterface::actionNames();
        if (button()->isEnabled())
            names.prepend(clickAction());
        return names;
    }
    void doAction(const QString& name) override
    {
        if (name != clickAction()) {
            MenuOwnerInterface::doAction(name);
            return;
        }
        // Else the focus might stay on a page that goes.
        if ((button()->focusPolicy() & Qt::ClickFocus) != 0)
            button()->setFocus(Qt::MouseFocusReason);
        if (button()->isCheckable())
            button()->click();
        else
            button()->animateClick(); // later: who pressed it waits for an answer, not for a dialog
    }

private:
    const QString& clickAction() const
    {
        return button()->isCheckable() ? toggleAction() : pressAction();
    }
    QAbstractButton* button() const { return static_cast<QAbstractButton*>(object()); }
};

QAccessibleInterface* roleInterface(const QString&, QObject* object)
{
    const QAccessible::Role role = roleOf(object);
    if (role == QAccessible::NoRole)
        return nullptr;
    if (auto* group = qobject_cast<QButtonGroup*>(object))
        return new GroupInterface(group);
    auto* widget = static_cast<QWidget*>(object);
    const QString name = object->property(nameProperty).toString();
    if (qobject_cast<QAbstractButton*>(object) != nullptr)
        return new ButtonInterface(widget, role, name);
    return new PanelInterface(widget, role, name);
}

} // namespace

void setAccessibleRole(QWidget* widget, QAccessible::Role role, const QString& name)
{
    QAccessible::installFactory(roleInterface);
    widget->setProperty(roleProperty, role);
    widget->setProperty(nameProperty, name);
    // Its texts have been told of already, as those of what its class says.
    QAccessible::deleteAccessibleInterface(
        QAccessible::uniqueId(QAccessible::queryAccessibleInterface(widget)));
}

void letToolsOpenMenu(QWidget* widget, QAccessible::Role role, const QString& name)
{
    widget->setProperty(menuProperty, true);
    setAccessibleRole(widget, role, name);
}

void setAccessibleGroup(QButtonGroup* group, const QString& name)
{
    group->setProperty(roleProperty, QAccessible::Grouping);
    group->setProperty(nameProperty, name);
    for (QAbstractButton* button : group->buttons()) {
        setAccessibleRole(button, QAccessible::RadioButton);
        setAccessibleRole(button->parentWidget(), QAccessible::Client);
    }
}

} // namespace tavik
