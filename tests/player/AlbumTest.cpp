#include "decoder/DecoderModule.h"
#include "player/PayerManager.h"
#include "tests/MediaFile.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/files/FaultyMedium.h"
#include "tests/playback/HandOutput.h"
#include "tests/playback/WavFile.h"
#include "tests/player/Journal.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int albumRate = 48000;

/// A player that goes on with nothing at its end, whatever it is told.
class Unprepared final : public AudioPlayer {
public:
    explicit Unprepared(std::shared_ptr<AudioPlayer> player)
        : m_player(std::move(player))
    {
    }

    void setDelegate(AudioPlayerDelegate *delegate) override { m_player->setDelegate(delegate); }
    void setVolume(float volume) override { m_player->setVolume(volume); }
    bool prepareToPlay() override { return m_player->prepareToPlay(); }
    bool play() override { return m_player->play(); }
    void pause() override { m_player->pause(); }
    void stop() override { m_player->stop(); }
    void setCurrentTime(double seconds) override { m_player->setCurrentTime(seconds); }
    void setSuccessor(const QUrl &, const SoundLabel &) override { }
    void dropSuccessor() override { }
    std::shared_ptr<AudioPlayer> takeSuccessor() override { return nullptr; }
    [[nodiscard]] State state() const override { return m_player->state(); }

private:
    const std::shared_ptr<AudioPlayer> m_player;
};

} // namespace

/// A recording that was cut into files, on outputs whose clocks are moved by hand, or without a sound server.
class AlbumTest : public QObject {
    Q_OBJECT

private:
    using Fault = FaultyMedium::Fault;

    QTemporaryDir m_folder;
    const std::vector<float> m_recording = WavFile::positionCodedSamples(albumRate, 1);
    std::vector<std::shared_ptr<HandOutput>> m_outputs; ///< the newest one is heard
    std::vector<float> m_heard; ///< the left channel, without silence

    /// Files of so many frames each, of the recording.
    QList<QUrl> cut(const std::vector<int> &lengths)
    {
        QList<QUrl> urls;
        std::size_t from = 0;
        for (const int length : lengths) {
            const auto samples = std::span(m_recording).subspan(from * 2, std::size_t(length) * 2);
            const QString path = m_folder.filePath(QString::number(urls.size() + 1));
            const bool isWave = length > 0 || urls.size() % 2 == 0;
            if (!WavFile::save(path, isWave ? WavFile::encoded(samples, albumRate, 2) : delayAlone()))
                qFatal("%s cannot be written.", qPrintable(path));
            urls.append(QUrl::fromLocalFile(path));
            from += std::size_t(length);
        }
        return urls;
    }

    /// An MP3 file that says of itself that all its frames are an encoder's delay.
    static QByteArray delayAlone()
    {
        const QByteArray comment = "iTunSMPB\0 00000000 00015EFE 00000000 0000000000000000"_ba;
        return id3v2Tag(id3v2Frame("COMM", "\0eng"_ba + comment)) + mediaFile("constant-rate-no-header.mp3");
    }

    /// How often those write depends on how long a test takes.
    static void withoutTicks(PlayerManager &player)
    {
        player.findChild<QTimer *>()->setInterval(std::chrono::hours(1));
    }

    Result<std::shared_ptr<AudioPlayer>> open(const QUrl &url, const SoundLabel &label)
    {
        const auto stop = std::make_shared<std::atomic<bool>>(false);
        auto decoder =
            DecoderModule::load().value()->open(openRegularFile(url).take(), stop, [](AudioFormat) {
                return AudioFormat{albumRate, 2};
            });
        if (decoder.isError())
            return decoder.error();
        const auto makeOutput = [this](AudioFormat format, const std::shared_ptr<Wakeup> &wakeup,
                                    const SoundLabel &shown) {
            return m_outputs.emplace_back(std::make_shared<HandOutput>(format, wakeup, shown));
        };
        return std::shared_ptr<AudioPlayer>(Session::make(decoder.take(), stop, makeOutput, label));
    }

    void hear(std::int64_t frames)
    {
        const auto samples = m_outputs.back()->advance(frames);
        for (std::size_t index = 0; index < samples.size(); index += 2) {
            if (samples[index + 1] != 0)
                m_heard.push_back(samples[index] / samples[index + 1] * 0.8F);
        }
    }

