#pragma once

#include "metadata/MediaAsset.h"

/// What one reader finds in a file.
struct MediaContents {
    MediaTime duration; ///< not numeric where the reader cannot tell
    QList<MetadataItem> items; ///< in stored order
};

/// As many items as one tag gives at most; a hostile one could hold millions.
constexpr qsizetype MaxItemsPerTag = 64;

/// Frames, fields or attributes of one tag that are looked at; a hostile one could hold millions.
constexpr int MaxEntriesPerTag = 10'000;
