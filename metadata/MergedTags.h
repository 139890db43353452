#pragma once

#include "metadata/MediaAsset.h"

/// The items of several tags of one file, the tag that counts most first: field by field those of the first
/// tag whose first value for it is not empty.
QList<MetadataItem> mergedTags(const QList<QList<MetadataItem>> &tags);
