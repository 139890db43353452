#include "metadata/FormatReaders.h"

#include "metadata/Fields.h"
#include "metadata/VorbisComment.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr qsizetype PageHeaderSize = 27; // before the lengths of its segments
constexpr char FullSegment = '\xff'; // bytes of a segment that another one of its packet follows

struct PageHeader {
    qint64 granulePosition = -1; ///< -1 if no packet ends on the page
    quint32 stream = 0;
    int segments = 0;
};

std::optional<PageHeader> pageHeader(QByteArrayView bytes)
{
    Fields fields(bytes);
    if (bytes.size() < PageHeaderSize || fields.take(4) != "OggS")
        return std::nullopt;
    fields.take(2); // version, flags
    const auto granulePosition = qint64(fields.number<quint64_le>());
    const quint32 stream = fields.number<quint32_le>();
    return PageHeader{granulePosition, stream, quint8(bytes[PageHeaderSize - 1])};
}

qint64 segmentBytes(const QByteArray &lengths)
{
    const auto add = [](qint64 sum, char length) { return sum + quint8(length); };
    return std::accumulate(lengths.begin(), lengths.end(), qint64(0), add);
}

/// Takes the packets of the first stream one after the other.
class PacketReader {
public:
    explicit PacketReader(MediaSource &source)
        : m_source(source)
    {
        if (const auto first = pageHeader(source.read(0, PageHeaderSize)))
            m_stream = first->stream;
    }

    [[nodiscard]] quint32 stream() const { return m_stream; }

    /// The next packet, or what there is of it.
    QByteArray take()
    {
        QByteArray packet;
        bool isWhole = false;
        while (!isWhole && (!m_segments.isEmpty() || readPage())) {
            const auto last = std::find_if(
                m_segments.cbegin(), m_segments.cend(), [](char length) { return length != FullSegment; });
            isWhole = last != m_segments.cend();
            const qsizetype count = last - m_segments.cbegin() + (isWhole ? 1 : 0);
            const qint64 size = segmentBytes(m_segments.first(count));
            packet += m_source.readTag(m_offset, size);
            m_offset += size;
            m_segments.remove(0, count);
        }
        return packet;
    }

private:
    /// Goes to the next page, and passes it over if it is another stream's.
    bool readPage()
    {
        const auto header = pageHeader(m_source.read(m_offset, PageHeaderSize));
        if (!header || m_pagesLeft-- == 0)
            return false;
        const QByteArray segments = m_source.read(m_offset + PageHeaderSize, header->segments);
        m_offset += PageHeaderSize + header->segments;
        if (header->stream == m_stream)
            m_segments = segments;
        else
            m_offset += segmentBytes(segments);
        return true;
    }

    MediaSource &m_source;
    quint32 m_stream = 0;
    qint64 m_offset = 0;
    QByteArray m_segments; ///< lengths of those of the page that are still to be read
    int m_pagesLeft = 10'000;
};

/// Samples from the start of `stream` to its end, by its last page; 0 if that is not found.
qint64 lastGranulePosition(MediaSource &source, quint32 stream)
{
    constexpr qint64 tailSize = 128 << 10; // twice the longest page
    QByteArray tail = source.read(std::max<qint64>(source.size() - tailSize, 0), tailSize);
    for (qsizetype i = tail.lastIndexOf("OggS"); i >= 0; i = tail.lastIndexOf("OggS")) {
        const auto header = pageHeader(QByteArrayView(tail).sliced(i));
        if (header && header->stream == stream && header->granulePosition >= 0)
            return header->granulePosition;
        tail.truncate(i);
    }
    return 0;
}

/// The metadata blocks of FLAC, one a packet.
QList<MetadataItem> flacItems(PacketReader &packets)
{
    constexpr int blockLimit = 1000;
    QList<MetadataItem> pictures, comment;
    for (int i = 0; i < blockLimit; ++i) {
        const QByteArray block = packets.take();
        if (block.size() < 4)
            break;
        const auto content = QByteArrayView(block).sliced(4);
        const int type = block[0] & 0x7F;
        if (type == int(FlacBlock::VorbisComment))
            comment += vorbisCommentItems(content);
        else if (type == int(FlacBlock::Picture) && pictures.size() < MaxItemsPerTag)
            pictures.append({CommonIdentifier::Artwork, flacPicture(content).toByteArray()});
        if (block[0] & 0x80)
            break;
    }
    return pictures + comment;
}

/// The length by the end's position, less the samples that are skipped at the start.
MediaTime durationOf(MediaSource &source, quint32 stream, qint64 skipped, quint32 rate)
{
    const qint64 samples = lastGranulePosition(source, stream) - skipped;
    return rate > 0 && samples > 0 ? MediaTime{samples, qint32(rate)} : MediaTime{};
}

} // namespace

MediaContents readOgg(MediaSource &source, OggCodec codec)
{
    PacketReader packets(source);
    const QByteArray head = packets.take();
    const auto field = [&head](quint64 offset) {
        Fields fields(head);
        fields.take(offset);
        return fields;
    };
    if (codec == OggCodec::Flac) {
        Fields streamInfo = field(17);
        const MediaTime stated = flacDuration(streamInfo.rest());
        streamInfo.take(10); // sizes of blocks and frames
        const quint32 rate = streamInfo.number<quint32_be>() >> 12;
        return {
            stated.isNumeric() ? stated : durationOf(source, packets.stream(), 0, rate), flacItems(packets)};
    }

    const QByteArray second = packets.take();
    const auto comment = [&second](quint64 markSize) {
        Fields fields(second);
        fields.take(markSize);
        return vorbisCommentItems(fields.rest());
    };
    if (codec == OggCodec::Opus) // counts 48,000 samples a second, whatever is encoded (RFC 7845)
        return {durationOf(source, packets.stream(), field(10).number<quint16_le>(), 48'000), comment(8)};
    if (codec == OggCodec::Speex)
        return {durationOf(source, packets.stream(), 0, field(36).number<quint32_le>()), comment(0)};
    return {durationOf(source, packets.stream(), 0, field(12).number<quint32_le>()), comment(7)};
}
