#include "desktop/DesktopSettings.h"
#include "tests/TestProgram.h"

#include <limits>

using namespace Qt::StringLiterals;

using Scheme = DesktopSettings::Scheme;

Q_DECLARE_METATYPE(DesktopSettings)

namespace {

const auto XServer = ""_L1;
const auto Interface = "org.gnome.desktop.interface"_L1;
const auto Windows = "org.gnome.desktop.wm.preferences"_L1;
const auto Assistance = "org.gnome.desktop.a11y.interface"_L1;
const auto General = "org.kde.kdeglobals.General"_L1;
const auto Effects = "org.kde.kdeglobals.KDE"_L1;
const auto Ground = "org.kde.kdeglobals.Colors:Window"_L1;
const auto Selection = "org.kde.kdeglobals.Colors:Selection"_L1;
const auto Appearance = "org.freedesktop.appearance"_L1;

constexpr double NoNumber = std::numeric_limits<double>::quiet_NaN();

const ButtonLayout CloseAtLeft = ButtonLayout::parse(u"close:"_s);

struct Published {
    QLatin1StringView group;
    QLatin1StringView key;
    QVariant value;
};

/// Adds a row: what is published, and what of the settings is not as by default.
void addRow(const char *name, const QList<Published> &values, const DesktopSettings &expected = {})
{
    PublishedSettings published;
    for (const auto &[group, key, value] : values)
        published[group][key] = value;
    QTest::newRow(name) << published << expected;
}

QVariantList rgb(double red, double green, double blue)
{
    return {red, green, blue};
}

} // namespace

class DesktopSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void areWhatTheDesktopPublishes_data()
    {
        QTest::addColumn<PublishedSettings>("published");
        QTest::addColumn<DesktopSettings>("settings");
        const FontChoice sans{u"Noto Sans"_s, 11};
        const FontChoice mono{u"Hack"_s, 10};
        const QColor blue = QColor::fromRgbF(0.2F, 0.4F, 1.0F);

        addRow("nothing", {});
        addRow("dark", {{Appearance, "color-scheme"_L1, 1U}}, {.scheme = Scheme::Dark});
        addRow("light", {{Appearance, "color-scheme"_L1, 2U}}, {.scheme = Scheme::Light});
        addRow("no scheme", {{Appearance, "color-scheme"_L1, 0U}});
        addRow("a scheme of tomorrow", {{Appearance, "color-scheme"_L1, 3U}});
        addRow("a scheme in words", {{Appearance, "color-scheme"_L1, u"1"_s}});
        addRow("dark by the theme's name", {{XServer, "Net/ThemeName"_L1, u"Adwaita-dark"_s}},
            {.scheme = Scheme::Dark});
        addRow("any theme's name", {{XServer, "Net/ThemeName"_L1, u"Darkness"_s}});
        addRow("no scheme, dark by the theme's name",
            {{XServer, "Net/ThemeName"_L1, u"Greybird-dark"_s}, {Appearance, "color-scheme"_L1, 0U}},
            {.scheme = Scheme::Dark});
        addRow("light, dark by the theme's name",
            {{XServer, "Net/ThemeName"_L1, u"Greybird-dark"_s}, {Appearance, "color-scheme"_L1, 2U}},
            {.scheme = Scheme::Light});

        addRow("dark by Plasma's ground", {{Ground, "BackgroundNormal"_L1, u"42,46,50"_s}},
            {.scheme = Scheme::Dark});
        addRow("light by Plasma's ground",
            {{XServer, "Net/ThemeName"_L1, u"Breeze-dark"_s},
                {Ground, "BackgroundNormal"_L1, u"239,240,241"_s}},
            {.scheme = Scheme::Light});
        addRow("Plasma's ground in words", {{Ground, "BackgroundNormal"_L1, u"dark"_s}});

        addRow("accent", {{Appearance, "accent-color"_L1, rgb(0.2, 0.4, 1)}}, {.accent = blue});
        addRow("accent out of range", {{Appearance, "accent-color"_L1, rgb(0.2, 0.4, 1.01)}});
        addRow("no accent", {{Appearance, "accent-color"_L1, rgb(-1, -1, -1)}});
        addRow("accent of no numbers", {{Appearance, "accent-color"_L1, rgb(NoNumber, 0, 0)}});
        addRow("accent of two numbers", {{Appearance, "accent-color"_L1, QVariantList{0.1, 0.2}}});
        addRow("accent in words", {{Appearance, "accent-color"_L1, u"blue"_s}});
        addRow("Plasma's accent", {{Selection, "BackgroundNormal"_L1, u"51,102,255"_s}},
            {.accent = QColor(51, 102, 255)});
        addRow("Plasma's accent out of range", {{Selection, "BackgroundNormal"_L1, u"51,102,256"_s}});
        addRow("Plasma's accent by name", {{Selection, "BackgroundNormal"_L1, u"red,green,blue"_s}});
        addRow("both accents",
            {{Selection, "BackgroundNormal"_L1, u"1,2,3"_s},
                {Appearance, "accent-color"_L1, rgb(0.2, 0.4, 1)}},
            {.accent = blue});

        addRow("contrast", {{Appearance, "contrast"_L1, 1U}}, {.wantsHighContrast = true});
        addRow("no contrast", {{Appearance, "contrast"_L1, 0U}});
        addRow("contrast in words", {{Appearance, "contrast"_L1, u"1"_s}});
        addRow("GNOME's contrast", {{Assistance, "high-contrast"_L1, true}, {Appearance, "contrast"_L1, 0U}},
            {.wantsHighContrast = true});

        addRow("no animations", {{Interface, "enable-animations"_L1, false}}, {.wantsAnimations = false});
        addRow("animations in words", {{Interface, "enable-animations"_L1, u"false"_s}});
        addRow("no animations on X", {{XServer, "Gtk/EnableAnimations"_L1, 0}}, {.wantsAnimations = false});
        addRow("animations on X", {{XServer, "Gtk/EnableAnimations"_L1, 1}});
        addRow("animations, though none on X",
            {{XServer, "Gtk/EnableAnimations"_L1, 0}, {Interface, "enable-animations"_L1, true}});
        addRow("no animations in Plasma", {{Effects, "AnimationDurationFactor"_L1, u"0"_s}},
            {.wantsAnimations = false});
        addRow("nor as a number", {{Effects, "AnimationDurationFactor"_L1, 0.0}}, {.wantsAnimations = false});
        addRow("slow ones in Plasma", {{Effects, "AnimationDurationFactor"_L1, u"1.5"_s}});
        addRow("none in Plasma in words", {{Effects, "AnimationDurationFactor"_L1, u"none"_s}});
        addRow("less motion",
            {{Appearance, "reduced-motion"_L1, 1U}, {Interface, "enable-animations"_L1, true}},
            {.wantsAnimations = false});
        addRow("no less motion", {{Appearance, "reduced-motion"_L1, 0U}});

        addRow("font", {{Interface, "font-name"_L1, u"Noto Sans 11"_s}}, {.font = sans});
        addRow("empty font", {{Interface, "font-name"_L1, u""_s}});
        addRow("font of a wrong type", {{Interface, "font-name"_L1, 11}});
        addRow("fixed font", {{Interface, "monospace-font-name"_L1, u"Hack 10"_s}}, {.fixedFont = mono});
        addRow("Plasma's fonts",
            {{General, "font"_L1, u"Noto Sans,11,-1,5,50,0,0,0,0,0"_s}, {General, "fixed"_L1, u"Hack,10"_s}},
            {.font = sans, .fixedFont = mono});
        addRow("font on X", {{XServer, "Gtk/FontName"_L1, u"Noto Sans,  11"_s}}, {.font = sans});
        addRow("font, though one on X",
            {{XServer, "Gtk/FontName"_L1, u"Sans 9"_s}, {Interface, "font-name"_L1, u"Noto Sans 11"_s}},
            {.font = sans});
        addRow("a font on X beside one that makes no sense",
            {{XServer, "Gtk/FontName"_L1, u"Noto Sans 11"_s}, {Interface, "font-name"_L1, u"11"_s}},
            {.font = sans});

        addRow("text scale", {{Interface, "text-scaling-factor"_L1, 1.5}}, {.textScale = 1.5});
        addRow("least text scale", {{Interface, "text-scaling-factor"_L1, 0.5}}, {.textScale = 0.5});
        addRow("most text scale", {{Interface, "text-scaling-factor"_L1, 3.0}}, {.textScale = 3});
        for (const double value : {0.0, 0.49, 3.01, 1e9, -1.0, NoNumber})
            addRow(qPrintable(u"text scale %1"_s.arg(value)), {{Interface, "text-scaling-factor"_L1, value}});
        addRow("text scale in words", {{Interface, "text-scaling-factor"_L1, u"1.5"_s}});

        addRow("buttons", {{Windows, "button-layout"_L1, u"close:"_s}}, {.buttonLayout = CloseAtLeft});
        addRow("buttons without sides", {{Windows, "button-layout"_L1, u"close,minimize"_s}});
        addRow("buttons of a wrong type", {{Windows, "button-layout"_L1, 1U}});
        addRow("buttons on X", {{XServer, "Gtk/DecorationLayout"_L1, u"close:"_s}},
            {.buttonLayout = CloseAtLeft});
        addRow("buttons, though others on X",
            {{XServer, "Gtk/DecorationLayout"_L1, u"close:"_s}, {Windows, "button-layout"_L1, u":close"_s}});
        addRow("a key of another group", {{Interface, "color-scheme"_L1, 1U}});
    }

    void areWhatTheDesktopPublishes()
    {
        QFETCH(const PublishedSettings, published);
        QFETCH(const DesktopSettings, settings);
        QVERIFY(desktopSettings(published) == settings);
    }

    void fontIsReadInBothForms_data()
    {
        QTest::addColumn<QString>("published");
        QTest::addColumn<QString>("family");
        QTest::addColumn<double>("points");
        const auto row = [](const QString &published, const QString &family, double points) {
            QTest::newRow(qPrintable(published)) << published << family << points;
        };
        row(u"Cantarell 11"_s, u"Cantarell"_s, 11);
        row(u"Adwaita Sans 10.5"_s, u"Adwaita Sans"_s, 10.5);
        row(u"Noto Sans Medium 11"_s, u"Noto Sans"_s, 11);
        row(u"Noto Sans Semi-Bold Italic 11"_s, u"Noto Sans"_s, 11);
        row(u"Noto Sans,  10"_s, u"Noto Sans"_s, 10);
        row(u"Noto Sans,10,-1,5,400,0,0,0,0,0,0,0,0,0,0,1,Bold"_s, u"Noto Sans"_s, 10);
        row(u"Sans 4"_s, u"Sans"_s, 4);
        row(u"Sans 40"_s, u"Sans"_s, 40);
        for (const char *nonsense : {"", " ", "11", "Bold 11", "Sans", "Sans 0", "Sans 3.9", "Sans 40.1",
                 "Sans -11", "Sans 1e9", "Sans nan", "Sans inf", ",11", "Sans,", "Sans,x", "Sans,nan"})
            row(QString::fromLatin1(nonsense), {}, 0);
    }

    void fontIsReadInBothForms()
    {
        QFETCH(const QString, published);
        const FontChoice font = FontChoice::parse(published);
        QTEST(font.family, "family");
        QTEST(font.points, "points");
    }

    void allGroupsAreAskedForOnce()
    {
        QStringList groups = desktopSettingsGroups();
        groups.sort();
        QCOMPARE(groups,
            QStringList({Appearance, Assistance, Interface, Windows, Selection, Ground, General, Effects}));
    }
};

LUMAVERDINE_TEST(DesktopSettingsTest)
#include "DesktopSettingsTest.moc"
