#include "desktop/DesktopSettings.h"
#include "desktop/Foreground.h"
#include "tests/TestProgram.h"
#include "ui/drawing/Colors.h"
#include "ui/drawing/Palettes.h"

using namespace Qt::StringLiterals;

namespace {

using Chosen = DesktopSettings::Scheme;

const QPalette LightPlatform(Qt::black, Qt::white, Qt::white, Qt::gray, Qt::gray, Qt::black, Qt::white);
const QPalette DarkPlatform(Qt::white, Qt::black, Qt::gray, Qt::gray, Qt::gray, Qt::white, Qt::black);

/// What one sees of a colour on an opaque one, in eight bits a channel.
QColor laid(const QColor &color, const QColor &ground)
{
    const auto mix = [&](float top, float bottom) { return bottom + (top - bottom) * color.alphaF(); };
    return QColor::fromRgbF(mix(color.redF(), ground.redF()), mix(color.greenF(), ground.greenF()),
        mix(color.blueF(), ground.blueF()))
        .rgb();
}

struct Text {
    const char *name;
    QColor color;
    QList<QColor> grounds;
};

/// Every text of the window, its menus and its dialogs, on everything that it can stand on.
QList<Text> allTexts(const QPalette &palette)
{
    const auto of = [&](QPalette::ColorRole role) { return palette.color(role); };
    const auto tinted = [&](double opacity) {
        return laid(primaryColor(palette, opacity), of(QPalette::Window));
    };
    const QColor window = of(QPalette::Window);
    const QColor accent = accentColor(palette);
    const QColor playlist = laid(primaryColor(palette, 0.018), tinted(0.025));
    const QList<QColor> grounds{window, tinted(0.04), playlist};
    QList<QColor> currentRows;
    for (const QColor &ground : {window, playlist})
        currentRows.append(laid(accentColor(palette, 0.1), ground));
    QList<QColor> buttons;
    for (const QColor &ground : grounds) {
        const QColor button = laid(primaryColor(palette, 0.07), ground);
        buttons << button << laid(hoverColor(palette), button);
    }
    const bool isHigh = isHighContrast(palette);
    return {
        {"primary", primaryColor(palette), grounds + currentRows + buttons},
        {"secondary", secondaryColor(palette), grounds + currentRows},
        {"secondary on a cover", secondaryColor(palette), {tinted(0.15), tinted(0.045)}},
        {"tertiary", tertiaryColor(palette), grounds},
        {"title of the current row", accentTextColor(palette), currentRows},
        {"on the accent", onAccentColor(palette), {accent}},
        {"destructive", destructiveColor(palette), {window}},
        {"on the destructive", Qt::white, {destructiveGroundColor(palette)}},
        {"menu of an active window", foreground(palette, 0.8F), {window, tinted(0.04), buttons[2]}},
        {"menu of an inactive window", foreground(palette, isHigh ? 0.8F : 0.62F), {window, tinted(0.04)}},
        {"window's text", of(QPalette::WindowText), {window}},
        {"field's text", of(QPalette::Text), {of(QPalette::Base), of(QPalette::AlternateBase)}},
        {"placeholder", of(QPalette::PlaceholderText), {of(QPalette::Base)}},
        {"button's text", of(QPalette::ButtonText), {of(QPalette::Button)}},
        {"selected text", of(QPalette::HighlightedText), {of(QPalette::Highlight)}},
        {"link", of(QPalette::Link), {window, of(QPalette::Base)}},
        {"visited link", of(QPalette::LinkVisited), {window, of(QPalette::Base)}},
        {"tooltip", of(QPalette::ToolTipText), {of(QPalette::ToolTipBase)}},
    };
}

} // namespace

class PaletteTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyTextReadsOnEverything_data()
    {
        QTest::addColumn<DesktopSettings>("desktop");
        for (const auto scheme : {Chosen::Light, Chosen::Dark}) {
            for (const bool isHigh : {false, true}) {
                for (const QRgb accent :
                    {0xff0000, 0xffdd00, 0xffffff, 0x000000, 0x3584e4, 0x767676, 0x00ff00, 0x000080}) {
                    const char *name = scheme == Chosen::Dark ? "dark" : "light";
                    QTest::addRow("%s%s, %06x", name, isHigh ? ", high contrast" : "", accent)
                        << DesktopSettings{.scheme = scheme, .accent = accent, .wantsHighContrast = isHigh};
                }
            }
        }
    }

    void everyTextReadsOnEverything()
    {
        QFETCH(const DesktopSettings, desktop);
        const QPalette palette = windowPalette(desktop, LightPlatform);
        const double least = desktop.wantsHighContrast ? 7 : 4.5;
        for (const Text &text : allTexts(palette)) {
            for (const QColor &ground : text.grounds) {
                const double contrast = contrastRatio(laid(text.color, ground), ground);
                QVERIFY2(contrast >= least,
                    qPrintable(
                        u"%1 on %2: %3"_s.arg(QLatin1StringView(text.name), ground.name()).arg(contrast)));
            }
        }
    }

    void schemeIsTheUsersElseThePlatforms()
    {
        const auto isDark = [](Chosen scheme, const QPalette &platform) {
            return windowPalette({.scheme = scheme}, platform).color(QPalette::Window).lightness() < 128;
        };
        QVERIFY(!isDark(Chosen::None, LightPlatform));
        QVERIFY(isDark(Chosen::None, DarkPlatform));
        QVERIFY(isDark(Chosen::Dark, LightPlatform));
        QVERIFY(!isDark(Chosen::Light, DarkPlatform));
    }

    void accentIsTheUsersElseThePlatforms()
    {
        QPalette platform = LightPlatform;
        platform.setColor(QPalette::Highlight, Qt::red);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
        platform.setColor(QPalette::Accent, Qt::red);
#endif
        QCOMPARE(accentColor(windowPalette({}, platform)), QColor(Qt::red));
        QCOMPARE(accentColor(windowPalette({.accent = Qt::blue}, platform)), QColor(Qt::blue));
    }

    void allGroupsHaveTheSameColorsButForWhatIsDisabled()
    {
        const QPalette palette = windowPalette({}, LightPlatform);
        for (const auto role :
            {QPalette::Window, QPalette::Base, QPalette::Highlight, QPalette::HighlightedText,
                QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::PlaceholderText}) {
            QCOMPARE(palette.color(QPalette::Inactive, role), palette.color(QPalette::Active, role));
        }
        QVERIFY(palette.color(QPalette::Disabled, QPalette::Text) != palette.color(QPalette::Text));
    }

    void onlyPalettesOfHighContrastAreTakenForThose()
    {
        QVERIFY(!isHighContrast(windowPalette({}, LightPlatform)));
        QVERIFY(isHighContrast(windowPalette({.wantsHighContrast = true}, LightPlatform)));
        QVERIFY(!isHighContrast(QPalette(Qt::black, Qt::white)));
    }
};

LUMAVERDINE_TEST(PaletteTest)
#include "PaletteTest.moc"
