#include "metadata/MediaAsset.h"
#include "metadata/FormatReaders.h"
#include "tests/MediaFile.h"
#include "tests/NumberBytes.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/metadata/HeapSize.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>
#include <array>
#include <functional>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// The same as openMedia(), but for as long as it takes on a busy machine.
MediaAsset read(const QUrl &url)
{
    return readMedia(url);
}

/// All text values of one kind, in stored order.
QStringList texts(const MediaAsset &asset, CommonIdentifier identifier)
{
    QStringList values;
    for (const MetadataItem &item : metadataItems(asset.commonMetadata, identifier))
        values.append(item.stringValue.value_or(u"no text"_s));
    return values;
}

QList<QByteArray> pictures(const MediaAsset &asset)
{
    QList<QByteArray> values;
    for (const MetadataItem &item : metadataItems(asset.commonMetadata, CommonIdentifier::Artwork))
        values.append(item.dataValue.value_or("no bytes"));
    return values;
}

QByteArray id3v24Frame(const QByteArray &identifier, const QByteArray &content, char flags = 0)
{
    return identifier + syncsafe(content.size()) + '\0' + flags + content;
}

QByteArray id3v24Tag(const QByteArray &frames, char version = 4, char flags = 0)
{
    return "ID3" + QByteArray(1, version) + '\0' + flags + syncsafe(frames.size()) + frames;
}

/// A frame of 2.2, shorter than 256 bytes.
QByteArray shortFrame(const QByteArray &identifier, const QByteArray &content)
{
    return identifier + "\0\0"_ba + static_cast<char>(content.size()) + content;
}

/// A frame whose size stands in the tag as 2.3 has it.
QByteArray plainFrame(const QByteArray &identifier, const QByteArray &content)
{
    return identifier + bigEndian(content.size()) + "\0\0"_ba + content;
}

/// A size and the bytes, as Vorbis comments and RIFF chunks have them.
QByteArray sized(const QByteArray &bytes)
{
    return littleEndian(bytes.size()) + bytes;
}

QByteArray apeTag(const QByteArray &items)
{
    return items + "APETAGEX" + littleEndian(2000) + littleEndian(items.size() + 32) + QByteArray(16, '\0');
}

QByteArray asfObject(const char *identifier, const QByteArray &content)
{
    return QByteArray::fromHex(identifier) + littleEndian<quint64>(content.size() + 24) + content;
}

QByteArray asfHeader(const QByteArray &objects)
{
    return asfObject("3026b2758e66cf11a6d900aa0062ce6c", QByteArray(6, '\0') + objects);
}

QByteArray asfExtension(const QByteArray &objects)
{
    return asfObject("b503bf5f2ea9cf118ee300c00c205365", QByteArray(22, '\0') + objects);
}

QByteArray utf16(const QString &text)
{
    return QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
}

/// Its type is 0 for text, 1 for bytes.
QByteArray asfAttribute(const QString &name, const QByteArray &value, quint16 type = 0)
{
    return littleEndian<quint16>(name.size() * 2) + utf16(name) + littleEndian<quint16>(type)
        + littleEndian<quint16>(value.size()) + value;
}

QByteArray asfAttributes(const QByteArray &attributes)
{
    return asfObject("40a4d0d207e3d21197f000a0c95ea850", "\0\0"_ba + attributes);
}

/// Played in units of 100 ns, with the preroll in milliseconds.
QByteArray asfLength(quint64 played, quint64 preroll)
{
    return asfHeader(asfObject("a1dcab8c47a9cf118ee400c00c205365",
        QByteArray(40, '\0') + littleEndian<quint64>(played) + littleEndian<quint64>(0)
            + littleEndian<quint64>(preroll)));
}

QByteArray flacPicture(const QByteArray &data)
{
    return bigEndian(3) + bigEndian(1) + 'm' + bigEndian(1) + 'd' + QByteArray(16, '\0')
        + bigEndian(data.size()) + data;
}

QByteArray vorbisComment(const QByteArray &field, quint32 count = 1)
{
    return sized({}) + littleEndian(count) + sized(field).repeated(count);
}

QByteArray flacLength(quint64 rate, quint64 samples)
{
    return "fLaC" + flacBlock(0x80, QByteArray(10, '\0') + bigEndian<quint64>(rate << 44 | samples));
}

QByteArray atom(const QByteArray &name, const QByteArray &content)
{
    return bigEndian(content.size() + 8) + name + content;
}

QByteArray mp4(const QByteArray &movie)
{
    return atom("ftyp", "M4A ") + atom("moov", movie);
}

QByteArray mp4WithItems(const QByteArray &items)
{
    return mp4(atom("udta", atom("meta", QByteArray(4, '\0') + items)));
}

struct Movie {
    bool isLong = false; ///< has numbers of 64 bits
    quint32 scale = 600; ///< units a second
    quint32 mediaScale = 8000;
    quint64 length = 20'000; ///< in units of its media
    QList<std::pair<quint32, quint32>> edits = {}; ///< length and start
    const char *kind = "soun";
    QByteArray more = {}; ///< behind its track
};

