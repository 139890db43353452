#pragma once

#include <QAccessibleWidget>

class MenuButton;

/// A menu button as assistive technology meets it: it can be pressed, and opens a menu.
class MenuButtonAccessible : public QAccessibleWidget {
public:
    explicit MenuButtonAccessible(MenuButton &button);

    [[nodiscard]] QAccessible::State state() const override;
    // The menu is a child, also while it is closed.
    [[nodiscard]] int childCount() const override { return 1; }
    [[nodiscard]] QAccessibleInterface *child(int index) const override;
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override;

    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString &name) override;

private:
    MenuButton &m_button;
};
