#pragma once

#include <QRectF>

class QPainter;

/// Of the painter, along one side of a unit.
[[nodiscard]] double devicePixels(const QPainter &painter);

/// Makes one unit of the painter one device pixel, with the same origin as the device.
void enterDevicePixels(QPainter &painter);

/// The length of a line of one unit that is nowhere wider or fainter than elsewhere: whole pixels, at least one.
[[nodiscard]] double hairline(const QPainter &painter);

/// The largest part of an area of the painter that begins and ends with whole pixels: a part of one would be cut
/// off at a widget's edge.
[[nodiscard]] QRectF onWholePixels(const QPainter &painter, const QRectF &area);
