#include "files/DetachedThread.h"

#include <memory>
#include <pthread.h>
#include <utility>

using Work = std::function<void()>;

bool startDetachedThread(Work work)
{
    const auto run = [](void *given) -> void * {
        const std::unique_ptr<Work> own(static_cast<Work *>(given));
        (*own)();
        return nullptr;
    };
    auto own = std::make_unique<Work>(std::move(work));
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, 8 << 20);
    pthread_t thread = {};
    const int error = pthread_create(&thread, &attributes, run, own.get());
    pthread_attr_destroy(&attributes);
    if (error == 0)
        (void)own.release();
    return error == 0;
}
