#include "decoder/DecoderModule.h"
#include "tests/MediaFile.h"
#include "tests/MemoryFile.h"
#include "tests/NumberBytes.h"
#include "tests/TestProgram.h"
#include "tests/decoder/ReadAll.h"
#include "tests/playback/WavFile.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<Decoder> decoderOf(const QByteArray &bytes)
{
    return DecoderModule::load().value()->open(MemoryFile(bytes).open(), nullptr).take();
}

/// What the file was cut from: the frame that lies so many seconds behind the cut.
double original(double seconds, int fileRate)
{
    const double time = 12'345.0 / fileRate + seconds;
    return 0.4 * std::sin(2 * M_PI * time * (1000 + 3000 * time));
}

/// Frames by which the sound comes late, of a rate that need not be the file's own.
int delayOf(std::span<const float> samples, int soundRate, int fileRate)
{
    constexpr int most = 1200; // more than any encoder's delay
    constexpr std::size_t compared = 4000;
    std::vector<double> sound;
    for (qint64 frame = -most; frame < qint64(compared) + most; ++frame)
        sound.push_back(original(double(frame) / soundRate, fileRate));
    int best = -most;
    double least = INFINITY;
    for (int delay = -most; delay <= most; ++delay) {
        double difference = 0;
        for (std::size_t i = 0; i < compared; ++i)
            difference += std::pow(double(samples[i]) - sound[i + std::size_t(most - delay)], 2);
        if (difference < least) {
            least = difference;
            best = delay;
        }
    }
    return best;
}

QByteArray aacWithEdit(const QByteArray &edit, const char *name = "piece-23559.m4a")
{
    QByteArray bytes = mediaFile(name);
    return bytes.replace(bytes.indexOf("elst") + 12, edit.size(), edit);
}

QByteArray atomOf(const char *name, const QByteArray &content)
{
    return bigEndian(content.size() + 8) + name + content;
}

QByteArray commentText(qint64 delay, qint64 padding, qint64 length)
{
    const auto hexadecimal = [](qint64 number, int digits) {
        return ' ' + QByteArray::number(number, 16).rightJustified(digits, '0').toUpper();
    };
    return " 00000000" + hexadecimal(delay, 8) + hexadecimal(padding, 8) + hexadecimal(length, 16)
        + " 00000000";
}

/// The MP4 file, whose headers come last, with a comment about its ends.
QByteArray withComment(QByteArray bytes, const QByteArray &text)
{
    const QByteArray item = atomOf("mean", QByteArray(4, '\0') + "com.apple.iTunes")
        + atomOf("name", QByteArray(4, '\0') + "iTunSMPB")
        + atomOf("data", bigEndian(1) + bigEndian(0) + text);
    const QByteArray handler = atomOf("hdlr", QByteArray(8, '\0') + "mdir" + QByteArray(13, '\0'));
    bytes += atomOf("udta", atomOf("meta", bigEndian(0) + handler + atomOf("ilst", atomOf("----", item))));
    const qsizetype movie = bytes.indexOf("moov") - 4;
    return bytes.replace(movie, 4, bigEndian(bytes.size() - movie));
}

QByteArray withoutEdits(QByteArray bytes)
{
    return bytes.replace("edts", "free");
}

/// Packets are counted in full, as many encoders do.
QByteArray withFullPackets(QByteArray bytes)
{
    return bytes.replace(bytes.indexOf("mdhd") + 20, 4, bigEndian(25 * 1024));
}

/// The MP3 file without its header frame.
QByteArray bareMp3()
{
    const QByteArray bytes = mediaFile("piece-23559.mp3");
    return bytes.sliced(bytes.indexOf(bytes.first(2), 2));
}

QByteArray mp3WithComment(const QByteArray &sound, const QByteArray &description, const QByteArray &text)
{
    const QByteArray content = description + text;
    const QByteArray frame = "COMM" + syncsafe(content.size()) + QByteArray(2, '\0') + content;
    return "ID3\4\0\0"_ba + syncsafe(frame.size()) + frame + sound;
}

/// With what the LAME header says replaced: 12 bits of delay, 12 of padding.
QByteArray mp3WithDelays(const QByteArray &delays, const char *name = "piece-23559.mp3")
{
    QByteArray bytes = mediaFile(name);
    return bytes.replace(bytes.indexOf("Lavf") + 21, 3, delays);
}

} // namespace

