#include "ui/controls/Backdrop.h"

#include "ui/Colors.h"

#include <QPainter>

void Backdrop::paintEvent(QPaintEvent *)
{
    QLinearGradient tint(rect().topLeft(), rect().bottomRight());
    tint.setColorAt(0, primaryColor(palette(), 0.04));
    tint.setColorAt(0.5, primaryColor(palette(), 0));
    tint.setColorAt(1, primaryColor(palette(), 0.025));
    QPainter painter(this);
    painter.fillRect(rect(), windowBackgroundColor(palette()));
    painter.fillRect(rect(), tint);
}
