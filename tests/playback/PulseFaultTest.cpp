#include "tests/TestProgram.h"
#include "tests/playback/PlayedTrack.h"
#include "tests/playback/RecordingDelegate.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <cmath>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// The child process of a test: plays the file until a line comes in, and ends as any program does.
int playUntilAsked(const char *path)
{
    const auto player = AudioPlayer::open(QUrl::fromLocalFile(QString::fromLocal8Bit(path))).take();
    player->play();
    if (!QTest::qWaitFor([&] { return player->currentTime() > 0.2; }))
        return 2;
    std::puts("playing");
    std::fflush(stdout);
    return std::getchar() == EOF ? 1 : 0;
}

} // namespace

/// A sound server that goes away, comes back, hangs.
class PulseFaultTest : public QObject, private PlayedTrack {
    Q_OBJECT

private:
    /// Whether the track is heard from a place between the two, in seconds.
    static bool isHeardBetween(double least, double greatest)
    {
        const std::optional<double> place = PositionCapture::heardPlace();
        qInfo("heard at %.3f, between %.3f and %.3f expected", place.value_or(-1), least, greatest);
        return place && *place > least && *place < greatest;
    }

private Q_SLOTS:
    void initTestCase() { saveTrack(); }

    void init()
    {
        m_daemon = std::make_unique<PulseDaemon>();
        openTrack();
    }

    void cleanup() { release(); }

    void goesOnAtTheSamePlaceWhenTheServerReturns()
    {
        QVERIFY(m_daemon->start());
        m_player->play();
        QTRY_VERIFY(m_player->currentTime() > 1);
        m_daemon->kill();
        const double lost = m_player->currentTime();
        QVERIFY(!QTest::qWaitFor([this] { return !m_player->isPlaying(); }, 700));
        QVERIFY2(m_player->currentTime() < lost + 0.5, qPrintable(QString::number(m_player->currentTime())));
        const double frozen = m_player->currentTime();
        QElapsedTimer timer;
        timer.start();
        QVERIFY(m_daemon->start());
        QTRY_VERIFY_WITH_TIMEOUT(m_player->currentTime() > frozen + 0.05, 3000);
        qInfo("sound again %lld ms after the server's return", timer.elapsed());
        QVERIFY(timer.elapsed() < 2000);
        QVERIFY(isHeardBetween(frozen, frozen + 2.5));
    }

    void lossWhilePausedIsMendedByTheNextPlay()
    {
        QVERIFY(m_daemon->start());
        m_player->play();
        QTRY_VERIFY(m_player->currentTime() > 0.5);
        m_player->pause();
        const double paused = m_player->currentTime();
        m_daemon->kill();
        QVERIFY(m_daemon->start());
        QVERIFY(std::abs(m_player->currentTime() - paused) < 0.05);
        m_player->play();
        QVERIFY(isHeardBetween(paused - 0.05, paused + 1));
    }

