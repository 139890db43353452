#include "ui/Layout.h"

#include <QGridLayout>

namespace {

QBoxLayout *stack(QBoxLayout::Direction direction, int spacing, std::initializer_list<StackItem> children)
{
    auto *layout = new QBoxLayout(direction);
    layout->setContentsMargins({});
    layout->setSpacing(spacing);
    for (const StackItem &child : children)
        child.addTo(*layout);
    return layout;
}

} // namespace

void StackItem::addTo(QBoxLayout &stack) const
{
    if (m_widget)
        stack.addWidget(m_widget);
    else if (m_layout)
        stack.addLayout(m_layout);
    else
        stack.addStretch();
}

QBoxLayout *vertical(int spacing, std::initializer_list<StackItem> children)
{
    return stack(QBoxLayout::TopToBottom, spacing, children);
}

QBoxLayout *horizontal(int spacing, std::initializer_list<StackItem> children)
{
    return stack(QBoxLayout::LeftToRight, spacing, children);
}

QLayout *overlay(std::initializer_list<QWidget *> children)
{
    auto *layout = new QGridLayout;
    layout->setContentsMargins({});
    for (QWidget *child : children)
        layout->addWidget(child, 0, 0);
    return layout;
}

QBoxLayout *padded(QBoxLayout *layout, const QMargins &padding)
{
    layout->setContentsMargins(padding);
    return layout;
}

QWidget *widgetOf(QLayout *layout)
{
    auto *widget = new QWidget;
    widget->setLayout(layout);
    return widget;
}
