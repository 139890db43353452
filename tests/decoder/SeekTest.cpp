#include "decoder/DecoderModule.h"
#include "tests/MatroskaFile.h"
#include "tests/MediaFile.h"
#include "tests/MemoryFile.h"
#include "tests/NumberBytes.h"
#include "tests/OggPage.h"
#include "tests/TestProgram.h"
#include "tests/decoder/ReadAll.h"
#include "tests/files/FaultyMedium.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <algorithm>
#include <cmath>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

void append(std::vector<float> &samples, std::span<const float> more)
{
    samples.insert(samples.end(), more.data(), more.data() + more.size());
}

Result<std::unique_ptr<Decoder>> tryDecoder(const QString &name)
{
    auto file = openRegularFile(mediaUrl(name));
    return DecoderModule::load().value()->open(file.take(), nullptr);
}

std::unique_ptr<Decoder> openMedia(const QString &name)
{
    return tryDecoder(name).take();
}

/// All files that hold sound.
QStringList soundFiles()
{
    QStringList names = QDir(QStringLiteral(TEST_MEDIA)).entryList(QDir::Files);
    names.removeIf([](const QString &name) { return tryDecoder(name).isError(); });
    return names;
}

/// How far the sound after a seek may be from that of the first play: some containers count milliseconds,
/// some codecs fill bands with noise or go on from what they have heard.
struct Precision {
    int milliseconds = 0;
    double difference = 0;
};

Precision precisionOf(const QString &name)
{
    if (name.endsWith(u".wma"_s) || name.endsWith(u".mka"_s))
        return {1, 0.02};
    if (name.endsWith(u".mp3"_s))
        return {0, 1e-5};
    const bool isAacInMp4 = name.endsWith(u".m4a"_s) && name != u"alac.m4a"_s;
    if (isAacInMp4 || name.endsWith(u".aac"_s) || name.endsWith(u".opus"_s))
        return {0, 5e-3};
    return {};
}

QList<qint64> seekTargets(qint64 frames)
{
    QRandomGenerator random(3);
    QList<qint64> targets{0, frames / 2, 0, 1, frames - 1};
    while (targets.size() < 10)
        targets.append(random.bounded(frames));
    return targets;
}

/// Where the page lies that has so many before it.
qsizetype oggPage(const QByteArray &bytes, int number)
{
    qsizetype offset = 0;
    for (; number > 0; --number)
        offset = bytes.indexOf("OggS", offset + 1);
    return offset;
}

/// One stream of so many times the sound of an Ogg file, whose headers take two pages.
QByteArray repeatedOgg(const QByteArray &file, int times, qint64 frames)
{
    constexpr qsizetype flags = 5;
    constexpr qsizetype time = 6;
    constexpr qsizetype number = 18;
    QByteArray result = file.first(oggPage(file, 2));
    quint32 pages = 2;
    for (int i = 0; i < times; ++i) {
        for (qsizetype from = oggPage(file, 2), next = 0; from >= 0; from = next) {
            next = file.indexOf("OggS", from + 1);
            QByteArray page = file.sliced(from, (next < 0 ? file.size() : next) - from);
            const auto end = qFromLittleEndian<qint64>(page.constData() + time);
            page.replace(time, 8, littleEndian<qint64>(end + i * frames));
            page.replace(number, 4, littleEndian(pages++));
            page[flags] = 0;
            result += withOggChecksum(page);
        }
    }
    return result;
}

/// The frames of a FLAC file, each of which lasts 32 ms, in Matroska with the times that are right.
QByteArray flacInMatroska(const QByteArray &file)
{
    QByteArray header = file.first(42); // the mark and STREAMINFO
    header[4] = '\x80'; // no other block follows
    const QByteArray frameMark = file.sliced(file.indexOf("\xff\xf8"), 4);
    QByteArray blocks;
    int time = 0;
    for (qsizetype from = file.indexOf(frameMark), next = 0; from >= 0; from = next) {
        next = file.indexOf(frameMark, from + 1);
        blocks += MatroskaFile::block(file.sliced(from, (next < 0 ? file.size() : next) - from), time);
        time += 32;
    }
    return MatroskaFile::encoded(
        MatroskaFile::track(1, MatroskaFile::element("63a2", header), "A_FLAC"), {}, blocks);
}

