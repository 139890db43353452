#include "player/PayerManager.h"
#include "tests/TestProgram.h"
#include "tests/playback/SoundServerFixture.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int sinkRate = Capture::rate;

/// How a piece of the recording is stored.
struct Storage {
    QString suffix;
    QStringList encoder = {}; ///< options; none for a WAV file as it is
    int rate = sinkRate;
    int channels = 2;
    bool isExact = false; ///< what is heard of it is the recording to the last bit
};

struct Piece {
    Storage storage;
    std::int64_t begin = 0; ///< in frames of the sink
    std::int64_t end = 0;
};

/// A sine on the left and a sweep on the right, as 16 bits hold them.
float recordingAt(double seconds, int channel)
{
    const double turns = channel == 0 ? 997 * seconds : 200 * seconds + 100 * seconds * seconds;
    return float(std::round(16384 * std::sin(2 * M_PI * turns)) / 32768);
}

} // namespace

/// A recording that was cut into files of all kinds, heard through a sound server.
class JointTest : public SoundServerFixture {
    Q_OBJECT

private:
    std::unique_ptr<PlayerManager> m_player;
    std::vector<Piece> m_pieces;
    std::int64_t m_start = 0; ///< of the recording in the capture

    void stopSound() override { m_player.reset(); }

    /// What is to be heard of the recording in that frame of the piece, in which channels are mixed if it is mono.
    static float expected(const Piece &piece, std::int64_t frame, int channel)
    {
        const double time = double(frame) / sinkRate;
        if (piece.storage.channels == 2)
            return recordingAt(time, channel);
        return (recordingAt(time, 0) + recordingAt(time, 1)) / 2;
    }
    [[nodiscard]] float heard(std::int64_t frame, int channel)
    {
        return channel == 0 ? capture().left(m_start + frame) : capture().right(m_start + frame);
    }

    /// Writes every piece to a file of its own and fills the playlist with them.
    void add(const QList<Storage> &storages)
    {
        QList<QUrl> urls;
        std::vector<std::unique_ptr<QProcess>> encoders;
        std::int64_t begin = 0;
        m_pieces.clear();
        for (const Storage &storage : storages) {
            // Awkward, but a whole number of frames at either rate, and one whose end this encoder of MP3 states.
            const std::int64_t frames = storage.rate == sinkRate ? 19'000 + 37 * urls.size() : 120 * 160;
            m_pieces.push_back({storage, begin, begin + frames});
            const QString name = filePath(QString::number(urls.size() + 1));
            QVERIFY(WavFile::save(name + u".wav"_s, encoded(m_pieces.back())));
            if (!storage.encoder.isEmpty()) {
                encoders.push_back(std::make_unique<QProcess>());
                encoders.back()->start(u"ffmpeg"_s,
                    QStringList{u"-v"_s, u"error"_s, u"-nostdin"_s, u"-y"_s, u"-i"_s, name + u".wav"_s}
                        + storage.encoder + QStringList{name + storage.suffix});
            }
            urls.append(QUrl::fromLocalFile(name + storage.suffix));
            begin += frames;
        }
        for (const auto &encoder : encoders) {
            QVERIFY(encoder->waitForFinished());
            QVERIFY2(encoder->exitCode() == 0, encoder->readAllStandardError().constData());
        }
        m_player = std::make_unique<PlayerManager>();
        m_player->addFiles(urls);
        QCOMPARE(m_player->playlist().size(), urls.size());
        m_player->volume = 1;
        QVERIFY(capture().record(0.3));
    }

    /// The piece as a WAV file.
    static QByteArray encoded(const Piece &piece)
    {
        const auto [storage, begin, end] = piece;
        const std::int64_t frames = (end - begin) * storage.rate / sinkRate;
        std::vector<float> samples;
        samples.reserve(std::size_t(frames * storage.channels));
        for (std::int64_t frame = 0; frame < frames; ++frame) {
            const double time = double(begin) / sinkRate + double(frame) / storage.rate;
            const float left = recordingAt(time, 0);
            const float right = recordingAt(time, 1);
            if (storage.channels == 2)
                samples.insert(samples.end(), {left, right});
            else
                samples.push_back((left + right) / 2);
        }
        return WavFile::encoded(samples, storage.rate, storage.channels);
    }

    /// How far the sound of these frames of a piece is behind, in frames.
    [[nodiscard]] int delay(const Piece &piece, std::int64_t from, std::int64_t to)
    {
        double least = 1e300;
        int found = 0;
        for (int delay = -60; delay <= 60; ++delay) {
            double difference = 0;
            for (std::int64_t frame = from; frame < to; ++frame)
                for (const int channel : {0, 1})
                    difference +=
                        std::pow(double(heard(frame + delay, channel) - expected(piece, frame, channel)), 2);
            if (difference < least) {
                least = difference;
                found = delay;
            }
        }
        return found;
    }

    /// To the last bit, behind the fade at the start.
    void verifyExact(const Piece &piece)
    {
        std::vector<std::int64_t> wrong; // frames
        for (std::int64_t frame = std::max(piece.begin, PositionCapture::fade + 1); frame < piece.end;
             ++frame) {
            if (heard(frame, 0) != expected(piece, frame, 0) || heard(frame, 1) != expected(piece, frame, 1))
                wrong.push_back(frame - piece.begin);
        }
        if (!wrong.empty())
            QFAIL(qPrintable(u"%1 frames of %2 are wrong, from %3 to %4"_s.arg(wrong.size())
                                 .arg(described(piece))
                                 .arg(wrong.front())
                                 .arg(wrong.back())));
    }

