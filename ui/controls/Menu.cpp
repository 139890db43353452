#include "ui/controls/Menu.h"

#include "ui/Colors.h"
#include "ui/controls/DrawAsWhole.h"

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
