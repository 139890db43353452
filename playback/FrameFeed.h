#pragma once

#include "playback/RingBuffer.h"

#include <array>
#include <atomic>
#include <chrono>
#include <optional>
#include <semaphore.h>

/// Lets one thread sleep until any other has news for it. Signalling never blocks, allocates or locks; news
/// that arrive before the sleeper looks are one.
class Wakeup {
public:
    Wakeup();
    ~Wakeup();
    Wakeup(const Wakeup &) = delete;
    Wakeup &operator=(const Wakeup &) = delete;

    /// Any thread.
    void signal();

    /// The sleeping thread only; for `time` at most. Returns at once if a signal is waiting, and at times early
    /// without one; answers whether there was one.
    bool wait(std::optional<std::chrono::milliseconds> time = {});

private:
    sem_t m_semaphore;
    std::atomic<bool> m_isSignalled = false;
};

/// What passes between the decoder thread of a player and the output that sounds it: frames in one direction,
/// news in the other, no lock in either.
///
/// There are two rings, so that after a request of another position the output can play the old frames on
/// until some of the new ones are ready:
/// 1. The decoder thread calls startOver() and fills the ring that it is given.
/// 2. Once that holds enough, it calls publish(), and goes on filling it.
/// 3. The output calls takePublished() and reads from there; from then on the former ring is the decoder's.
/// 4. If another request arrives before step 3, startOver() takes the published ring back.
class FrameFeed {
public:
    explicit FrameFeed(AudioFormat format);

    [[nodiscard]] AudioFormat format() const { return m_format; }

    // The requester's side

    /// From now on only frames that answer request number `generation` are wanted.
    void request(std::uint32_t generation) { m_requested.store(generation); }

    // The decoder thread's side

    /// An empty ring for the answer to request `generation`, which begins at track frame `start`.
    RingBuffer &startOver(std::uint32_t generation, std::int64_t start);
    void publish();
    [[nodiscard]] bool isPublished() const { return m_isPublished; }

    /// Where the decoder thread sleeps.
    [[nodiscard]] Wakeup &decoderWakeup() { return m_decoderWakeup; }

    /// Whether the output has run out of frames since it was last asked.
    bool takeStarved() { return m_isStarved.exchange(false); }

    // The output's side

    /// Whether takePublished() would yield a ring.
    [[nodiscard]] bool hasPublished() const;

    /// The ring that answers the newest request, once; null if there is none.
    RingBuffer *takePublished();

    void noteStarved() { m_isStarved.store(true); }

private:
    const AudioFormat m_format;
    std::array<RingBuffer, 2> m_rings;
    std::size_t m_filling = 0; ///< the decoder thread's
    bool m_isPublished = false; ///< the decoder thread's: whether the ring being filled was published

    std::atomic<RingBuffer *> m_published = nullptr;
    std::atomic<std::uint32_t> m_publishedGeneration = 0;
    std::atomic<std::uint32_t> m_requested = 0;
    std::atomic<bool> m_isStarved = false;
    Wakeup m_decoderWakeup;
};
