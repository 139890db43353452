#include "metadata/MediaContents.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace {

bool isEmpty(const MetadataItem &item)
{
    return item.stringValue().value_or(QString()).isEmpty()
        && item.dataValue().value_or(QByteArray()).isEmpty();
}

} // namespace

MediaTime MediaTime::fromSeconds(double seconds)
{
    constexpr std::int32_t timescale = 1'000'000;
    constexpr double longest = 1e9; // longer ones are damage
    if (!(std::abs(seconds) <= longest))
        return {};
    return {std::llround(seconds * timescale), timescale};
}

MetadataItem::MetadataItem(CommonIdentifier identifier, QString text)
    : m_identifier(identifier)
    , m_text(std::move(text))
{
}

MetadataItem::MetadataItem(CommonIdentifier identifier, QByteArray data)
    : m_identifier(identifier)
    , m_data(std::move(data))
{
}

QList<MetadataItem> metadataItems(const QList<MetadataItem> &items, CommonIdentifier identifier)
{
    QList<MetadataItem> matches;
    std::copy_if(items.begin(), items.end(), std::back_inserter(matches),
        [identifier](const MetadataItem &item) { return item.identifier() == identifier; });
    return matches;
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
