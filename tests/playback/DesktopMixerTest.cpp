#include "tests/TestProgram.h"
#include "tests/playback/PlayedTrack.h"

using namespace Qt::StringLiterals;

/// What the desktop's mixer shows of a player, and what it may ask of it.
class DesktopMixerTest : public QObject, private PlayedTrack {
    Q_OBJECT

private:
    bool play(const SoundLabel &label)
    {
        openTrack(label);
        m_player->play();
        return QTest::qWaitFor([this] { return m_player->currentTime() > 0.1; });
    }

    /// The server's account of the streams that play on it.
    [[nodiscard]] QString streams() const
    {
        return m_daemon->order({u"list"_s, u"sink-inputs"_s}).value_or(QString());
    }

private Q_SLOTS:
    void init()
    {
        release();
        saveTrack();
    }

    void cleanup() { release(); }

    void streamIsNamedAfterTheTrack_data()
    {
        QTest::addColumn<PulseDaemon::Kind>("kind");
        QTest::newRow("PulseAudio") << PulseDaemon::Kind::PulseAudio;
        QTest::newRow("PipeWire") << PulseDaemon::Kind::PipeWire;
    }

    void streamIsNamedAfterTheTrack()
    {
        QFETCH(PulseDaemon::Kind, kind);
        m_daemon = std::make_unique<PulseDaemon>(kind);
        QVERIFY(m_daemon->start());
        QVERIFY(play({u"Canción del río"_s, u"Ana\nLuz"_s}));
        const QString shown = streams();
        for (const QString &property : {u"media.name = \"Canción del río – Ana Luz\""_s,
                 u"media.title = \"Canción del río\""_s, u"media.artist = \"Ana Luz\""_s,
                 u"media.role = \"music\""_s, u"media.icon_name = \"org.lumaverdine.Lumaverdine\""_s,
                 u"application.name = \"Lumaverdine\""_s})
            QVERIFY2(shown.contains(property), qPrintable(property + u" in "_s + shown));
        QVERIFY(!shown.contains(u"secret"_s));
    }

    /// Whatever follows in the same stream loses nothing by what went before.
    void streamIsStereoAndOfAUsualRate_data()
    {
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("channels");
        QTest::addColumn<QString>("stream");
        QTest::newRow("speech") << 8000 << 1 << u"2ch 44100Hz"_s;
        QTest::newRow("studio") << 96000 << 2 << u"2ch 96000Hz"_s;
    }

    void streamIsStereoAndOfAUsualRate()
    {
        QFETCH(int, rate);
        QFETCH(int, channels);
        QFETCH(QString, stream);
        const std::vector<float> silence(size_t(rate * channels));
        m_path = m_folder.filePath(u"silence.wav"_s);
        QVERIFY(WavFile::save(m_path, WavFile::encoded(silence, rate, channels)));
        m_daemon = std::make_unique<PulseDaemon>();
        QVERIFY(m_daemon->start());
        QVERIFY(play({}));
        QVERIFY2(streams().contains(stream), qPrintable(streams()));
    }

    void streamsOfAnyNameSound_data()
    {
        QTest::addColumn<QString>("title");
        QTest::newRow("none") << QString();
        QTest::newRow("very long") << QString(100'000, u'ñ');
        QTest::newRow("half a character") << QString(QChar(0xd83c));
        QTest::newRow("null character") << QString(3, QChar(0));
    }

    void streamsOfAnyNameSound()
    {
        QFETCH(QString, title);
        m_daemon = std::make_unique<PulseDaemon>();
        QVERIFY(m_daemon->start());
        QVERIFY(play({title, title}));
        QVERIFY(streams().contains(u"media.role = \"music\""_s));
    }

    void callPausesTheMusicWhileItLasts()
    {
        m_daemon = std::make_unique<PulseDaemon>();
        QVERIFY(m_daemon->start());
        QVERIFY(m_daemon->order({u"load-module"_s, u"module-role-cork"_s}));
        PositionCapture capture;
        QVERIFY(capture.start());
        QVERIFY(play({}));

        QProcess call;
        call.start(
            u"pacat"_s, {u"--playback"_s, u"--property=media.role=phone"_s, u"--raw"_s, u"/dev/zero"_s});
        QVERIFY(call.waitForStarted());
        QTRY_VERIFY(streams().contains(u"Corked: yes"_s));
        const double held = m_player->currentTime();
        QVERIFY(m_player->isPlaying());
        QVERIFY(capture.record(0.4));
        QVERIFY(!capture.isSounding(capture.frames() - 1));
        QCOMPARE(m_player->currentTime(), held);

        call.kill();
        QVERIFY(call.waitForFinished());
        QTRY_VERIFY(m_player->currentTime() > held + 0.1);
        QVERIFY(capture.record(0.2));
        // The server mutes at once, before the fade: what it swallows is not more than that.
        const std::int64_t last = capture.frames() - 1;
        QVERIFY(capture.isSounding(last));
        QVERIFY(std::abs(capture.place(last) - m_player->currentTime()) < 0.1);
    }
};

LUMAVERDINE_TEST(DesktopMixerTest)
#include "DesktopMixerTest.moc"
