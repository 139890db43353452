#include "ui/controls/ScrollBar.h"

#include "ui/drawing/Colors.h"

#include <QApplication>
#include <QCommonStyle>
#include <QPainter>
#include <QStyleOptionSlider>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int ShortestThumb = 32;
constexpr QMargins Inset(1, 2, 4, 2); // around the drawn thumb

/// The sizes and places of a bar's parts.
class ThinStyle : public QCommonStyle {
public:
    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
        QStyleHintReturn *data) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
        const QWidget *widget) const override;
};

int ThinStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    switch (metric) {
    case PM_ScrollBarExtent:
        return ScrollBar::Width;
    case PM_ScrollBarSliderMin:
        return ShortestThumb;
    default:
        return QCommonStyle::pixelMetric(metric, option, widget);
    }
}

// What a click does is left to the desktop's style.
int ThinStyle::styleHint(
    StyleHint hint, const QStyleOption *option, const QWidget *widget, QStyleHintReturn *data) const
{
    if (hint == SH_ScrollBar_Transient)
        return 0;
    return QApplication::style()->styleHint(hint, option, widget, data);
}

QRect ThinStyle::subControlRect(
    ComplexControl control, const QStyleOptionComplex *option, SubControl part, const QWidget *widget) const
{
    const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control != CC_ScrollBar || !bar)
        return QCommonStyle::subControlRect(control, option, part, widget);

    const int room = bar->rect.height();
    const qint64 range = bar->maximum - bar->minimum;
    const int share =
        static_cast<int>(qint64(room) * bar->pageStep / std::max<qint64>(range + bar->pageStep, 1));
    const int length = std::clamp(share, std::min(ShortestThumb, room), room);
    const int start = sliderPositionFromValue(
        bar->minimum, bar->maximum, bar->sliderPosition, room - length, bar->upsideDown);
    switch (part) {
    case SC_ScrollBarGroove:
        return bar->rect;
    case SC_ScrollBarSlider:
        return {0, start, bar->rect.width(), length};
    case SC_ScrollBarSubPage:
        return {0, 0, bar->rect.width(), start};
    case SC_ScrollBarAddPage:
        return {0, start + length, bar->rect.width(), room - start - length};
    default:
        return {};
    }
}
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
