#include "ui/controls/MenuButtonAccessible.h"

#include "ui/controls/MenuButton.h"

MenuButtonAccessible::MenuButtonAccessible(MenuButton &button)
    : QAccessibleWidget(&button, QAccessible::Button) // readers have no Spanish word for ButtonMenu
    , m_button(button)
{
}

QAccessible::State MenuButtonAccessible::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.hasPopup = true;
    return state;
}

QAccessibleInterface *MenuButtonAccessible::child(int index) const
{
    return index == 0 ? QAccessible::queryAccessibleInterface(&m_button.menu()) : nullptr;
}

int MenuButtonAccessible::indexOfChild(const QAccessibleInterface *child) const
{
    return child && child->object() == &m_button.menu() ? 0 : -1;
}

QStringList MenuButtonAccessible::actionNames() const
{
    return QStringList(pressAction()) + QAccessibleWidget::actionNames();
}

void MenuButtonAccessible::doAction(const QString &name)
{
    if (name == pressAction())
        m_button.click();
    else
        QAccessibleWidget::doAction(name);
}
