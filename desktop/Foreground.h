#pragma once

#include <QColor>
#include <QPalette>

/// How much of the text colour lies over what the mouse points at, in the whole window.
constexpr float HoverOpacity = 0.07F;

/// The window's text colour at an opacity from 0 to 1, for what a window draws around its content.
[[nodiscard]] inline QColor foreground(const QPalette &palette, float opacity)
{
    QColor color = palette.color(QPalette::Active, QPalette::WindowText);
    color.setAlphaF(opacity);
    return color;
}

/// Whether a palette is one of high contrast: no text is faint in it, not even that of placeholders.
[[nodiscard]] inline bool isHighContrast(const QPalette &palette)
{
    return palette.color(QPalette::PlaceholderText).alpha() == 255;
}
