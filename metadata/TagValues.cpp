#include "metadata/TagValues.h"

#include <QStringDecoder>
#include <algorithm>

namespace {

/// The first bytes of the formats that are drawn, but for BMP's two, which stand in other data by chance.
constexpr std::array<QByteArrayView, 4> Marks{"\xff\xd8\xff", "\x89PNG", "GIF8", "RIFF"};

bool startsWithMark(QByteArrayView data)
{
    return std::any_of(
        Marks.begin(), Marks.end(), [data](QByteArrayView mark) { return data.startsWith(mark); });
}

bool isEmpty(const MetadataItem &item)
{
    return item.stringValue.value_or(QString()).isEmpty() && item.dataValue.value_or(QByteArray()).isEmpty();
}

} // namespace

std::optional<CommonIdentifier> identifierOf(
    QByteArrayView name, const FieldNames &names, Qt::CaseSensitivity sensitivity)
{
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!name.isEmpty() && name.compare(names[i], sensitivity) == 0)
            return CommonIdentifier(i);
    }
    return std::nullopt;
}

QString decodedText(QByteArrayView bytes, TextEncoding encoding)
{
    constexpr qsizetype sizeLimit = 256 << 10;
    bytes = bytes.first(std::min(bytes.size(), sizeLimit));
    switch (encoding) {
    case TextEncoding::Latin1:
        return QString::fromLatin1(bytes);
    case TextEncoding::Utf16:
        return QStringDecoder(QStringDecoder::Utf16)(bytes);
    case TextEncoding::Utf16BigEndian:
        return QStringDecoder(QStringDecoder::Utf16BE)(bytes);
    case TextEncoding::Utf8:
        return QString::fromUtf8(bytes);
    case TextEncoding::Unstated:
        return bytes.isValidUtf8() ? QString::fromUtf8(bytes) : QString::fromLatin1(bytes);
    }
    return {};
}

void appendText(
    QList<MetadataItem> &items, CommonIdentifier identifier, QByteArrayView bytes, TextEncoding encoding)
{
    const QString text = decodedText(bytes, encoding);
    QStringView rest = text;
    while (items.size() < MaxItemsPerTag) {
        const qsizetype end = rest.indexOf(QChar::Null);
        QStringView value = end < 0 ? rest : rest.first(end);
        if (value.startsWith(QChar::ByteOrderMark))
            value = value.sliced(1);
        const MetadataItem item{identifier, value.toString()};
        items.append(item);
        if (end < 0 || end + 1 == rest.size())
            return;
        rest = rest.sliced(end + 1);
    }
}

void appendPicture(QList<MetadataItem> &items, QByteArrayView picture)
{
    if (items.size() < MaxItemsPerTag)
        items.append({CommonIdentifier::Artwork, {}, picture.toByteArray()});
}

QByteArrayView pictureFrom(QByteArrayView data, qsizetype begin)
{
    constexpr qsizetype searchLimit = 1024; // longer than the descriptions that people write
    constexpr qsizetype excess = 4; // zeros too many
    if (startsWithMark(data.sliced(begin)))
        return data.sliced(begin);
    for (qsizetype i = 0; i < std::min({data.size(), begin + excess, searchLimit}); ++i) {
        if (startsWithMark(data.sliced(i)))
            return data.sliced(i);
    }
    return data.sliced(begin);
}

QList<MetadataItem> mergedTags(const QList<QList<MetadataItem>> &tags)
{
    QList<MetadataItem> merged;
    for (const auto field : {CommonIdentifier::Title, CommonIdentifier::Artist, CommonIdentifier::AlbumName,
             CommonIdentifier::Artwork}) {
        for (const QList<MetadataItem> &tag : tags) {
            const QList<MetadataItem> items = metadataItems(tag, field);
            if (items.isEmpty() || isEmpty(items.first()))
                continue;
            merged += items;
            break;
        }
    }
    return merged;
}
