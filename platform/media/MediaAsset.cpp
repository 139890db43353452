#include "platform/media/MediaAsset.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

MediaAsset::MediaAsset(const QUrl &) { }

QList<MetadataItem> MediaAsset::metadataItems(const QList<MetadataItem> &items, CommonIdentifier identifier)
{
    QList<MetadataItem> matches;
    std::copy_if(items.begin(), items.end(), std::back_inserter(matches),
        [identifier](const MetadataItem &item) { return item.identifier() == identifier; });
    return matches;
}
