#include "metadata/FormatReaders.h"

#include "decoder/Fields.h"
#include "metadata/TagValues.h"

namespace {

QByteArray decodedBytes(QByteArrayView base64)
{
    return QByteArray::fromBase64(QByteArray::fromRawData(base64.data(), base64.size()));
}

/// The picture in a picture block: all that stands behind its description, because writers get the length wrong.
QByteArrayView flacPicture(QByteArrayView block)
{
    Fields fields(block);
    fields.take(4); // what it shows
    fields.take(fields.number<quint32_be>()); // MIME type
    fields.take(fields.number<quint32_be>()); // description
    fields.take(20); // width, height, depth, colours, length
    return pictureFrom(block, block.size() - fields.rest().size());
}

void appendField(QList<MetadataItem> &items, QByteArrayView field)
{
    constexpr FieldNames names{"TITLE", "ARTIST", "ALBUM", "METADATA_BLOCK_PICTURE"};
    const qsizetype nameEnd = field.indexOf('=');
    if (nameEnd < 0)
        return;
    const auto name = field.first(nameEnd), value = field.sliced(nameEnd + 1);
    const auto identifier = identifierOf(name, names, Qt::CaseInsensitive);
    if (identifier == CommonIdentifier::Artwork)
        appendPicture(items, flacPicture(decodedBytes(value)));
    else if (identifier)
        appendText(items, *identifier, value, TextEncoding::Utf8);
    else if (name.compare("COVERART", Qt::CaseInsensitive) == 0)
        appendPicture(items, decodedBytes(value));
}

} // namespace

QList<MetadataItem> vorbisCommentItems(QByteArrayView block)
{
    QList<MetadataItem> items;
    Fields fields(block);
    fields.take(fields.number<quint32_le>()); // who wrote it
    fields.take(4); // count
    for (int i = 0; i < MaxEntriesPerTag && !fields.isEmpty(); ++i)
        appendField(items, fields.take(fields.number<quint32_le>()));
    return items;
}

std::optional<qsizetype> vorbisCommentSize(QByteArrayView bytes)
{
    constexpr qsizetype numberSize = 4;
    Fields fields(bytes);
    const auto textSize = [&fields] {
        const quint32 length = fields.number<quint32_le>();
        fields.take(length);
        return numberSize + qsizetype(length);
    };
    qsizetype size = textSize() + numberSize;
    const quint32 count = fields.number<quint32_le>();
    if (count > MaxEntriesPerTag)
        return std::nullopt;
    for (quint32 i = 0; i < count; ++i)
        size += textSize();
    return size <= bytes.size() ? std::optional(size) : std::nullopt;
}

void FlacMetadata::take(int blockType, QByteArrayView content)
{
    if (blockType == Comment) {
        comment += vorbisCommentItems(content);
    } else if (blockType == Picture) {
        appendPicture(pictures, flacPicture(content));
    } else if (blockType == StreamInfo) {
        Fields fields(content);
        fields.take(10); // sizes of blocks and frames
        const quint64 number =
            fields.number<quint64_be>(); // rate 20 bits, channels 3, sample size 5, samples 36
        const auto rate = qint32(number >> 44);
        const auto samples = qint64(number & 0xF'FFFF'FFFF);
        duration = rate > 0 && samples > 0 ? MediaTime{samples, rate} : MediaTime{};
    }
}
