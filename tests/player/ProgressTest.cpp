#include "tests/player/PlayerFixture.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
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
        QCOMPARE(PlayerManager().formattedTime(seconds), text);
    }

    void timeBeyondSixtyFourBitsIsFatal()
    {
        const pid_t child = fork();
        if (child == 0) {
            close(STDERR_FILENO);
            signal(SIGABRT, SIG_DFL);
            static_cast<void>(PlayerManager().formattedTime(0x1p63));
            _exit(0);
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGABRT);
    }

    void ticksCopyPositionAndLengthFourTimesASecond()
    {
        PlayerFixture f;
        f.add("a"_L1);
        QElapsedTimer clock;
        clock.start();
        f.player.play();
        f.platform.latest().currentTime = 1.5;
        f.platform.latest().duration = 99;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        QTRY_COMPARE(f.player.currentTime(), 1.5);
        QVERIFY2(clock.elapsed() >= 249, "the first tick comes a quarter of a second after the start");
        QVERIFY(clock.elapsed() < 450);
        QCOMPARE(f.player.duration(), 99.0);
        QCOMPARE(changes.size(), 2);

        QTRY_COMPARE(changes.size(), 6);
        QVERIFY(clock.elapsed() >= 749);
    }

    void startingTwiceLeavesOneTimer()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.play();
        f.player.play();
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        QElapsedTimer clock;
        clock.start();
        QTRY_VERIFY(changes.size() >= 6);
        QVERIFY2(clock.elapsed() >= 740, "three ticks of one timer; two timers tick three times in 500 ms");
    }

    void noRefreshAfterPauseStopOrRemoval_data()
    {
        QTest::addColumn<std::function<void(PlayerManager &)>>("quieten");
        using Action = std::function<void(PlayerManager &)>;
        QTest::newRow("pause") << Action([](PlayerManager &player) { player.pause(); });
        QTest::newRow("stop") << Action([](PlayerManager &player) { player.stop(); });
        QTest::newRow("removal") << Action(
            [](PlayerManager &player) { player.removeTrack(player.playlist().first()); });
        QTest::newRow("clearing") << Action([](PlayerManager &player) { player.clearPlaylist(); });
    }
    void noRefreshAfterPauseStopOrRemoval()
    {
        QFETCH(std::function<void(PlayerManager &)>, quieten);
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.play();
        quieten(f.player);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        QVERIFY(!changes.wait(600));
    }

    void playerThatStopsByItselfIsNoticed()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.play();
        f.platform.latest().isPlaying = false;
        QElapsedTimer clock;
        clock.start();
        QTRY_VERIFY(!f.player.isPlaying());
        QVERIFY(clock.elapsed() < 450);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        QVERIFY2(!changes.wait(600), "the timer is gone");
    }
};

QTEST_GUILESS_MAIN(ProgressTest)
#include "ProgressTest.moc"
