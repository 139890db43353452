#include "playback/FrameFeed.h"

namespace {

constexpr double ReadAhead = 2; // seconds

}

FrameFeed::FrameFeed(AudioFormat format)
    : m_format(format)
    , m_rings{FrameRing{format, format.frames(ReadAhead)}, FrameRing{format, format.frames(ReadAhead)}}
{
}

FrameRing &FrameFeed::startOver(std::uint32_t generation, std::int64_t start)
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

FrameRing *FrameFeed::takePublished()
{
    return hasPublished() ? m_published.exchange(nullptr) : nullptr;
}