/// Files have exactly the frames that their author put into them.
class ExactEndTest : public QObject {
    Q_OBJECT

private:
    static void verifyLength(const QByteArray &file, qint64 frames)
    {
        const auto decoder = decoderOf(file);
        QCOMPARE(qint64(readAll(*decoder).size()), frames);
        QVERIFY(decoder->seek(frames - 1, {}));
        const auto last = decoder->read().take();
        QCOMPARE(last.position, frames - 1);
        QCOMPARE(last.samples.size(), std::size_t(1));
        QVERIFY(decoder->read().value().samples.empty());
    }

private Q_SLOTS:
    void pieceHasItsFrames_data()
    {
        QTest::addColumn<qint64>("frames");
        QTest::addColumn<bool>("isLossless");
        for (const qint64 frames : {100, 1023, 23'559}) {
            for (const char *format : {"mp3", "m4a", "opus", "ogg"})
                QTest::addRow("piece-%lld.%s", frames, format) << frames << false;
        }
        QTest::newRow("piece-66151.ogg") << qint64(66'151) << false;
        QTest::newRow("piece-23559.fragments.m4a") << qint64(23'559) << false;
        QTest::newRow("piece-23559.mp3.mka") << qint64(23'559) << false;
        QTest::newRow("piece-100.opus.mka") << qint64(100) << false;
        for (const char *format : {"flac", "alac.m4a", "wav", "oga", "wv", "tta"})
            QTest::addRow("piece-12291.%s", format) << qint64(12'291) << true;
    }

    void pieceHasItsFrames()
    {
        QFETCH(qint64, frames);
        QFETCH(bool, isLossless);
        const QByteArray file = mediaFile(QTest::currentDataTag());
        verifyLength(file, frames);
        const auto decoder = decoderOf(file);
        const int soundRate = decoder->format().rate;
        const auto samples = readAll(*decoder);
        if (isLossless) {
            for (std::size_t i = 0; i < samples.size(); ++i) {
                const double difference = std::abs(samples[i] - original(double(i) / soundRate, soundRate));
                QVERIFY2(difference < 1.0 / 32768, qPrintable(QString::number(i)));
            }
        } else if (frames > 1023) { // of less, a codec makes what it likes
            QCOMPARE(delayOf(samples, soundRate, soundRate), 0);
        }
    }

    void pieceHasItsFramesAtAnotherRate_data()
    {
        QTest::addColumn<qint64>("frames");
        for (const qint64 frames : {100, 1023, 23'559}) {
            for (const char *format : {"mp3", "m4a", "opus", "ogg"})
                QTest::addRow("piece-%lld.%s", frames, format) << frames;
        }
        QTest::newRow("piece-12291.alac.m4a") << qint64(12'291);
        QTest::newRow("piece-23559.fragments.m4a") << qint64(23'559);
    }

    void pieceHasItsFramesAtAnotherRate()
    {
        QFETCH(qint64, frames);
        constexpr AudioFormat wanted{96'000, 1};
        const QByteArray file = mediaFile(QTest::currentDataTag());
        const int fileRate = decoderOf(file)->format().rate;
        const auto decoder = DecoderModule::load().value()->open(
            MemoryFile(file).open(), nullptr, [=](AudioFormat) { return wanted; });
        const auto samples = readAll(*decoder.value());
        const double surplus = double(samples.size()) - double(frames) * wanted.rate / fileRate;
        QVERIFY2(std::abs(surplus) <= 1, qPrintable(QString::number(surplus)));
        if (frames > 1023)
            QVERIFY(std::abs(delayOf(samples, wanted.rate, fileRate)) <= 1);
    }

    void tinyTrackIsWholeAtAnotherRate_data()
    {
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("otherRate");
        QTest::newRow("higher") << 44'100 << 96'000;
        QTest::newRow("lower") << 192'000 << 44'100;
    }

    void tinyTrackIsWholeAtAnotherRate()
    {
        QFETCH(int, rate);
        QFETCH(int, otherRate);
        for (int frames = 4; frames < 2000; frames += 1 + frames / 9) {
            const std::vector<float> constant(std::size_t(frames), 0.5F);
            const MemoryFile file(WavFile::encoded(constant, rate, 1));
            const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr, [=](AudioFormat) {
                return AudioFormat{otherRate, 1};
            });
            const auto samples = readAll(*decoder.value());
            QCOMPARE(std::llround(double(frames) * otherRate / rate), qint64(samples.size()));
            const float least = frames < 1024 ? 0.1F : 0.4F; // only of less than the resampler's filter takes
            for (const float sample : samples)
                QVERIFY2(sample > least, qPrintable(QString::number(frames)));
        }
    }

    void lengthIsThatOfTheSound_data()
    {
        QTest::addColumn<qint64>("frames");
        for (const qint64 frames : {100, 1023, 23'559}) {
            for (const char *format : {"mp3", "m4a", "opus", "ogg"})
                QTest::addRow("piece-%lld.%s", frames, format) << frames;
        }
        QTest::newRow("piece-12291.alac.m4a") << qint64(12'291);
        QTest::newRow("piece-23559.fragments.m4a") << qint64(23'559);
    }

    void lengthIsThatOfTheSound()
    {
        QFETCH(qint64, frames);
        const auto decoder = decoderOf(mediaFile(QTest::currentDataTag()));
        QCOMPARE(std::llround(decoder->duration() * decoder->format().rate * 1000), frames * 1000);
    }

    void editIsHeeded_data()
    {
        QTest::addColumn<QByteArray>("edit"); // duration in milliseconds, begin in frames
        QTest::addColumn<qint64>("frames");
        QTest::newRow("rounded down") << bigEndian(534) + bigEndian(1024) << qint64(23'559);
        QTest::newRow("rounded up") << bigEndian(535) + bigEndian(1024) << qint64(23'559);
        QTest::newRow("a part") << bigEndian(300) + bigEndian(1024) << qint64(13'230);
        QTest::newRow("another part") << bigEndian(300) + bigEndian(2024) << qint64(13'230);
        QTest::newRow("more than there is") << bigEndian(quint32(-1)) + bigEndian(1024) << qint64(23'559);
        QTest::newRow("all") << bigEndian(557) + bigEndian(0) << qint64(24'583);
        QTest::newRow("to the end") << bigEndian(0) + bigEndian(2024) << qint64(22'559);
        QTest::newRow("from far behind") << bigEndian(0) + bigEndian(20'000) << qint64(4583);
        QTest::newRow("a part far behind") << bigEndian(50) + bigEndian(20'000) << qint64(2205);
    }

    void editIsHeeded()
    {
        QFETCH(QByteArray, edit);
        QFETCH(qint64, frames);
        verifyLength(aacWithEdit(edit), frames);
    }

    void silenceBeforeTheEditIsLeftOut() { verifyLength(mediaFile("edited.m4a"), 22'050); }

    void soundFarBeforeTheEditIsNotDecoded()
    {
        constexpr quint32 begin = 40'000;
        const auto whole = readAll(*decoderOf(aacWithEdit(bigEndian(0) + bigEndian(0), "aac.m4a")));
        QByteArray damaged = aacWithEdit(bigEndian(0) + bigEndian(begin), "aac.m4a");
        damaged.replace(damaged.indexOf("mdat") + 500, 1000, QByteArray(1000, '\xff'));
        const auto decoder = decoderOf(damaged);
        const auto samples = readAll(*decoder);
        QVERIFY(!decoder->isDamaged());
        QCOMPARE(samples.size(), whole.size() - begin);
        for (std::size_t i = 0; i < samples.size(); ++i)
            QVERIFY2(std::abs(samples[i] - whole[begin + i]) < 5e-3, qPrintable(QString::number(i)));
    }

    void commentIsHeeded_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<qint64>("frames");
        constexpr qint64 length = 23'559;
        const QByteArray plain = withoutEdits(withFullPackets(mediaFile("piece-23559.m4a")));
        const QByteArray edited = withFullPackets(aacWithEdit(bigEndian(534) + bigEndian(1024)));
        const QByteArray text = commentText(1024, 1017, length);
        QTest::newRow("MP4, none") << plain << qint64(25 * 1024);
        QTest::newRow("MP4") << withComment(plain, text) << length;
        QTest::newRow("MP4, too short")
            << withComment(plain, commentText(1024, 1017, 1)) << qint64(24 * 1024);
        const QByteArray shortened = withoutEdits(mediaFile("piece-23559.m4a"));
        QTest::newRow("MP4, last packet counted as far as it sounds")
            << withComment(shortened, text) << length;
        QTest::newRow("MP4, edit alone") << edited << qint64(23'549);
        QTest::newRow("MP4, edit") << withComment(edited, text) << length;
        QTest::newRow("MP4, another edit")
            << withComment(edited, commentText(1024, 0, 23'500)) << qint64(23'549);
        const QByteArray all = withFullPackets(aacWithEdit(bigEndian(580) + bigEndian(0)));
        QTest::newRow("MP4, edit of everything") << withComment(all, text) << length;
        QTest::newRow("MP4, edit of everything, too short")
            << withComment(all, commentText(1024, 1017, 1)) << qint64(24 * 1024);

        const QByteArray mp3 = bareMp3(), description = "\0engiTunSMPB\0"_ba;
        const QByteArray mp3Text = commentText(576, 1209, length);
        QTest::newRow("MP3, none") << mp3 << qint64(22 * 1152);
        QTest::newRow("MP3") << mp3WithComment(mp3, description, mp3Text) << length;
        QByteArray wide;
        for (const char character : "iTunSMPB"_ba + '\0' + mp3Text)
            wide += QByteArray(1, character) + '\0';
        QTest::newRow("MP3, UTF-16") << mp3WithComment(mp3, "\1eng\xff\xfe"_ba, wide) << length;
        const auto short1 = commentText(576, 1209, 1);
        QTest::newRow("MP3, too short") << mp3WithComment(mp3, description, short1) << qint64(22 * 1152);
        QTest::newRow("MP3, no numbers") << mp3WithComment(mp3, description, "x"_ba) << qint64(22 * 1152);
        const QByteArray info = mediaFile("piece-23559.mp3");
        QTest::newRow("MP3, LAME") << mp3WithComment(info, description, commentText(1000, 785, length))
                                   << length;
        QTest::newRow("MP3, Xing") << mp3WithComment(QByteArray(info).replace("Lavf", "    "), description,
            mp3Text) << length;
    }

    void commentIsHeeded()
    {
        QFETCH(QByteArray, file);
        QFETCH(qint64, frames);
        verifyLength(file, frames);
        const auto decoder = decoderOf(file);
        if (frames == 23'559)
            QCOMPARE(delayOf(readAll(*decoder), 44'100, 44'100), 0);
    }

    void headerOfMp3IsHeeded_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<qint64>("frames");
        constexpr qint64 whole = 22 * 1152;
        QTest::newRow("without delays") << mediaFile("piece-23559.mp3").replace("Lavf", "    ") << whole;
        QTest::newRow("longest delays") << mp3WithDelays("\xff\xff\xff"_ba) << whole - 2 * 4095;
        QTest::newRow("no delays") << mp3WithDelays("\0\0\0"_ba) << whole - 529;
        QByteArray vbri = mediaFile("piece-23559.mp3");
        const qsizetype end = vbri.indexOf(vbri.first(2), 2);
        vbri.replace(4, end - 4, QByteArray(end - 4, '\0'));
        vbri.replace(36, 18, "VBRI\0\1\0\0\0\0"_ba + bigEndian(vbri.size()) + bigEndian(22));
        QTest::newRow("VBRI") << vbri << whole;
    }

    void headerOfMp3IsHeeded()
    {
        QFETCH(QByteArray, file);
        QFETCH(qint64, frames);
        verifyLength(file, frames);
    }

    void delaysLongerThanTheFileLeaveNothing()
    {
        const MemoryFile file(mp3WithDelays("\xff\xff\xff"_ba, "piece-100.mp3"));
        QVERIFY(DecoderModule::load().value()->open(file.open(), nullptr).isError());
    }

    void fileThatSaysItHasNoSoundIsAnEmptyTrack()
    {
        constexpr qsizetype flacTotal = 4 + 4 + 14, flacHeader = 4 + 4 + 34;
        QByteArray flac = mediaFile("piece-12291.flac").first(flacHeader);
        flac[4] = char(0x80); // nothing behind it
        QVERIFY(DecoderModule::load().value()->open(MemoryFile(flac).open(), nullptr).isError());
        flac.replace(flacTotal, 4, QByteArray(4, '\0'));
        for (const QByteArray &bytes : {flac, WavFile::encoded({}, 22'050, 2)}) {
            const auto decoder = decoderOf(bytes);
            QCOMPARE(decoder->format().rate, 22'050);
            QCOMPARE(decoder->duration(), 0.0);
            QVERIFY(decoder->read().value().samples.empty());
            QVERIFY(decoder->seek(0, {}));
            QVERIFY(decoder->read().value().samples.empty());
        }
    }

    void fileThatIsCutOffEndsThere()
    {
        for (const char *name : {"piece-23559.mp3", "piece-66151.ogg", "piece-12291.flac"}) {
            const QByteArray whole = mediaFile(name);
            const std::size_t frames = readAll(*decoderOf(whole)).size();
            const auto decoder = decoderOf(whole.first(whole.size() * 7 / 8));
            const std::size_t left = readAll(*decoder).size();
            QVERIFY2(left > frames / 3 && left < frames, name);
            QVERIFY(decoder->seek(qint64(left) - 1, {}));
            QCOMPARE(decoder->read().value().samples.size(), std::size_t(1));
            QVERIFY(decoder->read().value().samples.empty());
        }
    }
};

LUMAVERDINE_TEST(ExactEndTest)
#include "ExactEndTest.moc"
