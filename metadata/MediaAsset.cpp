#include "metadata/MediaAsset.h"

#include "files/DetachedThread.h"
#include "metadata/MediaReader.h"

#include <utility>

MediaAsset::MediaAsset(const QUrl &url)
    : MediaAsset(callWithTimeout([url] { return readMedia(url); }).value_or(MediaContents()))
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
