#pragma once

#include "decoder/Decoder.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <semaphore.h>
#include <span>

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

/// Carries decoded frames from the one thread that writes to the one that reads, without a lock. Every frame
/// knows its position in the track, also if the track jumps.
class RingBuffer {
public:
    /// Frames that follow each other in the track.
    struct Run {
        std::int64_t frames = 0;
        std::int64_t position = 0; ///< track frame of the first
    };

    /// Signals `writer`, if there is one, whenever frames are read and less than half of the capacity is left.
    RingBuffer(AudioFormat format, std::int64_t capacity, std::shared_ptr<Wakeup> writer = nullptr);

    /// Empties the ring for frames from `start` on. Only while no other thread uses it.
    void reset(std::uint32_t generation, std::int64_t start);

    /// Which request of a position the frames answer.
    [[nodiscard]] std::uint32_t generation() const { return m_generation; }
    [[nodiscard]] std::int64_t start() const { return m_start; }

    // The writer's side

    /// Takes as many whole frames as there is room for, and answers how many.
    std::int64_t write(std::span<const float> samples, std::int64_t position);

    /// Whether the reader has run out of frames since it was last asked.
    bool takeStarved() { return m_isStarved.exchange(false); }

    /// No frame will follow.
    void finish() { m_isFinished.store(true, std::memory_order_release); }

    // The reader's side

    /// Moves up to `frames` frames that follow each other to `samples`.
    Run read(float *samples, std::int64_t frames);

    /// Whether every frame has been read and none will follow.
    [[nodiscard]] bool isExhausted() const;

    void noteStarved() { m_isStarved.store(true); }

    // Either side

    [[nodiscard]] std::int64_t available() const;
    [[nodiscard]] std::int64_t capacity() const { return m_capacity; }
    [[nodiscard]] bool isFinished() const { return m_isFinished.load(std::memory_order_acquire); }

private:
    /// From this frame of the ring on, positions are counted from `position`.
    struct Jump {
        std::int64_t frame = 0;
        std::int64_t position = 0;
    };
    static constexpr std::size_t JumpCapacity = 32;

    Run take(float *samples, std::int64_t frames);
    bool addJump(std::int64_t frame, std::int64_t position);
    void followJumps(std::int64_t frame);
    [[nodiscard]] std::int64_t framesUntilJump(std::int64_t frame) const;

    const std::int64_t m_capacity;
    const std::int64_t m_channels;
    const std::shared_ptr<Wakeup> m_writer;
    const std::unique_ptr<float[]> m_samples; ///< not touched before it is used
    std::array<Jump, JumpCapacity> m_jumps;
    std::uint32_t m_generation = 0;
    std::int64_t m_start = 0;
    std::int64_t m_expected = -1; ///< the writer's: position that would continue the last frame
    Jump m_current; ///< the reader's: the jump that its next frame is counted from

    alignas(64) std::atomic<std::int64_t> m_written = 0;
    std::atomic<std::size_t> m_jumpsWritten = 0;
    std::atomic<bool> m_isFinished = false;
    std::atomic<bool> m_isStarved = false;
    alignas(64) std::atomic<std::int64_t> m_read = 0;
    std::atomic<std::size_t> m_jumpsRead = 0;
};
