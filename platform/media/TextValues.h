#pragma once

#include "platform/media/MediaAsset.h"

/// Appends to `items` the values in `text`, which U+0000 separates and may end, one item each, as long as
/// there is room for more.
void appendTextValues(QList<MetadataItem> &items, CommonIdentifier identifier, QStringView text);
