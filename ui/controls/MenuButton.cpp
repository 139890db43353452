#include "ui/controls/MenuButton.h"

#include "ui/controls/Roles.h"

MenuButton::MenuButton(const QString &symbol, const QString &help)
    : SymbolButton(symbol, 13, QFont::Normal, help, QSize(20, 24))
    , m_menu(new Menu(this))
{
    installAccessibleRoles();
    m_menu->setAccessibleName(help);
    connect(this, &QAbstractButton::clicked, this, &MenuButton::openMenu);
    connect(m_menu, &QMenu::aboutToHide, this, &MenuButton::followPointer);
}

void MenuButton::keyPressEvent(QKeyEvent *event)
{
    SymbolButton::keyPressEvent(event);
    if (m_menu->isVisible())
        m_menu->goToFirst();
}

/// Nothing tells a piece that the mouse has left it for an open menu.
void MenuButton::followPointer()
{
    setAttribute(Qt::WA_UnderMouse, rect().contains(mapFromGlobal(QCursor::pos())));
    update();
}

void MenuButton::openMenu()
{
    m_menu->openBeside({mapToGlobal(QPoint()), size()});
}
