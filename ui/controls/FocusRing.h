#pragma once

class QPainter;
class QPalette;
class QRect;

/// Shows along the inner edge of `bounds`, whose corners are round by `radius`, where the keyboard is.
void drawFocusRing(QPainter &painter, const QRect &bounds, const QPalette &palette, double radius = 8);
