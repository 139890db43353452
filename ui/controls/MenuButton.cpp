#include "ui/controls/MenuButton.h"

#include "ui/controls/Roles.h"

MenuButton::MenuButton(const QString &symbol, const QString &help)
    : SymbolButton(symbol, 13, QFont::Normal, help, QSize(20, 24))
    , m_menu(new Menu(this))
{
    installAccessibleRoles();
    m_menu->setAccessibleName(help);
    connect(this, &QAbstractButton::clicked, this, &MenuButton::openMenu);
}

void MenuButton::keyPressEvent(QKeyEvent *event)
{
    SymbolButton::keyPressEvent(event);
    if (m_menu->isVisible())
        m_menu->goToFirst();
}

void MenuButton::openMenu()
{
    m_menu->popup(mapToGlobal(QPoint(0, height())));
}
