#include "ui/drawing/Colors.h"

#include "desktop/Foreground.h"

#include <QList>
#include <algorithm>
#include <cmath>

namespace {

constexpr double VisibleContrast = 3;

// What lies under texts and marks at most. Of primary: the backdrop's tint with the playlist's, and that of a
// cover's placeholder. Of the accent: the current row, and the circle of an active button.
constexpr double WindowTint = 0.06;
constexpr double PlaceholderTint = 0.15;
constexpr double RowAccent = 0.1;
constexpr double CircleAccent = 0.13;

// Between the accent and the window; below it, the circle behind an active symbol is hardly seen.
constexpr double LeastCircleContrast = 2;

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

/// What one sees of `color` on an opaque background, as eight bits a channel show it.
QColor mixed(const QColor &color, const QColor &background)
{
    const auto mix = [&](float top, float bottom) { return bottom + (top - bottom) * color.alphaF(); };
    return QColor::fromRgbF(mix(color.redF(), background.redF()), mix(color.greenF(), background.greenF()),
        mix(color.blueF(), background.blueF()))
        .rgb();
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

/// What a piece stands on, with and without the most tint, each also under the accent at `opacity`.
QList<QColor> grounds(const QPalette &palette, double opacity)
{
    const QColor window = windowBackgroundColor(palette);
    const QColor tinted = mixed(primaryColor(palette, WindowTint), window);
    const QColor accent = accentColor(palette, opacity);
    return {window, tinted, mixed(accent, window), mixed(accent, tinted)};
}

/// What a mark stands on: also the circle of an active button under the mouse.
QList<QColor> markGrounds(const QPalette &palette)
{
    const QList<QColor> still = grounds(palette, CircleAccent);
    return still + QList<QColor>{mixed(hoverColor(palette), still.last())};
}

bool standsOut(const QColor &color, const QList<QColor> &grounds, double contrast)
{
    return std::all_of(grounds.begin(), grounds.end(),
        [&](const QColor &ground) { return contrastRatio(mixed(color, ground), ground) >= contrast; });
}

/// The text colour at `opacity`, or at as much more as makes a text readable.
QColor readablePrimary(const QPalette &palette, double opacity, const QList<QColor> &grounds)
{
    while (opacity < 1 && !standsOut(primaryColor(palette, opacity), grounds, readableContrast(palette)))
        opacity += 0.01;
    return primaryColor(palette, std::min(opacity, 1.0));
}

} // namespace

QColor primaryColor(const QPalette &palette, double opacity)
{
    return foreground(palette, static_cast<float>(opacity));
}

QColor hoverColor(const QPalette &palette)
{
    return primaryColor(palette, HoverOpacity);
}

QColor secondaryColor(const QPalette &palette)
{
    const QColor placeholder = mixed(primaryColor(palette, PlaceholderTint), windowBackgroundColor(palette));
    return readablePrimary(palette, 0.62, grounds(palette, RowAccent) << placeholder);
}

QColor tertiaryColor(const QPalette &palette)
{
    return readablePrimary(palette, 0.5, grounds(palette, 0));
}

QColor accentColor(const QPalette &palette, double opacity)
{
    // The toolkit's own role for it came with Qt 6.6, and not every palette names it.
    return atOpacity(palette.color(QPalette::Active, QPalette::Highlight), opacity);
}

QColor accentTextColor(const QPalette &palette)
{
    return standingOut(accentColor(palette), grounds(palette, RowAccent), readableContrast(palette));
}

QColor accentMarkColor(const QPalette &palette)
{
    return standingOut(accentColor(palette), markGrounds(palette), VisibleContrast);
}

QColor accentMarkColor(const QPalette &palette, const QColor &ground)
{
    return standingOut(accentColor(palette), {ground}, VisibleContrast);
}

QColor onAccentColor(const QPalette &palette)
{
    return clearer(Qt::white, Qt::black, accentColor(palette));
}

QColor inactiveColor(const QPalette &palette)
{
    return primaryColor(palette, 0.82);
}

QColor activeColor(const QPalette &palette)
{
    const QColor window = windowBackgroundColor(palette);
    if (contrastRatio(accentColor(palette), window) >= LeastCircleContrast)
        return accentMarkColor(palette);
    const double inactiveContrast = contrastRatio(mixed(inactiveColor(palette), window), window);
    return standingOut(accentColor(palette), markGrounds(palette), inactiveContrast);
}

QColor destructiveColor(const QPalette &palette)
{
    const QColor window = windowBackgroundColor(palette);
    return standingOut(clearer(DarkRed, LightRed, window), {window}, readableContrast(palette));
}

QColor destructiveGroundColor(const QPalette &palette)
{
    return standingOut(DarkRed, {Qt::white}, readableContrast(palette));
}

QColor windowBackgroundColor(const QPalette &palette)
{
    return palette.color(QPalette::Active, QPalette::Window);
}

QColor standingOut(const QColor &color, const QList<QColor> &grounds, double contrast)
{
    const QColor end = clearer(Qt::black, Qt::white, grounds.first());
    QColor moved = color;
    for (double share = 0; share < 1 && !standsOut(moved, grounds, contrast); share += 0.01)
        moved = mixed(atOpacity(end, share), color);
    return moved;
}

double readableContrast(const QPalette &palette)
{
    return isHighContrast(palette) ? 7 : 4.5;
}

double contrastRatio(const QColor &a, const QColor &b)
{
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}
