#include "ui/controls/Menu.h"

#include "ui/drawing/Colors.h"

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
    popup(menuPlace(opener, sizeHint(), room()));
}

/// What of the parent's window lies on the screen.
QRect Menu::room() const
{
    const QWidget &window = *parentWidget()->window();
    return window.geometry() & window.screen()->availableGeometry();
}

void Menu::showEvent(QShowEvent *event)
{
    QMenu::showEvent(event);
    // A menu bar opens it under its title, however near that is to the window's edge.
    const int beyond = geometry().right() - room().right();
    if (beyond > 0 && width() <= room().width())
        move(x() - beyond, y());
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
    colors.setColor(QPalette::Highlight, destructiveGroundColor(palette()));
}
