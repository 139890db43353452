#include "ui/Colors.h"

#include "platform/window/Foreground.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double ReadableContrast = 4.5;
constexpr double VisibleContrast = 3;

// One for light surroundings and one for dark ones; white reads well on the former.
constexpr QColor DarkRed(0xc8, 0x0d, 0x1f);
constexpr QColor LightRed(0xff, 0x8a, 0x80);

/// Part of a channel's intensity, from its value in sRGB.
double linear(double value)
{
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &color)
{
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// What one sees of `color` on an opaque background.
QColor mixed(const QColor &color, const QColor &background)
{
    const auto mix = [&](float top, float bottom) { return bottom + (top - bottom) * color.alphaF(); };
    return QColor::fromRgbF(mix(color.redF(), background.redF()), mix(color.greenF(), background.greenF()),
        mix(color.blueF(), background.blueF()));
}

QColor clearer(const QColor &a, const QColor &b, const QColor &background)
{
    return contrastRatio(a, background) >= contrastRatio(b, background) ? a : b;
}

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

QColor hoverColor(const QPalette &palette)
{
    return primaryColor(palette, HoverOpacity);
}

QColor secondaryColor(const QPalette &palette)
{
    // Texts stand on the window's tints and on the current row's as well.
    const QColor tinted = mixed(primaryColor(palette, 0.06), windowBackgroundColor(palette));
    const QColor ground = mixed(accentColor(palette, 0.1), tinted);
    double opacity = 0.62;
    while (opacity < 1
        && contrastRatio(mixed(primaryColor(palette, opacity), ground), ground) < ReadableContrast)
        opacity += 0.02;
    return primaryColor(palette, std::min(opacity, 1.0));
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

QColor focusColor(const QPalette &palette)
{
    const QColor ground = windowBackgroundColor(palette);
    QColor color = accentColor(palette);
    for (double share = 0; share < 1 && contrastRatio(color, ground) < VisibleContrast; share += 0.05)
        color = mixed(primaryColor(palette, share), accentColor(palette));
    return color;
}

QColor onAccentColor(const QPalette &palette)
{
    const QColor own = palette.color(QPalette::Active, QPalette::HighlightedText);
    const QColor accent = accentColor(palette);
    return contrastRatio(own, accent) >= ReadableContrast ? own : clearer(Qt::white, Qt::black, accent);
}

QColor destructiveColor(const QPalette &palette)
{
    return clearer(DarkRed, LightRed, windowBackgroundColor(palette));
}

QColor destructiveGroundColor()
{
    return DarkRed;
}

QColor windowBackgroundColor(const QPalette &palette)
{
    return palette.color(QPalette::Active, QPalette::Window);
}

double contrastRatio(const QColor &a, const QColor &b)
{
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}
