#include "ui/controls/FocusRing.h"

#include "ui/Colors.h"

#include <QPainter>

namespace {

void drawLine(
    QPainter &painter, const QRectF &bounds, double radius, double inset, double width, const QColor &color)
{
    const double middle = inset + width / 2;
    painter.setPen(QPen(color, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(
        bounds.adjusted(middle, middle, -middle, -middle), radius - middle, radius - middle);
}

} // namespace

void drawFocusRing(QPainter &painter, const QRect &bounds, const QPalette &palette, double radius)
{
    constexpr double Width = 2;
    drawLine(painter, bounds, radius, 0, Width, accentMarkColor(palette));
    // Sets it off from a piece that is itself filled with the accent.
    drawLine(painter, bounds, radius, Width, 1, windowBackgroundColor(palette));
}

bool showsFocus(Qt::FocusReason reason, bool didShow)
{
    switch (reason) {
    case Qt::TabFocusReason:
    case Qt::BacktabFocusReason:
        return true;
    case Qt::MouseFocusReason:
        return false;
    default:
        return didShow;
    }
}
