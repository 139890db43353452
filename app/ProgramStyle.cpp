#include "app/ProgramStyle.h"

QIcon ProgramStyle::standardIcon(
    StandardPixmap symbol, const QStyleOption *option, const QWidget *widget) const
{
    if (symbol == SP_ToolBarHorizontalExtensionButton)
        return {};
    return PopupStyle::standardIcon(symbol, option, widget);
}

int ProgramStyle::styleHint(
    StyleHint hint, const QStyleOption *option, const QWidget *widget, QStyleHintReturn *answer) const
{
    if (hint == SH_Menu_SpaceActivatesItem)
        return 1;
    if (hint == SH_Widget_Animation_Duration && !m_isAnimated)
        return 0;
    return PopupStyle::styleHint(hint, option, widget, answer);
}
