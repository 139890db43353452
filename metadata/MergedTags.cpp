#include "metadata/MergedTags.h"

namespace {

bool isEmpty(const MetadataItem &item)
{
    return item.stringValue().value_or(QString()).isEmpty()
        && item.dataValue().value_or(QByteArray()).isEmpty();
}

} // namespace

QList<MetadataItem> mergedTags(const QList<QList<MetadataItem>> &tags)
{
    QList<MetadataItem> merged;
    for (const auto field : {CommonIdentifier::Title, CommonIdentifier::Artist, CommonIdentifier::AlbumName,
             CommonIdentifier::Artwork}) {
        for (const QList<MetadataItem> &tag : tags) {
            const QList<MetadataItem> items = MediaAsset::metadataItems(tag, field);
            if (items.isEmpty() || isEmpty(items.first()))
                continue;
            merged += items;
            break;
        }
    }
    return merged;
}
