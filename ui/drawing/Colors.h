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

/// The text colour at 0.5, or at as much more as a readable text needs: for what may be overlooked.
[[nodiscard]] QColor tertiaryColor(const QPalette &palette);

/// The user's accent as it is, at an opacity from 0 to 1: for what is filled with it.
[[nodiscard]] QColor accentColor(const QPalette &palette, double opacity = 1);

/// The accent, darkened or lightened until a text in it reads well on every ground of the window.
[[nodiscard]] QColor accentTextColor(const QPalette &palette);

/// The accent, darkened or lightened until a mark in it is seen on every ground of the window.
[[nodiscard]] QColor accentMarkColor(const QPalette &palette);

/// The same on this opaque ground.
[[nodiscard]] QColor accentMarkColor(const QPalette &palette, const QColor &ground);

/// Black or white, whichever reads better on top of the accent.
[[nodiscard]] QColor onAccentColor(const QPalette &palette);

/// The text colour at 0.82, for the symbol of a button.
[[nodiscard]] QColor inactiveColor(const QPalette &palette);

/// For the symbol of a button that is active: an accent mark, and no fainter than the inactive one if the accent
/// is so close to the window's colour that the circle behind the symbol is hardly seen.
[[nodiscard]] QColor activeColor(const QPalette &palette);

/// A red for the text of what cannot be undone, on the palette's window or base colour.
[[nodiscard]] QColor destructiveColor(const QPalette &palette);

/// The red that lies behind the same text, which is white then, while it is the one to be chosen.
[[nodiscard]] QColor destructiveGroundColor(const QPalette &palette);

/// The window's own opaque background.
[[nodiscard]] QColor windowBackgroundColor(const QPalette &palette);

/// An opaque colour, mixed with as much black or white, which keep its hue, as makes it stand out from each of the opaque
/// grounds.
[[nodiscard]] QColor standingOut(const QColor &color, const QList<QColor> &grounds, double contrast);

/// The contrast at which a text is readable: 4.5, or 7 in a palette of high contrast.
[[nodiscard]] double readableContrast(const QPalette &palette);

/// The contrast between two opaque colours as the Web Content Accessibility Guidelines 2.1 define it, from 1 to
/// 21. A text needs 4.5, a mark 3.
[[nodiscard]] double contrastRatio(const QColor &a, const QColor &b);
