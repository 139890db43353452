#include "playback/Wakeup.h"

#include <ctime>

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
    int result = 0;
    if (time) {
        const auto deadline = std::chrono::steady_clock::now().time_since_epoch() + *time;
        const auto seconds = std::chrono::floor<std::chrono::seconds>(deadline);
        const timespec moment{seconds.count(), (deadline - seconds).count()};
        result = sem_clockwait(&m_semaphore, CLOCK_MONOTONIC, &moment);
    } else {
        result = sem_wait(&m_semaphore);
    }
    m_isSignalled.exchange(false);
    return result == 0;
}
