#include "decoder/DecoderModule.h"
#include "tests/MatroskaFile.h"
#include "tests/MediaFile.h"
#include "tests/MemoryFile.h"
#include "tests/NumberBytes.h"
#include "tests/OggPage.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/decoder/ReadAll.h"
#include "tests/playback/WavFile.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <numeric>

using namespace Qt::StringLiterals;

namespace {

using MatroskaFile::element;

constexpr qint64 LongestWait = 3000; // milliseconds of work until an answer, on a busy machine, too
#ifdef __SANITIZE_ADDRESS__ // it fences each piece of memory in
constexpr qint64 MostMemory = 150 * 1024; // KiB
#else
constexpr qint64 MostMemory = 100 * 1024;
#endif

QByteArray tagOf(const QByteArray &frame, const QByteArray &content, char flags = 0)
{
    const QByteArray padding(16, '\0'); // without it a size may be taken for one in another notation
    const QByteArray body = frame + syncsafe(content.size()) + '\0' + flags + content + padding;
    return "ID3" + QByteArray("\4\0\0", 3) + syncsafe(body.size()) + body;
}

/// A tag of one frame, which inflates to 250 MB and starts with `beginning` then.
QByteArray inflatingTag(const QByteArray &frame, const QByteArray &beginning)
{
    constexpr qsizetype inflated = 250'000'000;
    constexpr char compressedWithLength = 0x09;
    const QByteArray data =
        qCompress(beginning + QByteArray(inflated - beginning.size(), 'A'), 9).sliced(qsizetype(sizeof(int)));
    return tagOf(frame, bigEndian(inflated) + data, compressedWithLength);
}

QByteArray wave(const QByteArray &chunk, const QByteArray &tag)
{
    return mediaFile(u"plain.wav"_s) + chunk + littleEndian(tag.size()) + tag;
}

QByteArray aiff(const QByteArray &tag)
{
    QByteArray bytes = mediaFile(u"plain.aiff"_s) + "ID3 " + bigEndian(tag.size()) + tag;
    return bytes.replace(4, 4, bigEndian(bytes.size() - 8));
}

/// DSF, whose header points to the tag.
QByteArray dsf(const QByteArray &tag)
{
    const QByteArray sound(4096, '\x69');
    const qsizetype tagPosition = 28 + 52 + 12 + sound.size();
    return "DSD " + littleEndian<quint64>(28) + littleEndian<quint64>(tagPosition + tag.size())
        + littleEndian<quint64>(tagPosition) + "fmt " + littleEndian<quint64>(52) + littleEndian(1)
        + littleEndian(0) + littleEndian(1) + littleEndian(1) + littleEndian(2'822'400) + littleEndian(1)
        + littleEndian<quint64>(sound.size() * 8) + littleEndian(4096) + littleEndian(0) + "data"
        + littleEndian<quint64>(12 + sound.size()) + sound + tag;
}

QByteArray dsdiffChunk(const QByteArray &name, const QByteArray &content)
{
    return name + bigEndian<quint64>(content.size()) + content + QByteArray(content.size() % 2, '\0');
}

QByteArray dsdiff(const QByteArray &tag)
{
    const QByteArray properties = "SND " + dsdiffChunk("FS  ", bigEndian(2'822'400))
        + dsdiffChunk("CHNL", bigEndian<quint16>(1) + "C000") + dsdiffChunk("CMPR", QByteArray("DSD \0", 6))
        + dsdiffChunk("ID3 ", tag);
    return dsdiffChunk("FRM8",
        "DSD " + dsdiffChunk("FVER", QByteArray("\1\5\0\0", 4)) + dsdiffChunk("PROP", properties)
            + dsdiffChunk("DSD ", QByteArray(8192, '\x69')));
}

/// ASF with an attribute "ID3", whose size is cut to what its field holds.
QByteArray asf(const QByteArray &tag)
{
    const QByteArray name("I\0D\0003\0\0\0", 8);
    const QByteArray attributes = littleEndian<quint16>(1) + littleEndian<quint16>(name.size()) + name
        + littleEndian<quint16>(1) + littleEndian<quint16>(std::min<qsizetype>(tag.size(), 65'535)) + tag;
    const QByteArray object = QByteArray::fromHex("40a4d0d207e3d21197f000a0c95ea850")
        + littleEndian<quint64>(24 + attributes.size()) + attributes;
    QByteArray bytes = mediaFile(u"wma.wma"_s);
    constexpr qsizetype headerSize = 30;
    bytes.insert(headerSize, object);
    bytes.replace(16, 8,
        littleEndian<quint64>(qFromLittleEndian<quint64>(bytes.constData() + 16) + quint64(object.size())));
    return bytes.replace(24, 4, littleEndian(qFromLittleEndian<quint32>(bytes.constData() + 24) + 1));
}

/// The tag behind the third frame.
QByteArray adts(const QByteArray &tag)
{
    QByteArray bytes = mediaFile(u"adts.aac"_s);
    qsizetype position = 0;
    for (int i = 0; i < 3; ++i)
        position += qFromBigEndian<quint32>(bytes.constData() + position + 3) >> 13 & 0x1FFF;
    return bytes.insert(position, tag);
}

QByteArray openMg(const QByteArray &tag)
{
    QByteArray header("EA3\1\0\x60\xff\xff", 8);
    header.resize(96, '\0');
    header[32] = 4; // uncompressed
    return "ea3" + tag.sliced(3) + header + QByteArray(16'384, '\x11');
}

QByteArray box(const QByteArray &name, const QByteArray &content)
{
    return bigEndian(content.size() + 8) + name + content;
}

/// A box whose content starts with a version and flags of zero.
QByteArray table(const QByteArray &name, const QList<quint32> &fields, const QByteArray &rest = {})
{
    QByteArray content(4, '\0');
    for (const quint32 field : fields)
        content += bigEndian(field);
    return box(name, content + rest);
}

/// A track of `packets` packets of one byte that all lie in one chunk, more tables behind those that say so.
QByteArray track(quint32 packets, const QByteArray &tables = {})
{
    const QByteArray codec = QByteArray(6, '\0') + bigEndian<quint16>(1) + QByteArray(8, '\0')
        + bigEndian<quint16>(2) + bigEndian<quint16>(16) + QByteArray(4, '\0')
        + bigEndian(quint32(44'100) << 16);
    const QByteArray chunks = packets == 0
        ? table("stsc", {0}) + table("stsz", {0, 0}) + table("stco", {0})
        : table("stsc", {1, 1, packets, 1}) + table("stsz", {1, packets}) + table("stco", {1, 40});
    const QByteArray samples = box(
        "stbl", table("stsd", {1}, box("mp4a", codec)) + table("stts", {1, packets, 1024}) + chunks + tables);
    return box("trak",
        table("tkhd", {0, 0, 1, 0, 1000}, QByteArray(60, '\0'))
            + box("mdia",
                table("mdhd", {0, 0, 44'100, 1000, 0}) + table("hdlr", {0}, "soun" + QByteArray(13, '\0'))
                    + box("minf", samples)));
}

QByteArray movie(const QByteArray &content)
{
    return box("ftyp", "M4A " + QByteArray(4, '\0')) + box("mdat", QByteArray(4000, '\0'))
        + box("moov", table("mvhd", {0, 0, 44'100, 1000}, QByteArray(80, '\0')) + content);
}

/// A movie whose header inflates to `size` bytes.
QByteArray compressedMovie(qsizetype size)
{
    const QByteArray inflated =
        box("moov", table("mvhd", {0, 0, 44'100, 1000}, QByteArray(size, '\0')) + track(10));
    const QByteArray deflated = qCompress(inflated, 9).sliced(qsizetype(sizeof(int)));
    return box("mdat", QByteArray(4000, '\0'))
        + box("moov", box("cmov", box("dcom", "zlib") + box("cmvd", bigEndian(inflated.size()) + deflated)));
}

/// A movie in a fragment, whose packets take no bytes in its tables.
QByteArray fragmentedMovie(quint32 packets)
{
    const QByteArray defaults = box("mvex", table("trex", {1, 1, 1024, 1, 0}));
    return movie(track(0) + defaults)
        + box("moof", table("mfhd", {1}) + box("traf", table("tfhd", {1}) + table("trun", {packets})));
}

/// Monkey's Audio with a table of so many frames.
QByteArray monkeysAudio(quint32 frames)
{
    return "MAC " + littleEndian(3990) + littleEndian(52) + littleEndian(24) + littleEndian(frames * 4)
        + littleEndian(0) + littleEndian(1000) + QByteArray(24, '\0') + littleEndian(2000)
        + littleEndian(73'728) + littleEndian(1000) + littleEndian(frames) + littleEndian<quint16>(16)
        + littleEndian<quint16>(2) + littleEndian(44'100) + QByteArray(4 * qsizetype(frames) + 20'000, '\0');
}

/// WAV with so many cue points, each of which is looked for among all others.
QByteArray waveWithCues(quint32 cues)
{
    QByteArray points = littleEndian(cues);
    for (quint32 i = cues; i > 0; --i)
        points += littleEndian(i) + QByteArray(20, '\0');
    return mediaFile(u"plain.wav"_s).insert(36, "cue " + littleEndian(points.size()) + points);
}

/// How Matroska says that a track's blocks (1) or its codec's header (2) are compressed, with `fields` in front.
QByteArray matroskaCompression(
    const QByteArray &scope, quint8 method, const QByteArray &settings = {}, const QByteArray &fields = {})
{
    const QByteArray details = element("4254", QByteArray(1, char(method))) + element("4255", settings);
    return element("6d80", element("6240", fields + element("5032", scope) + element("5034", details)));
}

/// Tracks with a header that inflates to 13 MiB each.
QByteArray matroskaWithCompressedHeaders(int count, const QByteArray &compression)
{
    const QByteArray header = qCompress(QByteArray(13 << 20, '\0'), 9).sliced(qsizetype(sizeof(int)));
    QByteArray tracks;
    for (int number = 1; number <= count; ++number)
        tracks += MatroskaFile::track(number, element("63a2", header) + compression);
    return MatroskaFile::encoded(tracks);
}

QByteArray matroskaWithTags(int count)
{
    QByteArray tags = element("63c0", {});
    for (int i = 0; i < count; ++i)
        tags += element("67c8", element("45a3", "N" + QByteArray::number(i)) + element("4487", "value"));
    return MatroskaFile::encoded(MatroskaFile::track(1, {}), element("1254c367", element("7373", tags)));
}

QByteArray matroskaWithChapters(quint32 count)
{
    QByteArray chapters;
    for (quint32 i = count; i > 0; --i)
        chapters += element("b6", element("73c4", bigEndian(i)) + element("91", bigEndian(count - i + 1)));
    return MatroskaFile::encoded(MatroskaFile::track(1, {}), element("1043a770", element("45b9", chapters)));
}

/// So many comments, as all files of Xiph's hold them.
QByteArray comments(int count, int first = 0)
{
    QByteArray bytes = littleEndian(5) + "maker" + littleEndian(count);
    for (int i = first; i < first + count; ++i) {
        const QByteArray comment = "N" + QByteArray::number(i) + "=value";
        bytes += littleEndian(comment.size()) + comment;
    }
    return bytes;
}

QByteArray comment(const QByteArray &text)
{
    return littleEndian(0) + littleEndian(1) + littleEndian(text.size()) + text;
}

constexpr qsizetype EndOfFirstFlacBlock = 42;

/// The frames of a FLAC file.
QByteArray flacFrames(const QByteArray &file)
{
    constexpr quint8 last = 0x80;
    qsizetype sound = 4;
    for (quint8 type = 0; !(type & last);) {
        type = quint8(file[sound]);
        sound += 4 + (qFromBigEndian<quint32>(file.constData() + sound) & 0xFFFFFF);
    }
    return file.sliced(sound);
}

/// The mark and the blocks of a FLAC file with so many comments in blocks of `each`.
QByteArray flacHeader(int count, int each)
{
    constexpr quint32 type = 4;
    constexpr quint32 last = 0x80;
    QByteArray header = mediaFile(u"flac.flac"_s).first(EndOfFirstFlacBlock);
    for (int i = 0; i < count; i += each)
        header += flacBlock(i + each >= count ? type | last : type, comments(each, i));
    return header;
}

QByteArray flacWithComments(int count, int each)
{
    return flacHeader(count, each) + flacFrames(mediaFile(u"flac.flac"_s));
}

QByteArray matroskaFlac(const QByteArray &header)
{
    const QByteArray track = MatroskaFile::track(1, element("63a2", header), "A_FLAC");
    return MatroskaFile::encoded(track, {}, MatroskaFile::block(flacFrames(mediaFile(u"flac.flac"_s))));
}

/// The packet of `comments`, and what follows it on its page, on as many pages of the stream as it takes.
QByteArray oggPages(const QByteArray &stream, const QByteArray &packet, const QByteArray &next)
{
    QByteArray segments, pages;
    for (const QByteArray &part : {packet, next}) {
        if (!part.isEmpty())
            segments += QByteArray(part.size() / 255, '\xff') + char(part.size() % 255);
    }
    const QByteArray content = packet + next;
    qsizetype position = 0;
    for (qsizetype i = 0; i < segments.size(); i += 255) {
        const QByteArray lengths = segments.mid(i, 255);
        const bool isContinued = i > 0 && segments[i - 1] == '\xff';
        const auto size = std::accumulate(lengths.begin(), lengths.end(), qsizetype(0),
            [](qsizetype sum, char length) { return sum + quint8(length); });
        QByteArray page = "OggS" + QByteArray(1, '\0') + char(isContinued) + QByteArray(8, '\0') + stream
            + QByteArray(8, '\0') + char(lengths.size()) + lengths + content.sliced(position, size);
        pages += withOggChecksum(page);
        position += size;
    }
    return pages;
}

/// An Ogg file, whose comments take a page of their own or share it with Vorbis' tables, with others.
QByteArray oggWithComments(const QString &name, const QByteArray &mark, const QByteArray &comments)
{
    const QByteArray file = mediaFile(name);
    const qsizetype second = file.indexOf("OggS", 1);
    const qsizetype third = file.indexOf("OggS", second + 1);
    const qsizetype tables = file.indexOf("\5vorbis");
    const QByteArray next = tables < 0 ? QByteArray() : file.sliced(tables, third - tables);
    return file.first(second) + oggPages(file.sliced(14, 4), mark + comments, next) + file.sliced(third);
}

/// An Ogg file whose last page, behind `middle`, says that it lasts an hour.
QByteArray oggWithLateEnd(const QByteArray &middle)
{
    constexpr qint64 rate = 44'100;
    const QByteArray file = mediaFile(u"vorbis.ogg"_s);
    const qsizetype last = file.lastIndexOf("OggS");
    return file.first(last) + middle
        + withOggChecksum(file.sliced(last).replace(6, 8, littleEndian<qint64>(3600 * rate)));
}

struct OggFile {
    const char *codec;
    QString name;
    QByteArray mark; ///< in front of the comments
};

const OggFile OggFiles[] = {
    {"Vorbis", u"vorbis.ogg"_s, "\3vorbis"},
    {"Opus", u"opus.opus"_s, "OpusTags"},
    {"Speex", u"speex.spx"_s, {}},
    {"FLAC", u"leaping-times.oga"_s, QByteArray::fromHex("84000000")},
};

struct Place {
    const char *name;
    QByteArray (*file)(const QByteArray &tag);
};

const Place Places[] = {
    {"before MP3", [](const QByteArray &tag) { return tag + mediaFile(u"song.mp3"_s); }},
    {"before FLAC", [](const QByteArray &tag) { return tag + mediaFile(u"flac.flac"_s); }},
    {"before AC-3", [](const QByteArray &tag) { return tag + mediaFile(u"dolby.ac3"_s); }},
    {"before noise", [](const QByteArray &tag) { return tag + mediaFile(u"noise.mp3"_s); }},
    {"before WAV", [](const QByteArray &tag) { return tag + mediaFile(u"plain.wav"_s); }},
    {"behind another tag", [](const QByteArray &tag) { return tag + tag + mediaFile(u"song.mp3"_s); }},
    {"WAV, ID3", [](const QByteArray &tag) { return wave("ID3 ", tag); }},
    {"WAV, id3", [](const QByteArray &tag) { return wave("id3 ", tag); }},
    {"AIFF", aiff},
    {"DSF", dsf},
    {"DSDIFF", dsdiff},
    {"ASF", asf},
    {"ADTS", adts},
    {"OpenMG", openMg},
};

struct Weight {
    QByteArray step;
    qint64 wait;
    qint64 memory;
};

/// What a child process needs for each step of adding and playing `bytes`; less than two steps if it crashed.
QList<Weight> weights(const QByteArray &bytes)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"hostile"_s);
    if (!WavFile::save(path, bytes))
        qFatal("The temporary folder is not writable.");
    QProcess child;
    child.start(QStringLiteral(WEIGH_MEDIA_FILE), {path});
    if (!child.waitForFinished(60'000))
        child.kill();
    QList<Weight> steps;
    for (const QByteArray &line : child.readAllStandardOutput().trimmed().split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        if (fields.size() == 3)
            steps.append({fields[0], fields[1].toLongLong(), fields[2].toLongLong()});
    }
    return steps;
}

void verifyBounded(const QByteArray &bytes, const QByteArray &name)
{
    const QList<Weight> steps = weights(bytes);
    QVERIFY2(steps.size() == 2, name + " crashed");
    for (const Weight &step : steps) {
        const QByteArray figures = name + ", " + step.step + ": " + QByteArray::number(step.wait) + " ms, "
            + QByteArray::number(step.memory) + " KiB";
        QVERIFY2(step.wait < LongestWait, figures);
        QVERIFY2(step.memory < MostMemory, figures);
    }
}

std::vector<float> soundOf(const QByteArray &bytes)
{
    const MemoryFile file(bytes);
    const auto opened = DecoderModule::load().value()->open(file.open(), nullptr);
    return opened.isError() ? std::vector<float>() : readAll(*opened.value());
}

} // namespace

/// Files made to cost a player its memory or its life: each is added, opened and played within bounds.
class HostileFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void inflatingFrame_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QByteArray>("beginning");
        QTest::newRow("title") << "TIT2"_ba
                               << "\3"_ba;
        QTest::newRow("album") << "TALB"_ba
                               << "\3"_ba;
        QTest::newRow("text") << "TXXX"_ba << QByteArray("\3name\0", 6);
        QTest::newRow("genre") << "TCON"_ba
                               << "\3"_ba;
        QTest::newRow("lyrics") << "USLT"_ba << QByteArray("\3eng\0", 5);
        QTest::newRow("picture") << "APIC"_ba << QByteArray("\3image/png\0\3\0", 13);
    }

    void inflatingFrame()
    {
        QFETCH(QByteArray, frame);
        QFETCH(QByteArray, beginning);
        const QByteArray tag = inflatingTag(frame, beginning);
        for (const Place &place : Places)
            verifyBounded(place.file(tag), place.name);
    }

    void inflatingFrameBehindManyTags()
    {
        const QByteArray tag("ID3\4\0\0\0\0\0\0", 10);
        const QByteArray song = inflatingTag("TIT2", "\3") + mediaFile(u"song.mp3"_s);
        QVERIFY(soundOf(tag.repeated(1000) + song) == soundOf(mediaFile(u"song.mp3"_s)));
        verifyBounded(tag.repeated(1000) + song, "a thousand tags");
        verifyBounded(tag.repeated(10'000) + song, "ten thousand tags");
    }

    void claimsOfAContainer_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("packets") << movie(track(10'000'000));
        QTest::newRow("packets that just fit") << movie(track(2'600'000));
        QTest::newRow("packets of many tracks") << movie(track(1'000'000).repeated(60));
        QTest::newRow("packets with offsets") << movie(track(2'600'000, table("ctts", {1, 2'600'000, 5})));
        QTest::newRow("packets of a fragment") << fragmentedMovie(10'000'000);
        QTest::newRow("packets of a fragment that just fit") << fragmentedMovie(2'000'000);
        QTest::newRow("compressed header") << compressedMovie(200 << 20);
        QTest::newRow("compressed header that just fits") << compressedMovie(60 << 20);
        QTest::newRow("frames of Monkey's Audio") << monkeysAudio(2'000'000);
        QTest::newRow("frames of Monkey's Audio that just fit") << monkeysAudio(1'400'000);
        QTest::newRow("compressed headers of Matroska")
            << matroskaWithCompressedHeaders(60, matroskaCompression("\2", 0));
        QTest::newRow("compressed header of Matroska with a wide number")
            << matroskaWithCompressedHeaders(1, matroskaCompression(QByteArray("\0\0\0\0\0\0\0\2", 8), 0));
        QTest::newRow("compressed header of Matroska behind other fields") << matroskaWithCompressedHeaders(
            1, matroskaCompression("\2", 0, {}, element("ec", QByteArray(9000, '\0'))));
        QTest::newRow("compressed header of Matroska behind many fields") << matroskaWithCompressedHeaders(
            1, matroskaCompression("\2", 0, {}, element("ec", {}).repeated(500)));
        QTest::newRow("tags of Matroska") << matroskaWithTags(300'000);
        QTest::newRow("chapters of Matroska") << matroskaWithChapters(300'000);
        QTest::newRow("comments of FLAC") << flacWithComments(100'000, 100'000);
        QTest::newRow("comments of FLAC in many blocks") << flacWithComments(100'000, 3000);
        QTest::newRow("comments of FLAC in Matroska") << matroskaFlac(flacHeader(100'000, 100'000));
        for (const OggFile &ogg : OggFiles)
            QTest::addRow("comments of %s in Ogg", ogg.codec)
                << oggWithComments(ogg.name, ogg.mark, comments(100'000));
        QTest::newRow("long comment in Ogg")
            << oggWithComments(u"vorbis.ogg"_s, "\3vorbis", comment("TITLE=" + QByteArray(30 << 20, 'A')));
        QTest::newRow("comments of chained Ogg")
            << mediaFile(u"vorbis.ogg"_s) + oggWithComments(u"vorbis.ogg"_s, "\3vorbis", comments(100'000));
        QTest::newRow("beginnings of Ogg pages")
            << mediaFile(u"vorbis.ogg"_s) + QByteArray("OggS").repeated(8 << 20);
        QTest::newRow("beginnings of Ogg pages with their version")
            << mediaFile(u"vorbis.ogg"_s) + QByteArray("OggS\0", 5).repeated(6 << 20);
        QTest::newRow("beginnings of Ogg pages to seek among")
            << oggWithLateEnd(QByteArray("OggS\0", 5).repeated(8 << 20));
        QTest::newRow("cue points") << waveWithCues(100'000);
        QTest::newRow("empty tags") << dsf(QByteArray("ID3\4\0\0\0\0\0\0", 10).repeated(3'000'000));
    }

    void claimsOfAContainer()
    {
        QFETCH(QByteArray, bytes);
        verifyBounded(bytes, QTest::currentDataTag());
    }

    void whatIsHiddenInMatroskaLeavesTheSound()
    {
        const auto sound = soundOf(MatroskaFile::encoded(MatroskaFile::track(1, {})));
        QCOMPARE(sound.size(), std::size_t(1600));
        QVERIFY(soundOf(matroskaWithCompressedHeaders(60, matroskaCompression("\2", 0))) == sound);
        QVERIFY(soundOf(matroskaWithTags(5000)) == sound);
        QVERIFY(soundOf(matroskaWithChapters(2)) == sound);
    }

    void manyCommentsOfFlacLeaveTheSound()
    {
        const auto sound = soundOf(mediaFile(u"flac.flac"_s));
        QVERIFY(!sound.empty());
        QVERIFY(soundOf(flacWithComments(20'000, 5000)) == sound);
        QVERIFY(soundOf(flacWithComments(5000, 500)) == sound);
    }

    void manyCommentsLeaveTheSoundOfMatroska()
    {
        const auto sound = soundOf(matroskaFlac(mediaFile(u"flac.flac"_s).first(EndOfFirstFlacBlock)));
        QVERIFY(!sound.empty());
        QVERIFY(soundOf(matroskaFlac(flacHeader(20'000, 20'000))) == sound);
    }

    void commentsOfOggLeaveTheSound()
    {
        for (const OggFile &ogg : OggFiles) {
            const auto sound = soundOf(mediaFile(ogg.name));
            QVERIFY2(!sound.empty(), ogg.codec);
            QVERIFY2(soundOf(oggWithComments(ogg.name, ogg.mark, comments(20'000))) == sound, ogg.codec);
        }
        const QByteArray cover = comment("METADATA_BLOCK_PICTURE=" + QByteArray(14 << 20, 'A'));
        const QByteArray bytes = oggWithComments(u"vorbis.ogg"_s, "\3vorbis", cover);
        QVERIFY(soundOf(bytes) == soundOf(mediaFile(u"vorbis.ogg"_s)));
        verifyBounded(bytes, "cover");
    }

    /// Of the two ways, FFmpeg knows one only with zlib, which a package's own is made without.
    void compressedBlocksOfMatroskaArePlayed()
    {
        const auto sound = soundOf(MatroskaFile::encoded(MatroskaFile::track(1, {})));
        const QByteArray stripped = MatroskaFile::track(1, matroskaCompression("\1", 3, "\x21\x21"));
        QVERIFY(soundOf(MatroskaFile::encoded(stripped, {}, MatroskaFile::block(QByteArray(3198, '\x21'))))
            == sound);
        if (HAS_ZLIB) {
            const QByteArray deflated = qCompress(QByteArray(3200, '\x21')).sliced(qsizetype(sizeof(int)));
            QVERIFY(soundOf(MatroskaFile::encoded(MatroskaFile::track(1, matroskaCompression("\1", 0)), {},
                        MatroskaFile::block(deflated)))
                == sound);
        }
    }

    void tagLeavesTheSound_data()
    {
        QTest::addColumn<const Place *>("place");
        for (const Place &place : Places) {
            if (place.name != QByteArrayView("before noise")) // which has none
                QTest::newRow(place.name) << &place;
        }
    }

    void tagLeavesTheSound()
    {
        QFETCH(const Place *, place);
        const auto sound = soundOf(place->file(tagOf("TIT2",
            "\1\xff\xfe"
            "A")));
        QVERIFY(!sound.empty());
        QVERIFY(sound == soundOf(place->file(tagOf("PRIV", QByteArray(3'000'000, '\0')))));
    }

    void soundThatLooksLikeATagIsPlayedAsItIs()
    {
        const QByteArray header("ID3\4\0\0\0\0\0\0", 10);
        // Here the sound follows the header at once, so that it is read together with it.
        const QByteArray bytes = ".snd" + bigEndian(28) + bigEndian(8000) + bigEndian(3) + bigEndian(8000)
            + bigEndian(1) + QByteArray(8004, '\0');
        for (const qsizetype position : {28, 4000}) {
            const auto sound = soundOf(QByteArray(bytes).replace(position, header.size(), header));
            QCOMPARE(sound.size(), std::size_t(4000));
            const auto first = std::size_t(position - 28) / 2;
            for (qsizetype i = 0; i < header.size() / 2; ++i)
                QCOMPARE(sound[first + std::size_t(i)],
                    float(qFromBigEndian<qint16>(header.constData() + 2 * i)) / 32'768);
        }
    }
};

LUMAVERDINE_TEST(HostileFileTest)
#include "HostileFileTest.moc"
