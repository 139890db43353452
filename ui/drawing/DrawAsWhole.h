#pragma once

#include <functional>

class QPainter;
class QWidget;

/// What is left of a control that is disabled.
constexpr double DisabledOpacity = 0.4;

/// What is left of one that is held down.
constexpr double PressedOpacity = 0.7;

/// Lets `draw` draw `widget` and puts the result on the widget at an opacity from 0 to 1, as a whole: what lies
/// under something else does not shine through it.
void drawAsWhole(QWidget &widget, double opacity, const std::function<void(QPainter &)> &draw);
