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

// Keeps 20 kHz whole from 48 to 44.1 kHz, where the resampler's usual 32 samples take 1.3 dB.
constexpr int FilterLength = 128; // samples of the lower rate
constexpr int LongestFilter = 1024; // samples of the higher one; a quarter of 192 kHz takes

/// Without a branch, so that the compiler does several at once.
template <typename T> void makeReasonable(std::span<T> samples)
{
    constexpr T loudest = 8; // far more than any music has, far less than what hurts
    for (T &sample : samples) {
        const T bounded = std::min(std::max(sample, -loudest), loudest);
        sample = std::isnan(bounded) ? 0 : bounded;
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
    const auto channels = size_t(frame.ch_layout.nb_channels);
    const size_t planes = av_sample_fmt_is_planar(AVSampleFormat(frame.format)) ? channels : 1;
    const size_t samples = size_t(frame.nb_samples) * channels / planes;
    for (unsigned char *plane : std::span(frame.extended_data, planes)) {
        if (format == AV_SAMPLE_FMT_FLT)
            makeReasonable(std::span(reinterpret_cast<float *>(plane), samples));
        else
            makeReasonable(std::span(reinterpret_cast<double *>(plane), samples));
    }
    return true;
}

} // namespace

FrameConverter::~FrameConverter()
{
    reset();
}

AudioFormat FrameConverter::formatOf(int rate, int channels)
{
    return {std::clamp(rate, 1, 192'000), std::clamp(channels, 1, 2)};
}

bool FrameConverter::convert(AVFrame &frame, std::vector<float> &samples)
{
    // A layout that only counts its channels cannot be mixed; the usual one for that count can.
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&frame.ch_layout, frame.ch_layout.nb_channels);
    if (frame.sample_rate <= 0
        || std::int64_t(frame.nb_samples) * m_output.rate / frame.sample_rate > MostFramesAtOnce
        || !makeReasonable(frame))
        return false;
    int result = run(&frame, samples);
    if (result == AVERROR_INPUT_CHANGED) {
        drain(samples);
        reset();
        result = run(&frame, samples);
    }
    return result >= 0;
}

void FrameConverter::drain(std::vector<float> &samples)
{
    if (m_given == 0)
        return;
    const std::int64_t left = av_rescale(m_given, m_output.rate, m_givenRate) - m_made;
    const std::size_t end = samples.size() + std::size_t(std::max<std::int64_t>(left, 0) * m_output.channels);
    // The resampler goes on with its last samples in reverse, and ends too early if it has too few of them.
    if (m_given < LongestFilter)
        swr_inject_silence(m_resampler, LongestFilter);
    run(nullptr, samples);
    samples.resize(end);
}

void FrameConverter::reset()
{
    swr_free(&m_resampler);
    m_given = 0;
    m_made = 0;
}

/// Appends what `input` becomes, or what is left if it is null. Negative if that fails: an AVERROR code.
int FrameConverter::run(const AVFrame *input, std::vector<float> &samples)
{
    if (!m_resampler) {
        m_resampler = swr_alloc();
        // Mixing several channels into one must not exceed full scale, and one is as loud on two.
        av_opt_set_double(m_resampler, "rematrix_maxval", 1.0, 0);
        av_opt_set_int(m_resampler, "filter_size", FilterLength, 0);
        if (input && input->ch_layout.nb_channels == 1 && m_output.channels == 2)
            av_opt_set_double(m_resampler, "rematrix_volume", M_SQRT2, 0);
    }
    AVFrame *output = av_frame_alloc();
    if (!m_resampler || !output) {
        av_frame_free(&output);
        return AVERROR(ENOMEM);
    }
    output->format = AV_SAMPLE_FMT_FLT;
    output->sample_rate = m_output.rate;
    av_channel_layout_default(&output->ch_layout, m_output.channels);
    const int result = swr_convert_frame(m_resampler, output, input);
    if (result >= 0) {
        m_made += output->nb_samples;
        m_given += input ? input->nb_samples : 0;
        m_givenRate = input ? input->sample_rate : m_givenRate;
        const std::span sound(reinterpret_cast<float *>(output->data[0]),
            std::size_t(output->nb_samples) * std::size_t(m_output.channels));
        makeReasonable(sound); // resampling overshoots
        samples.insert(samples.end(), sound.begin(), sound.end());
    }
    av_frame_free(&output);
    return result;
}
