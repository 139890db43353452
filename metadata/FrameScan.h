#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

/// Length of the MPEG audio (layers I to III) or ADTS AAC stream in `source`; not numeric where it holds
/// none.
///
/// By the frame count of a Xing, Info or VBRI header, less the encoder's delay and padding where it states
/// them; by the size where the bit rate is constant; else by counting the frames (ISO/IEC 11172-3, 13818-3,
/// 13818-7).
MediaTime scannedDuration(MediaSource &source);
