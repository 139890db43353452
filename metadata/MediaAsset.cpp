#include "metadata/MediaAsset.h"

#include "files/MediumCall.h"
#include "metadata/MediaReader.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

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

MediaAsset::MediaAsset(const QUrl &url)
    : MediaAsset(askMedium<MediaContents>(url, [url] { return readMedia(url); }).value_or(MediaContents()))
{
}

MediaAsset::MediaAsset(MediaContents contents)
    : m_duration(contents.duration)
    , m_commonMetadata(std::move(contents.items))
{
}

QByteArray MediaAsset::firstPicture() const
{
    const QList<MetadataItem> pictures = metadataItems(m_commonMetadata, CommonIdentifier::Artwork);
    return pictures.isEmpty() ? QByteArray() : pictures.first().dataValue().value_or(QByteArray());
}

QList<MetadataItem> MediaAsset::metadataItems(const QList<MetadataItem> &items, CommonIdentifier identifier)
{
    QList<MetadataItem> matches;
    std::copy_if(items.begin(), items.end(), std::back_inserter(matches),
        [identifier](const MetadataItem &item) { return item.identifier() == identifier; });
    return matches;
}
