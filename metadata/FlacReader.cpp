#include "metadata/FormatReaders.h"

#include "metadata/Fields.h"

#include <optional>

namespace {

constexpr qint64 HeaderSize = 4; // of a block
constexpr qint64 StreamInfoSize = 34;
constexpr int BlockLimit = 128;

struct Block {
    int type = 0;
    bool isLast = false;
    qint64 offset = 0; ///< of its content
    qint64 size = 0; ///< of its content

    [[nodiscard]] qint64 end() const { return offset + size; }
};

class FlacReader {
public:
    explicit FlacReader(MediaSource &source)
        : m_source(source)
    {
    }

    MediaAsset asset()
    {
        constexpr qint64 markSize = 4; // "fLaC"
        Block block{.offset = markSize};
        for (int i = 0; i < BlockLimit && !block.isLast; ++i) {
            const auto next = blockAt(block.end());
            if (!next)
                break;
            block = *next;
            take(block);
        }
        if (m_metadata.comment.isEmpty() && !isFrame(block.end()))
            m_metadata.comment = lostComment(block.offset);
        return {m_metadata.duration, m_metadata.pictures + m_metadata.comment};
    }

private:
    [[nodiscard]] std::optional<Block> blockAt(qint64 offset) const
    {
        const QByteArray header = m_source.read(offset, HeaderSize);
        if (header.size() < HeaderSize)
            return std::nullopt;
        const quint32 number = qFromBigEndian<quint32>(header.constData());
        return Block{.type = int(number >> 24 & 0x7F),
            .isLast = number >> 31 != 0,
            .offset = offset + HeaderSize,
            .size = number & 0xFF'FFFF};
    }

    /// Whether the sound starts at `offset`.
    [[nodiscard]] bool isFrame(qint64 offset) const
    {
        const QByteArray mark = m_source.read(offset, 2);
        return mark == "\xff\xf8" || mark == "\xff\xf9";
    }

    /// Whether a block that ends at `offset` has its true size, because sound follows or blocks that lead to it.
    [[nodiscard]] bool leadsToSound(qint64 offset) const
    {
        for (int i = 0; i < BlockLimit; ++i) {
            if (isFrame(offset))
                return true;
            const auto block = blockAt(offset);
            if (!block)
                return false;
            offset = block->end();
        }
        return false;
    }

    void take(Block &block)
    {
        const bool isPicture = block.type == FlacMetadata::Picture;
        if (!isPicture && block.type != FlacMetadata::Comment && block.type != FlacMetadata::StreamInfo)
            return;
        if (block.type != FlacMetadata::StreamInfo && !leadsToSound(block.end())) {
            const qint64 size = isPicture ? pictureSize(block) : commentSize(block);
            if (leadsToSound(block.offset + size))
                block.size = size;
        }
        const bool isTag = block.type != FlacMetadata::StreamInfo;
        m_metadata.take(block.type,
            isTag ? m_source.readTag(block.offset, block.size)
                  : m_source.read(block.offset, std::min(block.size, StreamInfoSize)));
    }

    [[nodiscard]] qint64 commentSize(const Block &block) const
    {
        constexpr qint64 most = 1 << 24; // bytes of a block
        return vorbisCommentSize(m_source.readTag(block.offset, most)).value_or(block.size);
    }

    [[nodiscard]] qint64 pictureSize(const Block &block) const
    {
        qint64 end = block.offset + 4; // what it shows
        for (const qint64 fixed : {0, 0, 16}) { // MIME type; description; dimensions and the picture
            Fields length(m_source.read(end + fixed, 4));
            end += fixed + 4 + length.number<quint32_be>();
        }
        return end - block.offset;
    }

    /// The items of the first comment behind `offset`, past which a wrong size has led.
    [[nodiscard]] QList<MetadataItem> lostComment(qint64 offset) const
    {
        int attemptsLeft = 1000;
        const QByteArray bytes = m_source.readTag(offset, m_source.size());
        for (qsizetype i = 0; i + 2 * HeaderSize < bytes.size() && attemptsLeft > 0; ++i) {
            if ((bytes[i] & 0x7F) != FlacMetadata::Comment)
                continue;
            const qsizetype size = qFromBigEndian<quint32>(bytes.constData() + i) & 0xFF'FFFF;
            const qsizetype writerSize = qFromLittleEndian<quint32>(bytes.constData() + i + HeaderSize);
            if (size > bytes.size() - i - HeaderSize || writerSize >= size)
                continue;
            --attemptsLeft;
            const auto content = QByteArrayView(bytes).sliced(i + HeaderSize, size);
            if (vorbisCommentSize(content) == size)
                return vorbisCommentItems(content);
        }
        return {};
    }

    MediaSource &m_source;
    FlacMetadata m_metadata;
};

} // namespace

MediaAsset readFlac(MediaSource &source)
{
    return FlacReader(source).asset();
}
