#include "ui/controls/SliderAccessible.h"

#include "ui/controls/Slider.h"

#include <cmath>

SliderAccessible::SliderAccessible(Slider &slider)
    : QAccessibleWidget(&slider, QAccessible::Slider)
    , m_slider(slider)
{
}

void *SliderAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::ValueInterface)
        return static_cast<QAccessibleValueInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QString SliderAccessible::text(QAccessible::Text kind) const
{
    // The bus knows values as numbers only; what they mean goes over it as a description.
    const bool isSpoken = kind == QAccessible::Value || kind == QAccessible::Description;
    return isSpoken ? m_slider.spokenValue() : QAccessibleWidget::text(kind);
}

QVariant SliderAccessible::currentValue() const
{
    return m_slider.value();
}

void SliderAccessible::setCurrentValue(const QVariant &value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (isNumber && std::isfinite(number))
        m_slider.edit(number);
}

QVariant SliderAccessible::minimumValue() const
{
    return 0.0;
}

QVariant SliderAccessible::maximumValue() const
{
    return m_slider.maximum();
}

QVariant SliderAccessible::minimumStepSize() const
{
    return m_slider.step();
}
