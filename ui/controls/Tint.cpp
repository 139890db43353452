#include "ui/controls/Tint.h"

#include "ui/drawing/Colors.h"

#include <QPainter>

Tint::Tint(double opacity)
    : m_opacity(opacity)
{
}

void Tint::paintEvent(QPaintEvent *)
{
    QPainter(this).fillRect(rect(), primaryColor(palette(), m_opacity));
}