    void serverThatAppearsLaterIsFoundByTheNextPlay()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"No sound server answers"_s));
        m_player->play();
        QTRY_VERIFY(m_player->currentTime() > 0.2);
        QVERIFY(m_daemon->start());
        m_player->pause();
        const double paused = m_player->currentTime();
        m_player->play();
        QVERIFY(isHeardBetween(paused - 0.05, paused + 1));
    }

    void noCallWaitsForAServerThatHangs()
    {
        QVERIFY(m_daemon->start());
        m_player->play();
        QTRY_VERIFY(m_player->currentTime() > 0.2);
        m_daemon->suspend(true);
        QElapsedTimer timer;
        timer.start();
        for (int round = 0; round < 200; ++round) {
            m_player->pause();
            m_player->setVolume(float(round) / 200);
            m_player->setCurrentTime(round % 10);
            m_player->play();
            QVERIFY(m_player->currentTime() <= PositionCapture::length);
        }
        auto second = AudioPlayer::open(QUrl::fromLocalFile(m_path)).take();
        second->play();
        m_player = std::move(second);
        QVERIFY2(timer.elapsed() < 500, qPrintable(QString::number(timer.elapsed())));
        m_daemon->suspend(false);
        QTRY_VERIFY(m_player->currentTime() > 0.2);
        QVERIFY(PositionCapture::heardPlace());
    }

    void serverThatHangsForTenSecondsIsFollowedWhenItGoesOn()
    {
        QVERIFY(m_daemon->start());
        m_player->play();
        QTRY_VERIFY(m_player->currentTime() > 0.5);
        m_daemon->suspend(true);
        const double hung = m_player->currentTime();
        QElapsedTimer hang;
        QElapsedTimer call;
        hang.start();
        qint64 slowest = 0;
        while (hang.elapsed() < 10'000) {
            call.start();
            m_player->setVolume(float(hang.elapsed() % 7) / 7);
            QVERIFY(m_player->isPlaying());
            QVERIFY(m_player->currentTime() < hung + 0.6);
            slowest = std::max(slowest, call.elapsed());
            QTest::qWait(50);
        }
        m_player->setVolume(1);
        qInfo("slowest answer %lld ms", slowest);
        QVERIFY(slowest < 100);
        m_daemon->suspend(false);
        QTRY_VERIFY(m_player->currentTime() > hung + 1);
        QVERIFY(isHeardBetween(hung, hung + 5));
        m_player->pause();
        m_player->setCurrentTime(12);
        QVERIFY(m_player->play());
        QTRY_VERIFY(m_player->currentTime() > 12.1); // once it no longer crosses over from the old place
        QVERIFY(isHeardBetween(12, 13));
    }

    void serverThatIsGoneForGoodPausesAndIsFoundByTheNextPlay()
    {
        QVERIFY(m_daemon->start());
        m_player->play();
        QTRY_VERIFY(m_player->currentTime() > 0.5);
        m_daemon->kill();
        QTest::ignoreMessage(QtWarningMsg, "The sound server has gone away: paused.");
        QTRY_VERIFY_WITH_TIMEOUT(!m_player->isPlaying(), 20'000);
        const double paused = m_player->currentTime();
        QVERIFY(m_daemon->start());
        QVERIFY(m_player->play());
        QVERIFY(isHeardBetween(paused - 0.05, paused + 1));
    }

    void processEndsSoon_data()
    {
        QTest::addColumn<bool>("isServerHanging");
        QTest::newRow("while playing") << false;
        QTest::newRow("while the server hangs") << true;
    }

    void processEndsSoon()
    {
        QFETCH(bool, isServerHanging);
        QVERIFY(m_daemon->start());
        PositionCapture capture;
        QVERIFY(capture.start());
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), {u"play"_s, m_path});
        QVERIFY(child.waitForReadyRead(5000));
        m_daemon->suspend(isServerHanging);
        QElapsedTimer timer;
        timer.start();
        child.write("\n");
        QVERIFY(child.waitForFinished(5000));
        qInfo("process ended after %lld ms", timer.elapsed());
        QVERIFY(timer.elapsed() < 1500);
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 0);
        m_daemon->suspend(false);
        if (isServerHanging)
            return;
        QVERIFY(capture.record(1)); // all since it started to play
        int fading = 0; // frames after the last one at full gain
        for (std::int64_t frame = 0; frame < capture.frames(); ++frame) {
            const double gain = capture.gain(frame);
            fading = gain > 0.95 ? 0 : fading + (gain > 0.05 ? 1 : 0);
        }
        qInfo("%d frames are heard within the fade", fading);
        QVERIFY(fading > PositionCapture::fade / 2);
    }
};

LUMAVERDINE_TEST(PulseFaultTest)
static const bool isPlayRegistered =
    TestProgram::add("play", [](int, char *argv[]) { return playUntilAsked(argv[1]); });
#include "PulseFaultTest.moc"
