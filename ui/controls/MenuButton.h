#pragma once

#include "ui/controls/SymbolButton.h"

class QMenu;

/// A symbol without a frame that pulls down a menu.
class MenuButton : public SymbolButton {
    Q_OBJECT

public:
    MenuButton(const QString &symbol, const QString &help);

    /// What it pulls down; empty at first.
    [[nodiscard]] QMenu &menu() { return *m_menu; }

private:
    void openMenu();

    QMenu *m_menu;
};
