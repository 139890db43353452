#pragma once

#include "platform/audio/AudioOutput.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/// Plays into nothing, in real time or by hand: for machines without a sound server, and for tests.
class NullOutput final : public AudioOutput {
public:
    enum class Clock { RealTime, ByHand };

    explicit NullOutput(std::shared_ptr<FrameFeed> feed, Clock clock = Clock::RealTime);
    ~NullOutput() override;

    void apply(const Mix &mix) override;
    void refresh() override;
    [[nodiscard]] Status status() override;

    /// Lets `frames` frames be heard, whether playing or not, and returns them. For a clock by hand.
    std::vector<float> advance(std::int64_t frames);

private:
    using Moment = std::chrono::steady_clock::time_point;

    void startThread();
    void run();
    void update();
    void hear(std::int64_t frame);
    void catchUp();
    [[nodiscard]] bool isEndHeard() const;

    const std::shared_ptr<FrameFeed> m_feed;
    const Clock m_clock;
    std::mutex m_mutex; ///< guards all below
    std::condition_variable m_changed;
    Renderer m_renderer;
    Mix m_mix;
    std::int64_t m_heard = 0;
    Moment m_started; ///< when frame m_startFrame was heard, while playing
    std::int64_t m_startFrame = 0;
    bool m_isClosing = false;
    std::thread m_thread; ///< waits for m_changed only, and so is joined at once; none where none was left
};
