#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

/// The items of the ID3v1 tag that ends `source`, which is dropped from it; none where none does.
QList<MetadataItem> takeId3v1Tag(MediaSource &source);

/// The same for an APE tag (versions 1 and 2).
QList<MetadataItem> takeApeTag(MediaSource &source);
