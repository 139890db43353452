#include "decoder/FrameConverter.h"

#include <algorithm>
#include <cmath>
#include <span>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace {

// A second and more of any sound; a damaged rate would make minutes of a frame.
constexpr int MostFramesAtOnce = 4 << 20;

/// Without a branch, so that the compiler does several at once.
template <typename T> void makeReasonable(std::span<T> samples)
{
    constexpr T loudest = 8; // far more than any music has, far less than what hurts
    for (T &sample : samples) {
        const T bounded = std::min(std::max(sample, -loudest), loudest);
        sample = std::isnan(bounded) ? 0 : bounded;
    }
}

template <typename T> void makePlanesReasonable(const AVFrame &frame)
{
    const auto channels = size_t(frame.ch_layout.nb_channels);
    const bool isPlanar = av_sample_fmt_is_planar(AVSampleFormat(frame.format)) != 0;
    const size_t planes = isPlanar ? channels : 1;
    for (size_t plane = 0; plane < planes; ++plane) {
        auto *samples = reinterpret_cast<T *>(frame.extended_data[plane]);
        makeReasonable(std::span(samples, size_t(frame.nb_samples) * channels / planes));
    }
}

/// Mixing and resampling would spread what is no number over its neighbours. False if there is no memory.
bool makeReasonable(AVFrame &frame)
{
    const AVSampleFormat format = av_get_packed_sample_fmt(AVSampleFormat(frame.format));
    if (format != AV_SAMPLE_FMT_FLT && format != AV_SAMPLE_FMT_DBL)
        return true;
    if (av_frame_make_writable(&frame) < 0)
        return false;
    if (format == AV_SAMPLE_FMT_FLT)
        makePlanesReasonable<float>(frame);
    else
        makePlanesReasonable<double>(frame);
    return true;
}

} // namespace

FrameConverter::~FrameConverter()
{
    swr_free(&m_resampler);
    av_channel_layout_uninit(&m_inputLayout);
}

AudioFormat FrameConverter::formatFor(const AVFrame &frame)
{
    return {std::clamp(frame.sample_rate, 1, 192'000), std::clamp(frame.ch_layout.nb_channels, 1, 2)};
}

bool FrameConverter::convert(AVFrame &frame, std::vector<float> &samples)
{
    if (!accepts(frame)) {
        drain(samples);
        if (!configure(frame)) {
            reset();
            return false;
        }
    }
    if (!makeReasonable(frame))
        return false;
    return run(const_cast<const unsigned char **>(frame.extended_data), frame.nb_samples, samples);
}

void FrameConverter::drain(std::vector<float> &samples)
{
    if (m_resampler)
        run(nullptr, 0, samples);
}

void FrameConverter::reset()
{
    swr_free(&m_resampler);
}

bool FrameConverter::accepts(const AVFrame &frame) const
{
    return m_resampler && frame.sample_rate == m_inputRate && frame.format == m_inputFormat
        && av_channel_layout_compare(&frame.ch_layout, &m_inputLayout) == 0;
}

bool FrameConverter::configure(const AVFrame &frame)
{
    reset();
    m_inputRate = frame.sample_rate;
    m_inputFormat = AVSampleFormat(frame.format);
    if (m_inputRate <= 0 || av_channel_layout_copy(&m_inputLayout, &frame.ch_layout) < 0)
        return false;

    AVChannelLayout output = {};
    av_channel_layout_default(&output, m_output.channels);
    AVChannelLayout input = {};
    // A layout that only counts its channels cannot be mixed; the usual one for that count can.
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&input, frame.ch_layout.nb_channels);
    else
        av_channel_layout_copy(&input, &frame.ch_layout);
    int result = swr_alloc_set_opts2(&m_resampler, &output, AV_SAMPLE_FMT_FLT, m_output.rate, &input,
        m_inputFormat, m_inputRate, 0, nullptr);
    av_channel_layout_uninit(&input);
    if (result < 0)
        return false;
    // Mixing several channels into one must not exceed full scale.
    av_opt_set_double(m_resampler, "rematrix_maxval", 1.0, 0);
    return swr_init(m_resampler) >= 0;
}

bool FrameConverter::run(const unsigned char **input, int inputFrames, std::vector<float> &samples)
{
    const int room = swr_get_out_samples(m_resampler, inputFrames);
    if (room < 0 || room > MostFramesAtOnce)
        return false;
    const auto channels = size_t(m_output.channels);
    const size_t before = samples.size();
    samples.resize(before + size_t(room) * channels);
    auto *output = reinterpret_cast<unsigned char *>(samples.data() + before);
    const int frames = swr_convert(m_resampler, &output, room, input, inputFrames);
    samples.resize(before + size_t(std::max(frames, 0)) * channels);
    makeReasonable(std::span(samples).subspan(before)); // resampling overshoots
    return frames >= 0;
}
