#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>

class QPainter;
class QRectF;

/// The side of the square that a symbol of this font size takes.
[[nodiscard]] int symbolExtent(int pointSize);

/// The drawing ui/symbols/`name`.svg in one colour, for a font of `pointSize` device-independent pixels, at
/// the given device pixel ratio. Kept in the pixmap cache. A name without a drawing is an error in the
/// program.
[[nodiscard]] QPixmap symbolPixmap(
    const QString &name, int pointSize, const QColor &color, double devicePixelRatio);

/// Draws the symbol in the middle of `area`, on whole device pixels.
void drawSymbol(
    QPainter &painter, const QRectF &area, const QString &name, int pointSize, const QColor &color);
