#pragma once

#include <QAccessibleWidget>

class Slider;

/// A slider as assistive technology meets it. Setting its value is a whole edit.
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
};
