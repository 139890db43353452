#include "metadata/MediaAsset.h"

#include <algorithm>
#include <cmath>
#include <iterator>

MediaTime MediaTime::fromSeconds(double seconds)
{
    constexpr std::int32_t timescale = 1'000'000;
    constexpr double longest = 1e9; // longer ones are damage
    if (!(std::abs(seconds) <= longest))
        return {};
    return {std::llround(seconds * timescale), timescale};
}

QList<MetadataItem> metadataItems(const QList<MetadataItem> &items, CommonIdentifier identifier)
{
    QList<MetadataItem> matches;
    std::copy_if(items.begin(), items.end(), std::back_inserter(matches),
        [identifier](const MetadataItem &item) { return item.identifier == identifier; });
    return matches;
}

QByteArray MediaAsset::firstPicture() const
{
    const QList<MetadataItem> pictures = metadataItems(commonMetadata, CommonIdentifier::Artwork);
    return pictures.isEmpty() ? QByteArray() : pictures.first().dataValue.value_or(QByteArray());
}