    static QString described(const Piece &piece)
    {
        return u"%1 %2 %3"_s.arg(piece.storage.suffix.mid(1))
            .arg(piece.storage.rate)
            .arg(piece.storage.channels);
    }

    /// No silence, the phase right on both sides, the level right within 20 ms around the joint.
    void verifyJoint(const Piece &former, const Piece &piece)
    {
        constexpr std::int64_t window = sinkRate / 50;
        const std::int64_t joint = piece.begin;
        int silent = 0;
        double actual = 0;
        double wanted = 0;
        for (std::int64_t frame = joint - window / 2; frame < joint + window / 2; ++frame) {
            const Piece &sounding = frame < joint ? former : piece;
            bool isSilent = true;
            for (const int channel : {0, 1}) {
                const float sample = expected(sounding, frame, channel);
                actual += std::pow(double(heard(frame, channel)), 2);
                wanted += std::pow(double(sample), 2);
                isSilent = isSilent && std::abs(heard(frame, channel)) < std::abs(sample) / 100;
            }
            silent += isSilent ? 1 : 0;
        }
        const double level = 10 * std::log10(actual / wanted);
        const int before = delay(former, joint - window, joint);
        const int behind = delay(piece, joint, joint + window);
        const QString figures = u"%1 -> %2: %3 silent frames, delay %4 and %5, level %6 dB"_s.arg(
            described(former), described(piece), QString::number(silent), QString::number(before),
            QString::number(behind), QString::number(level, 'f', 2));
        qInfo("%s", qPrintable(figures));
        QVERIFY2(silent == 0 && before == 0 && behind == 0 && std::abs(level) < 0.5, qPrintable(figures));
    }

private Q_SLOTS:
    void recordingInFilesOfAllKindsSoundsUncut()
    {
        const Storage flac{.suffix = u".flac"_s, .encoder = {u"-sample_fmt"_s, u"s16"_s}, .isExact = true};
        const Storage alac{.suffix = u".m4a"_s,
            .encoder = {u"-c:a"_s, u"alac"_s, u"-sample_fmt"_s, u"s16p"_s},
            .isExact = true};
        const Storage wav{.suffix = u".wav"_s, .isExact = true};
        const Storage mp3{.suffix = u".mp3"_s, .encoder = {u"-b:a"_s, u"192k"_s}};
        const Storage opus{.suffix = u".opus"_s, .encoder = {u"-b:a"_s, u"192k"_s}};
        const Storage vorbis{.suffix = u".ogg"_s, .encoder = {u"-c:a"_s, u"libvorbis"_s, u"-q:a"_s, u"7"_s}};
        const Storage aac{.suffix = u".m4a"_s, .encoder = {u"-c:a"_s, u"aac"_s, u"-b:a"_s, u"192k"_s}};
        const auto at44100 = [](Storage storage) {
            storage.rate = 44'100;
            storage.isExact = false;
            return storage;
        };
        const auto mono = [](Storage storage) {
            storage.channels = 1;
            storage.isExact = false;
            return storage;
        };
        add({wav, flac, flac, alac, alac, wav, mp3, mp3, opus, opus, vorbis, vorbis, aac, aac, at44100(flac),
            at44100(flac), at44100(mp3), mono(flac), mono(mp3), at44100(mono(wav)), flac});
        std::vector<double> changes; // when the next track became the current one
        QStringList titles;
        std::vector<double> positions; // one turn of the event loop later, when the window shows them
        QObject::connect(m_player.get(), &PlayerManager::positionSet, [&] {
            changes.push_back(Capture::now());
            titles.append(m_player->currentTrack()->title);
            const auto note = [&] { positions.push_back(m_player->position() * 1000); };
            QMetaObject::invokeMethod(m_player.get(), note, Qt::QueuedConnection);
        });
        m_player->play();
        // What has been captured since before the encoding arrives first.
        while ((m_start = capture().firstFrame(0, true)) == capture().frames())
            QVERIFY(m_start < 20 * sinkRate && capture().record(0.5));
        QVERIFY(
            capture().record(double(m_start + m_pieces.back().end - capture().frames()) / sinkRate + 0.1));
        m_start += delay(m_pieces.front(), 4800, 9600); // of the server's
        for (const Piece &piece : m_pieces) {
            if (piece.storage.isExact)
                verifyExact(piece);
        }
        std::vector<double> delays; // of the labels, in milliseconds
        for (std::size_t index = 1; index < m_pieces.size(); ++index) {
            verifyJoint(m_pieces[index - 1], m_pieces[index]);
            QVERIFY(changes.size() >= index);
            QCOMPARE(titles[qsizetype(index) - 1], QString::number(index + 1));
            const double sounding = capture().timeOf(m_start + m_pieces[index].begin);
            delays.push_back((changes[index - 1] - sounding) * 1000);
        }
        std::sort(delays.begin(), delays.end());
        report("label behind the sound, least", delays.front());
        report("label behind the sound, median", delays[delays.size() / 2]);
        report("label behind the sound, greatest", delays.back());
        const double dropped = dropsPeriods() ? 2 * 1000.0 * 512 / sinkRate : 0; // before the first track
        QVERIFY(delays.front() > -20 && delays.back() < 20 + dropped);
        std::sort(positions.begin(), positions.end());
        report("position with the label, least", positions.front());
        report("position with the label, greatest", positions.back());
        QVERIFY(positions.back() < 20);
    }
};

static const bool isJointTestRegistered =
    TestProgram::add("JointTest", [](int, char **) { return JointTest().run(); });
#include "JointTest.moc"
