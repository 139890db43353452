#pragma once

#include <QPainterPath>

class QColor;
class QImage;
class QPainter;

/// Of the painter, along one side of a unit.
[[nodiscard]] double devicePixels(const QPainter &painter);

/// Makes one unit of the painter one device pixel, with the same origin as the device.
void enterDevicePixels(QPainter &painter);

/// Draws a line of one unit, or as many whole pixels as fit in one, along the top of an area.
void drawLineAcross(QPainter &painter, const QRectF &area, const QColor &color);

/// The largest part of an area of the painter that begins and ends with whole pixels: a part of one would be cut
/// off at a widget's edge.
[[nodiscard]] QRectF onWholePixels(const QPainter &painter, const QRectF &area);

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
