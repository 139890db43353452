#include "ui/controls/Menu.h"

#include "ui/Colors.h"

#include <QScreen>
#include <QStyleOptionMenuItem>

QAction *Menu::addDestructive(const QString &title)
{
    QAction *action = addAction(title);
    m_destructive.append(action);
    return action;
}

QPoint menuPlace(const QRect &opener, const QSize &menu, const QRect &room)
{
    const QPoint end = room.topLeft() + QPoint(room.width(), room.height());
    const QPoint before = opener.topLeft() - QPoint(menu.width(), menu.height());
    QPoint place(opener.left(), opener.top() + opener.height());
    if (place.x() + menu.width() > end.x() && before.x() >= room.left())
        place.setX(before.x());
    if (place.y() + menu.height() > end.y() && before.y() >= room.top())
        place.setY(before.y());
    return place;
}

void Menu::openBeside(const QRect &opener)
{
    const QWidget &window = *parentWidget()->window();
    popup(menuPlace(opener, sizeHint(), window.geometry() & window.screen()->availableGeometry()));
}

void Menu::goToFirst()
{
    setActiveAction(actions().constFirst());
}

void Menu::initStyleOption(QStyleOptionMenuItem *option, const QAction *action) const
{
    QMenu::initStyleOption(option, action);
    if (!m_destructive.contains(action) || !action->isEnabled())
        return;
    QPalette &colors = option->palette;
    colors.setColor(QPalette::WindowText, destructiveColor(palette()));
    colors.setColor(QPalette::Highlight, destructiveGroundColor());
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    colors.setColor(QPalette::Accent, destructiveGroundColor());
#endif
}
