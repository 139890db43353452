#include "desktop/DesktopSettings.h"
#include "desktop/Foreground.h"
#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PlaylistRowDelegate.h"
#include "ui/PlaylistView.h"
#include "ui/controls/Button.h"
#include "ui/controls/Cover.h"
#include "ui/drawing/Palettes.h"

#include <QPainter>
#include <span>

using namespace Qt::StringLiterals;

namespace {

constexpr int Scale = 3; // at which every stroke of a text covers whole pixels
constexpr double ForMarks = 3;

QPalette contrastPalette(QRgb window, QRgb text, QRgb accent)
{
    QPalette palette(QColor{text}, QColor{window});
    palette.setColor(QPalette::WindowText, QColor(text));
    palette.setColor(QPalette::Window, QColor(window));
    palette.setColor(QPalette::Highlight, QColor(accent));
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    palette.setColor(QPalette::Accent, QColor(accent));
#endif
    return palette;
}

// What the guidelines define, for the colours of pixels.

/// Of a channel, for each of its values.
std::array<double, 256> linearValues()
{
    std::array<double, 256> linear;
    for (std::size_t i = 0; i < linear.size(); ++i) {
        const double value = static_cast<double>(i) / 255;
        linear.at(i) = value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    }
    return linear;
}

double luminance(QRgb color)
{
    static const std::array<double, 256> linear = linearValues();
    return 0.2126 * linear[qRed(color)] + 0.7152 * linear[qGreen(color)] + 0.0722 * linear[qBlue(color)];
}

double contrast(const QColor &a, const QColor &b)
{
    const auto [darker, lighter] = std::minmax({luminance(a.rgb()), luminance(b.rgb())});
    return (lighter + 0.05) / (darker + 0.05);
}

double forTexts(const QPalette &palette)
{
    return isHighContrast(palette) ? 7 : 4.5;
}

/// What is drawn on a ground, and the ground.
struct Ink {
    QColor color;
    QColor ground;

    [[nodiscard]] double contrast() const { return ::contrast(color, ground); }
};

/// The window in a palette, with two tracks, the first one current, or with none.
struct PaletteFixture : ViewFixture {
    explicit PaletteFixture(const QPalette &palette, const char *tracks = "ab")
    {
        QApplication::setPalette(palette);
        view.resize(720, 720);
        add(tracks);
        render();
    }

    /// What is seen in an area of the view.
    [[nodiscard]] QImage seen(const QRect &area)
    {
        QImage image(area.size() * Scale, QImage::Format_RGB32);
        image.setDevicePixelRatio(Scale);
        QPainter painter(&image);
        view.render(&painter, {}, area);
        return image;
    }

    /// The ink of an area: the colour that stands out most from its upper left pixel.
    [[nodiscard]] Ink ink(const QRect &area)
    {
        const QImage image = seen(area);
        const QRgb ground = image.pixel(0, 0);
        Ink found{ground, ground};
        double darkest = luminance(ground);
        double lightest = darkest;
        const auto *pixel = reinterpret_cast<const QRgb *>(image.constBits());
        for (const QRgb *end = pixel + image.width() * image.height(); pixel != end; ++pixel) {
            const double light = luminance(*pixel);
            if (light >= darkest && light <= lightest)
                continue;
            darkest = std::min(darkest, light);
            lightest = std::max(lightest, light);
            if (const Ink other{*pixel, ground}; other.contrast() > found.contrast())
                found = other;
        }
        return found;
    }

    [[nodiscard]] PlaylistRowGeometry row(int number) const
    {
        const auto &list = *view.findChild<PlaylistView *>();
        const QRect inList = list.visualRect(list.model()->index(number, 0));
        const QRect row(list.viewport()->mapTo(&view, inList.topLeft()), inList.size());
        return {row, 40, 20, 16};
    }

