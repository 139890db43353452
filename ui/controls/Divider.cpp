#include "ui/controls/Divider.h"

#include "ui/Colors.h"

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
    const double ratio = devicePixelRatioF();
    const double top = painter.deviceTransform().map(QPointF()).y();
    const double thickness = std::floor(ratio) / ratio;
    painter.translate(0, (std::ceil(top) - top) / ratio);
    painter.fillRect(QRectF(0, 0, width(), thickness), primaryColor(palette(), LineStrength * m_opacity));
}
