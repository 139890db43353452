#include "tests/TestProgram.h"
#include "tests/player/PlayerFixture.h"

#include <QElapsedTimer>
#include <QTimer>
#include <cmath>
#include <limits>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class ProgressTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void timesAreWrittenAsMinutesAndSeconds_data()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << 0.0 << u"0:00"_s;
        QTest::newRow("minus zero") << -0.0 << u"0:00"_s;
        QTest::newRow("rounds down") << 59.99 << u"0:59"_s;
        QTest::newRow("one minute") << 60.0 << u"1:00"_s;
        QTest::newRow("fraction") << 61.5 << u"1:01"_s;
        QTest::newRow("ten minutes") << 600.0 << u"10:00"_s;
        QTest::newRow("no hours") << 3725.0 << u"62:05"_s;
        QTest::newRow("longest") << std::nextafter(0x1p63, 0) << u"153722867280912913:04"_s;
        QTest::newRow("no grouping") << 6000000.0 << u"100000:00"_s;
        QTest::newRow("negative") << -1.0 << u"0:00"_s;
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << u"0:00"_s;
        QTest::newRow("infinity") << infinity << u"0:00"_s;
        QTest::newRow("minus infinity") << -infinity << u"0:00"_s;
    }
    void timesAreWrittenAsMinutesAndSeconds()
    {
        QFETCH(double, seconds);
        QFETCH(QString, text);
        QCOMPARE(PlayerManager::formattedTime(seconds), text);
    }

    void timeBeyondSixtyFourBitsIsFatal()
    {
        const pid_t child = fork();
        if (child == 0) {
            close(STDOUT_FILENO);
            close(STDERR_FILENO);
            signal(SIGABRT, SIG_DFL);
            static_cast<void>(PlayerManager::formattedTime(0x1p63));
            _exit(0);
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGABRT);
    }

    void ticksComeFourTimesASecondFromAQuarterOn()
    {
        PlayerFixture f;
        f.add("a"_L1);
        const auto &timer = *f.player.findChild<QTimer *>();
        QElapsedTimer clock;
        std::vector<double> ticks; // milliseconds after play(); each tick writes two properties
        connect(&f.player, &PlayerManager::objectWillChange, this, [&, writes = 0]() mutable {
            if (++writes % 2 == 0)
                ticks.push_back(double(clock.nsecsElapsed()) / 1e6);
        });
        f.player.currentTime = f.player.currentTime(); // with the write of play(), two
        clock.start();
        f.player.play();
        ticks.clear();
        QTRY_VERIFY(ticks.size() >= 6);
        QVERIFY2(ticks.front() > 248, qPrintable(QString::number(ticks.front())));
        double least = ticks.front();
        for (std::size_t i = 1; i < ticks.size(); ++i)
            least = std::min(least, ticks[i] - ticks[i - 1]);
        QVERIFY2(least < 275, qPrintable(QString::number(least)));
        QVERIFY2(ticks.back() > 6 * 248, "late ticks are not made up for");
        QCOMPARE(timer.interval(), 250);
        QCOMPARE(timer.timerType(), Qt::PreciseTimer);
    }

    void playingAgainStartsTheTimerAnew()
    {
        PlayerFixture f;
        f.add("a"_L1);
        const auto timers = f.player.findChildren<QTimer *>();
        QCOMPARE(timers.size(), 1);
        f.player.play();
        QTRY_VERIFY(timers.first()->remainingTime() < 60);
        f.player.play();
        QVERIFY(timers.first()->remainingTime() > 60);
    }
};

LUMAVERDINE_TEST(ProgressTest)
#include "ProgressTest.moc"