    [[nodiscard]] QRect button(const QString &name) const { return place(*find<Button>(name)); }
};

/// What of a round button lies well within its circle.
QRect inCircle(const QRect &button)
{
    return button.adjusted(6, 6, -6, -6);
}

void addPalettes()
{
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("blue on light grey") << contrastPalette(0xefefef, 0x000000, 0x308cc6);
    QTest::newRow("blue on dark grey") << contrastPalette(0x323232, 0xffffff, 0x308cc6);
    QTest::newRow("blue on white") << contrastPalette(0xfafafa, 0x2e3436, 0x3584e4);
    QTest::newRow("blue on near black") << contrastPalette(0x1e1e1e, 0xffffff, 0x3584e4);
    QTest::newRow("sky blue on off-white") << contrastPalette(0xeff0f1, 0x232629, 0x3daee9);
    QTest::newRow("sky blue on slate") << contrastPalette(0x2a2e32, 0xfcfcfc, 0x3daee9);
    QTest::newRow("orange on white") << contrastPalette(0xfafafa, 0x3d3d3d, 0xe95420);
    QTest::newRow("orange on near black") << contrastPalette(0x2c2c2c, 0xf7f7f7, 0xe95420);
    QTest::newRow("mint on grey") << contrastPalette(0xd4d4d4, 0x303030, 0x9ab87c);
    QTest::newRow("yellow on white") << contrastPalette(0xffffff, 0x000000, 0xffdd00);
    QTest::newRow("navy on black") << contrastPalette(0x000000, 0xffffff, 0x000080);
    QTest::newRow("grey on grey") << contrastPalette(0xe0e0e0, 0x202020, 0x808080);
    QTest::newRow("white on white") << contrastPalette(0xffffff, 0x1c1c1c, 0xffffff);
    QTest::newRow("black on black") << contrastPalette(0x101010, 0xffffff, 0x000000);
    for (const auto scheme : {DesktopSettings::Scheme::Light, DesktopSettings::Scheme::Dark}) {
        for (const bool isHigh : {false, true}) {
            const DesktopSettings desktop{.scheme = scheme, .wantsHighContrast = isHigh};
            for (const QRgb accent : {0x308cc6}) {
                const QPalette platform = contrastPalette(0xefefef, 0x000000, accent);
                const char *name = scheme == DesktopSettings::Scheme::Dark ? "dark" : "light";
                QTest::addRow("our %s%s with %06x", name, isHigh ? " high contrast" : "", accent)
                    << windowPalette(desktop, platform);
            }
        }
    }
}

} // namespace

#define VERIFY_CONTRAST(ink, least)                                                                          \
    QVERIFY2((ink).contrast() >= (least),                                                                    \
        qPrintable(u"%1 on %2: %3"_s.arg((ink).color.name(), (ink).ground.name()).arg((ink).contrast())))

