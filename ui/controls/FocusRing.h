#pragma once

#include <Qt>

class QPainter;
class QPalette;
class QRect;

/// Shows along the inner edge of `bounds`, whose corners are round by `radius`, where the keyboard is.
void drawFocusRing(QPainter &painter, const QRect &bounds, const QPalette &palette, double radius = 8);

/// Whether a piece that has got the focus for `reason` shows it: where a key has brought it, not where the mouse
/// has, otherwise as it did.
[[nodiscard]] bool showsFocus(Qt::FocusReason reason, bool didShow);
