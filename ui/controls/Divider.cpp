#include "ui/controls/Divider.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/Shapes.h"

#include <QPainter>
#include <cmath>

namespace {

// How strongly a hairline at full opacity stands out from its background.
constexpr double LineStrength = 0.2;

} // namespace

Divider::Divider(double opacity)
    : m_opacity(opacity)
{
    setFixedHeight(1);
}

void Divider::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    // Between two pixels it would be two wide at one place and one at another.
    const double top = painter.deviceTransform().map(QPointF()).y();
    painter.translate(0, (std::ceil(top) - top) / devicePixels(painter));
    painter.fillRect(
        QRectF(0, 0, width(), hairline(painter)), primaryColor(palette(), LineStrength * m_opacity));
}
