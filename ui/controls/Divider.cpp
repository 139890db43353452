#include "ui/controls/Divider.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/Shapes.h"

#include <QPainter>

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
    drawLineAcross(painter, rect(), primaryColor(palette(), LineStrength * m_opacity));
}
