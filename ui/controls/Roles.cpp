#include "ui/controls/Roles.h"

#include "desktop/FramelessWindow.h"
#include "ui/PlaylistAccessible.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Announcer.h"
#include "ui/controls/Cover.h"
#include "ui/controls/Label.h"
#include "ui/controls/MenuButton.h"
#include "ui/controls/MenuButtonAccessible.h"
#include "ui/controls/Slider.h"
#include "ui/controls/SliderAccessible.h"

#include <QAccessibleWidget>

namespace {

QAccessibleInterface *roleOf(const QString &, QObject *object)
{
    if (auto *slider = qobject_cast<Slider *>(object))
        return new SliderAccessible(*slider);
    if (auto *button = qobject_cast<MenuButton *>(object))
        return new MenuButtonAccessible(*button);
    if (auto *label = qobject_cast<Label *>(object))
        return new QAccessibleWidget(label, QAccessible::StaticText);
    if (auto *cover = qobject_cast<Cover *>(object))
        return new QAccessibleWidget(cover, QAccessible::Graphic);
    if (auto *announcer = qobject_cast<Announcer *>(object))
        return new QAccessibleWidget(announcer, QAccessible::Notification);
    if (auto *playlist = qobject_cast<PlaylistView *>(object))
        return new PlaylistAccessible(*playlist);
    if (auto *window = qobject_cast<FramelessWindow *>(object))
        return new QAccessibleWidget(window, QAccessible::Window);
    return nullptr;
}

} // namespace

void installAccessibleRoles()
{
    QAccessible::installFactory(roleOf);
}
