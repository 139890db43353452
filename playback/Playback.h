#pragma once

#include "decoder/Decoder.h"
#include "playback/AudioPlayer.h"
#include "playback/output/AudioOutput.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

/// Makes the output of a player. Called by its main or its decoder thread; must not wait for the sound
/// server.
using OutputFactory = std::function<std::unique_ptr<AudioOutput>(std::shared_ptr<FrameFeed>)>;

/// When to try again after the sound server has gone away: soon, then ever more rarely, not for ever.
class ReconnectPlan {
public:
    using Moment = std::chrono::steady_clock::time_point;

    /// The server answers: the next loss starts anew.
    void connected();

    /// Whether the server has ever answered.
    [[nodiscard]] bool wasConnected() const { return m_wasConnected; }

    /// The connection is lost, or an attempt has failed. Answers when to make the next attempt; nothing if
    /// it is time to give up, because 15 seconds have passed or because there never was a connection.
    [[nodiscard]] std::optional<Moment> nextAttempt(Moment now);

    /// An attempt is being made.
    void attempted();

private:
    bool m_wasConnected = false;
    std::optional<Moment> m_lostAt;
    std::optional<Moment> m_next;
    int m_attempts = 0;
};

/// What the main thread's handle and the decoder thread of one player share. Whoever of the two is left last
/// destroys it.
///
/// 1. FilePlayer (main thread) makes it and calls the verbs: play(), pause(), seek(), setGain().
/// 2. The decoder thread answers the newest request(), tells of its frames with framesReady() and of the end
///    with setEnding(), and calls watchOutput() whenever it is woken.
/// 3. watchOutput() replaces an output that has failed, and reports the end once that was heard.
/// 4. close() (main thread) ends the sound and the callbacks; the decoder thread sees isStopped() and ends by
///    itself, however long the file keeps it waiting.
///
/// One mutex guards the state; it is never held while a file is read or the delegate is called.
class Playback {
public:
    /// Where the track ends: by itself, or because decoding failed.
    struct Ending {
        bool isDamaged = false;
        std::optional<Error> error;
    };
    struct Request {
        std::uint32_t generation = 0;
        double seconds = 0;
    };

    Playback(AudioFormat format, double duration, std::shared_ptr<std::atomic<bool>> stop,
        OutputFactory makeOutput);

    [[nodiscard]] FrameFeed &feed() { return *m_feed; }

    // Main thread

    void setDelegate(AudioPlayer *player, AudioPlayerDelegate *delegate);
    void prepare();
    bool play();
    void pause();
    void setGain(float gain);
    void seek(double seconds);
    void extendDuration(double seconds); ///< to at least that; the decoder thread calls it, too
    void close();
    [[nodiscard]] double currentTime();
    [[nodiscard]] double duration();
    [[nodiscard]] bool isPlaying();

    // Decoder thread

    [[nodiscard]] bool isStopped() const { return m_isStopped->load(); }
    [[nodiscard]] Request request();
    void framesReady();
    void setEnding(Ending ending);
    void setDuration(double seconds);

    /// Returns when it wants to be called again at the latest; nothing where only news can change anything.
    std::optional<std::chrono::milliseconds> watchOutput();

private:
    void requestPosition(double seconds);
    void makeOutput();
    void setOutput(std::unique_ptr<AudioOutput> output, bool isFallback);
    void fallBack();
    std::optional<std::chrono::milliseconds> recoverOutput();
    [[nodiscard]] double heardTime();
    void reportEnd(const Ending &ending);

    const OutputFactory m_makeOutput;
    const std::shared_ptr<FrameFeed> m_feed;
    const std::shared_ptr<std::atomic<bool>> m_isStopped; ///< the decoder's flag

    std::mutex m_mutex; ///< guards all up to the next mutex
    std::unique_ptr<AudioOutput> m_output; ///< none before the player is prepared
    bool m_isFallback = false; ///< whether m_output is one that sounds nothing
    ReconnectPlan m_reconnect;
    Mix m_mix;
    Request m_request{1, 0};
    double m_duration;
    Ending m_ending; ///< of the newest request; means something once its end is heard
    bool m_isAtEnd = false; ///< the end was reported, and no other position requested since

    std::mutex m_delegateMutex; ///< held while the delegate is called
    AudioPlayer *m_player = nullptr;
    AudioPlayerDelegate *m_delegate = nullptr;
};
