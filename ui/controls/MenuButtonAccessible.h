#pragma once

#include <QAccessibleWidget>

class MenuButton;

/// A menu button as assistive technology meets it: it can be pressed, and opens a menu.
class MenuButtonAccessible : public QAccessibleWidget {
public:
    explicit MenuButtonAccessible(MenuButton &button);

    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString &name) override;

private:
    MenuButton &m_button;
};
