#pragma once

#include <QAccessibleWidget>

class Slider;

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
/// The words of a slider, as the attribute that stands for its value where they are spoken.
class SliderWords : public QAccessibleAttributesInterface {
public:
    explicit SliderWords(const Slider &slider);

    [[nodiscard]] QList<QAccessible::Attribute> attributeKeys() const override;
    [[nodiscard]] QVariant attributeValue(QAccessible::Attribute key) const override;

private:
    const Slider &m_slider;
};
#endif

/// A slider as assistive technology meets it. Setting its value is a whole edit.
///
/// Before Qt 6.8 nothing but numbers can be a value on the bus; the words are the description then.
class SliderAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit SliderAccessible(Slider &slider);

    void *interface_cast(QAccessible::InterfaceType type) override;
    [[nodiscard]] QString text(QAccessible::Text kind) const override;

    [[nodiscard]] QVariant currentValue() const override;
    void setCurrentValue(const QVariant &value) override;
    [[nodiscard]] QVariant minimumValue() const override;
    [[nodiscard]] QVariant maximumValue() const override;
    [[nodiscard]] QVariant minimumStepSize() const override;

private:
    Slider &m_slider;
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    SliderWords m_words;
#endif
};