QByteArray mp4(const Movie &movie)
{
    const auto number = [&](quint64 value) {
        return (movie.isLong ? bigEndian(value >> 32) : QByteArray()) + bigEndian(value);
    };
    const QByteArray version = QByteArray(1, static_cast<char>(movie.isLong)) + "xxx";
    const QByteArray dates(movie.isLong ? 16 : 8, '\1');
    QByteArray edits = version + bigEndian(movie.edits.size());
    for (const auto &[length, start] : movie.edits)
        edits += number(length) + number(start) + bigEndian(0x1'0000);
    const QByteArray media =
        atom("mdhd", version + dates + bigEndian(movie.mediaScale) + number(movie.length))
        + atom("hdlr", QByteArray(8, '\0') + movie.kind);
    return mp4(atom("mvhd", version + dates + bigEndian(movie.scale) + number(0))
        + atom("trak", atom("edts", atom("elst", edits)) + atom("mdia", media)) + movie.more);
}

/// A movie whose sound begins after 1,000 units of media in fragments, packets of which last 500 if nothing else is said.
QByteArray fragmentedMp4(const QByteArray &fragments, const QByteArray &more = {})
{
    const QByteArray usual =
        bigEndian(0) + bigEndian(1) + bigEndian(1) + bigEndian(500) + QByteArray(8, '\0');
    const QByteArray extension = atom("mvex", atom("trex", usual));
    return mp4(Movie{.length = 0, .edits = {{0, 1000}}, .more = extension + more}) + fragments;
}

/// Begins at 10,000 units and holds `runs`; the other arguments are flags and what stands behind the track's number.
QByteArray mp4Fragment(const QByteArray &runs, quint32 flags = 0, const QByteArray &fields = {})
{
    return atom("moof",
        atom("traf",
            atom("tfhd", bigEndian(flags) + bigEndian(1) + fields)
                + atom("tfdt", bigEndian(0) + bigEndian(10'000)) + runs));
}

QByteArray mp4Run(quint32 flags, quint32 packets, const QByteArray &fields = {})
{
    return atom("trun", bigEndian(flags) + bigEndian(packets) + fields);
}

/// The first block of a WavPack file; `rate` is a position in the list of usual ones.
QByteArray wavPackHeader(quint32 samples, quint32 rate, quint32 flags = 0, char high = 0)
{
    return "wvpk" + QByteArray(6, '\0') + '\1' + high + littleEndian(samples) + QByteArray(8, '\0')
        + littleEndian(rate << 23 | flags) + QByteArray(4, '\0');
}

QByteArray musepackHeader(const QByteArray &samples, const QByteArray &silence, char rate)
{
    return "MPCKSH\x10" + QByteArray(4, 'c') + '\x8' + samples + silence + rate + QByteArray(4, '\0');
}

/// A page with one packet that ends at `position`, or the whole segments that a packet begins with.
QByteArray oggPage(quint32 stream, qint64 position, const QByteArray &packet, bool isWhole = true)
{
    const QByteArray segments = QByteArray(packet.size() / 255, '\xff')
        + (isWhole ? QByteArray(1, static_cast<char>(packet.size() % 255)) : QByteArray());
    return "OggS\0\0"_ba + littleEndian<qint64>(position) + littleEndian(stream) + QByteArray(8, '\0')
        + static_cast<char>(segments.size()) + segments + packet;
}

/// The first page of stream 1.
QByteArray vorbisHead(quint32 rate = 8000)
{
    return oggPage(1, 0, "\1vorbis\0\0\0\0\1"_ba + littleEndian(rate) + QByteArray(14, '\1'));
}

QByteArray oggFlacHead(const QByteArray &flac)
{
    return oggPage(1, 0, "\x7f" + "FLAC\1\0\0\1"_ba + flac);
}

QByteArray apeItem(const QByteArray &key, const QByteArray &value, quint32 flags = 0)
{
    return littleEndian(value.size()) + littleEndian(flags) + key + '\0' + value;
}

QByteArray dsfHeader(quint32 rate, quint64 samples)
{
    return "DSD " + QByteArray(24, '\0') + "fmt " + QByteArray(24, '\0') + littleEndian(rate)
        + littleEndian(1) + littleEndian<quint64>(samples) + QByteArray(8, '\0');
}

/// A chunk of DSDIFF.
QByteArray longChunk(const QByteArray &name, const QByteArray &content)
{
    return name + bigEndian(0) + bigEndian(content.size()) + content;
}

/// Without the compression, so that nobody plays it.
QByteArray dsdiff(quint32 rate, const QByteArray &channels, qsizetype bytes)
{
    const QByteArray properties =
        "SND " + longChunk("FS  ", bigEndian(rate)) + longChunk("CHNL", channels + "LEFTRGHT");
    return longChunk("FRM8", {}) + "DSD " + longChunk("PROP", properties)
        + longChunk("DSD ", QByteArray(bytes, '\0'));
}

QByteArray aiffHeader(const QByteArray &name, quint32 frames)
{
    const QByteArray common = "\0\1"_ba + bigEndian(frames) + "\0\x10"_ba
        + QByteArray::fromHex("400bfa00000000000000") + "sowt\0\0"_ba; // 8,000 a second
    return "FORM\0\0\0\0AIFC"_ba + name + bigEndian(common.size()) + common;
}

/// Makes a file whose title stands behind so many other entries of its tag.
using MakeCrowded = QByteArray (*)(qsizetype entries);

struct Crowded {
    const char *name;
    MakeCrowded make;
    qsizetype limit; ///< entries that are looked at
};

const Crowded CrowdedFiles[] = {
    {"ID3v2 frames",
        [](qsizetype entries) {
            return id3v24Tag(id3v24Frame("TXXX", {}).repeated(entries) + id3v24Frame("TIT2", "\3Title"));
        },
        10'000},
    {"ID3v2 tags",
        [](qsizetype entries) {
            return id3v24Tag({}).repeated(entries) + id3v24Tag(id3v24Frame("TIT2", "\3Title"));
        },
        64},
    {"ID3 chunks",
        [](qsizetype entries) {
            return "RIFF\0\0\0\0WAVE"_ba + ("ID3 " + sized(id3v24Tag({}))).repeated(entries) + "ID3 "
                + sized(id3v24Tag(id3v24Frame("TIT2", "\3Title")) + '\0');
        },
        64},
    {"chunks",
        [](qsizetype entries) {
            return "RIFF\0\0\0\0WAVE"_ba + ("junk" + sized({})).repeated(entries) + "LIST"
                + sized("INFOINAM" + sized("Title\0"_ba));
        },
        1000},
    {"APE",
        [](qsizetype entries) {
            const QByteArray item = sized({}) + "\0\0\0\0x\0"_ba;
            return mediaFile(u"song.mp3"_s)
                + apeTag(item.repeated(entries) + littleEndian(5) + "\0\0\0\0title\0Title"_ba);
        },
        10'000},
    {"FLAC",
        [](qsizetype entries) {
            const QByteArray comment =
                sized({}) + littleEndian(entries + 1) + sized("x=").repeated(entries) + sized("title=Title");
            return "fLaC" + bigEndian(0x8400'0000 + quint32(comment.size())) + comment;
        },
        10'000},
    {"FLAC blocks",
        [](qsizetype entries) {
            const auto comment = [](const QByteArray &field) {
                const QByteArray content = sized({}) + littleEndian(1) + sized(field);
                return bigEndian(0x0400'0000 + quint32(content.size())) + content;
            };
            return "fLaC" + comment("artist=Artist") + bigEndian(0x0100'0000).repeated(entries - 1)
                + comment("title=Title");
        },
        128},
    {"ASF",
        [](qsizetype entries) {
            const QByteArray object = asfObject("40a4d0d207e3d21197f000a0c95ea850",
                littleEndian<quint16>(entries) + asfAttribute({}, {}).repeated(entries - 1)
                    + asfAttribute(u"Title"_s, utf16(u"Title"_s)));
            return asfHeader(object);
        },
        10'000},
    {"ASF metadata",
        [](qsizetype entries) {
            const auto attribute = [](const QByteArray &name, const QByteArray &value) {
                return QByteArray(4, '\0') + littleEndian<quint16>(name.size()) + QByteArray(2, '\0')
                    + littleEndian(value.size()) + name + value;
            };
            return asfHeader(asfObject("eacbf8c5af5b77488467aa8c44fa4cca",
                littleEndian<quint16>(entries) + attribute({}, {}).repeated(entries - 1)
                    + attribute(utf16(u"Title"_s), utf16(u"Title"_s))));
        },
        10'000},
    {"ASF objects",
        [](qsizetype entries) {
            return asfHeader(asfObject("00112233445566778899aabbccddeeff", {}).repeated(entries - 1)
                + asfAttributes(asfAttribute(u"Title"_s, utf16(u"Title"_s))));
        },
        10'000},
    {"MP4",
        [](qsizetype entries) {
            const QByteArray title =
                atom("\251nam", atom("data", QByteArray("\0\0\0\1\0\0\0\0", 8) + "Title"));
            return mp4WithItems(atom("ilst", atom("free", {}).repeated(entries - 6) + title));
        },
        10'000},
    {"MP4 keys",
        [](qsizetype entries) {
            const QByteArray keys = (bigEndian(8) + "mdta").repeated(entries) + bigEndian(13) + "mdtatitle";
            const QByteArray title = atom("data", bigEndian(1) + bigEndian(0) + "Title");
            return mp4WithItems(atom("hdlr", QByteArray(8, '\0')) + atom("keys", QByteArray(8, '\0') + keys)
                + atom("ilst", atom(bigEndian(entries + 1), title)));
        },
        10'000},
    {"FLAC block that claims to be a comment",
        [](qsizetype entries) {
            return "fLaC\x81\0\0\0"_ba + "\4\0\0\1\0\0\0\0"_ba.repeated(entries)
                + flacBlock(4, vorbisComment("title=Title"));
        },
        1000},
    {"FLAC comment that is searched for",
        [](qsizetype entries) {
            const QByteArray content =
                sized({}) + littleEndian(entries + 1) + sized("title=Title") + sized("x=").repeated(entries);
            return "fLaC\x81\0\0\0"_ba + flacBlock(4, content);
        },
        10'000},
    {"Ogg pages",
        [](qsizetype entries) {
            return vorbisHead() + oggPage(2, 0, {}).repeated(entries - 1)
                + oggPage(1, 0, "\3vorbis" + vorbisComment("title=Title"));
        },
        10'000},
    {"Ogg FLAC blocks",
        [](qsizetype entries) {
            return oggFlacHead(flacLength(8000, 20'000)) + oggPage(1, 0, flacBlock(1, {})).repeated(entries)
                + oggPage(1, 0, flacBlock(4, vorbisComment("title=Title")));
        },
        1000},
};

/// By this process, with read() and the like.
qint64 bytesReadSoFar()
{
    QFile file(u"/proc/self/io"_s);
    return file.open(QIODevice::ReadOnly) ? file.readLine().mid(7).trimmed().toLongLong() : -1;
}

} // namespace

class MediaAssetTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsEveryKindOfFile_data()
    {
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<QStringList>("artists");
        QTest::addColumn<QStringList>("albums");
        QTest::addColumn<QStringList>("covers");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<double>("tolerance");

        constexpr double exact = 0.001;
        constexpr double priming = 0.15; // containers that count the encoder's lead-in
        const auto row = [](const char *file, const QStringList &titles, const QStringList &artists,
                             const QStringList &albums, const QStringList &covers, double seconds,
                             double tolerance) {
            QTest::newRow(file) << titles << artists << albums << covers << seconds << tolerance;
        };
        const QStringList none, title{u"Title"_s}, artist{u"Artist"_s}, album{u"Album"_s};
        const QStringList jpg{u"cover.jpg"_s}, png{u"cover.png"_s}, both = png + jpg;

        row("song.mp3", none, none, none, none, 2, exact);
        row("id3v1.mp3", {u"Title 1"_s}, {u"Artist 1"_s}, {u"Album 1"_s}, none, 2, exact);
        row("id3v2.2.mp3", {u"Title 2.2"_s}, {u"Artist 2.2"_s}, {u"Album 2.2"_s}, png, 2, exact);
        row("id3v2.3.mp3", {u"Título 2.3"_s}, {u"Artist 2.3"_s}, {u"Álbum 2.3"_s}, jpg, 2, exact);
        row("id3v2.4.mp3", {u"Título 2.4"_s}, {u"Artist 2.4"_s}, {u"Álbum 2.4"_s}, jpg, 2, exact);
        row("id3v2.3-unsynchronised.mp3", {u"Unsynchronised"_s}, none, none, jpg, 2, exact);
        row("ape.mp3", {u"Title APE"_s}, {u"Artist APE"_s}, {u"Album APE"_s}, png, 2, exact);
        row("ape-id3v1.mp3", {u"Title APE"_s}, {u"Artist APE"_s}, {u"Album APE"_s}, png, 2, exact);
        row("three-tags.mp3", {u"Title 2"_s}, {u"Artist 2"_s}, {u"Album 2"_s}, jpg, 2, exact);
        row("three-partial-tags.mp3", {u"Title 1"_s}, {u"Artist 2"_s}, {u"Album APE"_s}, none, 2, exact);
        row("empty-before-ape.mp3", {u"Title APE"_s}, {u"Artist 2"_s}, {u"Album APE"_s}, png, 2, exact);
        row("several-values.mp3", {u"First title"_s, u"Second title"_s},
            {u"First artist"_s, u"Second artist"_s, u"Third artist"_s}, {u"First album"_s, u"Second album"_s},
            none, 2, exact);
        row("empty-title.mp3", none, artist, none, none, 2, exact);
        row("blank-title.mp3", {u" "_s}, artist, none, none, 2, exact);
        row("two-pictures.mp3", none, none, none, both, 2, exact);
        row("two-pictures-first-broken.mp3", {u"Broken cover"_s}, none, none,
            {u"broken.jpg"_s, u"cover.jpg"_s}, 2, exact);
        row("constant-rate-no-header.mp3", none, none, none, none, 2, 0.06);
        row("junk-first.mp3", none, none, none, none, 2, 0.06);
        row("variable-rate-no-header.mp3", none, none, none, none, 6, 0.1);

        constexpr double tiny = 0.2; // seconds of the files below, to which the encoder adds a little
        for (const char *file : {"extended-header-2.3.mp3", "extended-header-2.4.mp3",
                 "extended-header-missing-2.3.mp3", "extended-header-missing-2.4.mp3"})
            row(file, title, artist, none, none, tiny, priming);
        for (const char *file : {"pic-stray-zero.mp3", "apic-stray-zero.mp3", "apic-missing-zero.mp3",
                 "frame-extras-2.4.mp3", "unsynchronised-2.4.mp3"})
            row(file, title, none, none, jpg, tiny, priming);
        row("frame-extras-2.3.mp3", title, none, none, none, tiny, priming);
        row("id3v1-utf-8.mp3", {u"Canción"_s}, {u"ÑÑÑÑÑÑÑÑÑÑÑÑÑÑa"_s}, {u"Álbum"_s}, none, tiny, priming);
        row("id3v1-latin-1.mp3", {u"Café"_s}, {QString(29, u'a') + u"é"_s}, {u"Álbum ©"_s}, none, tiny,
            priming);

        row("flac.flac", title, artist, album, both, 1, exact);
        row("flac-after-id3.flac", title, artist, album, both, 1, exact);
        for (const char *file :
            {"flac-picture-small.flac", "flac-picture-large.flac", "flac-picture-zero.flac",
                "flac-picture-huge.flac", "flac-picture-length.flac", "flac-comment-size.flac"})
            row(file, title, artist, album, jpg, 1, exact);
        row("flac-wrong-text.flac", {u"Canci\uFFFDn"_s}, {u"ñ\uFFFDñ"_s}, album, none, 1, exact);
        row("vorbis-wrong-text.ogg", {u"Canci\uFFFD\uFFFDn"_s}, none, none, none, tiny, exact);
        row("opus-wrong-text.ogg", {u"Canci\uFFFD\uFFFDn"_s}, none, none, none, tiny, exact);
        row("flac-without-total.oga", title, artist, album, none, 2, exact);
        row("vorbis.ogg", title, {u"First artist"_s, u"Second artist"_s}, album, png, 2, exact);
        row("coverart.ogg", title, artist, album, png, 1, exact);
        row("opus.opus", title, artist, album, jpg, 2, exact);
        row("aac.m4a", title, artist, album, jpg, 2, exact);
        row("alac.m4a", title, artist, album, jpg, 1, exact);
        row("two-covers.m4a", title, {u"First artist"_s, u"Second artist"_s}, album, both, 2, exact);
        row("mp4-items.m4a", {u"Canci\uFFFDn"_s}, {u"Ñandú"_s, u"Second"_s}, {u"Keyed album"_s}, png, 2,
            exact);
        row("mp4-keys.m4a", {u"Keyed title"_s}, {u"Keyed artist"_s}, {u"Keyed album"_s}, jpg, 2, exact);
        row("mp4-3gpp.m4a", {u"3GPP title"_s}, {u"Ñandú"_s}, {u"3GPP album"_s}, none, 2, exact);
        row("mp4-quicktime.m4a", {u"Canción"_s}, {u"Autór"_s}, album, none, 2, exact);
        row("list-info.wav", {u"Info title"_s}, {u"Info artist"_s}, {u"Info album"_s}, none, 1, exact);
        row("id3.wav", {u"ID3 title"_s}, {u"ID3 artist"_s}, none, jpg, 1, exact);
        row("list-info-and-id3.wav", {u"ID3 title"_s}, {u"ID3 artist"_s}, {u"Info album"_s}, jpg, 1, exact);
        row("id3.aiff", {u"ID3 title"_s}, {u"ID3 artist"_s}, none, jpg, 1, exact);
        row("id3-chunks.wav", {u"Second title"_s}, {u"First artist"_s}, {u"Second album"_s}, none, 1, exact);
        row("unpadded-chunk.wav", {u"Odd"_s}, {u"ID3 artist"_s}, none, none, 1, exact);
        row("name-and-author.aiff", {u"Canción"_s}, {u"Autór"_s}, none, none, 1, exact);
        row("id3-chunks.aiff", {u"Canción"_s}, {u"First artist"_s}, {u"Second album"_s}, none, 1, exact);
        row("dsd.dsf", {u"DSD title"_s}, {u"DSD artist"_s}, {u"DSD album"_s}, jpg, 0.0116, exact);
        row("dsd.dff", {u"Título"_s}, {u"Edited artist"_s}, none, none, 0.0116, exact);
        row("dsd-id3.dff", {u"DSD title"_s}, {u"DSD artist"_s}, {u"DSD album"_s}, jpg, 0.0116, exact);
        row("openmg.oma", {u"Canción"_s}, artist, none, none, 0.1, exact);
        row("asf-four-objects.wma", {u"Content"_s}, {u"Extended"_s}, {u"Extended"_s}, none, 1, exact);
        row("asf-metadata.wma", {u"Metadata"_s}, {u"Metadata"_s}, {u"Metadata"_s}, none, 1, exact);
        row("wma.wma", title, artist, album, both, 2, 0.5);
        row("wavpack.wv", title, {u"First artist"_s, u"Second artist"_s}, album, both, 1, exact);
        row("adts.aac", none, none, none, none, 2, priming);
        row("adts-after-id3.aac", {u"ADTS title"_s}, {u"ADTS artist"_s}, none, none, 2, priming);
        row("trueaudio.tta", title, artist, album, none, 1, exact);
        row("matroska.mka", title, artist, album, none, 2, 0.002);
        row("matroska-cover.mka", none, none, none, jpg, 1, 0.002);
        row("core.caf", none, none, none, none, 1, exact);
        row("dolby.ac3", none, none, none, none, 1, 0.05);
        row("partly-fragmented.m4a", title, artist, album, none, 2 + 1024 / 22050.0, exact);
        row("ima.wav", none, none, none, none, 8164 / 8000.0, exact);
        row("flac.wav", none, none, none, none, 1, exact);
        row("ima4.aiff", none, none, none, none, 1, 0.01);
        row("edited.m4a", title, artist, album, jpg, 1, exact);
        row("musepack7.mpc", none, none, none, none, 2.09, 0.02);
        row("musepack8.mpc", none, none, none, none, 4, exact);
        row("leaping-numbers.flac", none, none, none, none, 2.048, exact);
        row("leaping-numbers.oga", none, none, none, none, 2.048, exact);
        row("leaping-times.oga", none, none, none, none, 2.048, exact);
    }
    void readsEveryKindOfFile()
    {
        const MediaAsset asset = read(mediaUrl(QString::fromLatin1(QTest::currentDataTag())));
        QTEST(texts(asset, CommonIdentifier::Title), "titles");
        QTEST(texts(asset, CommonIdentifier::Artist), "artists");
        QTEST(texts(asset, CommonIdentifier::AlbumName), "albums");

        QFETCH(QStringList, covers);
        QList<QByteArray> expected;
        for (const QString &cover : covers)
            expected.append(mediaFile(cover));
        QCOMPARE(pictures(asset), expected);

        QFETCH(double, seconds);
        QFETCH(double, tolerance);
        QVERIFY(asset.duration.isNumeric());
        const double difference = asset.duration.seconds() - seconds;
        QVERIFY2(qAbs(difference) <= tolerance, qPrintable(u"%1 s off"_s.arg(difference)));
    }

    void unstatedLengthIsCounted_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::newRow("dolby.eac3") << 58 * 1536 / 44'100.0;
        QTest::newRow("shorten.shn") << 2.048;
    }
    void unstatedLengthIsCounted()
    {
        QFETCH(double, seconds);
        const MediaAsset asset = read(mediaUrl(QString::fromLatin1(QTest::currentDataTag())));
        const double difference = asset.duration.seconds() - seconds;
        QVERIFY2(qAbs(difference) < 1e-5, qPrintable(u"%1 s off"_s.arg(difference)));
    }

    void wavLengthFollowsFromItsFormat_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<int>("dataSize");
        QTest::addColumn<int>("frames"); // -1: not known
        const auto format = [](quint16 codec, quint16 channels, quint16 block, quint16 bits) {
            return littleEndian<quint16>(codec) + littleEndian<quint16>(channels) + littleEndian(8000)
                + littleEndian(16'000) + littleEndian<quint16>(block) + littleEndian<quint16>(bits);
        };
        const auto extensible = [&format](quint16 codec, quint16 channels, quint16 bits) {
            return format(0xFFFE, channels, 4, bits) + QByteArray(8, '\0') + littleEndian<quint16>(codec);
        };
        QTest::newRow("PCM") << format(1, 2, 4, 16) << 4003 << 1000;
        QTest::newRow("PCM, block of nothing") << format(1, 2, 0, 20) << 6000 << 1000;
        QTest::newRow("float") << format(3, 1, 4, 32) << 4000 << 1000;
        QTest::newRow("A-law") << format(6, 2, 2, 16) << 2000 << 1000;
        QTest::newRow("mu-law") << format(7, 2, 2, 0) << 2000 << 1000;
        QTest::newRow("extensible PCM") << extensible(1, 2, 24) << 6000 << 1000;
        QTest::newRow("extensible ADPCM") << extensible(2, 1, 4) << 4 << -1;
        QTest::newRow("IMA ADPCM") << format(0x11, 1, 1024, 4) << 22 * 1024 << 22 * 2041;
        QTest::newRow("IMA ADPCM, stereo") << format(0x11, 2, 2048, 4) << 2048 + 20 << 2041 + 9;
        QTest::newRow("IMA ADPCM, broken block") << format(0x11, 1, 1024, 4) << 1024 + 3 << 2041;
        QTest::newRow("IMA ADPCM, other bits") << format(0x11, 1, 1024, 3) << 1024 << -1;
        QTest::newRow("Microsoft ADPCM") << format(2, 1, 256, 4) << 256 + 9 << 500 + 6;
        QTest::newRow("Microsoft ADPCM, stereo") << format(2, 2, 512, 4) << 512 + 13 << 500;
        QTest::newRow("IMA ADPCM, no room for a header") << format(0x11, 2, 2048, 4) << 2048 + 7 << 2041;
        QTest::newRow("IMA ADPCM, a header") << format(0x11, 2, 2048, 4) << 2048 + 8 << 2041 + 1;
        QTest::newRow("Microsoft ADPCM, a header") << format(2, 2, 512, 4) << 512 + 14 << 500 + 2;
        QTest::newRow("GSM") << format(0x31, 1, 65, 0) << 650 + 64 << 3200;
        QTest::newRow("PCM, no bits") << format(1, 1, 2, 0) << 3000 << -1;
        QTest::newRow("PCM, 17 bits") << format(1, 1, 0, 17) << 3000 << 1000;
        QTest::newRow("float, 64 bits") << format(3, 1, 8, 64) << 8000 << 1000;
        QTest::newRow("no block") << format(0x11, 1, 0, 4) << 1024 << -1;
        QTest::newRow("no channel") << format(1, 0, 4, 16) << 4000 << -1;
        QTest::newRow("no bits") << format(1, 1, 2, 0) << 0 << -1;
        QTest::newRow("MP3") << format(0x55, 1, 1, 0) << 4000 << -1;
        QTest::newRow("no format") << QByteArray() << 4000 << -1;
    }
    void wavLengthFollowsFromItsFormat()
    {
        QFETCH(QByteArray, format);
        QFETCH(int, dataSize);
        QFETCH(int, frames);
        const MediaTime time = wavDuration(format, dataSize);
        QCOMPARE(time.isNumeric() ? time.value : -1, frames);
        QVERIFY(!time.isNumeric() || time.timescale == 8000);
    }

    void wavRateIsPositive()
    {
        const auto duration = [](quint32 rate) {
            return wavDuration(littleEndian<quint16>(6) + littleEndian<quint16>(1) + littleEndian(rate), 100);
        };
        QCOMPARE(duration(0x7FFF'FFFF).timescale, 0x7FFF'FFFF);
        QVERIFY(!duration(0x8000'0000).isNumeric());
        QVERIFY(!duration(0).isNumeric());
    }

    void aiffLengthFollowsFromItsCommonChunk_data()
    {
        QTest::addColumn<QByteArray>("codec");
        QTest::addColumn<double>("seconds"); // -1: not known
        for (const char *codec : {"", "NONE", "sowt", "twos", "raw ", "in24", "in32", "fl32", "FL32", "fl64",
                 "FL64", "ulaw", "alaw"})
            QTest::newRow(codec) << QByteArray(codec) << 0.125;
        QTest::newRow("ima4") << "ima4"_ba << 8.0;
        QTest::newRow("QDM2") << "QDM2"_ba << -1.0;
    }
    void aiffLengthFollowsFromItsCommonChunk()
    {
        QFETCH(QByteArray, codec);
        const QByteArray rate = QByteArray::fromHex("400bfa00000000000000"); // 8,000
        const MediaTime time = aiffDuration(
            "\0\1"_ba + bigEndian(1000) + "\0\x10"_ba + rate + (codec.isEmpty() ? codec : codec + "\0\0"_ba));
        QTEST(time.isNumeric() ? time.seconds() : -1, "seconds");
        QVERIFY(!aiffDuration("\0\1"_ba + bigEndian(0) + "\0\x10"_ba + rate + codec).isNumeric());
        QVERIFY(!aiffDuration("\0\1"_ba + bigEndian(1000)).isNumeric());
    }

    void openSizeOfAWavReachesToItsEnd_data()
    {
        QTest::addColumn<quint32>("size");
        QTest::newRow("0") << quint32(0);
        QTest::newRow("all bits") << quint32(-1);
    }
    void openSizeOfAWavReachesToItsEnd()
    {
        QFETCH(quint32, size);
        QByteArray bytes = mediaFile(u"plain.wav"_s);
        bytes.replace(bytes.indexOf("data") + 4, 4, littleEndian(size));
        QCOMPARE(read(temporaryFile(u"open.wav"_s, bytes)).duration.seconds(), 1.0);
    }

    void firstDataOfAWavIsItsSound()
    {
        const QByteArray more = "data" + littleEndian(1000) + QByteArray(1000, '\0');
        const QUrl url = temporaryFile(u"more.wav"_s, mediaFile(u"plain.wav"_s) + more);
        QCOMPARE(read(url).duration.seconds(), 1.0);
    }

    void firstAudioTrackTellsTheLength()
    {
        QByteArray bytes = mediaFile(u"aac.m4a"_s);
        const qsizetype movie = bytes.indexOf("moov") - 4;
        QByteArray other = "\0\0\0\x30mdhd"_ba + QByteArray(12, '\0') + bigEndian(1000) + bigEndian(9000)
            + QByteArray(20, '\0');
        other += "\0\0\0\x18hdlr"_ba + QByteArray(8, '\0') + "soun" + QByteArray(4, '\0');
        other = bigEndian(other.size() + 8) + "mdia" + other;
        bytes += bigEndian(other.size() + 8) + "trak" + other;
        bytes.replace(movie, 4, bigEndian(bytes.size() - movie));
        QVERIFY(qAbs(read(temporaryFile(u"tracks.m4a"_s, bytes)).duration.seconds() - 2) < 0.001);
    }

    void editListTellsWhatPlays_data()
    {
        QTest::addColumn<quint32>("duration");
        QTest::addColumn<quint32>("start");
        QTest::addColumn<double>("seconds");
        QTest::newRow("a part") << quint32(1200) << quint32(11'025) << 1.2;
        QTest::newRow("more than there is") << quint32(5000) << quint32(22'050) << 1.046;
        QTest::newRow("lead-in") << quint32(1950) << quint32(1024) << 1.95;
        QTest::newRow("to the end") << quint32(0) << quint32(11'025) << 1.546;
        QTest::newRow("silence") << quint32(1200) << quint32(-1) << 2.046;
    }
    /// Of the first version, with numbers of 32 bits.
    void editListTellsWhatPlays()
    {
        QFETCH(quint32, duration);
        QFETCH(quint32, start);
        QByteArray bytes = mediaFile(u"aac.m4a"_s);
        bytes.replace(bytes.indexOf("elst") + 12, 8, bigEndian(duration) + bigEndian(start));
        const MediaAsset asset = read(temporaryFile(u"edited.m4a"_s, bytes));
        QTEST(std::round(asset.duration.seconds() * 1000) / 1000, "seconds");
    }

    void hostileFilesGiveNothing_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name :
            {"hls.mp3", "hls.m4a", "ffconcat.mp3", "ffconcat.m4a", "sdp.mp3", "sdp.m4a", "dash.mp3",
                "dash.m4a", "picture.mp3", "empty.mp3", "noise.mp3", "truncated.m4a", "missing.mp3", "."})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void hostileFilesGiveNothing()
    {
        QFETCH(QString, name);
        const MediaAsset asset = read(mediaUrl(name));
        QVERIFY(!asset.duration.isNumeric());
        QVERIFY(asset.commonMetadata.isEmpty());
    }

    void contentCountsAndNotTheName()
    {
        const QUrl misnamed = temporaryFile(u"really-flac.mp3"_s, mediaFile(u"flac.flac"_s));
        const MediaAsset asset = read(misnamed);
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Title"_s}));
        QCOMPARE(asset.duration.seconds(), 1.0);
    }

    void textArrivesUnchanged()
    {
        const MediaAsset asset = read(mediaUrl(u"strange-title.mp3"_s));
        QCOMPARE(texts(asset, CommonIdentifier::Title),
            QStringList({u"<b>bold</b> &amp;\nsecond\r\nline \u202eright to left\u202c \u200f\U0001F3B5"_s}));
        QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList({u"العربية"_s}));
        QCOMPARE(texts(asset, CommonIdentifier::AlbumName), QStringList({u"100% #1? %1 %n"_s}));
    }

    void hundredThousandCharactersArriveUnchanged()
    {
        const QString title = u"ñandú "_s.repeated(20'000).first(100'000);
        const QByteArray frame = id3v24Frame("TIT2", '\3' + title.toUtf8());
        const MediaAsset asset =
            read(temporaryFile(u"long.mp3"_s, id3v24Tag(frame) + mediaFile(u"song.mp3"_s)));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({title}));
        QCOMPARE(asset.duration.seconds(), 2.0);
    }

    void endlessTextIsCutShort()
    {
        const QByteArray frame = id3v24Frame("TIT2", '\3' + QByteArray(1'000'000, 'a'));
        const MediaAsset asset = read(temporaryFile(u"endless.mp3"_s, id3v24Tag(frame)));
        QCOMPARE(texts(asset, CommonIdentifier::Title).value(0).size(), 256 * 1024);
    }

    void laterTagsFillWhatTheFirstLeavesOut()
    {
        const QByteArray tags = id3v24Tag(id3v24Frame("TIT2", "\3New") + id3v24Frame("TALB", "\3"))
            + id3v24Tag(id3v24Frame("TIT2", "\3Old") + id3v24Frame("TPE1", "\3Artist"))
            + id3v24Tag(id3v24Frame("PRIV", QByteArray(100'000, 'x'))) + id3v24Tag({}).repeated(8)
            + id3v24Tag(id3v24Frame("TALB", "\3Album"));
        for (const QString &name : {u"song.mp3"_s, u"adts.aac"_s, u"flac.flac"_s}) {
            const MediaAsset alone = read(mediaUrl(name));
            const MediaAsset asset = read(temporaryFile(name, tags + mediaFile(name)));
            const bool hasOwn = !texts(alone, CommonIdentifier::Title).isEmpty();
            QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({hasOwn ? u"Title"_s : u"New"_s}));
            QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList({u"Artist"_s}));
            QCOMPARE(texts(asset, CommonIdentifier::AlbumName), QStringList({u"Album"_s}));
            QCOMPARE(asset.duration.seconds(), alone.duration.seconds());
        }
    }

    void plainSizeInANewerTagIsUnderstood()
    {
        const QByteArray cover(1000, 'x');
        const QByteArray picture = "\0image/png\0\3\0"_ba + cover;
        const QByteArray sized = "APIC" + bigEndian(picture.size()) + "\0\0"_ba + picture;
        const QByteArray tag = id3v24Tag(sized + id3v24Frame("TIT2", "\3Behind"));
        const MediaAsset asset = read(temporaryFile(u"plain-size.mp3"_s, tag + mediaFile(u"song.mp3"_s)));
        QCOMPARE(pictures(asset), QList<QByteArray>({cover}));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Behind"_s}));
    }

    void id3v2TextIsRead_data()
    {
        QTest::addColumn<QByteArray>("tag");
        QTest::addColumn<QString>("text");
        const QByteArray title = id3v24Frame("TIT2", "\3Title");
        const QString none, plain = u"Title"_s, most = QString(129, u'a'), all = QString(257, u'a');
        const QByteArray longFrame = plainFrame("TIT2", '\3' + QByteArray(257, 'a'));
        QTest::newRow("behind an unknown frame") << id3v24Tag(id3v24Frame("AZ09", "x") + title) << plain;
        QTest::newRow("unknown encoding") << id3v24Tag(id3v24Frame("TIT2", "\4Canción")) << u"Canción"_s;
        QTest::newRow("byte order marks")
            << id3v24Tag(id3v24Frame("TIT2", "\1\xff\xfeT\0\0\0\xff\xfei\0\0\0"_ba)) << u"T|i"_s;
        QTest::newRow("cut frame behind it") << id3v24Tag(title + "TALB") << plain;
        QTest::newRow("plain size, last") << id3v24Tag(longFrame) << all;
        QTest::newRow("plain size, padding behind") << id3v24Tag(longFrame + QByteArray(99, '\0')) << all;
        QTest::newRow("no next frame by either size")
            << id3v24Tag(plainFrame("TIT2", '\3' + QByteArray(257, 'a')) + "xxxxxxxxxxxxxxxx") << most;
        QTest::newRow("encrypted") << id3v24Tag(id3v24Frame("TIT2", "\3Title", 0x04)) << none;
        QTest::newRow("unused flags") << id3v24Tag(id3v24Frame("TIT2", "\3Title", 0x1F), 3) << plain;
        QTest::newRow("stated length") << id3v24Tag(id3v24Frame("TIT2", "\0\0\0\6\3Title"_ba, 0x01)) << plain;
        QTest::newRow("extended header cut") << id3v24Tag("\0\0\0"_ba, 3, 0x40) + id3v24Tag(title) << plain;
        QTest::newRow("flag of 2.2") << id3v24Tag(shortFrame("TT2", "\0Title"_ba), 2, 0x40) << plain;
        QTest::newRow("version 1") << id3v24Tag(shortFrame("TT2", "\0Title"_ba), 1) << none;
        QTest::newRow("version 5") << id3v24Tag(title, 5) << none;
        QTest::newRow("tag with a footer in front")
            << id3v24Tag({}, 4, 0x10) + "3DI\4\0\x10\0\0\0\0"_ba + id3v24Tag(title) << plain;
        QTest::newRow("other flag in front") << id3v24Tag({}, 4, 0x08) + id3v24Tag(title) << plain;
        QTest::newRow("other mark") << id3v24Tag(title, 3).replace("ID3", "ea3") << plain;
    }
    void id3v2TextIsRead()
    {
        QFETCH(QByteArray, tag);
        QFETCH(QString, text);
        const MediaAsset asset = read(temporaryFile(u"tag"_s, tag));
        QCOMPARE(texts(asset, CommonIdentifier::Title), text.split(u'|', Qt::SkipEmptyParts));
    }

    void id3v2PictureIsRead_data()
    {
        QTest::addColumn<QByteArray>("tag");
        QTest::addColumn<QByteArray>("picture");
        const auto apic = [](const QByteArray &data, char flags = 0) {
            return id3v24Frame("APIC", "\0\0\3\0"_ba + data, flags);
        };
        QTest::newRow("plain") << id3v24Tag(apic("xyz")) << "xyz"_ba;
        QTest::newRow("big-endian description")
            << id3v24Tag(id3v24Frame("APIC", "\2\0\3\0d\0\0xyz"_ba)) << "xyz"_ba;
        QTest::newRow("2.2, no description")
            << id3v24Tag(shortFrame("PIC", "\0PNG\0\0xyz"_ba), 2) << "xyz"_ba;
        QTest::newRow("behind a broken one")
            << id3v24Tag(id3v24Frame("APIC", "\0image"_ba) + apic("xyz")) << "xyz"_ba;
        QTest::newRow("behind an open description")
            << id3v24Tag(apic("xyz") + id3v24Frame("APIC", "\1\0\3open"_ba)) << "xyz"_ba;
        QTest::newRow("unsynchronised to its end") << id3v24Tag(apic("\xff\0\xff"_ba, 0x02)) << "\xff\xff"_ba;
        QTest::newRow("not unsynchronised") << id3v24Tag(apic("a\xff\0b"_ba)) << "a\xff\0b"_ba;
        QTest::newRow("not unsynchronised, 2.3") << id3v24Tag(apic("a\xff\0b"_ba), 3) << "a\xff\0b"_ba;
        QTest::newRow("unsynchronised once, 2.3")
            << id3v24Tag("APIC\0\0\0\x8\0\0\0\0\3\0a\xff\0\0b"_ba, 3, '\x80') << "a\xff\0b"_ba;
        QTest::newRow("stated length, not unsynchronised")
            << id3v24Tag(id3v24Frame("APIC", "\0\0\0\x8\0\0\3\0a\xff\0b"_ba, 0x01)) << "a\xff\0b"_ba;
    }
    void id3v2PictureIsRead()
    {
        QFETCH(QByteArray, tag);
        QTEST(pictures(read(temporaryFile(u"tag"_s, tag))).value(0), "picture");
    }

    void asfTextIsRead_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QStringList>("title");
        const QByteArray text = utf16(u"Title"_s);
        const QByteArray attribute = asfAttribute(u"Title"_s, text), title = asfAttributes(attribute);
        const QByteArray unknown(16, 'x');
        const QStringList none, one{u"Title"_s};
        QTest::newRow("behind an empty object") << asfHeader(asfObject(unknown.toHex(), {}) + title) << one;
        QTest::newRow("in an unknown object")
            << asfHeader(asfObject(unknown.toHex(), QByteArray(22, '\0') + title)) << none;
        QTest::newRow("in the second extension") << asfHeader(asfExtension({}) + asfExtension(title)) << one;
        QTest::newRow("in an extension's extension") << asfHeader(asfExtension(asfExtension(title))) << none;
        QTest::newRow("behind the header") << asfHeader({}) + title << none;
        QTest::newRow("bytes") << asfHeader(asfAttributes(asfAttribute(u"Title"_s, text, 1))) << none;
        QTest::newRow("after an empty one")
            << asfHeader(asfAttributes(asfAttribute(u"Title"_s, {}) + attribute)) << one;
        QTest::newRow("after one that ends at once")
            << asfHeader(asfAttributes(asfAttribute(u"Title"_s, "\0\0"_ba) + attribute)) << one;
        QTest::newRow("one character")
            << asfHeader(asfAttributes(asfAttribute(u"Title"_s, utf16(u"Ā"_s)))) << QStringList{u"Ā"_s};
    }
    void asfTextIsRead()
    {
        QFETCH(QByteArray, file);
        QTEST(texts(read(temporaryFile(u"text.wma"_s, file)), CommonIdentifier::Title), "title");
    }

    void asfFieldsHaveTheirTypes()
    {
        const QByteArray value = '\3' + littleEndian(3) + QByteArray(4, '\0') + "xyzjunk";
        const QByteArray description =
            littleEndian<quint16>(4) + littleEndian<quint16>(2) + QByteArray(6, '\0') + utf16(u"TiA"_s);
        const auto file = [&](quint16 textType, const QString &picture, quint16 pictureType) {
            const QByteArray attributes = asfAttribute(u"Author"_s, utf16(u"Other"_s), textType)
                + asfAttribute(u"WM/AlbumTitle"_s, utf16(u"Album"_s), textType)
                + asfAttribute(picture, value, pictureType);
            return read(temporaryFile(u"types.wma"_s, asfHeader(asfAttributes(attributes))));
        };
        const MediaAsset asset = file(0, u"WM/Picture"_s, 1);
        QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList({u"Other"_s}));
        QCOMPARE(texts(asset, CommonIdentifier::AlbumName), QStringList({u"Album"_s}));
        QCOMPARE(pictures(asset), QList<QByteArray>({"xyz"}));
        QVERIFY(file(1, u"WM/Picture"_s, 0).commonMetadata.isEmpty());
        QVERIFY(file(1, u"WM/Other"_s, 1).commonMetadata.isEmpty());

        const QByteArray described = asfObject("3326b2758e66cf11a6d900aa0062ce6c", description);
        const MediaAsset other = read(temporaryFile(u"described.wma"_s, asfHeader(described)));
        QCOMPARE(texts(other, CommonIdentifier::Title), QStringList({u"Ti"_s}));
        QCOMPARE(texts(other, CommonIdentifier::Artist), QStringList({u"A"_s}));
    }

    void flacBlocksEndWithTheLast()
    {
        const QByteArray file = "fLaC" + flacBlock(6, flacPicture("xyz"))
            + flacBlock(0x44, vorbisComment("artist=Other")) + flacBlock(0x7e, "x")
            + flacBlock(4, vorbisComment("album=Álbum")) + flacBlock(0x84, vorbisComment("title=Title"))
            + flacBlock(4, vorbisComment("artist=Artist"));
        const MediaAsset asset = read(temporaryFile(u"blocks.flac"_s, file));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Title"_s}));
        QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList());
        QCOMPARE(texts(asset, CommonIdentifier::AlbumName), QStringList({u"Álbum"_s}));
        QCOMPARE(pictures(asset), QList<QByteArray>({"xyz"}));
    }

    void wrongSizesOfFlacBlocksLoseNoTitle_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("title");
        const QByteArray title = flacBlock(4, vorbisComment("title=Title"));
        const QByteArray lost = "fLaC\x81\0\0\0"_ba;
        QTest::newRow("wrong length in a picture, no sound")
            << "fLaC" + flacBlock(6, flacPicture("xyz").replace(7, 4, bigEndian(9))) + title << u"Title"_s;
        QTest::newRow("lost among other blocks") << lost + flacBlock(5, vorbisComment("title=Other"))
                + flacBlock(0x44, vorbisComment("title=Other")) + title
                + "xxx" << u"Title"_s;
        QTest::newRow("lost, the last") << lost + title.sliced(1).prepend('\x84') << u"Title"_s;
        QTest::newRow("lost, cut off") << lost + title.chopped(1) << QString();
        QTest::newRow("in the sound") << lost + "\xff\xf8" + title << QString();
        QTest::newRow("in sound of changing blocks") << lost + "\xff\xf9" + title << QString();
    }
    void wrongSizesOfFlacBlocksLoseNoTitle()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, title);
        const MediaAsset asset = read(temporaryFile(u"sizes.flac"_s, file));
        QCOMPARE(texts(asset, CommonIdentifier::Title), title.split(u'|', Qt::SkipEmptyParts));
    }

    void mp4UserDataIsRead_data()
    {
        QTest::addColumn<QByteArray>("field");
        const QByteArray head(6, 'x');
        QTest::newRow("UTF-8") << atom("titl", head + "Title");
        QTest::newRow("UTF-8 and a number") << atom("titl", head + "Title\0\5"_ba);
        QTest::newRow("UTF-16") << atom("titl", head + "\xfe\xff\0T\0i\0t\0l\0e"_ba);
        QTest::newRow("UTF-16 and a number") << atom("titl", head + "\xfe\xff\0T\0i\0t\0l\0e\0\0\5"_ba);
        QTest::newRow("QuickTime") << atom("\251nam", "\0\5xxTitle\0\5xxOther"_ba);
    }
    void mp4UserDataIsRead()
    {
        QFETCH(QByteArray, field);
        const MediaAsset asset = read(temporaryFile(u"user.m4a"_s, mp4(atom("udta", field))));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Title"_s}));
    }

    void sixtyFourItemsOfATagAreRead_data()
    {
        QTest::addColumn<QByteArray>("file");
        constexpr int count = 70;
        QTest::newRow("ID3v2") << id3v24Tag(id3v24Frame("APIC", "\0\0\3\0xyz"_ba).repeated(count));
        QTest::newRow("WAV") << "RIFF\0\0\0\0WAVELIST"_ba
                + sized("INFO" + ("INAM" + sized("Text")).repeated(count));
        QTest::newRow("FLAC pictures") << "fLaC" + flacBlock(6, flacPicture("xyz")).repeated(count);
        QTest::newRow("Ogg FLAC pictures") << oggFlacHead(flacLength(8000, 1))
                + oggPage(1, 0, flacBlock(6, flacPicture("xyz"))).repeated(count);
        QTest::newRow("Vorbis comments") << "fLaC" + flacBlock(0x84, vorbisComment("coverart=eHl6", count));
        QTest::newRow("ASF") << asfHeader(
            asfAttributes(asfAttribute(u"WM/Picture"_s, "\3\3\0\0\0\0\0\0\0xyz"_ba, 1).repeated(count)));
        QTest::newRow("MP4") << mp4WithItems(
            atom("ilst", atom("covr", atom("data", QByteArray(8, '\0') + "xyz")).repeated(count)));
        QTest::newRow("APE") << apeTag(apeItem("Cover Art (front)", "n\0xyz"_ba, 2).repeated(count));
    }
    void sixtyFourItemsOfATagAreRead()
    {
        QFETCH(QByteArray, file);
        QCOMPARE(read(temporaryFile(u"many"_s, file)).commonMetadata.size(), 64);
    }

    void firstStreamOfAnOggCounts()
    {
        const QByteArray file = vorbisHead() + oggPage(2, 0, "\3vorbis" + vorbisComment("title=Other"))
            + oggPage(1, 0, "\3vorbis" + vorbisComment("title=Title")) + oggPage(1, 20'000, "x")
            + oggPage(1, -1, "x") + oggPage(2, 99'999, "x") + "OggS";
        const MediaAsset asset = read(temporaryFile(u"streams.ogg"_s, file));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Title"_s}));
        QCOMPARE(asset.duration.seconds(), 2.5);
    }

    void packetMaySpanPages()
    {
        const QByteArray title(900, 'x'), packet = "\3vorbis" + vorbisComment("title=" + title);
        const QByteArray file = vorbisHead() + oggPage(1, -1, packet.first(510), false)
            + oggPage(1, -1, {}, false) + oggPage(2, 0, QByteArray(600, 'y'))
            + oggPage(1, 0, packet.sliced(510));
        const MediaAsset asset = read(temporaryFile(u"pages.ogg"_s, file));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({QString::fromLatin1(title)}));
    }

    void lengthOfAnOggStandsInItsLastTwoPages()
    {
        const QByteArray last = oggPage(1, 20'000, "x");
        const auto hasLength = [&](qsizetype rest) {
            const QByteArray file = vorbisHead() + last + QByteArray(rest - last.size(), 'x');
            return read(temporaryFile(u"end.ogg"_s, file)).duration.isNumeric();
        };
        QVERIFY(hasLength(128 << 10));
        QVERIFY(!hasLength((128 << 10) + 1));
    }

    void blocksOfAnOggFlacEndWithTheLast()
    {
        const QByteArray file = oggFlacHead(flacLength(8000, 20'000))
            + oggPage(1, 0, flacBlock(6, flacPicture("xyz"))) + oggPage(1, 0, flacBlock(1, "x"))
            + oggPage(1, 0, flacBlock(0x84, vorbisComment("title=Title")))
            + oggPage(1, 0, flacBlock(4, vorbisComment("artist=Artist")));
        const MediaAsset asset = read(temporaryFile(u"blocks.oga"_s, file));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Title"_s}));
        QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList());
        QCOMPARE(pictures(asset), QList<QByteArray>({"xyz"}));
        QCOMPARE(asset.duration.seconds(), 2.5);
    }

    void apeTagIsNoSound()
    {
        const QByteArray sound = mediaFile(u"constant-rate-no-header.mp3"_s);
        const QByteArray items = apeItem("Junk", QByteArray(10'000, 'x'), 2);
        const QByteArray footer = apeTag(items).sliced(items.size());
        const QByteArray withHeader = QByteArray(footer).replace(20, 4, "\0\0\0\x80"_ba);
        const auto seconds = [&](const QByteArray &tag) {
            return read(temporaryFile(u"ape.mp3"_s, sound + tag)).duration.seconds();
        };
        const double alone = seconds({});
        QCOMPARE(seconds(items + footer), alone);
        QCOMPARE(seconds(withHeader + items + withHeader), alone);
    }

    void apeItemsHaveTheirTypes()
    {
        const QByteArray title = apeItem("Title", "Canción");
        const auto asset = [&](const QByteArray &items) {
            return read(temporaryFile(u"ape"_s, apeTag(items)));
        };
        const MediaAsset all = asset(title + apeItem("ARTIST", "Autór") + apeItem("album", "Álbum")
            + apeItem("Cover Art (Front)", "n\0xyz"_ba, 2));
        QCOMPARE(texts(all, CommonIdentifier::Title), QStringList({u"Canción"_s}));
        QCOMPARE(texts(all, CommonIdentifier::Artist), QStringList({u"Autór"_s}));
        QCOMPARE(texts(all, CommonIdentifier::AlbumName), QStringList({u"Álbum"_s}));
        QCOMPARE(pictures(all), QList<QByteArray>({"xyz"}));
        QVERIFY(asset(apeItem("Title", "x", 2) + apeItem("Cover Art (Front)", "x")).commonMetadata.isEmpty());
        QVERIFY(asset(apeItem("Other", "n\0xyz"_ba, 2)).commonMetadata.isEmpty());
        const QByteArray tooLong = littleEndian(1000) + "\0\0\0\0album\0Album"_ba;
        QCOMPARE(asset(title + tooLong).commonMetadata.size(), 1);
        QCOMPARE(asset(title + QByteArray(12, 'x')).commonMetadata.size(), 1);
    }

    void apeTagLongerThanItsFileIsNone()
    {
        for (const quint32 size : {31U, 10'000U}) {
            QByteArray tag = apeTag({});
            tag.replace(12, 4, littleEndian(size));
            const MediaAsset asset =
                read(temporaryFile(u"ape"_s, id3v24Tag(id3v24Frame("TIT2", "\3Title")) + tag));
            QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Title"_s}));
        }
    }

    void id3v1FieldsAreThirtyLong()
    {
        const QByteArray tag =
            "TAG" + QByteArray(30, 'a') + QByteArray(30, 'b') + QByteArray(30, 'c') + QByteArray(35, 'd');
        const MediaAsset asset = read(temporaryFile(u"id3v1"_s, tag));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({QString(30, u'a')}));
        QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList({QString(30, u'b')}));
        QCOMPARE(texts(asset, CommonIdentifier::AlbumName), QStringList({QString(30, u'c')}));
    }

    void characterThatAnId3v1FieldCutsIsLeftOut_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<QString>("text");
        const QByteArray some = QByteArray("ñ").repeated(13);
        const QString known(13, u'ñ');
        QTest::newRow("whole") << some + "a€" << known + u"a€"_s;
        QTest::newRow("one byte of three") << some + "bbb\xe2" << known + u"bbb"_s;
        QTest::newRow("two bytes of three") << some + "bb\xe2\x82" << known + u"bb"_s;
        QTest::newRow("three bytes of four") << some + "b\xf0\x9f\x8e" << known + u"b"_s;
        QTest::newRow("no UTF-8") << some.first(25) + "x€\xe2"
                                  << QString::fromLatin1(some.first(25) + "x€\xe2");
        QTest::newRow("no beginning") << QByteArray(30, '\x81') << QString(30, QChar(0x81));
    }
    void characterThatAnId3v1FieldCutsIsLeftOut()
    {
        QFETCH(QByteArray, field);
        QCOMPARE(field.size(), 30);
        const MediaAsset asset = read(temporaryFile(u"id3v1"_s, "TAG" + field + QByteArray(95, '\0')));
        QTEST(texts(asset, CommonIdentifier::Title).value(0), "text");
    }

    void otherListsOfAWavHoldNoText()
    {
        const auto titles = [this](const QByteArray &name, const QByteArray &kind) {
            const QByteArray list = name + sized(kind + "INAM" + sized("Title\0"_ba));
            return texts(
                read(temporaryFile(u"list.wav"_s, "RIFF\0\0\0\0WAVE"_ba + list)), CommonIdentifier::Title);
        };
        QCOMPARE(titles("LIST", "INFO"), QStringList({u"Title"_s}));
        QCOMPARE(titles("LIST", "adtl"), QStringList());
        QCOMPARE(titles("XXXX", "INFO"), QStringList());
    }

    void nothingIsLookedAtBehindTooManyEntries_data()
    {
        QTest::addColumn<const Crowded *>("file");
        for (const Crowded &file : CrowdedFiles)
            QTest::newRow(file.name) << &file;
    }
    void nothingIsLookedAtBehindTooManyEntries()
    {
        QFETCH(const Crowded *, file);
        const auto title = [&](qsizetype entries) {
            const MediaAsset asset = read(temporaryFile(u"crowded"_s, file->make(entries)));
            return texts(asset, CommonIdentifier::Title);
        };
        QCOMPARE(title(file->limit - 1), QStringList({u"Title"_s}));
        QCOMPARE(title(file->limit), QStringList());
    }

    void nothingIsLookedAtBehindTooManyBytes_data()
    {
        using Make = std::function<QByteArray(const QByteArray &)>;
        QTest::addColumn<Make>("make"); // of what stands before the title
        const QByteArray title = id3v24Tag(id3v24Frame("TIT2", "\3Title"));
        const auto row = [](const char *name, const Make &make) { QTest::newRow(name) << make; };
        row("ID3v2", [](const QByteArray &junk) {
            return id3v24Tag(id3v24Frame("PRIV", junk) + id3v24Frame("TIT2", "\3Title"));
        });
        row("ID3v2 tags",
            [=](const QByteArray &junk) { return id3v24Tag(id3v24Frame("PRIV", junk)) + title; });
        row("WAV", [=](const QByteArray &junk) {
            return "RIFF\0\0\0\0WAVEID3 "_ba + sized(junk) + "ID3 " + sized(title);
        });
        row("WAV, texts", [](const QByteArray &junk) {
            return "RIFF\0\0\0\0WAVELIST"_ba + sized("INFOIART" + sized(junk) + "INAM" + sized("Title\0"_ba));
        });
        row("DSF", [](const QByteArray &junk) {
            const QByteArray tag = id3v24Tag(id3v24Frame("PRIV", junk) + id3v24Frame("TIT2", "\3Title"));
            return dsfHeader(8, 8).replace(20, 8, littleEndian<quint64>(80)) + tag;
        });
        row("FLAC", [](const QByteArray &junk) {
            return "fLaC" + flacBlock(6, junk.first(junk.size() / 3)).repeated(3)
                + flacBlock(4, vorbisComment("title=Title")) + "\xff\xf8";
        });
        row("Ogg", [](const QByteArray &junk) {
            constexpr qsizetype page = 255 * 255;
            const QByteArray comment = "\3vorbis" + sized(junk) + littleEndian(1) + sized("title=Title");
            QByteArray file = vorbisHead();
            for (qsizetype i = 0; i < comment.size(); i += page)
                file += oggPage(1, 0, comment.mid(i, page), i + page > comment.size());
            return file;
        });
        row("MP4", [](const QByteArray &junk) {
            return mp4WithItems(atom("ilst",
                atom("covr", atom("data", junk))
                    + atom("\251nam", atom("data", bigEndian(1) + bigEndian(0) + "Title"))));
        });
        row("ASF", [](const QByteArray &junk) {
            return asfHeader(asfObject("00112233445566778899aabbccddeeff", junk)
                + asfAttributes(asfAttribute(u"Title"_s, utf16(u"Title"_s))));
        });
        row("APE",
            [](const QByteArray &junk) { return apeTag(apeItem("x", junk, 2) + apeItem("title", "Title")); });
    }
    void nothingIsLookedAtBehindTooManyBytes()
    {
        using Make = std::function<QByteArray(const QByteArray &)>;
        QFETCH(Make, make);
        const auto titles = [&](qsizetype bytes) {
            const QUrl url = temporaryFile(u"heavy"_s, make(QByteArray(bytes, 'x')));
            return texts(read(url), CommonIdentifier::Title);
        };
        QCOMPARE(titles((32 << 20) - 200), QStringList({u"Title"_s}));
        QCOMPARE(titles(32 << 20), QStringList());
    }

    void longDescriptionOfTheSoundLeavesTheTags()
    {
        const QByteArray filling(32 << 20, 'x');
        const QByteArray tag = id3v24Tag(id3v24Frame("TIT2", "\3Title"));
        const QByteArray properties = "SND " + longChunk("FS  ", filling) + longChunk("ID3 ", tag);
        for (const QByteArray &bytes : {"RIFF\0\0\0\0WAVEfmt "_ba + sized(filling) + "ID3 " + sized(tag),
                 "FORM\0\0\0\0AIFFCOMM"_ba + bigEndian(filling.size()) + filling + "ID3 "
                     + bigEndian(tag.size()) + tag,
                 longChunk("FRM8", {}) + "DSD " + longChunk("PROP", properties)})
            QCOMPARE(texts(read(temporaryFile(u"long"_s, bytes)), CommonIdentifier::Title),
                QStringList({u"Title"_s}));
    }

    void headerStatesTheLength_data()
    {
        constexpr double unknown = -1;
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<double>("seconds");
        const std::array wavPackRates{6000, 8000, 9600, 11025, 12000, 16000, 22050, 24000, 32000, 44100,
            48000, 64000, 88200, 96000, 192000};
        for (quint32 i = 0; i < wavPackRates.size(); ++i)
            QTest::addRow("WavPack, %d Hz", wavPackRates[i])
                << wavPackHeader(wavPackRates[i] * 100, i) << 100.0;
        QTest::newRow("WavPack, another rate") << wavPackHeader(96'000, 15) << unknown;
        QTest::newRow("WavPack, long") << wavPackHeader(44'101, 9, 0, 1) << 4'294'967'296 / 44'100.0 + 1;
        QTest::newRow("WavPack, no length") << wavPackHeader(0xFFFF'FFFF, 9) << unknown;
        QTest::newRow("WavPack, direct stream") << wavPackHeader(96'000, 9, 0x8000'0000) << unknown;
        QTest::newRow("Musepack, 48 kHz") << musepackHeader("\x85\xEE\x60"_ba, "\x60"_ba, 0x20) << 2.0;
        QTest::newRow("DSF") << dsfHeader(2'822'400, 9'878'400) << 3.5;
        QTest::newRow("DSF, nearly a millisecond") << dsfHeader(1'000'000, 999) << 0.001;
        QTest::newRow("DSF, a billion seconds") << dsfHeader(2, 2'000'000'000) << 1e9;
        QTest::newRow("DSF, beyond that") << dsfHeader(2, 2'000'000'002) << unknown;
        QTest::newRow("DSF, no rate") << dsfHeader(0, 9'878'400) << unknown;
        QTest::newRow("DSDIFF") << dsdiff(64'000, "\0\2"_ba, 4000) << 0.25;
        QTest::newRow("DSDIFF, no rate") << dsdiff(0, "\0\2"_ba, 4000) << unknown;
        QTest::newRow("DSDIFF, no channels") << dsdiff(64'000, "\0\0"_ba, 4000) << unknown;
        QTest::newRow("DSDIFF, no sound") << dsdiff(64'000, "\0\2"_ba, 0) << unknown;
        QTest::newRow("AIFF") << aiffHeader("COMM", 1000) << 0.125;
        QTest::newRow("AIFF, nothing in common") << aiffHeader("XXXX", 1000) << unknown;
        QTest::newRow("ASF") << asfLength(35'000'000, 1000) << 2.5;
        QTest::newRow("ASF, all before the start") << asfLength(10'000'000, 1000) << unknown;
        QTest::newRow("FLAC") << flacLength(8000, 20'000) << 2.5;
        QTest::newRow("FLAC, no samples") << flacLength(8000, 0) << unknown;
        QTest::newRow("FLAC, no rate") << flacLength(0, 20'000) << unknown;
        QTest::newRow("MP4") << mp4(Movie()) << 2.5;
        QTest::newRow("MP4, long") << mp4(Movie{.isLong = true, .length = 1ULL << 32}) << 536'870.912;
        for (const bool isLong : {false, true})
            QTest::addRow("MP4, a part%s", isLong ? ", long" : "")
                << mp4(Movie{.isLong = isLong, .edits = {{600, 8000}}}) << 1.0;
        QTest::newRow("MP4, first part") << mp4(Movie{.edits = {{600, 0}}}) << 1.0;
        QTest::newRow("MP4, two parts") << mp4(Movie{.edits = {{600, 0}, {300, 8000}}}) << 1.5;
        QTest::newRow("MP4, a part behind the end") << mp4(Movie{.edits = {{600, 0}, {600, 40'000}}}) << 1.0;
        QTest::newRow("MP4, a part to the end, rounded") << mp4(Movie{.edits = {{1499, 1}}}) << 2.499875;
        QTest::newRow("MP4, a part almost to the end") << mp4(Movie{.edits = {{1497, 1}}}) << 2.495;
        QTest::newRow("MP4, unknown units of parts") << mp4(Movie{.scale = 0, .edits = {{600, 8000}}}) << 1.5;
        const QByteArray kind = atom("ftyp", "M4A "), movie = mp4(Movie()).sliced(kind.size() + 8);
        QTest::newRow("MP4, long size of an atom")
            << kind + bigEndian(1) + "moov" + bigEndian(0) + bigEndian(movie.size() + 16) + movie << 2.5;
        QTest::newRow("MP4, open atom") << kind + bigEndian(0) + "moov" + movie << 2.5;
        QTest::newRow("MP4, atom shorter than its header")
            << kind + bigEndian(7) + "fre" + mp4(Movie()) << unknown;
        QTest::newRow("MP4, second movie") << mp4(Movie()) + mp4(Movie{.length = 8}) << 2.5;
        QTest::newRow("MP4, no units") << mp4(Movie{.mediaScale = 0}) << unknown;
        QTest::newRow("MP4, no length") << mp4(Movie{.length = 0}) << unknown;
        QTest::newRow("MP4, no sound") << mp4(Movie{.kind = "vide"}) << unknown;
        const QByteArray run = mp4Run(0, 2), fragment = mp4Fragment(run);
        const QByteArray numbers = bigEndian(9999) + bigEndian(8888);
        QTest::newRow("MP4, fragment") << fragmentedMp4(fragment) << 1.25;
        QTest::newRow("MP4, two fragments") << fragmentedMp4(mp4Fragment(mp4Run(0, 9)) + fragment) << 1.25;
        QTest::newRow("MP4, two runs") << fragmentedMp4(mp4Fragment(run + run)) << 1.375;
        QTest::newRow("MP4, packets of a fragment")
            << fragmentedMp4(mp4Fragment(run, 0x8, bigEndian(700))) << 1.3;
        QTest::newRow("MP4, all of a fragment")
            << fragmentedMp4(mp4Fragment(run, 0xB, numbers + bigEndian(1) + bigEndian(700))) << 1.3;
        QTest::newRow("MP4, begin of a run") << fragmentedMp4(mp4Fragment(mp4Run(0x5, 2, numbers))) << 1.25;
        QTest::newRow("MP4, packets of a run")
            << fragmentedMp4(mp4Fragment(mp4Run(0x100, 2, bigEndian(700) + bigEndian(300)))) << 1.25;
        QTest::newRow("MP4, all of a run") << fragmentedMp4(mp4Fragment(
            mp4Run(0xF05, 2, numbers + bigEndian(700) + numbers + bigEndian(1) + bigEndian(400) + numbers)))
                                           << 1.2625;
        QTest::newRow("MP4, fewer packets than a run counts")
            << fragmentedMp4(mp4Fragment(mp4Run(0x100, quint32(-1), bigEndian(1000)))) << 1.25;
        QTest::newRow("MP4, fragments to come") << fragmentedMp4({}) << unknown;
        QTest::newRow("MP4, fragment without a begin")
            << fragmentedMp4(QByteArray(fragment).replace("tfdt", "free")) << unknown;
        QTest::newRow("MP4, fragments of two tracks") << fragmentedMp4(fragment, atom("trak", {})) << unknown;
        const QByteArray megabytes = atom("free", QByteArray(5 << 20, '\0'));
        QTest::newRow("MP4, fragment of megabytes") << fragmentedMp4(mp4Fragment(megabytes + run)) << unknown;
        QTest::newRow("MP4, far too many fragments") << fragmentedMp4(fragment.repeated(10'000)) << unknown;
        QTest::newRow("Vorbis, no rate") << vorbisHead(0) + oggPage(1, 20'000, "x") << unknown;
        QTest::newRow("Vorbis, no samples") << vorbisHead() + oggPage(1, 0, "x") << unknown;
        QTest::newRow("Speex") << oggPage(1, 0, "Speex   " + QByteArray(28, 'x') + littleEndian(8000))
                + oggPage(1, 20'000, "x")
                               << 2.5;
        QTest::newRow("Opus") << oggPage(1, 0, "OpusHead\1\1" + littleEndian<quint16>(480))
                + oggPage(1, 120'480, "x")
                              << 2.5;
        QTest::newRow("Ogg FLAC, no samples")
            << oggFlacHead(flacLength(8000, 0)) + oggPage(1, 20'000, "x") << 2.5;
        QTest::newRow("DSDIFF, nothing stated")
            << longChunk("FRM8", {}) + "DSD " + longChunk("DSD ", "xxxx") << unknown;
        QTest::newRow("Musepack, 44.1 kHz") << musepackHeader("\x85\xB1\x08"_ba, "\0"_ba, 0) << 2.0;
        QTest::newRow("Musepack, 37.8 kHz") << musepackHeader("\x84\xCE\x50"_ba, "\0"_ba, 0x40) << 2.0;
        QTest::newRow("Musepack, 32 kHz") << musepackHeader("\x83\xF4\0"_ba, "\0"_ba, 0x60) << 2.0;
    }
    void headerStatesTheLength()
    {
        QFETCH(QByteArray, header);
        QFETCH(double, seconds);
        const MediaAsset asset = read(temporaryFile(u"header"_s, header));
        QCOMPARE(asset.duration.isNumeric(), seconds >= 0);
        if (seconds >= 0)
            QVERIFY2(qAbs(asset.duration.seconds() - seconds) < 1e-5,
                qPrintable(QString::number(asset.duration.seconds(), 'f')));
    }

    void lengthOfAPieceIsThatOfItsFrames()
    {
        const QStringList names = QDir(QStringLiteral(TEST_MEDIA)).entryList({u"piece-*"_s});
        QVERIFY(names.size() > 10);
        for (const QString &name : names) {
            const int frames = name.section(u'-', 1).section(u'.', 0, 0).toInt();
            const bool isOpus = name.contains(u"opus"_s);
            const bool isMatroska = name.endsWith(u"mka"_s);
            const int rate = isOpus ? 48'000 : frames == 12'291 ? 22'050 : 44'100;
            const double found = read(mediaUrl(name)).duration.seconds() * rate;
            const double tolerance = isMatroska ? 0.002 * rate : 0.05; // in milliseconds, rounded twice
            QVERIFY2(qAbs(found - frames) < tolerance, qPrintable(u"%1: %2"_s.arg(name).arg(found)));
        }
    }

    void commentTellsTheLength_data()
    {
        QTest::addColumn<QByteArray>("tag");
        QTest::addColumn<int>("frames");
        constexpr int whole = 22 * 1152;
        const QByteArray right = "\0engiTunSMPB\0 00000000 00000240 000004B9 0000000000005C07"_ba;
        const QByteArray wrong = "\0engiTunSMPB\0 00000000 00000240 000004B9 0000000000000001"_ba;
        const QByteArray other = "\0engA comment\0"_ba;
        QTest::newRow("right") << id3v2Tag(id3v2Frame("COMM", right)) << 23'559;
        QTest::newRow("wrong") << id3v2Tag(id3v2Frame("COMM", wrong)) << whole;
        QTest::newRow("behind another")
            << id3v2Tag(id3v2Frame("COMM", other) + id3v2Frame("COMM", right)) << 23'559;
        QTest::newRow("before another")
            << id3v2Tag(id3v2Frame("COMM", right) + id3v2Frame("COMM", other)) << 23'559;
        QTest::newRow("no comment") << id3v2Tag(id3v2Frame("PRIV", right)) << whole;
        QTest::newRow("ID3v2.2") << id3v24Tag("COM\0\0"_ba + char(right.size()) + right, 2) << 23'559;
    }

    void commentTellsTheLength()
    {
        QFETCH(QByteArray, tag);
        QFETCH(int, frames);
        const QByteArray sound = mediaFile("piece-23559.mp3").replace("Lavf", "    ");
        QCOMPARE(read(temporaryFile(u"comment.mp3"_s, tag + sound)).duration.value, frames);
    }

    void emptyFirstValueCountsAndIsNoTitle()
    {
        const QByteArray title = id3v24Frame("TIT2", "\3\0Title"_ba),
                         artist = id3v24Frame("TPE1", "\3A\0\0B"_ba);
        const MediaAsset asset = read(temporaryFile(u"empty"_s, id3v24Tag(title + artist)));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList());
        QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList({u"A"_s, QString(), u"B"_s}));
    }

    void onlyTheFirstMovieHasTags()
    {
        const auto movie = [](const QByteArray &title) {
            return mp4WithItems(
                atom("ilst", atom("\251nam", atom("data", bigEndian(1) + bigEndian(0) + title))));
        };
        const MediaAsset asset = read(temporaryFile(u"movies"_s, movie("First") + movie("Second")));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"First"_s}));
    }

    void pictureIsFoundBehindAStrayZero()
    {
        for (const QString &name : {u"cover.jpg"_s, u"cover.png"_s, u"cover.gif"_s, u"cover.webp"_s}) {
            const QByteArray head = "\1image/any\0\3\xff\xfe"
                                    "d\0\0\0\0"_ba;
            const QByteArray tag = id3v24Tag(id3v24Frame("APIC", head + mediaFile(name)));
            QCOMPARE(pictures(read(temporaryFile(name, tag))), QList<QByteArray>({mediaFile(name)}));
        }
    }

    void lostPictureTakesNoTagsWithIt()
    {
        const MediaAsset asset = read(mediaUrl(u"flac-picture-lost.flac"_s));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Title"_s}));
        QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList({u"Artist"_s}));
        QCOMPARE(texts(asset, CommonIdentifier::AlbumName), QStringList({u"Album"_s}));
        QCOMPARE(asset.duration.seconds(), 1.0);
    }

    void frameThatIsNotUnsynchronisedIsLeftAsItIs()
    {
        const MediaAsset asset = read(mediaUrl(u"falsely-unsynchronised-2.4.mp3"_s));
        QCOMPARE(pictures(asset), QList<QByteArray>({mediaFile(u"cover.jpg"_s) + "\xff\0\xff\xe0"_ba}));
    }

    void compressedFrameIsNotInflated()
    {
        const long before = peakKibibytes();
        const MediaAsset asset = read(mediaUrl(u"inflating-title.mp3"_s));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList());
        QCOMPARE(texts(asset, CommonIdentifier::Artist), QStringList({u"Artist"_s}));
        QVERIFY(peakKibibytes() - before < 16'384);
    }

    void nestedContainersDoNotExhaustTheStack()
    {
        constexpr quint32 depth = 300'000;
        QByteArray bytes("\0\0\0\x10"
                         "ftypM4A \0\0\0\0",
            16);
        for (quint32 level = 0; level < depth; ++level)
            bytes += bigEndian((depth - level) * 8) + "moov";
        const MediaAsset asset = read(temporaryFile(u"nested.m4a"_s, bytes));
        QVERIFY(asset.commonMetadata.isEmpty());
    }

    void attributesThatAreOnlyCountedCostNothing()
    {
        const QByteArray header = QByteArray::fromHex("3026b2758e66cf11a6d900aa0062ce6c");
        const QByteArray attributes = QByteArray::fromHex("40a4d0d207e3d21197f000a0c95ea850")
            + littleEndian<quint64>(26) + littleEndian<quint16>(65535);
        constexpr quint32 count = 200;
        const QByteArray bytes = header + littleEndian<quint64>(30 + count * 26) + littleEndian(count)
            + "\1\2" + attributes.repeated(count);
        const long before = peakKibibytes();
        const MediaAsset asset = read(temporaryFile(u"crowded.wma"_s, bytes));
        QVERIFY(asset.commonMetadata.isEmpty());
        QVERIFY(peakKibibytes() - before < 65'536);
    }

    void emptyVastnessIsNotReadThrough_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::newRow("tag.mp3") << QByteArray("ID3\4\0\0\x7f\x7f\x7f\x7f", 10);
        QTest::newRow("nothing.mp3") << QByteArray();
        QTest::newRow("chunks.wav") << QByteArray("RIFF\xff\xff\xff\xffWAVE", 12);
        QTest::newRow("atoms.m4a") << QByteArray("\0\0\0\x10"
                                                 "ftypM4A \0\0\0\0",
            16);
    }
    void emptyVastnessIsNotReadThrough()
    {
        QFETCH(QByteArray, head);
        const QUrl url = temporaryFile(QString::fromLatin1(QTest::currentDataTag()), head);
        QVERIFY(QFile::resize(url.toLocalFile(), qint64(1) << 30));
        const qint64 before = bytesReadSoFar();
        const MediaAsset asset = read(url);
        QVERIFY(bytesReadSoFar() - before < 200 << 20);
        QVERIFY(!asset.duration.isNumeric());
    }

    void countlessItemsAreCutShort()
    {
        const QByteArray values = QByteArray("\3a") + QByteArray(1'000'000, '\0');
        const MediaAsset asset = read(temporaryFile(u"many.mp3"_s, id3v24Tag(id3v24Frame("TPE1", values))));
        QVERIFY(asset.commonMetadata.size() <= 100);
        QCOMPARE(texts(asset, CommonIdentifier::Artist).first(), u"a"_s);
    }

    void claimsBeyondTheEndAreCutOff()
    {
        QByteArray tag = id3v24Tag(id3v24Frame("TIT2", "\3Short"));
        tag.replace(6, 4, QByteArray("\x7f\x7f\x7f\x7f", 4));
        const MediaAsset asset = read(temporaryFile(u"claim.mp3"_s, tag));
        QCOMPARE(texts(asset, CommonIdentifier::Title), QStringList({u"Short"_s}));
        QVERIFY(!asset.duration.isNumeric());
    }

    /// Every file cut at every hundredth of its length, and with a byte turned over at as many places: what
    /// is read does not matter, that reading ends does.
    void damageAnywhereIsSurvived_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        for (const char *name :
            {"three-tags.mp3", "id3v2.3-unsynchronised.mp3", "flac.flac", "vorbis.ogg", "opus.opus",
                "aac.m4a", "list-info-and-id3.wav", "id3.aiff", "wma.wma", "wavpack.wv", "adts.aac"})
            QTest::newRow(name) << mediaFile(QString::fromLatin1(name));
    }
    void damageAnywhereIsSurvived()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        for (int part = 0; part < 100; ++part) {
            const qsizetype place = bytes.size() * part / 100;
            const MediaAsset cut = read(temporaryFile(u"damaged"_s, bytes.first(place)));
            QByteArray turned = bytes;
            turned[part < 50 ? part : place] = static_cast<char>(~turned[part < 50 ? part : place]);
            const MediaAsset other = read(temporaryFile(u"damaged"_s, turned));
            QVERIFY(!other.duration.isNumeric() || other.duration.seconds() >= 0);
        }
    }

    void timesThatAreNoNumberAreNotNumeric()
    {
        QVERIFY(!MediaTime().isNumeric());
        QVERIFY(!MediaTime::fromSeconds(std::numeric_limits<double>::quiet_NaN()).isNumeric());
        QVERIFY(!MediaTime::fromSeconds(std::numeric_limits<double>::infinity()).isNumeric());
        QVERIFY(!MediaTime::fromSeconds(-std::numeric_limits<double>::infinity()).isNumeric());
        QVERIFY(!MediaTime::fromSeconds(1e300).isNumeric());
        QCOMPARE(MediaTime::fromSeconds(2.5).seconds(), 2.5);
    }

private:
    QUrl temporaryFile(const QString &name, const QByteArray &bytes)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("The temporary folder is not writable.");
        return QUrl::fromLocalFile(file.fileName());
    }

    QTemporaryDir m_folder;
};

LUMAVERDINE_TEST(MediaAssetTest)
#include "MediaAssetTest.moc"
