#include "ui/DisplayText.h"
#include "tests/TestProgram.h"
#include "ui/Translation.h"

#include <limits>

using namespace Qt::StringLiterals;

class DisplayTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textIsShownInOneLine_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        QTest::newRow("plain") << u"Canción 1"_s << u"Canción 1"_s;
        QTest::newRow("markup") << u"<b>a</b> &amp;"_s << u"<b>a</b> &amp;"_s;
        QTest::newRow("line feed") << u"a\nb"_s << u"a b"_s;
        QTest::newRow("both line ends") << u"a\r\nb"_s << u"a b"_s;
        QTest::newRow("tab") << u"a\tb"_s << u"a b"_s;
        QTest::newRow("next line") << u"a\u0085b"_s << u"a b"_s;
        QTest::newRow("paragraph separator") << u"a\u2029b\u2028c"_s << u"a b c"_s;
        QTest::newRow("control characters") << u"a\u0007\u009Bb"_s << u"ab"_s;
        QTest::newRow("override") << u"\u202Eabc"_s << u"abc"_s;
        QTest::newRow("isolates") << u"\u2067abc\u2069\u2069"_s << u"abc"_s;
        QTest::newRow("direction of a letter") << u"abc\u200F"_s << u"abc\u200F"_s;
        QTest::newRow("joined emoji") << u"👩‍🚀"_s << u"👩‍🚀"_s;
    }

    void textIsShownInOneLine()
    {
        QFETCH(const QString, text);
        QTEST(displayText(text), "shown");
    }

    void longTextIsCutBetweenCharacters()
    {
        for (const QString &start : {u""_s, u"a"_s}) {
            const QString shown = displayText(start + u"😀"_s.repeated(50'000));
            QVERIFY(shown.size() >= 2'000 && shown.size() < 2'100);
            QVERIFY(shown.endsWith(u"😀…"_s));
        }
    }

    void timeIsSaidInMinutesAndSeconds_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("spoken");
        QTest::newRow("zero") << 0.0 << u"0 segundos"_s;
        QTest::newRow("one second") << 1.9 << u"1 segundo"_s;
        QTest::newRow("one minute") << 60.0 << u"1 minuto"_s;
        QTest::newRow("both") << 80.0 << u"1 minuto 20 segundos"_s;
        QTest::newRow("beyond the hour") << 3725.0 << u"62 minutos 5 segundos"_s;
        QTest::newRow("negative") << -1.0 << u"0 segundos"_s;
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << u"0 segundos"_s;
        QTest::newRow("beyond all counting") << 1e300 << u"0 segundos"_s;
        QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << u"0 segundos"_s;
    }

    void timeIsSaidInMinutesAndSeconds()
    {
        QFETCH(const double, seconds);
        const Translation translation;
        QTEST(spokenTime(seconds), "spoken");
    }
};

LUMAVERDINE_TEST(DisplayTextTest)
#include "DisplayTextTest.moc"
