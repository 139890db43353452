#include "metadata/VorbisComment.h"

#include "metadata/Fields.h"
#include "metadata/TagValues.h"

namespace {

QByteArray decodedBytes(QByteArrayView base64)
{
    return QByteArray::fromBase64(QByteArray::fromRawData(base64.data(), base64.size()));
}

void appendField(QList<MetadataItem> &items, QByteArrayView field)
{
    const qsizetype nameEnd = field.indexOf('=');
    if (nameEnd < 0)
        return;
    const auto value = field.sliced(nameEnd + 1);
    const auto isNamed = [name = field.first(nameEnd)](
                             QByteArrayView other) { return name.compare(other, Qt::CaseInsensitive) == 0; };
    if (isNamed("TITLE"))
        appendTextValues(items, CommonIdentifier::Title, value, TextEncoding::Utf8);
    else if (isNamed("ARTIST"))
        appendTextValues(items, CommonIdentifier::Artist, value, TextEncoding::Utf8);
    else if (isNamed("ALBUM"))
        appendTextValues(items, CommonIdentifier::AlbumName, value, TextEncoding::Utf8);
    else if (isNamed("METADATA_BLOCK_PICTURE"))
        items.append({CommonIdentifier::Artwork, flacPicture(decodedBytes(value)).toByteArray()});
    else if (isNamed("COVERART"))
        items.append({CommonIdentifier::Artwork, decodedBytes(value)});
}

} // namespace

QList<MetadataItem> vorbisCommentItems(QByteArrayView block)
{
    QList<MetadataItem> items;
    Fields fields(block);
    fields.take(fields.number<quint32_le>()); // who wrote it
    fields.take(4); // count
    for (int i = 0; i < MaxEntriesPerTag && !fields.isEmpty() && items.size() < MaxItemsPerTag; ++i)
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

QByteArrayView flacPicture(QByteArrayView block)
{
    Fields fields(block);
    fields.take(4); // what it shows
    fields.take(fields.number<quint32_be>()); // MIME type
    fields.take(fields.number<quint32_be>()); // description
    fields.take(20); // width, height, depth, colours, length
    return pictureFrom(block, block.size() - fields.rest().size());
}
