#include "desktop/DesktopSettings.h"

#include <QHash>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using Kind = WindowButton::Kind;

QList<Kind> kindsNamed(const QStringList &names)
{
    const QHash<QString, Kind> kinds{
        {u"minimize"_s, Kind::Minimize}, {u"maximize"_s, Kind::Zoom}, {u"close"_s, Kind::Close}};
    QList<Kind> named;
    for (const QString &name : names) {
        const auto kind = kinds.constFind(name);
        if (kind != kinds.cend() && !named.contains(*kind))
            named.append(*kind);
    }
    return named;
}

bool isWithin(double value, double least, double most)
{
    return value >= least && value <= most; // a number that is none is not
}

// What a value of each kind changes, if it makes sense.

void readScheme(const QVariant &value, DesktopSettings &settings)
{
    if (value == 1U)
        settings.scheme = DesktopSettings::Scheme::Dark;
    else if (value == 2U)
        settings.scheme = DesktopSettings::Scheme::Light;
}

void readThemeName(const QVariant &value, DesktopSettings &settings)
{
    if (value.toString().endsWith("-dark"_L1, Qt::CaseInsensitive))
        settings.scheme = DesktopSettings::Scheme::Dark;
}

/// Red, green and blue, each from 0 to 1.
void readAccent(const QVariant &value, DesktopSettings &settings)
{
    const QVariantList parts = value.toList();
    const auto isPart = [](const QVariant &part) { return isWithin(part.toDouble(), 0, 1); };
    if (parts.size() == 3 && std::all_of(parts.begin(), parts.end(), isPart))
        settings.accent = QColor::fromRgbF(parts[0].toFloat(), parts[1].toFloat(), parts[2].toFloat());
}

/// Red, green and blue in a text, each from 0 to 255.
void readAccentText(const QVariant &value, DesktopSettings &settings)
{
    QVariantList parts;
    for (const QString &part : value.toString().split(u',')) {
        bool isNumber = false;
        parts.append(part.toInt(&isNumber) / 255.0);
        if (!isNumber)
            return;
    }
    readAccent(parts, settings);
}

/// Red, green and blue of a window's ground in a text, each from 0 to 255.
void readGround(const QVariant &value, DesktopSettings &settings)
{
    DesktopSettings read;
    readAccentText(value, read);
    if (read.accent.isValid())
        settings.scheme =
            read.accent.lightness() < 128 ? DesktopSettings::Scheme::Dark : DesktopSettings::Scheme::Light;
}

void readContrast(const QVariant &value, DesktopSettings &settings)
{
    if (value == 1U)
        settings.wantsHighContrast = true;
}

void readHighContrast(const QVariant &value, DesktopSettings &settings)
{
    if (value.toBool())
        settings.wantsHighContrast = true;
}

void readReducedMotion(const QVariant &value, DesktopSettings &settings)
{
    if (value == 1U)
        settings.wantsAnimations = false;
}

void readAnimations(const QVariant &value, DesktopSettings &settings)
{
    settings.wantsAnimations = value.toBool();
}

/// A factor for all lengths of time.
void readAnimationFactor(const QVariant &value, DesktopSettings &settings)
{
    bool isNumber = false;
    const double factor = value.toDouble(&isNumber);
    if (isNumber)
        settings.wantsAnimations = factor != 0;
}

template <FontChoice DesktopSettings::*Font> void readFont(const QVariant &value, DesktopSettings &settings)
{
    if (const FontChoice font = FontChoice::parse(value.toString()); !font.family.isEmpty())
        settings.*Font = font;
}

void readTextScale(const QVariant &value, DesktopSettings &settings)
{
    if (isWithin(value.toDouble(), 0.5, 3))
        settings.textScale = value.toDouble();
}

void readButtonLayout(const QVariant &value, DesktopSettings &settings)
{
    if (value.toString().contains(u':'))
        settings.buttonLayout = ButtonLayout::parse(value.toString());
}

/// One value that is read.
struct Key {
    QString group;
    QString name;
    QMetaType::Type type; ///< a value of another type makes no sense
    void (*read)(const QVariant &value, DesktopSettings &settings);
};

