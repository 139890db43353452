#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

/// Reads a WAV file: length from its format and data, tags from ID3 chunks, before those of LIST INFO chunks.
MediaContents readWav(MediaSource &source);

/// Reads an AIFF or AIFF-C file: length from the COMM chunk, tags from ID3 chunks, before title and artist from
/// the NAME and AUTH chunks.
MediaContents readAiff(MediaSource &source);

/// Reads a DSF file: length from its header, tags from the ID3v2 tag that the header points to.
MediaContents readDsf(MediaSource &source);

/// Reads a DSDIFF file: length from its properties unless the sound is compressed, tags from ID3 chunks, before
/// title and artist from the DIIN chunk.
MediaContents readDsdiff(MediaSource &source);
