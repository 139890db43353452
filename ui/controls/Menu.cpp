#include "ui/controls/Menu.h"

#include "ui/Colors.h"
#include "ui/controls/DrawAsWhole.h"

#include <QScreen>
#include <QStyleOptionMenuItem>

namespace {

// Styles differ in the role that they draw an entry's text with.
constexpr QPalette::ColorRole TextRoles[] = {QPalette::WindowText, QPalette::Text, QPalette::ButtonText};

void setTextColor(QPalette &palette, QPalette::ColorGroup group, const QColor &color)
{
    for (const QPalette::ColorRole role : TextRoles)
        palette.setColor(group, role, color);
}

} // namespace

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
    QPalette &colors = option->palette;
    setTextColor(colors, QPalette::Disabled, primaryColor(palette(), DisabledOpacity));
    if (!m_destructive.contains(action) || !action->isEnabled())
        return;
    setTextColor(colors, QPalette::All, destructiveColor(palette()));
    colors.setColor(QPalette::Highlight, destructiveGroundColor());
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    colors.setColor(QPalette::Accent, destructiveGroundColor());
#endif
    colors.setColor(QPalette::HighlightedText, Qt::white);
}
