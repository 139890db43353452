#include "ui/Layout.h"

#include <QGridLayout>

namespace {

class YieldingGap : public QSpacerItem {
public:
    YieldingGap(int least, int preferred, QSizePolicy::Policy policy)
        : QSpacerItem(0, preferred, QSizePolicy::Minimum, policy)
        , m_least(least)
    {
    }

    [[nodiscard]] QSize minimumSize() const override { return {0, m_least}; }

private:
    int m_least;
};

class YieldingWidget : public QWidget {
public:
    [[nodiscard]] bool hasHeightForWidth() const override { return false; }
};

Qt::Alignment alignmentOf(const QWidget &widget)
{
    const bool growsSideways = widget.sizePolicy().horizontalPolicy() & QSizePolicy::GrowFlag;
    return growsSideways ? Qt::Alignment() : Qt::AlignHCenter;
}

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
        stack.addWidget(m_widget, 0, alignmentOf(*m_widget));
    else if (m_layout)
        stack.addLayout(m_layout);
    else if (m_gap)
        stack.addSpacerItem(m_gap);
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

QSpacerItem *yieldingGap(int least, int preferred, bool isGrowing)
{
    return new YieldingGap(least, preferred, isGrowing ? QSizePolicy::Expanding : QSizePolicy::Maximum);
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

QWidget *yieldingWidgetOf(QLayout *layout)
{
    auto *widget = new YieldingWidget;
    widget->setLayout(layout);
    return widget;
}
