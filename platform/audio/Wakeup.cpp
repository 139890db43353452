#include "platform/audio/Wakeup.h"

#include <cerrno>
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

void Wakeup::wait()
{
    while (sem_wait(&m_semaphore) != 0 && errno == EINTR) { }
    m_isSignalled.exchange(false);
}

void Wakeup::waitFor(std::chrono::milliseconds time)
{
    timespec deadline = {};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    const auto nanoseconds = deadline.tv_nsec + std::chrono::nanoseconds(time).count();
    deadline.tv_sec += nanoseconds / 1'000'000'000;
    deadline.tv_nsec = nanoseconds % 1'000'000'000;
    int result = 0;
    do {
        result = sem_clockwait(&m_semaphore, CLOCK_MONOTONIC, &deadline);
    } while (result != 0 && errno == EINTR);
    if (result == 0)
        m_isSignalled.exchange(false);
}
