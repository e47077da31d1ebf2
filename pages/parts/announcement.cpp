// SPDX-License-Identifier: MIT
#include "pages/parts/announcement.h"

#include <QAccessibleObject>
#include <QWidget>

namespace tavik {

#if QT_VERSION < QT_VERSION_CHECK(6, 8, 0)
namespace {

// The text, as an object beside those of the page: announcements and alerts never reach the bus,
// but that a notification appears does, and then it is read out.
class NotificationInterface : public QAccessibleObject
{
public:
    NotificationInterface(QObject* notification, const QString& message)
        : QAccessibleObject(notification), words(message)
    {
    }

    QAccessibleInterface* parent() const override
    {
        return QAccessible::queryAccessibleInterface(object()->parent());
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::Notification; }
    QAccessible::State state() const override { return {}; }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? words : QString();
    }

private:
    QString words;
};

} // namespace
#endif

void announce(QWidget* widget, const QString& text)
{
    if (text.isEmpty() || !QAccessible::isActive())
        return;
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(widget, text);
    QAccessible::updateAccessibility(&event);
#else
    // A new one each time, since the name of one that is known already is not asked for again.
    const QString objectName = QStringLiteral("notification");
    delete widget->findChild<QObject*>(objectName, Qt::FindDirectChildrenOnly);
    auto* notification = new QObject(widget);
    notification->setObjectName(objectName);
    auto* shown = new NotificationInterface(notification, text);
    QAccessible::registerAccessibleInterface(shown);
    QAccessibleEvent event(shown, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&event);
#endif
}

} // namespace tavik
