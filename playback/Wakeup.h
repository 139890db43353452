#pragma once

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
