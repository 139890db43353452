#include "ui/drawing/Colors.h"
#include "tests/TestProgram.h"

namespace {

QPalette paletteOf(QRgb window, QRgb text, QRgb accent, QRgb onAccent)
{
    QPalette palette(QColor{text}, QColor{window});
    palette.setColor(QPalette::WindowText, QColor(text));
    palette.setColor(QPalette::Window, QColor(window));
    palette.setColor(QPalette::Highlight, QColor(accent));
    palette.setColor(QPalette::HighlightedText, QColor(onAccent));
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    palette.setColor(QPalette::Accent, QColor(accent));
#endif
    return palette;
}

/// What one sees of a translucent colour on an opaque one.
QColor over(const QColor &color, const QColor &background)
{
    const auto mixed = [&](float top, float bottom) {
        return top * color.alphaF() + bottom * (1 - color.alphaF());
    };
    return QColor::fromRgbF(mixed(color.redF(), background.redF()),
        mixed(color.greenF(), background.greenF()), mixed(color.blueF(), background.blueF()));
}

} // namespace

class ColorsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void contrastIsThatOfTheGuidelines()
    {
        QCOMPARE(contrastRatio(Qt::white, Qt::black), 21.0);
        QCOMPARE(contrastRatio(Qt::black, Qt::white), 21.0);
        QCOMPARE(contrastRatio(Qt::red, Qt::red), 1.0);
        QVERIFY(std::abs(contrastRatio(QColor(0x76, 0x76, 0x76), Qt::white) - 4.54) < 0.01);
        // Very dark ones are lighter than the curve of the others would have them.
        QVERIFY(std::abs(contrastRatio(QColor(8, 8, 8), Qt::black) - 1.0486) < 0.0005);
    }

    void redsSuitTheirSurroundings()
    {
        QCOMPARE(destructiveColor(paletteOf(0xffffff, 0x000000, 0x308cc6, 0xffffff)), QColor(200, 13, 31));
        QCOMPARE(destructiveColor(paletteOf(0x2a2e32, 0xfcfcfc, 0x308cc6, 0xffffff)), QColor(255, 138, 128));
        QCOMPARE(destructiveGroundColor(QPalette()), QColor(200, 13, 31));
    }

    void textsReadWellInEveryScheme_data()
    {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << paletteOf(0xefefef, 0x000000, 0x308cc6, 0xffffff);
        QTest::newRow("white") << paletteOf(0xffffff, 0x1c1c1c, 0x3584e4, 0xffffff);
        QTest::newRow("soft light") << paletteOf(0xeff0f1, 0x232629, 0x3daee9, 0xffffff);
        QTest::newRow("dark") << paletteOf(0x323232, 0xffffff, 0x308cc6, 0xffffff);
        QTest::newRow("black") << paletteOf(0x1e1e1e, 0xffffff, 0xf6d32d, 0xffffff);
        QTest::newRow("soft dark") << paletteOf(0x2a2e32, 0xfcfcfc, 0x3daee9, 0xfcfcfc);
    }

    void textsReadWellInEveryScheme()
    {
        QFETCH(const QPalette, palette);
        const QColor ground = windowBackgroundColor(palette);
        QVERIFY(contrastRatio(primaryColor(palette), ground) >= 4.5);
        QVERIFY(contrastRatio(over(secondaryColor(palette), ground), ground) >= 4.5);
        // The playlist's wash and the backdrop's tint lie under most texts.
        const QColor tinted = over(primaryColor(palette, 0.018), over(primaryColor(palette, 0.04), ground));
        QVERIFY(contrastRatio(over(secondaryColor(palette), tinted), tinted) >= 4.5);
        const QColor current = over(accentColor(palette, 0.1), tinted);
        QVERIFY(contrastRatio(over(secondaryColor(palette), current), current) >= 4.5);
        QVERIFY(contrastRatio(onAccentColor(palette), accentColor(palette)) >= 4.5);
        QVERIFY(contrastRatio(destructiveColor(palette), ground) >= 4.5);
        QVERIFY(contrastRatio(Qt::white, destructiveGroundColor(palette)) >= 4.5);
    }

    void secondaryIsFainterAsFarAsItReads()
    {
        const QPalette clear = paletteOf(0xffffff, 0x000000, 0x308cc6, 0xffffff);
        QVERIFY(std::abs(secondaryColor(clear).alphaF() - 0.62) < 0.001);
        const QPalette faint = paletteOf(0xffffff, 0x767676, 0x308cc6, 0xffffff);
        QCOMPARE(secondaryColor(faint), primaryColor(faint));
    }

    void tertiaryReadsWhereTheGroundIsTintedMost()
    {
        for (int grey = 0; grey < 0x60; grey += 4) {
            const QPalette palette = paletteOf(0xffffff, qRgb(grey, grey, grey), 0x308cc6, 0xffffff);
            const QColor tinted =
                over(primaryColor(palette, 0.018), over(primaryColor(palette, 0.04), Qt::white));
            QVERIFY(contrastRatio(over(tertiaryColor(palette), tinted), tinted) >= 4.5);
        }
    }

    void whatStandsOnTheAccentIsBlackOrWhite()
    {
        QCOMPARE(onAccentColor(paletteOf(0xffffff, 0x000000, 0x1a5fb4, 0xf0f0f0)), QColor(Qt::white));
        QCOMPARE(onAccentColor(paletteOf(0xffffff, 0x000000, 0xf6d32d, 0xf0f0f0)), QColor(Qt::black));
    }

    void markIsNoFainterThanOthersWhereItsCircleIsHardlySeen()
    {
        const auto contrast = [](const QColor &color) {
            return contrastRatio(over(color, Qt::white), Qt::white);
        };
        // The contrast of these accents to the window is 2.02 and 1.96.
        const QPalette seen = paletteOf(0xffffff, 0x000000, 0xb6b6b6, 0xffffff);
        QCOMPARE(activeColor(seen), accentMarkColor(seen));
        const QPalette hardlySeen = paletteOf(0xffffff, 0x000000, 0xb9b9b9, 0xffffff);
        QVERIFY(contrast(activeColor(hardlySeen)) >= contrast(inactiveColor(hardlySeen)));
        QVERIFY(contrast(accentMarkColor(hardlySeen)) < contrast(inactiveColor(hardlySeen)));
    }

    void disabledGroupIsNotAskedFor()
    {
        QPalette palette = paletteOf(0xffffff, 0x000000, 0x1a5fb4, 0xffffff);
        palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::green);
        palette.setCurrentColorGroup(QPalette::Disabled);
        QCOMPARE(primaryColor(palette), QColor(Qt::black));
    }
};

LUMAVERDINE_TEST(ColorsTest)
#include "ColorsTest.moc"
