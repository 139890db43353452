#pragma once

#include "platform/media/MediaContents.h"
#include "platform/media/MediaSource.h"

/// Reads a WAV file: length from its format and data, tags from an ID3 chunk, before those of a LIST INFO
/// chunk.
MediaContents readWav(MediaSource &source);

/// Reads an AIFF or AIFF-C file: length from the COMM chunk, tags from an ID3 chunk.
MediaContents readAiff(MediaSource &source);
