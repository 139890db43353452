#include "ui/drawing/Palettes.h"

#include "desktop/DesktopSettings.h"
#include "ui/drawing/Colors.h"
#include "ui/drawing/ControlState.h"

namespace {

struct Shades {
    QRgb window;
    QRgb base; ///< under lists and fields
    QRgb button;
    QRgb text;
};

constexpr Shades Light{0xf6f6f7, 0xffffff, 0xebebed, 0x18181b};
constexpr Shades Dark{0x202124, 0x17181a, 0x303136, 0xf2f2f4};
constexpr Shades LightHighContrast{0xffffff, 0xffffff, 0xf0f0f0, 0x000000};
constexpr Shades DarkHighContrast{0x000000, 0x000000, 0x1c1c1c, 0xffffff};

const Shades &shadesOf(bool isDark, bool isHighContrast)
{
    if (isHighContrast)
        return isDark ? DarkHighContrast : LightHighContrast;
    return isDark ? Dark : Light;
}

bool isDark(const DesktopSettings &desktop, const QPalette &platform)
{
    if (desktop.scheme != DesktopSettings::Scheme::None)
        return desktop.scheme == DesktopSettings::Scheme::Dark;
    return platform.color(QPalette::Window).lightness() < platform.color(QPalette::WindowText).lightness();
}

void setAccent(QPalette &palette, const QColor &accent)
{
    palette.setColor(QPalette::Highlight, accent);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    palette.setColor(QPalette::Accent, accent);
#endif
    palette.setColor(QPalette::HighlightedText, onAccentColor(palette));
    const QList<QColor> grounds{palette.color(QPalette::Window), palette.color(QPalette::Base)};
    for (const auto role : {QPalette::Link, QPalette::LinkVisited})
        palette.setColor(role, standingOut(accent, grounds, readableContrast(palette)));
}

} // namespace

QPalette windowPalette(const DesktopSettings &desktop, const QPalette &platform)
{
    const bool isHigh = desktop.wantsHighContrast;
    const auto &[windowShade, base, button, textShade] = shadesOf(isDark(desktop, platform), isHigh);
    const QColor window(windowShade);
    const QColor text(textShade);
    QPalette palette(QColor{button}, window); // which finds the shades of edges
    for (const auto role : {QPalette::Base, QPalette::AlternateBase})
        palette.setColor(role, base);
    palette.setColor(QPalette::ToolTipBase, window);
    QColor faint = text;
    faint.setAlphaF(DisabledOpacity);
    for (const auto role :
        {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, faint);
    }
    QColor placeholder = text;
    placeholder.setAlphaF(isHigh ? 1 : 0.62F);
    palette.setColor(QPalette::PlaceholderText, placeholder);
    const QColor accent = desktop.accent.isValid() ? desktop.accent : accentColor(platform);
    setAccent(palette, isHigh ? standingOut(accent, {window}, readableContrast(palette)) : accent);
    return palette;
}
