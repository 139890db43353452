#include "ui/controls/Backdrop.h"

#include "platform/window/FramelessWindow.h"
#include "ui/Colors.h"

#include <QPainter>

namespace {

// Enough to read on, whatever lies behind the window.
constexpr float TranslucentOpacity = 0.85F;

QColor backgroundColor(const QWidget &backdrop)
{
    QColor color = windowBackgroundColor(backdrop.palette());
    const auto *window = qobject_cast<const FramelessWindow *>(backdrop.window());
    if (window && window->isTranslucent())
        color.setAlphaF(TranslucentOpacity);
    return color;
}

} // namespace

void Backdrop::paintEvent(QPaintEvent *)
{
    const QRectF area = rect();
    QLinearGradient tint(area.topLeft(), area.bottomRight());
    tint.setColorAt(0, primaryColor(palette(), 0.04));
    tint.setColorAt(0.5, primaryColor(palette(), 0));
    tint.setColorAt(1, primaryColor(palette(), 0.025));
    QPainter painter(this);
    painter.fillRect(rect(), backgroundColor(*this));
    painter.fillRect(rect(), tint);
}
