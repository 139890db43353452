#include "files/Patience.h"

#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds Usual = 3s;
constexpr std::chrono::milliseconds Brisk = 1s;
constexpr auto Memory = 10s;

} // namespace

Patience::Look::Look(Patience &patience, QByteArray folder)
    : m_patience(patience)
    , m_folder(std::move(folder))
{
    const std::lock_guard lock(m_patience.m_mutex);
    ++m_patience.m_looks[m_folder];
}

Patience::Look::~Look()
{
    const std::lock_guard lock(m_patience.m_mutex);
    if (--m_patience.m_looks[m_folder] == 0)
        m_patience.m_looks.remove(m_folder);
}

Patience &Patience::instance()
{
    // Never destroyed: a thread may use it until the process is gone.
    static auto *const patience = new Patience;
    return *patience;
}

std::chrono::milliseconds Patience::limit(const QByteArray &folder, Moment now)
{
    const std::lock_guard lock(m_mutex);
    const bool isCalm = now - m_lastSilence > Memory;
    if (isCalm)
        m_silences.removeIf([this](const auto &entry) { return !m_looks.contains(entry.key()); });
    const int silences = m_silences.value(folder);
    if (silences == 0)
        return isCalm || m_silences.isEmpty() ? Usual : Brisk / int(m_silences.size());
    if (m_looks.contains(folder))
        return {};
    std::chrono::milliseconds limit = Usual;
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
