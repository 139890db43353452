#include "metadata/FormatReaders.h"

#include "decoder/Fields.h"

#include <algorithm>
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

std::optional<Block> blockAt(MediaSource &source, qint64 offset)
{
    const QByteArray header = source.read(offset, HeaderSize);
    if (header.size() < HeaderSize)
        return std::nullopt;
    const quint32 number = qFromBigEndian<quint32>(header.constData());
    return Block{.type = int(number >> 24 & 0x7F),
        .isLast = number >> 31 != 0,
        .offset = offset + HeaderSize,
        .size = number & 0xFF'FFFF};
}

/// Whether the sound starts at `offset`.
bool isFrame(MediaSource &source, qint64 offset)
{
    const QByteArray mark = source.read(offset, 2);
    return mark == "\xff\xf8" || mark == "\xff\xf9";
}

/// Whether a block that ends at `offset` has its true size, because sound follows or blocks that lead to it.
bool leadsToSound(MediaSource &source, qint64 offset)
{
    for (int i = 0; i < BlockLimit; ++i) {
        if (isFrame(source, offset))
            return true;
        const auto block = blockAt(source, offset);
        if (!block)
            return false;
        offset = block->end();
    }
    return false;
}

/// The size of a comment or a picture by the lengths that it holds.
qint64 sizeByContent(MediaSource &source, const Block &block)
{
    constexpr qint64 most = 1 << 24; // bytes of a block
    if (block.type == FlacMetadata::Comment)
        return vorbisCommentSize(source.readTag(block.offset, most)).value_or(block.size);
    qint64 end = block.offset + 4; // what it shows
    for (const qint64 fixed : {0, 0, 16}) { // MIME type; description; dimensions and the picture
        Fields length(source.read(end + fixed, 4));
        end += fixed + 4 + length.number<quint32_be>();
    }
    return end - block.offset;
}

/// The items of the first comment behind `offset`, past which a wrong size has led.
QList<MetadataItem> lostComment(MediaSource &source, qint64 offset)
{
    int attemptsLeft = 1000;
    const QByteArray bytes = source.readTag(offset, source.size());
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

} // namespace

MediaAsset readFlac(MediaSource &source)
{
    constexpr qint64 markSize = 4; // "fLaC"
    FlacMetadata metadata;
    Block block{.offset = markSize};
    for (int i = 0; i < BlockLimit && !block.isLast; ++i) {
        const auto next = blockAt(source, block.end());
        if (!next)
            break;
        block = *next;
        const bool isTag = block.type == FlacMetadata::Comment || block.type == FlacMetadata::Picture;
        if (isTag && !leadsToSound(source, block.end())) {
            const qint64 size = sizeByContent(source, block);
            if (leadsToSound(source, block.offset + size))
                block.size = size;
        }
        if (isTag)
            metadata.take(block.type, source.readTag(block.offset, block.size));
        else if (block.type == FlacMetadata::StreamInfo)
            metadata.take(block.type, source.read(block.offset, std::min(block.size, StreamInfoSize)));
    }
    if (metadata.comment.isEmpty() && !isFrame(source, block.end()))
        metadata.comment = lostComment(source, block.offset);
    return {metadata.duration, metadata.pictures + metadata.comment};
}
