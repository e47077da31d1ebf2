#include "pages/parts/announcement.h"

#include <QAccessible>
#include <QWidget>

namespace tavik {

void announce(QWidget* widget, const QString& text)
{
    if (text.isEmpty())
        return;
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(widget, text);
#else
    // Who hears of an alert reads what its widget says.
    widget->setAccessibleDescription(text);
    QAccessibleEvent event(widget, QAccessible::Alert);
#endif
    QAccessible::updateAccessibility(&event);
}

} // namespace tavik
