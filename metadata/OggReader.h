#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaFormat.h"
#include "metadata/MediaSource.h"

/// Reads an Ogg file (RFC 3533) that holds Vorbis, Opus, Speex or FLAC, as `format` says: tags from its comment
/// packet, length from its last page.
MediaContents readOgg(MediaSource &source, MediaFormat format);
