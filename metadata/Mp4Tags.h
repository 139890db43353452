#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

/// Title, artist, album and pictures of an MP4 or QuickTime file: those of its item list, then those under named
/// keys, then the user data of QuickTime and 3GPP (ISO/IEC 14496-12, "QuickTime File Format", 3GPP TS 26.244).
QList<MetadataItem> mp4Items(MediaSource &source);
