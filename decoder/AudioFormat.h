#pragma once

#include <cstdint>

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
