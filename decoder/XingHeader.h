#pragma once

#include <QByteArrayView>
#include <cstdint>
#include <optional>

/// What the first frame of an MP3 file says of all that follow it, if it has a header marked "Xing" or "Info".
struct XingHeader {
    std::int64_t frames = 0; ///< of MPEG; 0 if it does not say
    int delay =
        0; ///< samples that the encoder put in front, without those of a decoder; 0 if no LAME header says
    int padding = 0; ///< and behind
};

/// `frame` starts with the frame's own header; nothing if there is none of those.
std::optional<XingHeader> xingHeader(QByteArrayView frame);
