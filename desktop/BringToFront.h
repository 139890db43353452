#pragma once

#include <QWidget>

/// Shows a window before all others and gives it the keyboard, as far as the window system lets a program do so; also if
/// it is minimised.
inline void bringToFront(QWidget &window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}
