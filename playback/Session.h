#pragma once

#include "decoder/Decoder.h"
#include "playback/AudioPlayer.h"
#include "playback/output/AudioOutput.h"

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

/// Makes the output of a session, which signals the session's decoder thread. Called by the main or the decoder
/// thread; must not wait for the sound server.
using OutputFactory =
    std::function<std::shared_ptr<AudioOutput>(AudioFormat, std::shared_ptr<Wakeup>, const SoundLabel &)>;

/// When to try again after the sound server has gone away: soon, then ever more rarely, not for ever.
class ReconnectBackoff {
public:
    using Moment = std::chrono::steady_clock::time_point;

    /// The server answers: the next loss starts anew.
    void connected()
    {
        *this = {};
        m_wasConnected = true;
    }

    /// Whether the server has ever answered.
    [[nodiscard]] bool wasConnected() const { return m_wasConnected; }

    /// The connection is lost, or an attempt has failed. Answers when to make the next attempt; nothing if
    /// it is time to give up, because 15 seconds have passed or because there never was a connection.
    [[nodiscard]] std::optional<Moment> nextAttempt(Moment now);

    /// An attempt is being made.
    void attempted()
    {
        ++m_attempts;
        m_next.reset();
    }

private:
    bool m_wasConnected = false;
    std::optional<Moment> m_lostAt;
    std::optional<Moment> m_next;
    std::size_t m_attempts = 0;
};

/// One file being played: its decoder, which works on a thread of its own, the ring that it fills, and the output that
/// sounds the ring's frames.
///
/// 1. Made with an open decoder: no thread runs, no sound server is asked.
/// 2. prepareToPlay() makes the output and starts the decoder thread, which reads ahead into a ring
///    and offers that to the output.
/// 3. The other calls of the main thread say what is wanted. A seek is a request with a number of its own; the decoder
///    thread answers the newest one in the other ring, while the output plays on from the first.
/// 4. The decoder thread also watches the output: it replaces one that has failed, and reports the end once that
///    was heard. If there is nothing to do it sleeps, without a timer.
/// 5. Once the file's end is decoded, another session can be made the successor: the output goes on with its ring, and
///    when that is heard the output is handed over to it.
/// 6. close() ends the sound and the callbacks. The decoder thread ends by itself, however long the file keeps it
///    waiting, and whichever thread is left last destroys the session.
///
/// One mutex guards what both threads use; it is never held while a file is read or the delegate is called.
class Session final : public AudioPlayer, public std::enable_shared_from_this<Session> {
public:
    struct Request {
        std::uint32_t generation = 0; ///< its number, which no other request of any session has
        double seconds = 0;
    };

    /// A session that is closed when what this returns is destroyed. `stop` is the flag that `decoder` gives up at;
    /// close() sets it.
    static std::shared_ptr<Session> make(std::unique_ptr<Decoder> decoder,
        std::shared_ptr<std::atomic<bool>> stop, OutputFactory makeOutput, const SoundLabel &label = {});

    void setDelegate(AudioPlayerDelegate *delegate) override;
    void setVolume(float volume) override;
    bool prepareToPlay() override;
    bool play() override;
    void pause() override;
    void stop() override { pause(); }
    void setCurrentTime(double seconds) override;
    void setSuccessor(const QUrl &url, const SoundLabel &label) override;
    void dropSuccessor() override;
    std::shared_ptr<AudioPlayer> takeSuccessor() override;
    [[nodiscard]] State state() const override;

    void close();

    // Any thread

    [[nodiscard]] Request request();

    /// Makes `successor`, which has no output, follow if `stop` is still the flag of the one that is wanted.
    void follow(const std::shared_ptr<std::atomic<bool>> &stop, std::shared_ptr<Session> successor);

    // Decoder thread

    /// Returns when it wants to be called again at the latest; nothing if only news can change anything.
    std::optional<std::chrono::milliseconds> watchOutput();

