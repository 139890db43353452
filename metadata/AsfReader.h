#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

/// Reads an ASF file (WMA), as Microsoft's "Advanced Systems Format Specification" lays it out: length, title,
/// artist, album and pictures, all from the header object. Takes time and memory in proportion to that.
MediaContents readAsf(MediaSource &source);
