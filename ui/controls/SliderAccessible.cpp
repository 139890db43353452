#include "ui/controls/SliderAccessible.h"

#include "ui/controls/Slider.h"

#include <cmath>

using namespace Qt::StringLiterals;

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
SliderWords::SliderWords(const Slider &slider)
    : m_slider(slider)
{
}

QList<QAccessible::Attribute> SliderWords::attributeKeys() const
{
    return {QAccessible::Attribute::Custom};
}

QVariant SliderWords::attributeValue(QAccessible::Attribute key) const
{
    if (key != QAccessible::Attribute::Custom)
        return {};
    return QVariant::fromValue(QHash<QString, QString>{{u"valuetext"_s, m_slider.spokenWords()}});
}
#endif

SliderAccessible::SliderAccessible(Slider &slider)
    : QAccessibleWidget(&slider, QAccessible::Slider)
    , m_slider(slider)
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    , m_words(slider)
#endif
{
}

void *SliderAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::ValueInterface)
        return static_cast<QAccessibleValueInterface *>(this);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    if (type == QAccessible::AttributesInterface && !m_slider.spokenWords().isEmpty())
        return static_cast<QAccessibleAttributesInterface *>(&m_words);
#endif
    return QAccessibleWidget::interface_cast(type);
}

QString SliderAccessible::text(QAccessible::Text kind) const
{
#if QT_VERSION < QT_VERSION_CHECK(6, 8, 0)
    if (kind == QAccessible::Description)
        return m_slider.spokenWords();
#endif
    return kind == QAccessible::Value ? m_slider.spokenWords() : QAccessibleWidget::text(kind);
}

QVariant SliderAccessible::currentValue() const
{
    return m_slider.value() / m_slider.spokenUnit();
}

void SliderAccessible::setCurrentValue(const QVariant &value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (isNumber && std::isfinite(number))
        m_slider.edit(number * m_slider.spokenUnit());
}

QVariant SliderAccessible::minimumValue() const
{
    return 0.0;
}

QVariant SliderAccessible::maximumValue() const
{
    return m_slider.maximum() / m_slider.spokenUnit();
}

QVariant SliderAccessible::minimumStepSize() const
{
    return m_slider.step() / m_slider.spokenUnit();
}
