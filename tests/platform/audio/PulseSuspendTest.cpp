#include "platform/audio/AudioPlayer.h"
#include "tests/platform/audio/PulseDaemon.h"
#include "tests/platform/audio/WavFile.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// A sink that is suspended, as a sound card that another program holds.
class PulseSuspendTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QUrl m_url;
    PulseDaemon m_daemon;

    static QByteArray pactl(const QStringList &arguments)
    {
        QProcess process;
        process.start(u"pactl"_s, arguments);
        return process.waitForFinished() ? process.readAllStandardOutput() : QByteArray();
    }

    static void suspendSink(bool isSuspended)
    {
        pactl({u"suspend-sink"_s, u"test"_s, isSuspended ? u"1"_s : u"0"_s});
    }

    static qsizetype streams() { return pactl({u"list"_s, u"short"_s, u"sink-inputs"_s}).count('\n'); }

    [[nodiscard]] std::unique_ptr<AudioPlayer> openPlayer() const { return AudioPlayer::open(m_url).take(); }

private Q_SLOTS:
    void initTestCase()
    {
        const QString path = m_folder.filePath(u"sound.wav"_s);
        const auto samples = WavFile::positionCodedSamples(Capture::rate, 20);
        QVERIFY(WavFile::save(path, WavFile::encoded(samples, Capture::rate, 2)));
        m_url = QUrl::fromLocalFile(path);
        QVERIFY(m_daemon.start());
    }

    void destroyedPlayersLeaveNoStreamBehind()
    {
        suspendSink(true);
        for (int i = 0; i < 5; ++i) {
            const auto player = openPlayer();
            player->play();
            QTRY_COMPARE(streams(), 1);
        }
        QTRY_COMPARE(streams(), 0);
        suspendSink(false);
    }

    void playsOnWhereItWasWhenTheSinkResumes()
    {
        const auto player = openPlayer();
        player->play();
        QTRY_VERIFY(player->currentTime() > 0.5);
        suspendSink(true);
        QTRY_VERIFY(
            !QTest::qWaitFor([&, now = player->currentTime()] { return player->currentTime() > now; }, 200));
        const double held = player->currentTime();
        QVERIFY(player->isPlaying());
        suspendSink(false);
        QTRY_VERIFY(player->currentTime() > held + 0.2);
        QVERIFY(player->currentTime() < held + 3);
    }

    void pauseOfASuspendedPlayerHolds()
    {
        const auto player = openPlayer();
        player->play();
        QTRY_VERIFY(player->currentTime() > 0.3);
        suspendSink(true);
        player->pause();
        suspendSink(false);
        QVERIFY(!player->isPlaying());
        const double paused = player->currentTime();
        player->play();
        QTRY_VERIFY(player->currentTime() > paused + 0.2);
    }
};

QTEST_GUILESS_MAIN(PulseSuspendTest)
#include "PulseSuspendTest.moc"
