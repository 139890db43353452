#include "ui/controls/MenuButton.h"

#include "desktop/AccessibleFactory.h"

namespace {

/// A menu button as assistive technology meets it: it can be pressed, and opens a menu, which is its child also
/// while it is closed.
class MenuButtonAccessible : public QAccessibleWidget {
public:
    explicit MenuButtonAccessible(MenuButton *button)
        : QAccessibleWidget(button, QAccessible::Button) // readers have no Spanish word for ButtonMenu
        , m_button(*button)
    {
    }

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = true;
        return state;
    }

    [[nodiscard]] int childCount() const override { return 1; }

    [[nodiscard]] QAccessibleInterface *child(int index) const override
    {
        return index == 0 ? QAccessible::queryAccessibleInterface(&m_button.menu()) : nullptr;
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override
    {
        return child && child->object() == &m_button.menu() ? 0 : -1;
    }

    [[nodiscard]] QStringList actionNames() const override
    {
        return QStringList(pressAction()) + QAccessibleWidget::actionNames();
    }

    void doAction(const QString &name) override
    {
        if (name == pressAction())
            m_button.click();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    MenuButton &m_button;
};

} // namespace

MenuButton::MenuButton(const QString &symbol, const QString &help)
    : Button(Look::Plain, {symbol, 13}, help, {20, 24})
    , m_menu(new Menu(this))
{
    installAccessible<MenuButton, MenuButtonAccessible>();
    m_menu->setAccessibleName(help);
    connect(this, &QAbstractButton::clicked, this, &MenuButton::openMenu);
    connect(m_menu, &QMenu::aboutToHide, this, &MenuButton::followPointer);
}

void MenuButton::keyPressEvent(QKeyEvent *event)
{
    Button::keyPressEvent(event);
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
