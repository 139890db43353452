#include "platform/window/WindowButton.h"

#include "platform/window/Foreground.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr double SignRadius = 4.5;

QString nameOf(WindowButton::Kind kind)
{
    switch (kind) {
    case WindowButton::Kind::Close:
        return u"Cerrar"_s;
    case WindowButton::Kind::Minimize:
        return u"Minimizar"_s;
    case WindowButton::Kind::Zoom:
        return u"Ampliar"_s;
    case WindowButton::Kind::Restore:
        return u"Restaurar"_s;
    }
    return {};
}

void drawRestore(QPainter &painter, const QRectF &square)
{
    const QRectF front = square.adjusted(0, 2, -2, 0);
    painter.drawRoundedRect(front, 1.5, 1.5);
    const QPointF corner = square.topRight();
    painter.drawPolyline(
        QPolygonF({{front.left() + 2, corner.y()}, corner, {corner.x(), front.bottom() - 2}}));
}

void drawSign(QPainter &painter, WindowButton::Kind kind, const QRectF &square)
{
    switch (kind) {
    case WindowButton::Kind::Close:
        painter.drawLine(square.topLeft(), square.bottomRight());
        painter.drawLine(square.topRight(), square.bottomLeft());
        break;
    case WindowButton::Kind::Minimize:
        painter.drawLine(QLineF(square.left(), square.center().y(), square.right(), square.center().y()));
        break;
    case WindowButton::Kind::Zoom:
        painter.drawRoundedRect(square, 2, 2);
        break;
    case WindowButton::Kind::Restore:
        drawRestore(painter, square);
        break;
    }
}

} // namespace

WindowButton::WindowButton(Kind kind)
{
    setKind(kind);
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    resize(Size);
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

float WindowButton::backgroundOpacity() const
{
    if (isDown())
        return 0.2F;
    return underMouse() ? HoverOpacity : 0;
}

void WindowButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(foreground(palette(), backgroundOpacity()));
    painter.drawEllipse(contentsRect());
    const bool isProminent = isActiveWindow() || underMouse();
    painter.setPen(QPen(foreground(palette(), isProminent ? 0.8F : 0.4F), 1.5, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    const QPointF reach(SignRadius, SignRadius);
    const QPointF middle = QRectF(contentsRect()).center();
    drawSign(painter, m_kind, QRectF(middle - reach, middle + reach));
}