/// What is drawn reads well in every desktop's colours.
class ContrastTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyTextReadsWell_data() { addPalettes(); }

    void everyTextReadsWell()
    {
        QFETCH(const QPalette, palette);
        for (const char *tracks : {"ab", ""}) {
            PaletteFixture f(palette, tracks);
            int tested = 0;
            for (const Label *label : f.view.findChildren<Label *>()) {
                if (!label->isVisible())
                    continue;
                VERIFY_CONTRAST(f.ink(f.place(*label)), forTexts(palette));
                ++tested;
            }
            QVERIFY(tested >= 9);
        }
    }

    void everyRowReadsWell_data() { addPalettes(); }

    void everyRowReadsWell()
    {
        QFETCH(const QPalette, palette);
        PaletteFixture f(palette);
        for (const int number : {0, 1}) {
            const PlaylistRowGeometry at = f.row(number);
            VERIFY_CONTRAST(f.ink(at.title), forTexts(palette));
            VERIFY_CONTRAST(f.ink(at.artist), forTexts(palette));
            VERIFY_CONTRAST(f.ink(at.length), forTexts(palette));
            VERIFY_CONTRAST(
                f.ink(at.marker.adjusted(0, 12, 0, -12)), number == 0 ? ForMarks : forTexts(palette));
            VERIFY_CONTRAST(f.ink(at.menu), ForMarks);
        }
    }

    void everyButtonReadsWell_data() { addPalettes(); }

    void everyButtonReadsWell()
    {
        QFETCH(const QPalette, palette);
        PaletteFixture f(palette, "");
        int tested = 0;
        for (const Button *button : f.view.findChildren<Button *>()) {
            if (button->text().isEmpty() || !button->isVisible())
                continue;
            const QRect place = f.place(*button).adjusted(4, 4, -4, -4);
            VERIFY_CONTRAST(f.ink(place), forTexts(palette));
            ++tested;
        }
        QCOMPARE(tested, 2);
    }

    void placeholderOfTheCoverReadsWell_data() { addPalettes(); }

    void placeholderOfTheCoverReadsWell()
    {
        QFETCH(const QPalette, palette);
        PaletteFixture f(palette, "");
        const QRect cover = f.place(*f.view.findChild<Cover *>());
        const QRect text(cover.left() + 40, cover.top() + 125, 110, 20);
        VERIFY_CONTRAST(f.ink(text), forTexts(palette));
    }

    void activeButtonIsSeenAndNoFainterThanTheInactiveOne_data() { addPalettes(); }

    void activeButtonIsSeenAndNoFainterThanTheInactiveOne()
    {
        QFETCH(const QPalette, palette);
        PaletteFixture f(palette);
        const QList<QRect> buttons{f.button(u"Reproducción aleatoria"_s), f.button(u"Repetir canción"_s)};
        QList<Ink> inactive;
        for (const QRect &button : buttons)
            inactive.append(f.ink(inCircle(button)));
        f.player.isShuffling = true;
        f.player.isRepeating = true;
        f.render();
        for (qsizetype i = 0; i < buttons.size(); ++i) {
            const Ink active = f.ink(inCircle(buttons[i]));
            VERIFY_CONTRAST(active, ForMarks);
            const double circle = contrast(active.ground, inactive[i].ground);
            if (circle < 1.05)
                VERIFY_CONTRAST(active, inactive[i].contrast());
            else if (contrast(palette.color(QPalette::Highlight), active.ground) < ForMarks)
                // It also stands out 3 : 1 under the mouse, on the most tint; the ground is dithered.
                QVERIFY2(active.contrast() < 4.4, qPrintable(QString::number(active.contrast())));
        }
        f.find<Button>(u"Reproducción aleatoria"_s)->setAttribute(Qt::WA_UnderMouse);
        VERIFY_CONTRAST(f.ink(inCircle(buttons.first())), ForMarks);
    }

    void accentMovesOnlyAsFarAsItHasTo_data() { addPalettes(); }

    void accentMovesOnlyAsFarAsItHasTo()
    {
        QFETCH(const QPalette, palette);
        PaletteFixture f(palette);
        const Ink title = f.ink(f.row(0).title);
        const QColor accent = palette.color(QPalette::Highlight);
        if (contrast(accent, title.ground) < forTexts(palette))
            QVERIFY2(
                title.contrast() < forTexts(palette) + 0.8, qPrintable(QString::number(title.contrast())));
        if (accent.hsvSaturation() > 0)
            QVERIFY(std::abs(title.color.hsvHue() - accent.hsvHue()) <= 3);
    }

    void accentThatReadsIsShownAsItIs()
    {
        PaletteFixture f(contrastPalette(0xffffff, 0x000000, 0x1a5fb4));
        QCOMPARE(f.ink(f.row(0).title).color, QColor(0x1a5fb4));
        f.player.isShuffling = true;
        f.render();
        QCOMPARE(f.ink(inCircle(f.button(u"Reproducción aleatoria"_s))).color, QColor(0x1a5fb4));
    }
};

LUMAVERDINE_TEST(ContrastTest)
#include "ContrastTest.moc"
