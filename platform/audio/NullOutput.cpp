#include "platform/audio/NullOutput.h"

#include <algorithm>
#include <system_error>

using namespace std::chrono_literals;

namespace {

constexpr auto Tick = 10ms;

}

NullOutput::NullOutput(std::shared_ptr<FrameFeed> feed, Clock clock)
    : m_feed(feed)
    , m_clock(clock)
    , m_renderer(std::move(feed))
{
    if (m_clock == Clock::RealTime)
        startThread();
}

NullOutput::~NullOutput()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isClosing = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void NullOutput::apply(const Mix &mix)
{
    const std::lock_guard lock(m_mutex);
    catchUp();
    if (mix.isPlaying && !m_mix.isPlaying) {
        m_started = std::chrono::steady_clock::now();
        m_startFrame = m_heard;
    }
    m_mix = mix;
    update();
    m_changed.notify_all();
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
    return {State::Ready, m_renderer.positionAt(m_heard), isEndHeard()};
}

std::vector<float> NullOutput::advance(std::int64_t frames)
{
    const std::lock_guard lock(m_mutex);
    const std::int64_t first = m_heard;
    hear(first + frames);
    std::vector<float> samples;
    for (std::int64_t frame = first; frame < m_heard;) {
        const auto run = m_renderer.samplesFrom(frame);
        samples.insert(samples.end(), run.begin(), run.end());
        frame += std::int64_t(run.size()) / m_feed->format().channels;
    }
    samples.resize(std::size_t(frames * m_feed->format().channels));
    return samples;
}

/// Without a thread time passes all the same, as far as anybody asks for it.
void NullOutput::startThread()
{
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error &) {
    }
}

void NullOutput::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_isClosing) {
        if (m_mix.isPlaying)
            m_changed.wait_for(lock, Tick);
        else
            m_changed.wait(lock);
        catchUp();
    }
}

void NullOutput::update()
{
    if (m_renderer.needsChange(m_mix))
        m_renderer.change(m_heard, m_mix);
    if (isEndHeard())
        m_feed->decoderWakeup().signal();
}

void NullOutput::hear(std::int64_t frame)
{
    const bool wasEndHeard = isEndHeard();
    while (m_heard < frame) {
        // In steps, so that frames which arrive meanwhile are not late.
        m_heard = std::min(frame, m_heard + std::max<std::int64_t>(m_renderer.memory() / 4, 1));
        m_renderer.render(std::max<std::int64_t>(m_heard - m_renderer.rendered(), 0));
    }
    if (isEndHeard() && !wasEndHeard)
        m_feed->decoderWakeup().signal();
}

void NullOutput::catchUp()
{
    if (m_clock == Clock::ByHand || !m_mix.isPlaying)
        return;
    const std::chrono::duration<double> played = std::chrono::steady_clock::now() - m_started;
    hear(m_startFrame + m_feed->format().frames(played.count()));
}

bool NullOutput::isEndHeard() const
{
    return m_renderer.end() && m_heard >= *m_renderer.end();
}
