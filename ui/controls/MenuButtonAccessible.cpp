#include "ui/controls/MenuButtonAccessible.h"

#include "ui/controls/MenuButton.h"

MenuButtonAccessible::MenuButtonAccessible(MenuButton &button)
    : QAccessibleWidget(&button, QAccessible::ButtonMenu)
    , m_button(button)
{
}

QAccessible::State MenuButtonAccessible::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.hasPopup = true;
    return state;
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
