#pragma once

#include "playback/output/AudioOutput.h"

#include <chrono>
#include <mutex>

/// Plays into nothing, in real time or by hand: for machines without a sound server, and for tests. Time passes as far
/// as anybody asks for it; nobody is woken.
class NullOutput final : public AudioOutput {
public:
    enum class Clock { RealTime, ByHand };

    explicit NullOutput(std::shared_ptr<FrameFeed> feed, Clock clock = Clock::RealTime);

    void apply(const Mix &mix) override;
    void refresh() override;
    [[nodiscard]] Status status() override;

    /// Lets `frames` frames be heard, whether playing or not, wakes the decoder thread and returns them: a second's at
    /// most. For a clock by hand; any thread.
    std::vector<float> advance(std::int64_t frames);

private:
    void update();
    void hear(std::int64_t frame);
    void catchUp();

    const std::shared_ptr<FrameFeed> m_feed;
    const Clock m_clock;
    std::mutex m_mutex; ///< guards all below
    Mixer m_mixer;
    Mix m_mix;
    std::int64_t m_heard = 0;
    std::chrono::steady_clock::time_point m_started; ///< when frame m_startFrame was heard, while playing
    std::int64_t m_startFrame = 0;
};
