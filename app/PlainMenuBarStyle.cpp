#include "app/PlainMenuBarStyle.h"

QIcon PlainMenuBarStyle::standardIcon(
    StandardPixmap symbol, const QStyleOption *option, const QWidget *widget) const
{
    if (symbol == SP_ToolBarHorizontalExtensionButton)
        return {};
    return QProxyStyle::standardIcon(symbol, option, widget);
}
