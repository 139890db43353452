#pragma once

#include "playback/Session.h"

#include <vector>

/// An output whose clock the test moves by hand.
class HandOutput final : public AudioOutput {
public:
    HandOutput(AudioFormat format, const std::shared_ptr<Wakeup> &decoder, const SoundLabel &label = {})
        : m_decoder(decoder)
        , m_label(label)
        , m_mixer(format)
    {
    }

    /// A factory that notes the newest of the outputs that it makes in `newest`.
    static OutputFactory factory(HandOutput *&newest)
    {
        return [&newest](AudioFormat format, const std::shared_ptr<Wakeup> &decoder, const SoundLabel &) {
            auto output = std::make_shared<HandOutput>(format, decoder);
            newest = output.get();
            return output;
        };
    }

    void apply(const Mix &mix) override
    {
        const std::lock_guard lock(m_mutex);
        m_mix = mix;
        update();
    }
    void offer(std::shared_ptr<RingBuffer> ring) override
    {
        const std::lock_guard lock(m_mutex);
        m_mixer.offer(std::move(ring));
        update();
    }
    void follow(std::shared_ptr<RingBuffer> ring) override
    {
        const std::lock_guard lock(m_mutex);
        m_hasNext = ring != nullptr;
        m_mixer.follow(std::move(ring));
        update();
    }
    [[nodiscard]] bool hasNext()
    {
        const std::lock_guard lock(m_mutex);
        return m_hasNext;
    }
    [[nodiscard]] SoundLabel label()
    {
        const std::lock_guard lock(m_mutex);
        return m_label;
    }
    void handOver(std::shared_ptr<Wakeup> decoder, const SoundLabel &label) override
    {
        const std::lock_guard lock(m_mutex);
        m_mixer.settle();
        m_hasNext = false;
        m_decoder = std::move(decoder);
        m_label = label;
    }
    [[nodiscard]] Status status() override
    {
        const std::lock_guard lock(m_mutex);
        return {m_state, m_mixer.positionAt(m_heard), m_mixer.isEndedAt(m_heard)};
    }

    /// Renders `frames` frames ahead of what is heard, as a server queues them.
    void render(std::int64_t frames)
    {
        const std::lock_guard lock(m_mutex);
        m_mixer.render(m_heard + frames - m_mixer.rendered());
    }

    /// Lets `frames` frames be heard, a second's at most, wakes the decoder thread and returns them.
    std::vector<float> advance(std::int64_t frames)
    {
        const std::lock_guard lock(m_mutex);
        const std::int64_t end = m_heard + frames;
        m_mixer.render(end - m_mixer.rendered());
        std::vector<float> samples;
        while (m_heard < end) {
            const auto run = m_mixer.samplesFrom(m_heard);
            samples.insert(samples.end(), run.begin(), run.end());
            m_heard += std::int64_t(run.size()) / m_mixer.format().channels;
        }
        samples.resize(std::size_t(frames * m_mixer.format().channels));
        m_heard = end;
        m_decoder->signal();
        return samples;
    }

    /// Lets `frames` frames be heard and fails, both at once for the decoder thread.
    void fail(std::int64_t frames)
    {
        const std::lock_guard lock(m_mutex);
        m_heard += frames;
        m_mixer.render(m_heard - m_mixer.rendered());
        m_state = State::Failed;
        m_decoder->signal();
    }

private:
    void update()
    {
        if (m_mixer.needsChange(m_mix))
            m_mixer.change(m_heard, m_mix);
    }

    std::mutex m_mutex; ///< guards all below
    std::shared_ptr<Wakeup> m_decoder;
    SoundLabel m_label;
    State m_state = State::Ready;
    bool m_hasNext = false; ///< whether a ring follows
    Mixer m_mixer;
    Mix m_mix;
    std::int64_t m_heard = 0;
};
