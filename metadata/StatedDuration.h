#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

/// The length that the first block of a WavPack file states (wavpack.com, "WavPack 4 & 5 Binary File / Block
/// Format"); not numeric if it does not, or if the sample rate is an unusual one, which stands elsewhere.
MediaTime wavPackDuration(MediaSource &source);

/// The length that the header of a Musepack file of stream version 8 states (musepack.net, "SV8"), which
/// is always its first packet.
MediaTime musepackDuration(MediaSource &source);
