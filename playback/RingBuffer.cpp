#include "playback/RingBuffer.h"

#include <algorithm>
#include <ctime>

RingBuffer::RingBuffer(AudioFormat format, std::int64_t capacity, std::shared_ptr<Wakeup> writer)
    : m_capacity(capacity)
    , m_channels(format.channels)
    , m_writer(std::move(writer))
    , m_samples(std::make_unique_for_overwrite<float[]>(std::size_t(capacity * format.channels)))
{
}

void RingBuffer::reset(std::uint32_t generation, std::int64_t start)
{
    m_generation = generation;
    m_start = start;
    m_expected = -1;
    m_written = 0;
    m_read = 0;
    m_jumpsWritten = 0;
    m_jumpsRead = 0;
    m_isFinished = false;
    m_isStarved = false;
}

std::int64_t RingBuffer::write(std::span<const float> samples, std::int64_t position)
{
    const std::int64_t written = m_written.load(std::memory_order_relaxed);
    const std::int64_t room = m_capacity - (written - m_read.load(std::memory_order_acquire));
    const std::int64_t frames = std::min(std::int64_t(samples.size()) / m_channels, room);
    if (frames <= 0 || (position != m_expected && !addJump(written, position)))
        return 0;

    const std::int64_t first = written % m_capacity;
    const std::int64_t beforeWrap = std::min(frames, m_capacity - first);
    std::copy_n(samples.data(), beforeWrap * m_channels, m_samples.get() + first * m_channels);
    std::copy_n(
        samples.data() + beforeWrap * m_channels, (frames - beforeWrap) * m_channels, m_samples.get());
    m_expected = position + frames;
    m_written.store(written + frames, std::memory_order_release);
    return frames;
}

RingBuffer::Run RingBuffer::read(float *samples, std::int64_t frames)
{
    const Run run = take(samples, frames);
    if (m_writer && !isFinished() && available() < m_capacity / 2)
        m_writer->signal();
    return run;
}

RingBuffer::Run RingBuffer::take(float *samples, std::int64_t frames)
{
    const std::int64_t read = m_read.load(std::memory_order_relaxed);
    frames = std::min(frames, m_written.load(std::memory_order_acquire) - read);
    if (frames <= 0)
        return {};
    followJumps(read);
    frames = std::min(frames, framesUntilJump(read));

    const std::int64_t first = read % m_capacity;
    const std::int64_t beforeWrap = std::min(frames, m_capacity - first);
    std::copy_n(m_samples.get() + first * m_channels, beforeWrap * m_channels, samples);
    std::copy_n(m_samples.get(), (frames - beforeWrap) * m_channels, samples + beforeWrap * m_channels);
    m_read.store(read + frames, std::memory_order_release);
    return {frames, m_current.position + (read - m_current.frame)};
}

bool RingBuffer::isExhausted() const
{
    // In this order: what was written before the end is seen with it.
    return isFinished() && available() == 0;
}

std::int64_t RingBuffer::available() const
{
    const std::int64_t read = m_read.load(std::memory_order_acquire);
    return m_written.load(std::memory_order_acquire) - read;
}

bool RingBuffer::addJump(std::int64_t frame, std::int64_t position)
{
    const std::size_t written = m_jumpsWritten.load(std::memory_order_relaxed);
    if (written - m_jumpsRead.load(std::memory_order_acquire) >= JumpCapacity)
        return false;
    m_jumps[written % JumpCapacity] = {frame, position};
    m_jumpsWritten.store(written + 1, std::memory_order_release);
    return true;
}

void RingBuffer::followJumps(std::int64_t frame)
{
    std::size_t read = m_jumpsRead.load(std::memory_order_relaxed);
    const std::size_t written = m_jumpsWritten.load(std::memory_order_acquire);
    while (read != written && m_jumps[read % JumpCapacity].frame <= frame)
        m_current = m_jumps[read++ % JumpCapacity];
    m_jumpsRead.store(read, std::memory_order_release);
}

std::int64_t RingBuffer::framesUntilJump(std::int64_t frame) const
{
    const std::size_t read = m_jumpsRead.load(std::memory_order_relaxed);
    if (read == m_jumpsWritten.load(std::memory_order_acquire))
        return m_capacity;
    return m_jumps[read % JumpCapacity].frame - frame;
}

Wakeup::Wakeup()
{
    sem_init(&m_semaphore, 0, 0);
}

Wakeup::~Wakeup()
{
    sem_destroy(&m_semaphore);
}

void Wakeup::signal()
{
    if (!m_isSignalled.exchange(true))
        sem_post(&m_semaphore);
}

bool Wakeup::wait(std::optional<std::chrono::milliseconds> time)
{
    timespec moment = {};
    if (time) {
        const auto deadline = std::chrono::steady_clock::now().time_since_epoch() + *time;
        const auto seconds = std::chrono::floor<std::chrono::seconds>(deadline);
        moment = {seconds.count(), (deadline - seconds).count()};
    }
    const int result = time ? sem_clockwait(&m_semaphore, CLOCK_MONOTONIC, &moment) : sem_wait(&m_semaphore);
    m_isSignalled.exchange(false);
    return result == 0;
}
