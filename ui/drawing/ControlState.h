#pragma once

#include <Qt>
#include <functional>

// How a control shows that it is disabled, held down or focused.

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

/// Draws the ring of the focus along the inner edge of `bounds`, whose corners are round by `radius`.
void drawFocusRing(QPainter &painter, const QRectF &bounds, const QPalette &palette, double radius = 8);

/// Whether a piece shows the focus that it has got for this reason: if a key has brought it, not if the mouse has,
/// otherwise as it did before.
[[nodiscard]] bool showsFocus(Qt::FocusReason reason, bool didShow);
