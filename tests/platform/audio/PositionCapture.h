#pragma once

#include "tests/platform/audio/PulseDaemon.h"

#include <algorithm>
#include <cmath>

/// A capture of the position-coded signal: gain and track position are read off every frame.
class PositionCapture : public Capture {
public:
    static constexpr double length =
        20; ///< seconds that the signal takes from its least to its greatest value

    [[nodiscard]] double gain(std::int64_t frame) const { return double(right(frame)) / 0.8; }
    [[nodiscard]] bool isSounding(std::int64_t frame) const { return gain(frame) > 1e-4; }

    /// Track position of a frame that sounds, in seconds.
    [[nodiscard]] double place(std::int64_t frame) const
    {
        return (double(left(frame)) / double(right(frame)) * 0.8 - 0.2) / 0.6 * length;
    }

    /// The first frame from `from` on that sounds, or that does not; frames() where there is none.
    [[nodiscard]] std::int64_t firstFrame(std::int64_t from, bool sounding) const
    {
        while (from < frames() && isSounding(from) != sounding)
            ++from;
        return from;
    }

    /// From the call of something to when a frame was heard, in milliseconds.
    [[nodiscard]] double latency(double call, std::int64_t frame) const
    {
        return (timeOf(frame) - call) * 1000;
    }

    /// The greatest difference of gain between neighbouring frames.
    [[nodiscard]] double steepestStep(std::int64_t from, std::int64_t to) const
    {
        double steepest = 0;
        for (std::int64_t frame = from + 1; frame < to; ++frame)
            steepest = std::max(steepest, std::abs(gain(frame) - gain(frame - 1)));
        return steepest;
    }

    /// That of a ramp over `range` of the gain, with a little to spare.
    [[nodiscard]] static double rampStep(double range) { return range / (0.008 * rate) * 1.1; }
};