    /// Once a request: that the file is decoded to its end, and that the end has been heard.
    void tellDelegate();

private:
    /// How the track ends: by itself, or because decoding failed.
    struct Ending {
        bool isDamaged = false;
        std::optional<Error> error;
    };

    /// The session whose ring follows, and how far that has come.
    struct Successor {
        std::shared_ptr<std::atomic<bool>> stop; ///< set when it is dropped; null if there is none
        std::shared_ptr<Session> session; ///< none before it is open
        std::uint32_t generation = 0; ///< of the ring that follows; 0 before the output has it
        bool hasTakenOver = false;
    };

    Session(std::unique_ptr<Decoder> decoder, std::shared_ptr<std::atomic<bool>> stop,
        OutputFactory makeOutput, const SoundLabel &label);

    void requestPosition(double seconds);
    void makeOutput();
    void setOutput(std::shared_ptr<AudioOutput> output, bool isFallback);
    void fallBack();
    std::optional<std::chrono::milliseconds> recoverOutput();
    [[nodiscard]] double heardTime() const;
    [[nodiscard]] std::chrono::milliseconds restOfTurn() const;

    bool startDecoding();
    std::shared_ptr<RingBuffer> prepareToFollow(std::shared_ptr<Wakeup> former);
    void offerSuccessor();
    void handOver();
    void takeOver(std::shared_ptr<AudioOutput> output, const Mix &mix, bool isFallback,
        const ReconnectBackoff &reconnect);
    void forgetSuccessor();

    void run();
    bool advance();
    void startOver(const Request &request);
    bool decode();
    bool deliver();
    void finish(std::optional<Error> error);
    void setEnding(Ending ending);
    void offerWhenReady();

    const AudioFormat m_format;
    const bool m_isLengthUnknown;
    const bool m_isLengthGuessed; ///< or unknown
    const OutputFactory m_makeOutput;
    const SoundLabel m_label;
    const std::shared_ptr<Wakeup> m_wakeup = std::make_shared<Wakeup>(); ///< of the decoder thread
    const std::shared_ptr<std::atomic<bool>> m_isStopped;
    bool m_isDecoding = false; ///< the main thread's

    mutable std::mutex m_mutex; ///< guards all up to the next mutex
    std::shared_ptr<AudioOutput> m_output; ///< none before the session is prepared
    bool m_isFallback = false; ///< whether m_output is one that sounds nothing
    ReconnectBackoff m_reconnect;
    Mix m_mix;
    Request m_request;
    double m_duration;
    Ending m_ending; ///< of the newest request; means something once its end is heard
    bool m_isAtEnd = false; ///< the end was reported, and no other position requested since
    bool m_isUnderWay = false; ///< has taken over as a successor, and nobody has asked it to play yet
    std::chrono::steady_clock::time_point m_turnStart; ///< when it began to play, for the first time or again
    Successor m_successor;
    std::shared_ptr<RingBuffer> m_readyRing; ///< of a session without an output: what it would offer
    std::shared_ptr<Wakeup> m_former; ///< whom that is told

    std::mutex m_delegateMutex; ///< held while the delegate is called
    AudioPlayerDelegate *m_delegate = nullptr;
    std::uint32_t m_toldRead = 0; ///< the generation whose end of file it has been told
    std::uint32_t m_toldEnd = 0; ///< the one whose heard end it has been told

    // The decoder thread's alone
    std::unique_ptr<Decoder> m_decoder;
    std::uint32_t m_generation = 0; ///< of the request that is being answered
    /// One to fill while the output may hold the other.
    const std::array<std::shared_ptr<RingBuffer>, 2> m_rings;
    std::shared_ptr<RingBuffer> m_ring; ///< the one being filled; none before the first request
    bool m_isOffered = false; ///< whether m_ring was
    DecodedFrames m_undelivered; ///< decoded, but the ring was full
    std::int64_t m_position = 0; ///< track frame after the last one delivered
};
