#pragma once

#include <QColor>
#include <QPalette>

// The adaptive colours of the window, taken from the palette at every paint so that a change of scheme shows
// at once. They never follow the disabled group: a disabled control is dimmed as a whole.

/// The text colour, at an opacity from 0 to 1.
[[nodiscard]] QColor primaryColor(const QPalette &palette, double opacity = 1);

/// The text colour at 0.62, for what accompanies a text.
[[nodiscard]] QColor secondaryColor(const QPalette &palette);

/// The text colour at 0.5, for what may be overlooked.
[[nodiscard]] QColor tertiaryColor(const QPalette &palette);

/// The user's accent, at an opacity from 0 to 1.
[[nodiscard]] QColor accentColor(const QPalette &palette, double opacity = 1);

/// What reads well on top of the accent.
[[nodiscard]] QColor onAccentColor(const QPalette &palette);

/// The window's own opaque background.
[[nodiscard]] QColor windowBackgroundColor(const QPalette &palette);
