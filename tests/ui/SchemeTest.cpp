#include "tests/PaintCount.h"
#include "tests/TestProgram.h"
#include "tests/ui/ViewFixture.h"
#include "ui/controls/Cover.h"

using namespace Qt::StringLiterals;

namespace {

QPalette scheme(QRgb window, QRgb text, QRgb accent)
{
    QPalette palette(QColor{window}, QColor{window});
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, QColor(text));
    palette.setColor(QPalette::Highlight, QColor(accent));
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    palette.setColor(QPalette::Accent, QColor(accent));
#endif
    return palette;
}

const QPalette LightScheme = scheme(0xf4f4f4, 0x101010, 0x2a6fc9);
const QPalette DarkScheme = scheme(0x202124, 0xf2f2f2, 0x6aa9ff);
const QPalette Orange = scheme(0xf4f4f4, 0x101010, 0xc2500a);

/// A view with three tracks, the first one playing, or an empty one.
struct SchemeFixture : ViewFixture {
    explicit SchemeFixture(bool hasTracks)
    {
        if (hasTracks) {
            add("abc");
            player.play();
            player.isShuffling = true;
        }
        render();
        if (!QTest::qWaitFor([this] { return !view.findChild<Cover *>()->isFading(); }))
            qFatal("the cover never stops fading");
    }

    [[nodiscard]] QImage shown() { return view.grab().toImage(); }
};

QImage shownFromTheStart(const QPalette &palette, bool hasTracks)
{
    QApplication::setPalette(palette);
    SchemeFixture f(hasTracks);
    return f.shown();
}

} // namespace

class SchemeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void changeWhileRunningShowsEverywhere_data()
    {
        QTest::addColumn<bool>("hasTracks");
        QTest::addColumn<QPalette>("before");
        QTest::addColumn<QPalette>("after");
        for (const bool hasTracks : {true, false}) {
            const char *content = hasTracks ? "with tracks" : "empty";
            QTest::addRow("light to dark, %s", content) << hasTracks << LightScheme << DarkScheme;
            QTest::addRow("dark to light, %s", content) << hasTracks << DarkScheme << LightScheme;
            QTest::addRow("accent, %s", content) << hasTracks << LightScheme << Orange;
        }
    }

    void changeWhileRunningShowsEverywhere()
    {
        QFETCH(const bool, hasTracks);
        QFETCH(const QPalette, before);
        QFETCH(const QPalette, after);
        const QImage expected = shownFromTheStart(after, hasTracks);
        QApplication::setPalette(before);
        SchemeFixture f(hasTracks);
        const QImage old = f.shown();
        QVERIFY(old != expected);
        QApplication::setPalette(after);
        f.render();
        QCOMPARE(f.shown(), expected);
    }

    void changeRepaintsWithoutBeingAsked()
    {
        QApplication::setPalette(LightScheme);
        SchemeFixture f(true);
        PaintCount paints({f.view.findChild<Cover *>()});
        f.render();
        paints.count = 0;
        QApplication::setPalette(DarkScheme);
        QTRY_VERIFY(paints.count > 0);
    }
};

LUMAVERDINE_TEST(SchemeTest)
#include "SchemeTest.moc"