/// Every value that is read. One that stands further down is preferred.
const QList<Key> &keys()
{
    using Type = QMetaType::Type;
    // https://www.freedesktop.org/wiki/Specifications/XSettingsRegistry
    const QString xServer;
    // GNOME's, which the portals of other desktops publish, too
    const auto interface = u"org.gnome.desktop.interface"_s;
    const auto windows = u"org.gnome.desktop.wm.preferences"_s;
    const auto assistance = u"org.gnome.desktop.a11y.interface"_s;
    // Plasma's file "kdeglobals"
    const auto general = u"org.kde.kdeglobals.General"_s;
    const auto effects = u"org.kde.kdeglobals.KDE"_s;
    const auto ground = u"org.kde.kdeglobals.Colors:Window"_s;
    const auto selection = u"org.kde.kdeglobals.Colors:Selection"_s;
    // https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Settings.html
    const auto appearance = u"org.freedesktop.appearance"_s;
    static const QList<Key> keys{
        {xServer, u"Net/ThemeName"_s, Type::QString, readThemeName},
        {xServer, u"Gtk/FontName"_s, Type::QString, readFont<&DesktopSettings::font>},
        {xServer, u"Gtk/DecorationLayout"_s, Type::QString, readButtonLayout},
        {xServer, u"Gtk/EnableAnimations"_s, Type::Int, readAnimations},
        {interface, u"font-name"_s, Type::QString, readFont<&DesktopSettings::font>},
        {interface, u"monospace-font-name"_s, Type::QString, readFont<&DesktopSettings::fixedFont>},
        {interface, u"text-scaling-factor"_s, Type::Double, readTextScale},
        {interface, u"enable-animations"_s, Type::Bool, readAnimations},
        {windows, u"button-layout"_s, Type::QString, readButtonLayout},
        {assistance, u"high-contrast"_s, Type::Bool, readHighContrast},
        {general, u"font"_s, Type::QString, readFont<&DesktopSettings::font>},
        {general, u"fixed"_s, Type::QString, readFont<&DesktopSettings::fixedFont>},
        {effects, u"AnimationDurationFactor"_s, Type::QString, readAnimationFactor},
        {effects, u"AnimationDurationFactor"_s, Type::Double, readAnimationFactor},
        {ground, u"BackgroundNormal"_s, Type::QString, readGround},
        {selection, u"BackgroundNormal"_s, Type::QString, readAccentText},
        {appearance, u"color-scheme"_s, Type::UInt, readScheme},
        {appearance, u"accent-color"_s, Type::QVariantList, readAccent},
        {appearance, u"contrast"_s, Type::UInt, readContrast},
        {appearance, u"reduced-motion"_s, Type::UInt, readReducedMotion},
    };
    return keys;
}

} // namespace

ButtonLayout ButtonLayout::parse(const QString &published)
{
    const QStringList sides = published.split(u':');
    const QList<Kind> named = kindsNamed(sides.join(u',').split(u','));
    QList<Kind> missing = ButtonLayout().order;
    missing.removeIf([&](Kind kind) { return named.contains(kind); });
    if (kindsNamed(sides.first().split(u',')).contains(Kind::Close))
        return {Qt::LeftEdge, named + missing};
    return {Qt::RightEdge, missing + named};
}

FontChoice FontChoice::parse(const QString &published)
{
    // Of Pango's names for weights and slants: what a family may end in ("Light", "Black") is left to it.
    static const QStringList styles{
        u"Regular"_s, u"Book"_s, u"Medium"_s, u"Semi-Bold"_s, u"Bold"_s, u"Italic"_s, u"Oblique"_s};
    const qsizetype comma = published.indexOf(u',');
    const qsizetype end = comma < 0 ? published.lastIndexOf(u' ') : comma;
    const double points = published.sliced(end + 1).section(u',', 0, 0).toDouble();
    QStringList words = published.first(std::max<qsizetype>(end, 0)).split(u' ', Qt::SkipEmptyParts);
    while (!words.isEmpty() && styles.contains(words.constLast()))
        words.removeLast();
    if (words.isEmpty() || !isWithin(points, 4, 40))
        return {};
    return {words.join(u' '), points};
}

DesktopSettings desktopSettings(const PublishedSettings &published)
{
    DesktopSettings settings;
    for (const Key &key : keys()) {
        const QVariant value = published.value(key.group).value(key.name);
        if (value.typeId() == key.type)
            key.read(value, settings);
    }
    return settings;
}

QStringList desktopSettingsGroups()
{
    QStringList groups;
    for (const Key &key : keys()) {
        if (!key.group.isEmpty() && !groups.contains(key.group))
            groups.append(key.group);
    }
    return groups;
}
