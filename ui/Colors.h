#pragma once

#include <QColor>
#include <QPalette>

// The adaptive colours of the window, taken from the palette at every paint so that a change of scheme shows
// at once. They never follow the disabled group: a disabled control is dimmed as a whole.

/// The text colour, at an opacity from 0 to 1.
[[nodiscard]] QColor primaryColor(const QPalette &palette, double opacity = 1);

/// The wash that lies over what the mouse points at.
[[nodiscard]] QColor hoverColor(const QPalette &palette);

/// The text colour at 0.62, or at as much more as a readable text needs: for what is less important.
[[nodiscard]] QColor secondaryColor(const QPalette &palette);

/// The text colour at 0.5, for what may be overlooked.
[[nodiscard]] QColor tertiaryColor(const QPalette &palette);

/// The user's accent, at an opacity from 0 to 1.
[[nodiscard]] QColor accentColor(const QPalette &palette, double opacity = 1);

/// The accent, darkened or lightened by the text colour until it can be seen on the window: for the focus.
[[nodiscard]] QColor focusColor(const QPalette &palette);

/// What reads well on top of the accent: the palette's own choice if its contrast is enough for a text,
/// otherwise black or white.
[[nodiscard]] QColor onAccentColor(const QPalette &palette);

/// A red for the text of what cannot be undone, on the palette's window or base colour.
[[nodiscard]] QColor destructiveColor(const QPalette &palette);

/// The red that lies behind the same text, which is white then, while it is the one to be chosen.
[[nodiscard]] QColor destructiveGroundColor();

/// The window's own opaque background.
[[nodiscard]] QColor windowBackgroundColor(const QPalette &palette);

/// The contrast between two opaque colours as the Web Content Accessibility Guidelines 2.1 define it, from 1 to
/// 21. A text needs 4.5, a mark 3.
[[nodiscard]] double contrastRatio(const QColor &a, const QColor &b);
