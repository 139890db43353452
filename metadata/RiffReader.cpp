#include "metadata/FormatReaders.h"

#include "decoder/Fields.h"
#include "metadata/TagValues.h"

#include <QtEndian>
#include <algorithm>
#include <cstring>

namespace {

constexpr qint64 FileHeaderSize = 12; // "RIFF", size, kind of file

struct Chunk {
    QByteArray name; ///< four bytes
    qint64 offset = 0; ///< of its data
    qint64 size = 0; ///< of its data, as far as the file goes
};

/// Calls `use(chunk)` with every chunk between the offsets `begin` and `end`: a name, a size of the type
/// `Number`, the data, and a zero that makes their length even, which some writers leave out.
template <typename Number, typename Use>
void forEachChunk(MediaSource &source, qint64 begin, qint64 end, Use use)
{
    constexpr int chunkLimit = 1000;
    constexpr qint64 headerSize = 4 + sizeof(Number);
    for (int i = 0; i < chunkLimit && begin + headerSize <= end; ++i) {
        const QByteArray header = source.read(begin, headerSize);
        if (header.size() < headerSize)
            return;
        Number stated;
        std::memcpy(&stated, header.constData() + 4, sizeof stated);
        begin += headerSize;
        const auto size = qint64(std::min<quint64>(stated, quint64(end - begin)));
        use(Chunk{header.first(4), begin, size});
        begin += size;
        if ((size & 1) && source.read(begin, 1) == QByteArray(1, '\0'))
            ++begin;
    }
}

/// What a chunk says of the sound, however long it is.
QByteArray readDescription(MediaSource &source, const Chunk &chunk)
{
    constexpr qint64 most = 64; // bytes; no description has fields behind them
    return source.read(chunk.offset, std::min(chunk.size, most));
}

/// Collects the tags of a file that consists of chunks: those of its ID3 chunks come first, each kind in its
/// order.
class ChunkTags {
public:
    explicit ChunkTags(MediaSource &source)
        : m_source(source)
    {
    }

    /// Takes the tag in `chunk` if it is an ID3 chunk, the text if it is one of `names`.
    void take(const Chunk &chunk, const FieldNames &names = {})
    {
        constexpr qsizetype tagLimit = 64;
        const bool isId3 = chunk.name == "ID3 " || chunk.name == "id3 ";
        const auto identifier = identifierOf(chunk.name, names);
        if (isId3 && m_id3.size() < tagLimit)
            m_id3.append(id3v2Items(m_source.readTag(chunk.offset, chunk.size)));
        else if (identifier)
            appendText(
                m_texts, *identifier, m_source.readTag(chunk.offset, chunk.size), TextEncoding::Unstated);
    }

    [[nodiscard]] QList<MetadataItem> merged() const { return mergedTags(QList(m_id3) << m_texts); }

private:
    MediaSource &m_source;
    QList<QList<MetadataItem>> m_id3;
    QList<MetadataItem> m_texts;
};

} // namespace

MediaAsset readWav(MediaSource &source)
{
    QByteArray format;
    qint64 dataSize = 0;
    ChunkTags tags(source);
    forEachChunk<quint32_le>(source, FileHeaderSize, source.size(), [&](const Chunk &chunk) {
        if (chunk.name == "fmt ")
            format = readDescription(source, chunk);
        else if (chunk.name == "data" && dataSize == 0)
            dataSize = chunk.size;
        else if (chunk.name == "LIST" && source.read(chunk.offset, 4) == "INFO")
            forEachChunk<quint32_le>(
                source, chunk.offset + 4, chunk.offset + chunk.size, [&tags](const Chunk &text) {
                    tags.take(text, {"INAM", "IART", "IPRD"});
                });
        else
            tags.take(chunk);
    });
    return {wavDuration(format, dataSize), tags.merged()};
}

MediaAsset readAiff(MediaSource &source)
{
    MediaTime duration;
    ChunkTags tags(source);
    forEachChunk<quint32_be>(source, FileHeaderSize, source.size(), [&](const Chunk &chunk) {
        tags.take(chunk, {"NAME", "AUTH"});
        if (chunk.name == "COMM")
            duration = aiffDuration(readDescription(source, chunk));
    });
    return {duration, tags.merged()};
}

MediaAsset readDsf(MediaSource &source)
{
    Fields fields(source.read(0, 72));
    fields.take(20); // "DSD ", size of this chunk, of the file
    const auto tag = qint64(std::min(fields.number<quint64_le>(), quint64(source.size())));
    fields.take(28); // "fmt ", its size, version, kind of sound and of channels, number of channels
    const double rate = fields.number<quint32_le>();
    fields.take(4); // bits
    const auto samples = double(fields.number<quint64_le>());
    return {MediaTime::fromSeconds(samples / rate), id3v2Items(source.readTag(tag, source.size()))};
}

MediaAsset readDsdiff(MediaSource &source)
{
    constexpr qint64 fileHeaderSize = 16; // "FRM8", size, kind of file
    constexpr qint64 countSize = 4; // of a text's bytes, in front of them
    double bytesPerSecond = 0, channels = 0, dataSize = 0;
    ChunkTags tags(source);
    const auto takeProperty = [&](const Chunk &property) {
        Fields fields(readDescription(source, property));
        if (property.name == "FS  ")
            bytesPerSecond = fields.number<quint32_be>() / 8.0;
        else if (property.name == "CHNL")
            channels = fields.number<quint16_be>();
        else
            tags.take(property);
    };
    forEachChunk<quint64_be>(source, fileHeaderSize, source.size(), [&](const Chunk &chunk) {
        if (chunk.name == "DIIN")
            forEachChunk<quint64_be>(source, chunk.offset, chunk.offset + chunk.size, [&](const Chunk &text) {
                const qint64 size = std::min(text.size, countSize);
                tags.take({text.name, text.offset + size, text.size - size}, {"DITI", "DIAR"});
            });
        else if (chunk.name == "PROP")
            forEachChunk<quint64_be>(source, chunk.offset + 4, chunk.offset + chunk.size, takeProperty);
        else if (chunk.name == "DSD ")
            dataSize = double(chunk.size);
        else
            tags.take(chunk);
    });
    const double seconds = dataSize / (bytesPerSecond * channels);
    return {dataSize > 0 ? MediaTime::fromSeconds(seconds) : MediaTime{}, tags.merged()};
}
