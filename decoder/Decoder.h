#pragma once

#include "files/Result.h"

#include <cstdint>
#include <functional>
#include <span>

/// Of sound as 32-bit float frames, channels interleaved.
struct AudioFormat {
    int rate = 0; ///< frames a second, at most 192,000
    int channels = 0; ///< 1 or 2

    /// Frames that `seconds` last, rounded down.
    [[nodiscard]] std::int64_t frames(double seconds) const
    {
        return static_cast<std::int64_t>(seconds * rate);
    }
    [[nodiscard]] double seconds(std::int64_t frames) const { return static_cast<double>(frames) / rate; }

    bool operator==(const AudioFormat &) const = default;
};

/// A run of decoded sound.
struct DecodedFrames {
    std::span<const float> samples; ///< interleaved; valid until the next call; empty at the end
    std::int64_t position = 0; ///< of the first frame, in frames from the start of the track
};

/// Asked now and then by an operation that can last: whether its result is wanted no longer. May be empty.
using IsObsolete = std::function<bool()>;

/// Decodes one file to frames of one format, from the first to the last audible sample.
///
/// One thread at a time; every call may block for as long as the file's medium does.
class Decoder {
public:
    virtual ~Decoder() = default;
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;

    /// Of all frames that read() returns, also if the file changes its own on the way.
    [[nodiscard]] virtual AudioFormat format() const = 0;

    /// Length in seconds, 0 if the file does not tell.
    [[nodiscard]] virtual double duration() const = 0;

    /// Whether duration() is an estimate that the end of the track may refute.
    [[nodiscard]] virtual bool isDurationGuessed() const = 0;

    /// Whether damaged parts have been left out so far.
    [[nodiscard]] virtual bool isDamaged() const = 0;

    /// The next frames; they need not continue the former ones if the file has a hole. Fails if
    /// decoding cannot go on.
    virtual Result<DecodedFrames> read() = 0;

    /// Makes read() go on at `frame`, to the sample if the format allows it; a position past the end leads
    /// to the end. May decode all that lies before, which takes seconds in an hour of sound. False if the
    /// file cannot be positioned or the seek has become obsolete; then only another seek can follow.
    virtual bool seek(std::int64_t frame, const IsObsolete &isObsolete) = 0;

protected:
    Decoder() = default;
};
