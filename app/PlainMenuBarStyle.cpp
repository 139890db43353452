#include "app/PlainMenuBarStyle.h"

QIcon PlainMenuBarStyle::standardIcon(
    StandardPixmap symbol, const QStyleOption *option, const QWidget *widget) const
{
    if (symbol == SP_ToolBarHorizontalExtensionButton)
        return {};
    return QProxyStyle::standardIcon(symbol, option, widget);
}

int PlainMenuBarStyle::styleHint(
    StyleHint hint, const QStyleOption *option, const QWidget *widget, QStyleHintReturn *answer) const
{
    return hint == SH_Menu_SpaceActivatesItem ? 1 : QProxyStyle::styleHint(hint, option, widget, answer);
}
