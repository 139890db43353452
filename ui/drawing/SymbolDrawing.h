#pragma once

#include <QByteArray>
#include <QFont>

/// The drawing `svg` for a font of this weight, to be rendered `pixels` wide and high: strokes are as wide as
/// the weight asks for, and circles and what is given by its points (polygons, and lines along an axis) begin and
/// end on whole pixels. What is symmetric stays so.
///
/// A drawing has a grid of 24 units. Black is ink, and white takes ink away.
[[nodiscard]] QByteArray symbolDrawing(const QByteArray &svg, QFont::Weight weight, int pixels);

/// The whole number nearest to `length`, by their ratio, that lies in the middle of `room` without halves; at
/// least 1.
[[nodiscard]] int centrableLength(double length, int room);
