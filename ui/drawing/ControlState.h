#pragma once

#include <Qt>
#include <functional>

// How a control shows that it is disabled, held down or where the keyboard is.

class QPainter;
class QPalette;
class QRectF;
class QWidget;

/// What is left of a control that is disabled.
constexpr double DisabledOpacity = 0.4;

/// What is left of one that is held down.
constexpr double PressedOpacity = 0.7;

/// Lets `draw` draw `widget` and puts the result on the widget at an opacity from 0 to 1, as a whole: what lies
/// under something else does not shine through it.
void drawAsWhole(QWidget &widget, double opacity, const std::function<void(QPainter &)> &draw);

constexpr double FocusRingWidth = 2; // points

/// With the gap that sets it off from what it surrounds.
constexpr double FocusRingRoom = 3;

/// Shows along the inner edge of `bounds`, whose corners are round by `radius`, where the keyboard is.
void drawFocusRing(QPainter &painter, const QRectF &bounds, const QPalette &palette, double radius = 8);

/// Whether a piece that has got the focus for `reason` shows it: where a key has brought it, not where the mouse
/// has, otherwise as it did.
[[nodiscard]] bool showsFocus(Qt::FocusReason reason, bool didShow);
