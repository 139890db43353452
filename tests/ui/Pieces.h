#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QList>
#include <QPalette>
#include <QRectF>
#include <functional>

class QPaintDevice;
class QPainter;

// What a picture of the window is made of, drawn by nothing that draws the window but its symbols and its corners,
// which have tests of their own.

/// A scheme in which every text has contrast enough, so that each colour is its plain share of text or accent.
struct Scheme {
    QColor window;
    QColor text;
    QColor accentColor;

    [[nodiscard]] QPalette palette() const;
    [[nodiscard]] QColor primary(double opacity = 1) const;
    [[nodiscard]] QColor accent(double opacity = 1) const;
};

/// Draws a piece in its place.
using Drawing = std::function<void(QPainter &painter, const QRectF &place)>;

[[nodiscard]] Drawing fill(const QColor &color);
[[nodiscard]] Drawing circle(const QColor &color);
[[nodiscard]] Drawing corners(double radius, const QColor &color);
[[nodiscard]] Drawing hairline(double radius, const QColor &color);

/// From the top left to the bottom right, the colours at equal distances.
[[nodiscard]] Drawing gradient(const QList<QColor> &colors);
[[nodiscard]] Drawing corners(double radius, const QList<QColor> &colors);

/// Black, of a square with these corners, blurred by a Gaussian of half the radius and moved down; nothing inside
/// of the square itself.
[[nodiscard]] Drawing shadow(
    const QRectF &square, double cornerRadius, double opacity, double blurRadius, double drop);

[[nodiscard]] Drawing symbol(
    const QString &name, int size, const QColor &color, QFont::Weight weight = QFont::Normal);

/// A line of text, in the middle of its place from top to bottom; cut at an ellipsis if it is longer than that.
[[nodiscard]] Drawing text(
    const QString &text, const QFont &font, const QColor &color, Qt::Alignment alignment = Qt::AlignLeft);

/// Several drawings in the same place, from back to front.
[[nodiscard]] Drawing all(const QList<Drawing> &drawings);

/// One that shines through as a whole.
[[nodiscard]] Drawing faded(double opacity, const Drawing &drawing);

/// Whole points that a line of this font takes.
[[nodiscard]] int lineHeight(const QFont &font);

struct Piece {
    QString name;
    QRectF place; ///< in the window, in points
    Drawing drawing; ///< none for a piece whose looks are not compared
    int tolerance = 1; ///< of 255: a value between two steps may be shown as either
};

/// Draws all pieces, from back to front.
void draw(const QList<Piece> &pieces, QPaintDevice &device);

/// Every text that is drawn with the size and the weight of its font, sorted: fonts differ in their weights also where
/// the system has none of them.
[[nodiscard]] QStringList textsIn(const std::function<void(QPaintDevice &device)> &draw);

/// The picture of all pieces.
[[nodiscard]] QImage pictureOf(const QList<Piece> &pieces, QSize size);

/// Names the pieces, the uppermost at each place, within which a channel of the two pictures differs by more than
/// the piece tolerates, with the first such pixel; empty if there are none.
[[nodiscard]] QString differences(const QImage &shown, const QImage &expected, const QList<Piece> &pieces);
