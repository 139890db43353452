#pragma once

#include "playback/AudioPlayer.h"

#include <atomic>
#include <chrono>

/// Notes what a player tells its delegate.
class RecordingDelegate final : public AudioPlayerDelegate {
public:
    void audioPlayerDidReachEndOfFile(AudioPlayer &) override { ++m_endsOfFile; }

    void audioPlayerDidFinishPlaying(AudioPlayer &player, bool successfully) override
    {
        m_wasPlaying = player.isPlaying();
        m_finishTime =
            std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
        m_wasSuccessful = successfully;
        ++m_finishes;
    }

    void audioPlayerDecodeErrorDidOccur(AudioPlayer &, const std::optional<Error> &error) override
    {
        m_wasErrorNamed = error && !error->description.isEmpty();
        ++m_errors;
    }

    [[nodiscard]] int endsOfFile() const { return m_endsOfFile; }
    [[nodiscard]] int finishes() const { return m_finishes; }
    [[nodiscard]] int errors() const { return m_errors; }
    [[nodiscard]] bool wasSuccessful() const { return m_wasSuccessful; }
    [[nodiscard]] bool wasErrorNamed() const { return m_wasErrorNamed; }

    /// Whether the player said so when it told its last end.
    [[nodiscard]] bool wasPlaying() const { return m_wasPlaying; }

    /// Of the last one, in seconds of the monotonic clock.
    [[nodiscard]] double finishTime() const { return m_finishTime; }

private:
    std::atomic<int> m_endsOfFile = 0;
    std::atomic<int> m_finishes = 0;
    std::atomic<int> m_errors = 0;
    std::atomic<bool> m_wasSuccessful = false;
    std::atomic<bool> m_wasErrorNamed = false;
    std::atomic<bool> m_wasPlaying = false;
    std::atomic<double> m_finishTime = 0;
};
