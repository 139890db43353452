#pragma once

#include <QAccessibleWidget>

/// Makes an `Interface` for every `Widget` that assistive technology asks about, with this role if one is given.
/// Called in the constructor of `Widget`, or before the first one is made; once is enough, and more do no harm.
template <typename Widget, typename Interface, QAccessible::Role... Role> void installAccessible()
{
    QAccessible::installFactory([](const QString &, QObject *object) -> QAccessibleInterface * {
        auto *widget = dynamic_cast<Widget *>(object);
        return widget ? new Interface(widget, Role...) : nullptr;
    });
}
