#include "metadata/FormatReaders.h"

#include "decoder/Fields.h"
#include "metadata/TagValues.h"

#include <algorithm>

namespace {

constexpr qsizetype Id3v1Size = 128;
constexpr qsizetype ApeEdgeSize = 32; // header and footer look the same

/// `field` without a last character that the end of the field has cut, if it is UTF-8 otherwise.
QByteArrayView withoutCutCharacter(QByteArrayView field)
{
    qsizetype begin = field.size() - 1;
    while (begin > 0 && (field[begin] & 0xC0) == 0x80)
        --begin;
    const auto whole = field.first(begin);
    const bool isAscii = std::all_of(whole.begin(), whole.end(), [](char c) { return !(c & 0x80); });
    return field.isValidUtf8() || isAscii || !whole.isValidUtf8() ? field : whole;
}

/// An ID3v1 field is filled up with zeros, or by some writers with blanks.
void appendId3v1Field(QList<MetadataItem> &items, CommonIdentifier identifier, QByteArrayView field)
{
    const qsizetype end = field.indexOf('\0');
    QString text =
        decodedText(end < 0 ? withoutCutCharacter(field) : field.first(end), TextEncoding::Unstated);
    while (text.endsWith(u' '))
        text.chop(1);
    if (!text.isEmpty())
        items.append({identifier, text});
}

void appendApeItem(QList<MetadataItem> &items, QByteArrayView key, bool isBinary, QByteArrayView value)
{
    constexpr QByteArrayView picture = "cover art"; // and which one
    const auto identifier = identifierOf(key.first(std::min(key.size(), picture.size())),
        {"title", "artist", "album", picture}, Qt::CaseInsensitive);
    if (isBinary && identifier == CommonIdentifier::Artwork)
        appendPicture(items, value.sliced(value.indexOf('\0') + 1)); // behind its name
    else if (!isBinary && identifier && identifier != CommonIdentifier::Artwork)
        appendText(items, *identifier, value, TextEncoding::Utf8);
}

/// The items one after another: value size, flags, key, zero, value; all but the key in little endian.
QList<MetadataItem> apeItems(Fields &fields)
{
    QList<MetadataItem> items;
    for (int i = 0; i < MaxEntriesPerTag && !fields.isEmpty(); ++i) {
        const qsizetype size = fields.number<quint32_le>();
        const bool isBinary = (fields.number<quint32_le>() >> 1 & 3) == 1;
        const auto keySize = quint64(fields.rest().indexOf('\0')); // all if it does not end
        const QByteArrayView key = fields.take(keySize);
        fields.take(1);
        const QByteArrayView value = fields.take(quint64(size));
        if (value.size() == size)
            appendApeItem(items, key, isBinary, value);
    }
    return items;
}

} // namespace

QList<MetadataItem> takeId3v1Tag(MediaSource &source)
{
    const QByteArray tag = source.read(source.size() - Id3v1Size, Id3v1Size);
    if (!tag.startsWith("TAG"))
        return {};
    source.dropBack(Id3v1Size);

    QList<MetadataItem> items;
    appendId3v1Field(items, CommonIdentifier::Title, QByteArrayView(tag).sliced(3, 30));
    appendId3v1Field(items, CommonIdentifier::Artist, QByteArrayView(tag).sliced(33, 30));
    appendId3v1Field(items, CommonIdentifier::AlbumName, QByteArrayView(tag).sliced(63, 30));
    return items;
}

QList<MetadataItem> takeApeTag(MediaSource &source)
{
    Fields fields(source.read(source.size() - ApeEdgeSize, ApeEdgeSize));
    if (fields.take(8) != "APETAGEX")
        return {};
    fields.take(4); // version
    const qint64 size = fields.number<quint32_le>(); // with the footer, without the header
    fields.take(4); // count
    const bool hasHeader = fields.number<quint32_le>() >> 31;
    if (size > source.size())
        return {};

    Fields items(source.readTag(source.size() - size, size - ApeEdgeSize));
    source.dropBack(size + (hasHeader ? ApeEdgeSize : 0));
    return apeItems(items);
}
