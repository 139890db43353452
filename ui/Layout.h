#pragma once

#include <QBoxLayout>
#include <QMargins>
#include <QWidget>
#include <initializer_list>

/// Takes what room is left in its stack, along the stack's direction.
struct Spacer { };

/// What a stack holds: a widget, another layout, or a space.
class StackItem {
public:
    StackItem(QWidget *widget)
        : m_widget(widget)
    {
    }
    StackItem(QLayout *layout)
        : m_layout(layout)
    {
    }
    StackItem(Spacer) { }

    void addTo(QBoxLayout &stack) const;

private:
    QWidget *m_widget = nullptr;
    QLayout *m_layout = nullptr;
};

// Layouts read like the picture they make. The widget on which the outermost layout is set comes to own
// everything in it.

/// Children from top to bottom, `spacing` apart; a widget that does not grow is centred.
[[nodiscard]] QBoxLayout *vertical(int spacing, std::initializer_list<StackItem> children);

/// Children from left to right, `spacing` apart; a widget that does not grow is centred.
[[nodiscard]] QBoxLayout *horizontal(int spacing, std::initializer_list<StackItem> children);

/// Children on top of each other from back to front, all of them filling the whole area.
[[nodiscard]] QLayout *overlay(std::initializer_list<QWidget *> children);

/// The same layout with room around it.
[[nodiscard]] QBoxLayout *padded(QBoxLayout *layout, const QMargins &padding);

/// A widget that holds the layout, for what needs one.
[[nodiscard]] QWidget *widgetOf(QLayout *layout);
