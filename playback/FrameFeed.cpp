#include "playback/FrameFeed.h"

#include <ctime>

namespace {

constexpr double ReadAhead = 2; // seconds

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

FrameFeed::FrameFeed(AudioFormat format)
    : m_format(format)
    , m_rings{RingBuffer{format, format.frames(ReadAhead)}, RingBuffer{format, format.frames(ReadAhead)}}
{
}

RingBuffer &FrameFeed::startOver(std::uint32_t generation, std::int64_t start)
{
    const bool isTaken = m_isPublished && !m_published.exchange(nullptr);
    if (isTaken)
        m_filling = 1 - m_filling;
    m_isPublished = false;
    m_rings[m_filling].reset(generation, start);
    return m_rings[m_filling];
}

void FrameFeed::publish()
{
    m_publishedGeneration.store(m_rings[m_filling].generation());
    m_published.store(&m_rings[m_filling]);
    m_isPublished = true;
}

bool FrameFeed::hasPublished() const
{
    return m_published.load() && m_publishedGeneration.load() == m_requested.load();
}

RingBuffer *FrameFeed::takePublished()
{
    return hasPublished() ? m_published.exchange(nullptr) : nullptr;
}
