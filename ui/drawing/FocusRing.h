#pragma once

#include <Qt>

class QPainter;
class QPalette;
class QRectF;

constexpr double FocusRingWidth = 2; // points

/// With the gap that sets it off from what it surrounds.
constexpr double FocusRingRoom = 3;

/// Shows along the inner edge of `bounds`, whose corners are round by `radius`, where the keyboard is.
void drawFocusRing(QPainter &painter, const QRectF &bounds, const QPalette &palette, double radius = 8);

/// Whether a piece that has got the focus for `reason` shows it: where a key has brought it, not where the mouse
/// has, otherwise as it did.
[[nodiscard]] bool showsFocus(Qt::FocusReason reason, bool didShow);
