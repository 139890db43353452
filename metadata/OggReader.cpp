#include "metadata/FormatReaders.h"

#include "decoder/Fields.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace {

constexpr qsizetype PageHeaderSize = 27; // before the lengths of its segments

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
        constexpr int fullSegment = 255; // bytes of one that another one of its packet follows
        QByteArray packet;
        for (int size = fullSegment; size == fullSegment && (!m_segmentSizes.isEmpty() || readPage());) {
            size = m_segmentSizes.number<quint8>();
            packet += m_segments.take(quint64(size));
        }
        return packet;
    }

private:
    /// Goes to the next page of the stream that has segments.
    bool readPage()
    {
        while (m_segmentSizes.isEmpty()) {
            const auto header = pageHeader(m_source.read(m_offset, PageHeaderSize));
            if (!header || m_pagesLeft-- <= 0)
                return false;
            const QByteArray sizes = m_source.read(m_offset + PageHeaderSize, header->segments);
            const auto add = [](qint64 sum, char size) { return sum + quint8(size); };
            const qint64 size = std::accumulate(sizes.begin(), sizes.end(), qint64(0), add);
            m_offset += PageHeaderSize + header->segments;
            if (header->stream == m_stream) {
                m_segmentSizes = Fields(sizes);
                m_segments = Fields(m_source.readTag(m_offset, size));
            }
            m_offset += size;
        }
        return true;
    }

    MediaSource &m_source;
    quint32 m_stream = 0;
    qint64 m_offset = 0; ///< of the next page
    Fields m_segmentSizes{QByteArray()}; ///< of those that are still to be taken
    Fields m_segments{QByteArray()};
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

/// The length by the end's position, less the samples that are skipped at the start.
MediaTime durationOf(MediaSource &source, quint32 stream, qint64 skipped, quint32 rate)
{
    const qint64 samples = lastGranulePosition(source, stream) - skipped;
    return rate > 0 && samples > 0 ? MediaTime{samples, qint32(rate)} : MediaTime{};
}

/// Of FLAC, whose first packet is its stream info and each further one a metadata block.
MediaAsset readFlacPackets(MediaSource &source, PacketReader &packets, Fields streamInfo)
{
    constexpr int blockLimit = 1000;
    FlacMetadata metadata;
    metadata.take(FlacMetadata::StreamInfo, streamInfo.rest());
    streamInfo.take(10); // sizes of blocks and frames
    if (!metadata.duration.isNumeric())
        metadata.duration = durationOf(source, packets.stream(), 0, streamInfo.number<quint32_be>() >> 12);
    QByteArray block;
    for (int i = 0; i < blockLimit && (i == 0 || !(block[0] & 0x80)); ++i) {
        block = packets.take();
        if (block.size() < 4)
            break;
        if ((block[0] & 0x7F) != FlacMetadata::StreamInfo)
            metadata.take(block[0] & 0x7F, QByteArrayView(block).sliced(4));
    }
    return {metadata.duration, metadata.pictures + metadata.comment};
}

} // namespace

MediaAsset readOgg(MediaSource &source)
{
    struct Codec {
        QByteArrayView mark; ///< of the first packet
        quint64 rateOffset; ///< in it; 0 for 48,000 samples a second, whatever is encoded
        quint64 commentOffset; ///< in the second packet
    };
    static constexpr std::array codecs{
        Codec{"\x01vorbis", 12, 7}, Codec{"Speex   ", 36, 0}, Codec{"OpusHead", 0, 8}, // RFC 7845
    };
    PacketReader packets(source);
    const QByteArray head = packets.take();
    const auto field = [&head](quint64 offset) {
        Fields fields(head);
        fields.take(offset);
        return fields;
    };
    if (head.startsWith("\177FLAC"))
        return readFlacPackets(source, packets, field(17));
    for (const Codec &codec : codecs) {
        if (!head.startsWith(codec.mark))
            continue;
        Fields comment(packets.take());
        comment.take(codec.commentOffset);
        const bool isOpus = codec.rateOffset == 0;
        const quint32 rate = isOpus ? 48'000 : field(codec.rateOffset).number<quint32_le>();
        const qint64 skipped = isOpus ? field(10).number<quint16_le>() : 0;
        return {durationOf(source, packets.stream(), skipped, rate), vorbisCommentItems(comment.rest())};
    }
    return {};
}
