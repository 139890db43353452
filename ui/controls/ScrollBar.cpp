#include "ui/controls/ScrollBar.h"

#include "ui/drawing/Colors.h"

#include <QApplication>
#include <QCommonStyle>
#include <QPainter>
#include <QStyleOptionSlider>

using namespace Qt::StringLiterals;

namespace {

constexpr QMargins Inset(1, 2, 4, 2); // around the drawn thumb

/// What a click does is left to the program's style.
class ThinStyle : public QCommonStyle {
public:
    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override
    {
        switch (metric) {
        case PM_ScrollBarExtent:
            return 0; // of the arrows
        case PM_ScrollBarSliderMin:
            return 32;
        default:
            return QCommonStyle::pixelMetric(metric, option, widget);
        }
    }

    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
        QStyleHintReturn *data) const override
    {
        if (hint == SH_ScrollBar_Transient)
            return 0;
        return QApplication::style()->styleHint(hint, option, widget, data);
    }
};

} // namespace

ScrollBar::ScrollBar()
    : QScrollBar(Qt::Vertical)
{
    static ThinStyle style;
    setStyle(&style);
    setAttribute(Qt::WA_Hover);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setAccessibleName(tr("Desplazamiento"));
    setCursor(Qt::ArrowCursor);
}

double ScrollBar::thumbOpacity() const
{
    if (isSliderDown())
        return 0.6;
    return underMouse() ? 0.48 : 0.3;
}

void ScrollBar::paintEvent(QPaintEvent *)
{
    if (minimum() == maximum())
        return;
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect thumb =
        style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    const QRectF drawn = thumb.marginsRemoved(Inset);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(primaryColor(palette(), thumbOpacity()));
    painter.drawRoundedRect(drawn, drawn.width() / 2, drawn.width() / 2);
}
