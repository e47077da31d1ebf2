// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/screen_reader.h"

#include <QAccessible>
#include <QList>

#include <utility>

namespace tavik::tests {

// What assistive tools see of an object. The test ends when it is nothing.
inline QAccessibleInterface& accessible(QObject* object)
{
    QAccessibleInterface* seen = QAccessible::queryAccessibleInterface(object);
    if (seen == nullptr)
        qFatal("nothing to be seen");
    return *seen;
}

inline QString nameOf(const QAccessibleInterface& seen)
{
    return seen.text(QAccessible::Name);
}

inline QList<QAccessibleInterface*> childrenOf(const QAccessibleInterface& seen)
{
    QList<QAccessibleInterface*> children;
    for (int index = 0; index < seen.childCount(); ++index)
        children += seen.child(index);
    return children;
}

inline QStringList namesIn(const QAccessibleInterface& seen)
{
    QStringList names;
    for (const QAccessibleInterface* child : childrenOf(seen))
        names += nameOf(*child);
    return names;
}

// What a screen reader is told from the first of these on.
class Told
{
public:
    struct Event
    {
        QAccessible::Event type;
        QString name;
        QString description;
    };

    Told()
    {
        hearAsAScreenReader(take);
        events().clear();
    }

    // Of this kind since the last call, by whom each speaks of.
    static QStringList names(QAccessible::Event type)
    {
        QStringList found;
        for (const Event& event : std::exchange(events(), {})) {
            if (event.type == type)
                found += event.name;
        }
        return found;
    }

    static QList<Event>& events()
    {
        static QList<Event> all;
        return all;
    }

private:
    static void take(QAccessibleEvent* event)
    {
        const QAccessibleInterface* about = event->accessibleInterface();
        if (about != nullptr && about->isValid())
            events() += {event->type(), nameOf(*about), about->text(QAccessible::Description)};
    }
};

} // namespace tavik::tests
