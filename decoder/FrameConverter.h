#pragma once

#include "decoder/Decoder.h"

#include <vector>

struct AVFrame;
struct SwrContext;

/// Brings decoded frames of whatever format to interleaved 32-bit float of one rate and channel count, also
/// if the input changes its own on the way. What comes out is finite and within -8 and 8, of which 1 is full
/// scale; what is no number becomes silence.
class FrameConverter {
public:
    FrameConverter() = default;
    ~FrameConverter();
    FrameConverter(const FrameConverter &) = delete;
    FrameConverter &operator=(const FrameConverter &) = delete;

    /// The own format of a file with this rate and these channels: the rate up to 192 kHz, mono or stereo.
    [[nodiscard]] static AudioFormat formatOf(int rate, int channels);

    void setOutput(AudioFormat format) { m_output = format; }

    /// Appends the sound of `frame`, which it may change, to `samples`; false if it cannot be converted.
    bool convert(AVFrame &frame, std::vector<float> &samples);

    /// Appends what the resampler still holds, at the end of the track.
    void drain(std::vector<float> &samples);

    /// Forgets what the resampler still holds, before a seek.
    void reset();

private:
    int run(const AVFrame *input, std::vector<float> &samples);

    AudioFormat m_output;
    SwrContext *m_resampler = nullptr;
    int m_givenRate = 0; ///< of the frames that it was given
    std::int64_t m_given = 0; ///< frames since it was made
    std::int64_t m_made = 0; ///< frames since then
};
