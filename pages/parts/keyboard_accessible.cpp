// SPDX-License-Identifier: MIT
#include "pages/parts/keyboard_accessible.h"

#include "pages/parts/keyboard_view.h"
#include "pages/parts/shown_text.h"

#include <QAccessibleWidget>
#include <QHash>

namespace tavik {

namespace {

class KeyboardInterface : public QAccessibleWidget
{
public:
    explicit KeyboardInterface(KeyboardView* view) : QAccessibleWidget(view, QAccessible::Grouping)
    {
    }

    ~KeyboardInterface() override
    {
        for (const QAccessible::Id id : keyIds)
            QAccessible::deleteAccessibleInterface(id);
    }

    // Null as soon as the view begins to go.
    [[nodiscard]] KeyboardView* view() const { return qobject_cast<KeyboardView*>(object()); }

    [[nodiscard]] QList<int> keys() const
    {
        return view() == nullptr ? QList<int>() : view()->keys();
    }

    int childCount() const override { return static_cast<int>(keys().size()); }
    QAccessibleInterface* child(int index) const override { return keyOf(keys().value(index, -1)); }
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QAccessibleInterface* focusChild() const override;

private:
    // One and the same as long as the view lives; null for -1.
    QAccessibleInterface* keyOf(int lightIndex) const;

    mutable QHash<int, QAccessible::Id> keyIds; // by light index
};

// A key, for which there is no widget.
class KeyInterface : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    KeyInterface(const KeyboardInterface* parentInterface, int keyIndex)
        : keyboard(parentInterface), lightIndex(keyIndex)
    {
    }

    bool isValid() const override { return keyboard->keys().contains(lightIndex); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return keyboard->window(); }
    QAccessibleInterface* parent() const override
    {
        return QAccessible::queryAccessibleInterface(keyboard->object());
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }

    QAccessible::Role role() const override { return QAccessible::PushButton; }
    QAccessible::State state() const override;
    QString text(QAccessible::Text kind) const override;
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override;

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }
    QStringList actionNames() const override;
    void doAction(const QString& name) override;
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    const KeyboardInterface* keyboard; // deletes this one
    int lightIndex;
};

QAccessibleInterface* KeyboardInterface::keyOf(int lightIndex) const
{
    if (lightIndex < 0)
        return nullptr;
    if (!keyIds.contains(lightIndex)) {
        auto* key = new KeyInterface(this, lightIndex);
        keyIds.insert(lightIndex, QAccessible::registerAccessibleInterface(key));
    }
    return QAccessible::accessibleInterface(keyIds.value(lightIndex));
}

int KeyboardInterface::indexOfChild(const QAccessibleInterface* child) const
{
    const QList<int> all = keys();
    for (int index = 0; index < all.size(); ++index) {
        if (keyOf(all.at(index)) == child)
            return index;
    }
    return -1;
}

QAccessibleInterface* KeyboardInterface::childAt(int x, int y) const
{
    return view() == nullptr ? nullptr : keyOf(view()->keyAt(view()->mapFromGlobal(QPoint(x, y))));
}

QAccessibleInterface* KeyboardInterface::focusChild() const
{
    const bool hasKey =
        view() != nullptr && view()->hasFocus() && keys().contains(view()->markedKey());
    return hasKey ? keyOf(view()->markedKey()) : QAccessibleWidget::focusChild();
}

QAccessible::State KeyInterface::state() const
{
    QAccessible::State state;
    if (!isValid()) {
        state.invalid = true;
        return state;
    }
    const QAccessible::State inherited = keyboard->state();
    state.disabled = inherited.disabled;
    state.invisible = inherited.invisible;
    state.focusable = inherited.focusable;
    state.focused = keyboard->view()->hasFocus() && keyboard->view()->markedKey() == lightIndex;
    state.selectable = true;
    state.selected = keyboard->view()->selectedKey() == lightIndex;
    return state;
}

// On Linux, nobody is told the value of a button; its description is read out.
QString KeyInterface::text(QAccessible::Text kind) const
{
    if (!isValid())
        return {};
    if (kind == QAccessible::Name)
        return nameOfKey(lightIndex);
    if (kind == QAccessible::Value || kind == QAccessible::Description)
        return keyboard->view()->wordsOnKey(lightIndex);
    return {};
}

QRect KeyInterface::rect() const
{
    if (!isValid())
        return {};
    const KeyboardView* view = keyboard->view();
    return view->hitRectangle(lightIndex).translated(view->mapToGlobal(QPoint()));
}

QStringList KeyInterface::actionNames() const
{
    const QAccessible::State now = state();
    if (now.invalid || now.disabled)
        return {};
    QStringList names{pressAction()};
    if (keyboard->view()->hasKeyMenu())
        names += showMenuAction();
    if (now.focusable)
        names += setFocusAction();
    return names;
}

// Later, since the assistive tool waits for an answer that a dialog would delay until it closes.
void KeyInterface::doAction(const QString& name)
{
    if (!actionNames().contains(name))
        return;
    const auto act = name == pressAction()      ? &KeyboardView::pressKey
                     : name == showMenuAction() ? &KeyboardView::openKeyMenu
                                                : &KeyboardView::focusKey;
    KeyboardView* view = keyboard->view();
    QMetaObject::invokeMethod(
        view, [view, act, key = lightIndex] { (view->*act)(key); }, Qt::QueuedConnection);
}

} // namespace

QAccessibleInterface* keyboardInterface(const QString&, QObject* object)
{
    auto* view = qobject_cast<KeyboardView*>(object);
    return view == nullptr ? nullptr : new KeyboardInterface(view);
}

} // namespace tavik
