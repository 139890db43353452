#pragma once

#include <QPainterPath>

class QColor;
class QImage;
class QPainter;

/// A rectangle whose corners are continuous in curvature: it grows from nothing along the sides to its most on
/// the diagonal, where the outline meets that of a rectangle rounded by arcs of `radius`. A radius for which
/// there is no room is reduced.
[[nodiscard]] QPainterPath smoothCorners(const QRectF &rect, double radius);

/// Fills the outline, with a smooth edge, with the part of `picture` that it shows; the whole of it would cover
/// `area`, or a point more on each side if the pixels of both do not fall together.
void fillWithPicture(
    QPainter &painter, const QPainterPath &outline, const QRectF &area, const QImage &picture);

/// Draws a line of one point, or as many whole pixels as fit in one, along the inner edge of smooth corners, on whole
/// pixels.
void drawHairline(QPainter &painter, const QRectF &rect, double radius, const QColor &color);
