#include "desktop/WindowButton.h"

#include "desktop/Foreground.h"

#include <QPainter>
#include <QPainterPath>
#include <QtMath>

using namespace Qt::StringLiterals;

namespace {

constexpr double SignSide = 9; // points
constexpr double StrokeWidth = 1.5;

/// The nearest even number below.
int even(double number)
{
    return 2 * qFloor(number / 2);
}

QString nameOf(WindowButton::Kind kind)
{
    switch (kind) {
    case WindowButton::Kind::Close:
        return WindowButton::tr("Cerrar");
    case WindowButton::Kind::Minimize:
        return WindowButton::tr("Minimizar");
    case WindowButton::Kind::Zoom:
        return WindowButton::tr("Ampliar");
    case WindowButton::Kind::Restore:
        return WindowButton::tr("Restaurar");
    }
    return {};
}

void drawRestore(QPainter &painter, const QRectF &square, double point)
{
    const double shift = painter.pen().widthF() + qRound(point); // a point between the lines
    const QRectF front = square.adjusted(0, shift, -shift, 0);
    painter.drawRoundedRect(front, 1.5 * point, 1.5 * point);
    const QPointF corner = square.topRight();
    painter.drawPolyline(
        QPolygonF({{front.left() + shift, corner.y()}, corner, {corner.x(), front.bottom() - shift}}));
}

/// As one line, so that the crossing is no darker.
void drawCross(QPainter &painter, const QRectF &square)
{
    QPainterPath cross(square.topLeft());
    cross.lineTo(square.bottomRight());
    cross.moveTo(square.topRight());
    cross.lineTo(square.bottomLeft());
    painter.drawPath(cross);
}

/// In a square of device pixels, so many of which make a point.
void drawSign(QPainter &painter, WindowButton::Kind kind, const QRectF &square, double point)
{
    if (kind == WindowButton::Kind::Close)
        drawCross(painter, square);
    else if (kind == WindowButton::Kind::Minimize)
        painter.drawLine(QLineF(square.left(), square.center().y(), square.right(), square.center().y()));
    else if (kind == WindowButton::Kind::Zoom)
        painter.drawRoundedRect(square, 2 * point, 2 * point);
    else
        drawRestore(painter, square, point);
}

} // namespace

WindowButton::WindowButton(Kind kind)
{
    setKind(kind);
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
}

void WindowButton::setKind(Kind kind)
{
    m_kind = kind;
    setToolTip(nameOf(kind));
    setAccessibleName(nameOf(kind));
    update();
}

void WindowButton::placeAt(QPoint place, const QMargins &reach)
{
    setContentsMargins(reach);
    setGeometry(QRect(place, Size).marginsAdded(reach));
}

void WindowButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(foreground(palette(), isDown() ? 0.2F : underMouse() ? HoverOpacity : 0));
    painter.drawEllipse(contentsRect());
    const bool isProminent = isActiveWindow() || underMouse();
    const QColor color = foreground(palette(), isProminent ? 0.8F : 0.4F);

    // Lines of whole pixels that begin and end with them: side and width together are odd or even as the width is.
    const double point = painter.deviceTransform().m11();
    const QPointF exact = painter.deviceTransform().map(QRectF(contentsRect()).center());
    const int width = qRound(StrokeWidth * point);
    const int side = even(SignSide * point);
    const int whole = side + width;
    const QPointF corner(qRound(exact.x() - whole / 2.0), qRound(exact.y() - whole / 2.0));
    const QPointF inset(width / 2.0, width / 2.0);
    painter.setWorldTransform(painter.deviceTransform().inverted(), true);
    painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    drawSign(painter, m_kind, QRectF(corner + inset, QSizeF(side, side)), point);
}
