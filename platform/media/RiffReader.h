#pragma once

#include "platform/media/MediaContents.h"
#include "platform/media/MediaSource.h"

/// Reads a WAV file: length from its format and data, tags from ID3 chunks, before those of LIST INFO chunks.
MediaContents readWav(MediaSource &source);

/// Reads an AIFF or AIFF-C file: length from the COMM chunk, tags from ID3 chunks, before title and artist from
/// the NAME and AUTH chunks.
MediaContents readAiff(MediaSource &source);

/// The tags of a DSF file: the ID3v2 tag that its header points to.
MediaContents readDsf(MediaSource &source);

/// The tags of a DSDIFF file: ID3 chunks, before title and artist from the DIIN chunk.
MediaContents readDsdiff(MediaSource &source);
