#pragma once

/// Lets a test run out of threads: a program that links this has its pthread_create() looked at on its way
/// to the system. While one of these lives no thread is made.
class ScarceThreads {
public:
    ScarceThreads();
    ~ScarceThreads();
    ScarceThreads(const ScarceThreads &) = delete;
    ScarceThreads &operator=(const ScarceThreads &) = delete;

    /// Threads that were asked for in vain so far.
    [[nodiscard]] int refused() const;
};
