#pragma once

#include "ui/controls/Button.h"
#include "ui/controls/Menu.h"

/// A symbol without a frame that pulls down a menu.
class MenuButton : public Button {
    Q_OBJECT

public:
    MenuButton(const QString &symbol, const QString &help);

    /// What it pulls down; empty at first.
    [[nodiscard]] Menu &menu() { return *m_menu; }

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void openMenu();
    void followPointer();

    Menu *m_menu;
};
