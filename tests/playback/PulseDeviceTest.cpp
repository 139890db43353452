#include "tests/TestProgram.h"
#include "tests/playback/PlayedTrack.h"

#include <cmath>

using namespace Qt::StringLiterals;

/// Devices of the sound server that come, go and sleep while a track plays.
class PulseDeviceTest : public QObject, private PlayedTrack {
    Q_OBJECT

private:
    bool obeys(const QStringList &words) { return m_daemon->order(words).has_value(); }

    /// Count of the streams that play on the server, or are about to.
    qsizetype streams()
    {
        const auto list = m_daemon->order({u"list"_s, u"short"_s, u"sink-inputs"_s});
        return list && !list->isEmpty() ? list->count(u'\n') + 1 : 0;
    }

    /// Answers the number of the module that makes the sink; empty where there is none.
    QString addSink(const QString &name)
    {
        const QStringList words{u"load-module"_s, u"module-null-sink"_s, u"sink_name="_s + name,
            u"rate=48000"_s, u"channels=2"_s, u"format=float32le"_s, u"norewinds=1"_s};
        return m_daemon->order(words).value_or(QString());
    }

    /// Whether the track is heard on `sink` a little after `before`, at the place that the player tells.
    bool soundsOn(const QString &sink, double before)
    {
        const double place = PositionCapture::heardPlace(sink).value_or(-1);
        const double after = m_player->currentTime();
        qInfo("%.3f is heard between %.3f and %.3f", place, before, after);
        return place >= before - 0.05 && place <= after + 0.05 && after < before + 4;
    }

    /// Whether the position comes to rest.
    bool standsStill()
    {
        double last = -1;
        return QTest::qWaitFor([&] {
            const double former = std::exchange(last, m_player->currentTime());
            QTest::qWait(200);
            return m_player->currentTime() == last && former != -1;
        });
    }

    void verifyPauseAndPlayOn(const QString &sink)
    {
        m_player->pause();
        QVERIFY(standsStill());
        QVERIFY(!PositionCapture::heardPlace(sink));
        const double paused = m_player->currentTime();
        QVERIFY(m_player->play());
        QVERIFY(soundsOn(sink, paused));
    }

private Q_SLOTS:
    void initTestCase() { saveTrack(); }

    void init()
    {
        m_daemon = std::make_unique<PulseDaemon>();
        QVERIFY(m_daemon->start());
        openTrack();
        QVERIFY(m_player->play());
        QTRY_VERIFY(m_player->currentTime() > 0.5);
    }

    void cleanup() { release(); }

    void soundMovesWhereItsDeviceIsRemoved()
    {
        const QString module = addSink(u"other"_s);
        QVERIFY(obeys({u"set-default-sink"_s, u"other"_s}));
        QVERIFY(PositionCapture::heardPlace(u"other"_s));
        const double before = m_player->currentTime();
        QVERIFY(obeys({u"unload-module"_s, module}));
        QVERIFY(soundsOn(u"test"_s, before));
        QVERIFY(m_player->isPlaying());
        verifyPauseAndPlayOn(u"test"_s);
    }

    void soundReturnsWithADeviceWhereThereWasNone()
    {
        QVERIFY(obeys({u"unload-module"_s, u"module-null-sink"_s}));
        QVERIFY(standsStill());
        QVERIFY(m_player->isPlaying());
        const double held = m_player->currentTime();
        QVERIFY(!addSink(u"other"_s).isEmpty());
        QTRY_VERIFY(m_player->currentTime() > held);
        QVERIFY(soundsOn(u"other"_s, held));
        verifyPauseAndPlayOn(u"other"_s);
    }

    void soundFollowsTheDefaultDevice()
    {
        QVERIFY(!addSink(u"other"_s).isEmpty());
        const double before = m_player->currentTime();
        QVERIFY(obeys({u"set-default-sink"_s, u"other"_s}));
        QVERIFY(soundsOn(u"other"_s, before));
        QVERIFY(!PositionCapture::heardPlace(u"test"_s));
        verifyPauseAndPlayOn(u"other"_s);
    }

    void sleepingDeviceHoldsThePosition()
    {
        QVERIFY(obeys({u"suspend-sink"_s, u"test"_s, u"1"_s}));
        QVERIFY(standsStill());
        QVERIFY(m_player->isPlaying());
        const double held = m_player->currentTime();
        QVERIFY(obeys({u"suspend-sink"_s, u"test"_s, u"0"_s}));
        QVERIFY(soundsOn(u"test"_s, held));
        verifyPauseAndPlayOn(u"test"_s);
    }

    void pauseWhileTheDeviceSleepsIsHeardWhenItWakes()
    {
        QVERIFY(obeys({u"suspend-sink"_s, u"test"_s, u"1"_s}));
        QVERIFY(standsStill());
        m_player->pause();
        const double paused = m_player->currentTime();
        QVERIFY(obeys({u"suspend-sink"_s, u"test"_s, u"0"_s}));
        QVERIFY(!PositionCapture::heardPlace(u"test"_s));
        QVERIFY(std::abs(m_player->currentTime() - paused) < 0.05);
        QVERIFY(m_player->play());
        QVERIFY(soundsOn(u"test"_s, paused));
    }

    void playersThatEndWhileTheDeviceSleepsLeaveNoStreamBehind()
    {
        QVERIFY(obeys({u"suspend-sink"_s, u"test"_s, u"1"_s}));
        for (int round = 0; round < 5; ++round) {
            openTrack();
            m_player->play();
            QTRY_COMPARE(streams(), 1);
        }
        m_player.reset();
        QTRY_COMPARE(streams(), 0);
    }
};

LUMAVERDINE_TEST(PulseDeviceTest)
#include "PulseDeviceTest.moc"
