#include "ui/SpokenTime.h"
#include "tests/TestProgram.h"

#include <limits>

using namespace Qt::StringLiterals;

class SpokenTimeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
        QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << u"0 segundos"_s;
    }

    void timeIsSaidInMinutesAndSeconds()
    {
        QFETCH(const double, seconds);
        QTEST(spokenTime(seconds), "spoken");
    }
};

LUMAVERDINE_TEST(SpokenTimeTest)
#include "SpokenTimeTest.moc"
