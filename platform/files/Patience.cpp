#include "platform/files/Patience.h"

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds usual = 3s;
constexpr std::chrono::milliseconds brisk = 1s;
constexpr auto memory = 10s;

} // namespace

Patience &Patience::instance()
{
    // Never destroyed: a thread may use it until the process is gone.
    static auto *const patience = new Patience;
    return *patience;
}

std::chrono::milliseconds Patience::limit(const QByteArray &folder, Moment now)
{
    const std::lock_guard lock(m_mutex);
    if (now - m_lastSilence > memory)
        m_silences.clear();
    if (m_silences.isEmpty())
        return usual;
    const int silences = m_silences.value(folder);
    if (silences == 0)
        return brisk;
    std::chrono::milliseconds limit = usual;
    for (int i = 0; i < silences; ++i)
        limit /= 10;
    return limit;
}

void Patience::noteAnswer(const QByteArray &folder)
{
    const std::lock_guard lock(m_mutex);
    if (m_silences.contains(folder))
        m_silences[folder] = 0;
}

void Patience::noteSilence(const QByteArray &folder, Moment now)
{
    const std::lock_guard lock(m_mutex);
    ++m_silences[folder];
    m_lastSilence = now;
}
