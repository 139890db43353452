#include "playback/output/NullOutput.h"

NullOutput::NullOutput(std::shared_ptr<FrameFeed> feed, Clock clock)
    : m_feed(feed)
    , m_clock(clock)
    , m_mixer(std::move(feed))
{
}

void NullOutput::apply(const Mix &mix)
{
    const std::lock_guard lock(m_mutex);
    catchUp();
    m_started = std::chrono::steady_clock::now();
    m_startFrame = m_heard;
    m_mix = mix;
    update();
}

void NullOutput::refresh()
{
    const std::lock_guard lock(m_mutex);
    catchUp();
    update();
}

AudioOutput::Status NullOutput::status()
{
    const std::lock_guard lock(m_mutex);
    catchUp();
    return {State::Ready, m_mixer.positionAt(m_heard), m_mixer.isEndedAt(m_heard)};
}

std::vector<float> NullOutput::advance(std::int64_t frames)
{
    const std::lock_guard lock(m_mutex);
    const std::int64_t first = m_heard;
    hear(first + frames);
    std::vector<float> samples;
    for (std::int64_t frame = first; frame < m_heard;) {
        const auto run = m_mixer.samplesFrom(frame);
        samples.insert(samples.end(), run.begin(), run.end());
        frame += std::int64_t(run.size()) / m_feed->format().channels;
    }
    samples.resize(std::size_t(frames * m_feed->format().channels));
    m_feed->decoderWakeup().signal();
    return samples;
}

void NullOutput::update()
{
    if (m_mixer.needsChange(m_mix))
        m_mixer.change(m_heard, m_mix);
}

void NullOutput::hear(std::int64_t frame)
{
    m_mixer.render(frame - m_mixer.rendered());
    m_heard = frame;
}

void NullOutput::catchUp()
{
    if (m_clock == Clock::ByHand || !m_mix.isPlaying)
        return;
    const std::chrono::duration<double> played = std::chrono::steady_clock::now() - m_started;
    hear(m_startFrame + m_feed->format().frames(played.count()));
}
