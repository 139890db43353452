#pragma once

#include <QByteArrayView>
#include <cstdint>
#include <optional>

/// What the first frame of an MP3 file says of all that follow it, if it has a header marked "Xing" or "Info".
struct XingHeader {
    std::int64_t frames = 0; ///< of MPEG; 0 if it does not say
    // Samples that the encoder put around the sound, without a decoder's own; 0 if no LAME header says.
    int delay = 0; ///< in front
    int padding = 0; ///< behind
};

/// `frame` starts with the frame's own header; nothing if there is none of those.
std::optional<XingHeader> xingHeader(QByteArrayView frame);
