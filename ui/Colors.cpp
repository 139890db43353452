#include "ui/Colors.h"

namespace {

QColor atOpacity(QColor color, double opacity)
{
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

} // namespace

QColor primaryColor(const QPalette &palette, double opacity)
{
    return atOpacity(palette.color(QPalette::Active, QPalette::WindowText), opacity);
}

QColor secondaryColor(const QPalette &palette)
{
    return primaryColor(palette, 0.62);
}

QColor tertiaryColor(const QPalette &palette)
{
    return primaryColor(palette, 0.5);
}

QColor accentColor(const QPalette &palette, double opacity)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    return atOpacity(palette.color(QPalette::Active, QPalette::Accent), opacity);
#else
    return atOpacity(palette.color(QPalette::Active, QPalette::Highlight), opacity);
#endif
}

QColor onAccentColor(const QPalette &palette)
{
    return palette.color(QPalette::Active, QPalette::HighlightedText);
}

QColor windowBackgroundColor(const QPalette &palette)
{
    return palette.color(QPalette::Active, QPalette::Window);
}
