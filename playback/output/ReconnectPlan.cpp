#include "playback/output/ReconnectPlan.h"

#include <algorithm>
#include <iterator>

using namespace std::chrono_literals;

namespace {

constexpr auto LongestLoss = 15s;
constexpr std::chrono::milliseconds pauses[] = {100ms, 250ms, 500ms, 1000ms};

} // namespace

void ReconnectPlan::connected()
{
    *this = {};
    m_wasConnected = true;
}

std::optional<ReconnectPlan::Moment> ReconnectPlan::nextAttempt(Moment now)
{
    if (!m_wasConnected)
        return std::nullopt;
    if (!m_lostAt)
        m_lostAt = now;
    if (now - *m_lostAt > LongestLoss)
        return std::nullopt;
    if (!m_next)
        m_next = now + pauses[std::min<std::size_t>(std::size_t(m_attempts), std::size(pauses) - 1)];
    return m_next;
}

void ReconnectPlan::attempted()
{
    ++m_attempts;
    m_next.reset();
}
