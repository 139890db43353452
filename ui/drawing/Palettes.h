#pragma once

#include <QPalette>

struct DesktopSettings;

/// The colours of all windows: light or dark, each with a form of high contrast, and an accent.
///
/// What the user has not chosen is as in `platform`: whether it is dark, and the accent. In a form of high contrast an
/// accent is darkened or lightened until texts read well on it.
[[nodiscard]] QPalette windowPalette(const DesktopSettings &desktop, const QPalette &platform);
