#include "tests/playback/ScarceThreads.h"

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

namespace {

std::atomic<bool> isScarce = false;
std::atomic<int> refusals = 0;

} // namespace

extern "C" __attribute__((visibility("default"))) int pthread_create(
    pthread_t *thread, const pthread_attr_t *attributes, void *(*function)(void *), void *argument)
{
    if (isScarce) {
        ++refusals;
        return EAGAIN;
    }
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, function, argument);
}

ScarceThreads::ScarceThreads()
{
    refusals = 0;
    isScarce = true;
}

ScarceThreads::~ScarceThreads()
{
    isScarce = false;
}

int ScarceThreads::refused() const
{
    return refusals;
}
