#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QPixmap>
#include <QRectF>
#include <QString>

class QPainter;

/// The side of the square that a symbol of this font size takes, in device-independent pixels.
[[nodiscard]] int symbolExtent(int pointSize);

/// The drawing ui/symbols/`name`.svg in one colour, `pixels` wide and high, in strokes that suit a font of
/// this weight. Kept in the pixmap cache, which is bounded. A name without a drawing is an error in the program.
[[nodiscard]] QPixmap symbolPixmap(
    const QString &name, int pixels, const QColor &color, QFont::Weight weight = QFont::Normal);

/// The program's own picture, `pixels` wide and high: packaging/org.lumaverdine.Lumaverdine.svg in its colours. It
/// takes none of the toolkit's picture formats, which are plugins that may be missing, and no application object. Any
/// thread.
[[nodiscard]] QImage programPicture(int pixels);

/// Where the ink of a symbol lies in its square for a font of `pointSize`, without what is hardly seen; in
/// device-independent pixels.
[[nodiscard]] QRect symbolInk(const QString &name, int pointSize, QFont::Weight weight = QFont::Normal);

/// Draws the symbol for a font of `pointSize` device-independent pixels in the middle of `area`, on whole
/// device pixels.
void drawSymbol(QPainter &painter, const QRectF &area, const QString &name, int pointSize,
    const QColor &color, QFont::Weight weight = QFont::Normal);

/// The square in which a symbol's ink lies in the middle of `area`.
[[nodiscard]] QRectF squareByInk(
    const QRectF &area, const QString &name, int pointSize, QFont::Weight weight = QFont::Normal);
