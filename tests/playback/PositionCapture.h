#pragma once

#include "tests/playback/PulseDaemon.h"
#include "tests/playback/WavFile.h"

#include <algorithm>
#include <cmath>

/// A capture of the position-coded signal: gain and track position are read off every frame.
class PositionCapture : public Capture {
public:
    /// Seconds that the signal takes from its least to its greatest value.
    static constexpr double length = 30;

    /// Frames that a ramp of the gain takes.
    static constexpr std::int64_t fade = rate * 8 / 1000;

    /// Writes the first `seconds` of the signal to a new file; false where that fails.
    [[nodiscard]] static bool saveTrack(const QString &path, double seconds = length)
    {
        const auto samples = WavFile::positionCodedSamples(rate, length);
        const auto count = std::size_t(seconds * rate) * 2;
        return WavFile::save(path, WavFile::encoded(std::span(samples).first(count), rate, 2));
    }

    /// The track position that is heard on `sink` now or in the next half second; nothing for silence.
    [[nodiscard]] static std::optional<double> heardPlace(const QString &sink = QStringLiteral("test"))
    {
        PositionCapture capture;
        if (!capture.start(sink) || !capture.record(0.6))
            return std::nullopt;
        for (std::int64_t frame = 0; frame < capture.frames(); ++frame) {
            if (std::abs(capture.gain(frame) - 1) < 1e-4)
                return capture.place(frame);
        }
        return std::nullopt;
    }

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

    /// Whether no step of the gain between neighbouring frames from `from` on is steeper than a ramp over
    /// `range` of the gain within 8 ms, with a little to spare.
    [[nodiscard]] bool isSmooth(double range, std::int64_t from = 0) const
    {
        const double steepest = range / fade * 1.1;
        for (std::int64_t frame = from + 1; frame < frames(); ++frame) {
            if (std::abs(gain(frame) - gain(frame - 1)) > steepest)
                return false;
        }
        return true;
    }

    /// How far the frames from `from` on are the track from `start` seconds on, without a hole: the first frame that
    /// is not, or `to`.
    [[nodiscard]] std::int64_t contiguousEnd(std::int64_t from, std::int64_t to, double start) const
    {
        std::int64_t frame = from;
        while (frame < to && isSounding(frame)
            && std::abs(place(frame) - start - double(frame - from) / rate) <= 1e-3)
            ++frame;
        return frame;
    }

    [[nodiscard]] bool isContiguous(std::int64_t from, std::int64_t to, double start = 0) const
    {
        return contiguousEnd(from, to, start) >= to;
    }
};