/// 30 s, whose samples are the number of their second. Its index leads from 19 s to 25 s.
QByteArray matroskaWithWrongIndex()
{
    using namespace MatroskaFile;
    constexpr qsizetype beforeContent = 12; // of the segment
    const auto cue = [](int second, qsizetype cluster) {
        const QByteArray place = element("f7", "\1") + element("f1", bigEndian(quint32(cluster)));
        return element("bb", element("b3", bigEndian(quint32(1000 * second))) + element("b7", place));
    };
    const auto cues = [&cue](qsizetype first, qsizetype wrong) {
        return element("1c53bb6b", cue(0, first) + cue(19, wrong));
    };
    QByteArray clusters;
    qsizetype wrong = 0;
    for (int second = 0; second < 30; ++second) {
        if (second == 25)
            wrong = clusters.size();
        const QByteArray samples = littleEndian<qint16>(qint16(second)).repeated(8000);
        clusters += element("1f43b675", element("e7", bigEndian(quint32(1000 * second))) + block(samples));
    }
    const QByteArray draft = encoded(track(1), cues(0, 0) + clusters, {});
    const qsizetype segment = draft.indexOf(QByteArray::fromHex("18538067")) + beforeContent;
    const qsizetype first = draft.indexOf(clusters) - segment;
    return encoded(track(1), cues(first, first + wrong) + clusters, {});
}

double difference(std::span<const float> one, std::span<const float> other)
{
    double largest = 0;
    for (std::size_t index = 0; index < std::min(one.size(), other.size()); ++index)
        largest = std::max(largest, double(std::abs(one[index] - other[index])));
    return largest;
}

/// Between `samples` and those of `whole` from `place` on, give or take `slack`, at their beginning.
double leastDifference(
    std::span<const float> whole, std::span<const float> samples, qint64 place, qint64 slack)
{
    double least = 1;
    for (qint64 from = std::max<qint64>(place - slack, 0); from <= place + slack; ++from) {
        const auto count = std::min<std::size_t>(slack == 0 ? 20'000 : 1000, samples.size());
        least = std::min(least,
            difference(whole.subspan(std::min(std::size_t(from), whole.size())), samples.first(count)));
    }
    return least;
}

} // namespace

