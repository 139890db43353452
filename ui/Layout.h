#pragma once

#include <QBoxLayout>
#include <initializer_list>
#include <variant>

// Layouts read like the picture they make. The widget on which the outermost layout is set comes to own
// everything in it.

/// Takes what room is left in its stack, along the stack's direction.
struct Spacer { };

using StackItem = std::variant<Spacer, QWidget *, QLayout *>;

[[nodiscard]] inline QBoxLayout *stack(
    QBoxLayout::Direction direction, int spacing, std::initializer_list<StackItem> children)
{
    auto *layout = new QBoxLayout(direction);
    layout->setContentsMargins({});
    layout->setSpacing(spacing);
    for (const StackItem &child : children) {
        if (auto *const *widget = std::get_if<QWidget *>(&child))
            layout->addWidget(*widget);
        else if (auto *const *inner = std::get_if<QLayout *>(&child))
            layout->addLayout(*inner);
        else
            layout->addStretch();
    }
    return layout;
}

/// Children from top to bottom, `spacing` apart; a widget that does not grow is centred.
[[nodiscard]] inline QBoxLayout *vertical(int spacing, std::initializer_list<StackItem> children)
{
    return stack(QBoxLayout::TopToBottom, spacing, children);
}

/// Children from left to right, `spacing` apart; a widget that does not grow is centred.
[[nodiscard]] inline QBoxLayout *horizontal(int spacing, std::initializer_list<StackItem> children)
{
    return stack(QBoxLayout::LeftToRight, spacing, children);
}

/// The same layout with room around it.
[[nodiscard]] inline QBoxLayout *padded(QBoxLayout *layout, const QMargins &padding)
{
    layout->setContentsMargins(padding);
    return layout;
}
