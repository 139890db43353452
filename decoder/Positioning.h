#pragma once

#include <string_view>

extern "C" {
#include <libavcodec/codec_id.h>
}

/// Whether `codec` is none, so that bytes are in proportion to time.
bool isPcm(AVCodecID codec);

/// Whether a seek in a container leads to the frame that its timestamps name: to the sample, or within the
/// millisecond that the container counts in. `demuxer` is FFmpeg's name.
///
/// Only pairs that have been tried are trusted. Of the others some find no place at all, some have timestamps
/// that are estimated from a byte rate, and some have codecs that need everything before a frame to decode it.
bool seeksExactly(std::string_view demuxer, AVCodecID codec);

/// Whether the packets of a container carry their time, so that a jump of it is a hole in the sound. In the
/// others time is the sum of what the packets last, or a number that nothing depends on.
bool keepsTime(std::string_view demuxer);
