#pragma once

#include "playback/output/AudioOutput.h"

#include <chrono>

/// Plays into nothing, in real time, on machines without a sound server. Time passes as far as anybody asks for it;
/// nobody is woken.
class NullOutput final : public AudioOutput {
public:
    explicit NullOutput(AudioFormat format)
        : m_mixer(format)
    {
    }

    void apply(const Mix &mix) override
    {
        catchUp();
        m_started = std::chrono::steady_clock::now();
        m_startFrame = m_heard;
        m_mix = mix;
        if (m_mixer.needsChange(mix))
            m_mixer.change(m_heard, mix);
    }
    void offer(std::shared_ptr<RingBuffer> ring) override
    {
        m_mixer.offer(std::move(ring));
        apply(m_mix);
    }
    void follow(std::shared_ptr<RingBuffer> ring) override
    {
        m_mixer.follow(std::move(ring));
        apply(m_mix);
    }
    void handOver(std::shared_ptr<Wakeup>, const SoundLabel &) override { m_mixer.settle(); }
    [[nodiscard]] Status status() override
    {
        catchUp();
        return {State::Ready, m_mixer.positionAt(m_heard), m_mixer.isEndedAt(m_heard)};
    }

private:
    void catchUp()
    {
        if (!m_mix.isPlaying)
            return;
        const std::chrono::duration<double> played = std::chrono::steady_clock::now() - m_started;
        m_heard = m_startFrame + m_mixer.format().frames(played.count());
        m_mixer.render(m_heard - m_mixer.rendered());
    }

    Mixer m_mixer;
    Mix m_mix;
    std::int64_t m_heard = 0;
    std::chrono::steady_clock::time_point m_started; ///< when frame m_startFrame was heard, while playing
    std::int64_t m_startFrame = 0;
};
