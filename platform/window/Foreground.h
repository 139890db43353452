#pragma once

#include <QColor>
#include <QPalette>

/// The window's text colour at an opacity from 0 to 1, for what a window draws around its content.
[[nodiscard]] inline QColor foreground(const QPalette &palette, float opacity)
{
    QColor color = palette.color(QPalette::Active, QPalette::WindowText);
    color.setAlphaF(opacity);
    return color;
}
