#include "ui/controls/Announcer.h"

#include "desktop/AccessibleFactory.h"

Announcer::Announcer(const QString &text)
{
    installAccessible<Announcer, QAccessibleWidget, QAccessible::Notification>();
    setAccessibleName(text);
    setFixedSize(1, 1); // what has no size does not show, for assistive technology either
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void Announcer::announce(const QString &text)
{
    setAccessibleName(text);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(this, text);
#else
    QAccessibleEvent event(this, QAccessible::ObjectShow);
#endif
    QAccessible::updateAccessibility(&event);
}