/// What is decoded after a seek, beside a decode of the whole file.
class SeekTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void gaplessFilesHaveTheirExactLength_data()
    {
        QTest::addColumn<qint64>("frames");
        QTest::newRow("song.mp3") << qint64(88'200);
        QTest::newRow("alac.m4a") << qint64(22'050);
        QTest::newRow("opus.opus") << qint64(96'000);
        QTest::newRow("vorbis.ogg") << qint64(88'200);
        QTest::newRow("flac.flac") << qint64(22'050);
        QTest::newRow("flac-without-total.oga") << qint64(32'000);
        QTest::newRow("wavpack.wv") << qint64(16'000);
        QTest::newRow("trueaudio.tta") << qint64(16'000);
        QTest::newRow("shorten.shn") << qint64(16'384);
        QTest::newRow("plain.wav") << qint64(8'000);
        QTest::newRow("plain.aiff") << qint64(8'000);
    }

    void gaplessFilesHaveTheirExactLength()
    {
        QFETCH(qint64, frames);
        QCOMPARE(qint64(readAll(*openMedia(QString::fromUtf8(QTest::currentDataTag()))).size()), frames);
    }

    void everyFileIsPlayedAgainFromAnywhere_data()
    {
        const QStringList files = soundFiles();
        const QStringList formats{u"aac"_s, u"ac3"_s, u"aiff"_s, u"caf"_s, u"dff"_s, u"dsf"_s, u"eac3"_s,
            u"flac"_s, u"m4a"_s, u"mka"_s, u"mp3"_s, u"mpc"_s, u"oga"_s, u"spx"_s, u"ogg"_s, u"oma"_s,
            u"opus"_s, u"shn"_s, u"tta"_s, u"wav"_s, u"wma"_s, u"wv"_s};
        for (const QString &format : formats)
            QVERIFY2(!files.filter(u'.' + format).isEmpty(), qPrintable(format));
        QTest::addColumn<int>("slack");
        QTest::addColumn<double>("tolerance");
        for (const QString &name : files) {
            const Precision precision = precisionOf(name);
            QTest::newRow(qPrintable(name)) << precision.milliseconds << precision.difference;
        }
    }

    /// From the start the very same samples; from elsewhere those that the first play had there.
    void everyFileIsPlayedAgainFromAnywhere()
    {
        QFETCH(int, slack);
        QFETCH(double, tolerance);
        const QString name = QString::fromUtf8(QTest::currentDataTag());
        const auto played = openMedia(name);
        const auto whole = readAll(*played);
        const AudioFormat format = played->format();
        const qint64 frames = qint64(whole.size()) / format.channels;
        const qint64 slackSamples = slack * (format.rate / 1000 + 1) * format.channels;
        for (const qint64 target : seekTargets(frames)) {
            const auto rest = std::span(whole).subspan(std::size_t(target * format.channels));
            const auto fresh = openMedia(name);
            for (Decoder *decoder : {fresh.get(), played.get()}) {
                QVERIFY(decoder->seek(target, {}));
                const auto block = decoder->read();
                QVERIFY(!block.isError());
                QCOMPARE(block.value().position, target);
                std::vector<float> samples;
                append(samples, block.value().samples);
                append(samples, readAll(*decoder));
                const bool isSame = samples.size() == rest.size()
                    && std::memcmp(samples.data(), rest.data(), rest.size_bytes()) == 0;
                QVERIFY(isSame || target > 0);
                const qint64 surplus = qint64(samples.size()) - qint64(rest.size());
                QVERIFY2(
                    std::abs(surplus) <= slackSamples, qPrintable(u"%1 at %2"_s.arg(surplus).arg(target)));
                const double found =
                    isSame ? 0 : leastDifference(whole, samples, target * format.channels, slackSamples);
                QVERIFY2(found <= tolerance, qPrintable(u"%1 at %2"_s.arg(found).arg(target)));
            }
        }
    }

    void lostSoundLeavesItsPlace_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<qint64>("end");
        QByteArray damaged = mediaFile(u"flac.flac"_s);
        damaged.replace(2900, 2800, QByteArray(2800, '\0'));
        QTest::newRow("damage") << damaged << qint64(22'050);
        QByteArray torn = mediaFile(u"leaping-numbers.oga"_s);
        const qsizetype hole = oggPage(torn, 20);
        torn.remove(hole, oggPage(torn, 40) - hole);
        QTest::newRow("pages") << torn << qint64(16'384);
    }

    void lostSoundLeavesItsPlace()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(qint64, end);
        const MemoryFile file(bytes);
        const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr).take();
        qint64 position = 0;
        qint64 missing = 0;
        for (;;) {
            const auto block = decoder->read().take();
            if (block.samples.empty())
                break;
            missing += block.position - position;
            position = block.position + qint64(block.samples.size());
        }
        QCOMPARE(position, end);
        QVERIFY2(missing > end / 5, qPrintable(QString::number(missing)));
    }

    void holeInTheTimesLeavesItsPlace()
    {
        using namespace MatroskaFile;
        const QByteArray second = littleEndian<qint16>(7).repeated(8000);
        const MemoryFile file(encoded(track(1), {}, block(second) + block(second, 3000)));
        const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr).take();
        QList<qint64> begins;
        for (auto block = decoder->read().take(); !block.samples.empty(); block = decoder->read().take())
            begins.append(block.position);
        QCOMPARE(begins, QList<qint64>({0, 24'000}));
    }

    void leapThatLosesNothingMovesNothing_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray flac = mediaFile(u"leaping-numbers.flac"_s);
        QTest::newRow("a little, FLAC") << flac;
        QTest::newRow("a little, Matroska") << flacInMatroska(flac);
        QTest::newRow("numbers, Ogg") << mediaFile(u"leaping-numbers.oga"_s);
        QTest::newRow("times, Ogg") << mediaFile(u"leaping-times.oga"_s);
    }

    void leapThatLosesNothingMovesNothing()
    {
        QFETCH(QByteArray, bytes);
        const MemoryFile file(bytes);
        const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr).take();
        QCOMPARE(decoder->duration(), 2.048);
        qint64 position = 0;
        for (;;) {
            const auto block = decoder->read().take();
            if (block.samples.empty())
                break;
            QCOMPARE(block.position, position);
            position += qint64(block.samples.size());
        }
        QCOMPARE(position, qint64(16'384));
    }

    /// The times of the second stream begin at 0 again.
    void chainedStreamsAreOneTrack()
    {
        const MemoryFile file(mediaFile(u"vorbis.ogg"_s) + mediaFile(u"coverart.ogg"_s));
        const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr).take();
        const auto whole = readAll(*decoder);
        QVERIFY(whole.size() > 88'200 + 40'000);
        QVERIFY(decoder->seek(100'000, {}));
        const auto block = decoder->read().take();
        QCOMPARE(block.position, qint64(100'000));
        QVERIFY(std::ranges::equal(block.samples, std::span(whole).subspan(100'000, block.samples.size())));
        QCOMPARE(block.samples.size() + readAll(*decoder).size(), whole.size() - 100'000);
    }

    void lateSeekInOggDecodesLittleOfWhatLiesBefore()
    {
        const MemoryFile file(repeatedOgg(mediaFile(u"vorbis.ogg"_s), 30, 88'200));
        const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr).take();
        QCOMPARE(decoder->duration(), 60.0);
        int asked = 0; // once a packet
        const qint64 target = 50 * 44'100;
        QVERIFY(decoder->seek(target, [&asked] { return ++asked < 0; }));
        QCOMPARE(decoder->read().take().position, target);
        QVERIFY2(asked < 500, qPrintable(QString::number(asked)));
    }

    void indexThatLeadsPastTheTargetIsNotFollowed()
    {
        const MemoryFile file(matroskaWithWrongIndex());
        const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr).take();
        const qint64 target = 20 * 8000 + 17;
        QVERIFY(decoder->seek(target, {}));
        const auto block = decoder->read().take();
        QCOMPARE(block.position, target);
        QCOMPARE(block.samples.front(), 20 / 32768.0F);
    }

    void mediumThatRecoversIsSoughtInAgain()
    {
        const MemoryFile file(repeatedOgg(mediaFile(u"vorbis.ogg"_s), 30, 88'200));
        FaultyMedium medium(file.url().toLocalFile().toUtf8());
        const auto decoder = DecoderModule::load().value()->open(file.open(), nullptr).take();
        const qint64 target = 50 * 44'100;
        medium.set(FaultyMedium::Fault::Error);
        QVERIFY(!decoder->seek(target, {}));
        medium.set(FaultyMedium::Fault::None);
        int asked = 0; // once a packet
        QVERIFY(decoder->seek(target, [&asked] { return ++asked < 0; }));
        QCOMPARE(decoder->read().take().position, target);
        QVERIFY2(asked < 500, qPrintable(QString::number(asked)));
    }

    /// As some writers have it, only the last block tells its length.
    void lengthIsThatOfTheSoundIfAPacketDoesNotTellItsOwn()
    {
        using namespace MatroskaFile;
        const QByteArray wavPack = mediaFile(u"wavpack.wv"_s); // one block, which lasts a second
        const QByteArray version = wavPack.sliced(8, 2);
        const QByteArray packet = wavPack.sliced(20, wavPack.indexOf("APETAGEX") - 20);
        const QByteArray blocks = block(packet) + blockOfLength(packet, 1000, 1000);
        const MemoryFile file(encoded(track(1, element("63a2", version), "A_WAVPACK4"), {}, blocks));
        QCOMPARE(DecoderModule::load().value()->probe(file.open()).duration, std::optional(2.0));
    }

    void lengthInWholePacketsIsAGuess()
    {
        const auto decoder = openMedia(u"musepack8.mpc"_s);
        QVERIFY(decoder->isDurationGuessed());
        QVERIFY(decoder->duration() >= decoder->format().seconds(qint64(readAll(*decoder).size()) / 2));
    }

    void obsoleteSeekIsGivenUp()
    {
        const auto decoder = openMedia(u"shorten.shn"_s);
        int asked = 0;
        QVERIFY(!decoder->seek(16'000, [&asked] { return ++asked == 3; }));
        QCOMPARE(asked, 3);
        QVERIFY(decoder->seek(16'000, [] { return false; }));
        QCOMPARE(readAll(*decoder).size(), std::size_t(384));
    }
};

LUMAVERDINE_TEST(SeekTest)
#include "SeekTest.moc"