    /// Plays all files once and answers what the player has written meanwhile.
    QString play(const QList<QUrl> &urls, bool isPrepared)
    {
        m_outputs.clear();
        m_heard.clear();
        PlayerManager player({.openAudioPlayer = [=, this](const QUrl &url, const SoundLabel &label) {
            auto opened = open(url, label);
            if (opened.isError() || isPrepared)
                return opened;
            return Result<std::shared_ptr<AudioPlayer>>(std::make_shared<Unprepared>(opened.take()));
        }});
        withoutTicks(player);
        player.addFiles(urls);
        player.volume = 1;
        FakePlatform none;
        Journal journal(none, player);
        return journal.record([&] {
            player.play();
            const auto isLast = [&] { return player.currentIndex() == urls.size() - 1; };
            // Time stands still for those who handle an end and prepare what follows.
            const auto canGoOn = [&] {
                HandOutput &output = *m_outputs.back();
                output.advance(0); // wakes its session, as a server does that looks again
                return !output.status().isEndHeard && (!isPrepared || output.hasNext());
            };
            while (player.isPlaying() && !(isLast() && player.position() > 0.5)) {
                hear(isLast() ? 480 : 1);
                QVERIFY(QTest::qWaitFor(canGoOn));
            }
        });
    }

    /// Whether the recording was heard from its start on, every frame once.
    [[nodiscard]] bool isWhole() const
    {
        for (std::size_t frame = 0; frame < m_heard.size(); ++frame) {
            if (std::llround((double(m_heard[frame]) - 0.2) / 0.6 * albumRate) != std::llround(frame))
                return false;
        }
        return m_heard.size() > 27'000;
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("PULSE_SERVER", "unix:" + m_folder.filePath(u"nobody"_s).toUtf8());
        QTest::ignoreMessage(QtWarningMsg, "No sound server answers: playing into nothing.");
        PlayerManager player;
        player.addFiles(cut({40'000}));
        player.play();
        QTRY_VERIFY(player.position() > 0.05);
    }

    /// Nobody who observes the player can tell whether what follows was prepared.
    void shortestTracksAreHeardOnceAndInTheirOrder()
    {
        std::vector<int> lengths{3000};
        for (int round = 0; round < 4; ++round)
            lengths.insert(lengths.end(), {100, 1, 0, 0, 100});
        lengths.push_back(40'000);
        constexpr std::size_t joints = 9; // between tracks that have frames
        const QList<QUrl> urls = cut(lengths);
        const QString unprepared = play(urls, false);
        QVERIFY(isWhole());
        QCOMPARE(m_outputs.size(), lengths.size());
        QCOMPARE(unprepared.count(u"isPlaying true"_s), urls.size());
        QCOMPARE(play(urls, true), unprepared);
        QVERIFY(isWhole());
        QVERIFY2(m_outputs.size() <= lengths.size() - joints, qPrintable(QString::number(m_outputs.size())));
    }

    void emptyTracksTakeTurnsOfWhichEachCanBePaused()
    {
        PlayerManager player;
        withoutTicks(player);
        player.addFiles(cut({0, 0}));
        auto current = player.currentIndex();
        int turns = 0;
        const auto hasChanged = [&] {
            const auto former = std::exchange(current, player.currentIndex());
            return current != former;
        };
        QElapsedTimer time;
        time.start();
        player.play();
        QVERIFY(QTest::qWaitFor([&] { return (turns += hasChanged() ? 1 : 0) == 5; }));
        QVERIFY2(time.elapsed() >= 250, qPrintable(QString::number(time.elapsed())));
        player.pause();
        QVERIFY(!QTest::qWaitFor([&] { return player.isPlaying() || hasChanged(); }, 200));
    }

    void successorThatCannotBeOpenedIsToldOnceAtTheEnd_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QString>("message");
        QTest::newRow("does not answer") << Fault::Silence << u"El archivo no responde."_s;
        QTest::newRow("is gone") << Fault::None << u"El archivo no existe."_s;
    }
    /// And costs nothing before.
    void successorThatCannotBeOpenedIsToldOnceAtTheEnd()
    {
        QFETCH(const Fault, fault);
        QFETCH(const QString, message);
        const QList<QUrl> urls = cut({40'000, 8000});
        PlayerManager player;
        withoutTicks(player);
        player.addFiles(urls);
        const QByteArray path = urls[1].toLocalFile().toUtf8();
        FaultyMedium medium(path);
        medium.set(fault);
        if (fault == Fault::None)
            QVERIFY(QFile::remove(urls[1].toLocalFile()));
        FakePlatform none;
        Journal journal(none, player);
        const QString before = journal.record([&] {
            player.play();
            QVERIFY(QTest::qWaitFor([&] { return player.position() > 0.3; }));
        });
        QCOMPARE(before, u"isPlaying true, timer on"_s);
        QCOMPARE(medium.faults() > 0, fault != Fault::None);
        const QString end =
            journal.record([&] { QVERIFY(QTest::qWaitFor([&] { return !player.isPlaying(); })); });
        QCOMPARE(end,
            u"isPlaying false, timer off, prints No se pudo reproducir el archivo: "_s + message
                + u"\n, same"_s);
        QCOMPARE(player.currentIndex(), std::optional<qsizetype>(0));
    }
};

LUMAVERDINE_TEST(AlbumTest)
#include "AlbumTest.moc"
