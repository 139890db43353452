#pragma once

#include <cstdint>
#include <optional>
#include <span>

/// The position that a FLAC frame states in its own header, in samples from the start of the stream (the FLAC
/// format, "frame header": a coded number of the frame, or of the sample if block sizes vary); nothing
/// if `frame` is not one. `blockSize` is the one that STREAMINFO states for all frames.
///
/// In Ogg only the end of a page is timed, so that after a seek a demuxer can be frames off; the header is
/// not.
std::optional<std::int64_t> flacFramePosition(std::span<const std::uint8_t> frame, int blockSize);

/// Frames in the whole stream, from its STREAMINFO block; 0 if it does not tell.
std::int64_t flacLength(std::span<const std::uint8_t> streamInfo);

/// Block size of all frames, from the STREAMINFO block of a FLAC stream; 0 if it is damaged or varies.
int flacBlockSize(std::span<const std::uint8_t> streamInfo);
