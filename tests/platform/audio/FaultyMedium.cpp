#include "tests/platform/audio/FaultyMedium.h"

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Medium {
    std::mutex mutex; ///< guards all below
    std::condition_variable changed;
    dev_t device = 0;
    ino_t number = 0; ///< of the file; none has 0
    FaultyMedium::Fault fault = FaultyMedium::Fault::None;
    long offset = 0;
    int faults = 0;
};

/// Never destroyed: a thread that waits for a file waits until the process is gone.
Medium &medium()
{
    static Medium *const instance = new Medium;
    return *instance;
}

/// Whether a read of `descriptor` succeeds; returns once it is known.
bool readSucceeds(int descriptor, long offset)
{
    struct stat status = {};
    Medium &m = medium();
    std::unique_lock lock(m.mutex);
    if (m.number == 0 || fstat(descriptor, &status) != 0 || status.st_ino != m.number
        || status.st_dev != m.device || offset < m.offset || m.fault == FaultyMedium::Fault::None)
        return true;
    ++m.faults;
    m.changed.wait(lock, [&m] { return m.fault != FaultyMedium::Fault::Silence; });
    return m.fault != FaultyMedium::Fault::Error;
}

} // namespace

extern "C" __attribute__((visibility("default"))) ssize_t pread(
    int descriptor, void *buffer, size_t size, off_t offset)
{
    if (!readSucceeds(descriptor, offset)) {
        errno = EIO;
        return -1;
    }
    return syscall(SYS_pread64, descriptor, buffer, size, offset);
}

FaultyMedium::FaultyMedium(const QByteArray &path)
{
    struct stat status = {};
    if (stat(path.constData(), &status) != 0)
        qFatal("%s does not exist.", path.constData());
    const std::lock_guard lock(medium().mutex);
    medium().device = status.st_dev;
    medium().number = status.st_ino;
    medium().faults = 0;
}

FaultyMedium::~FaultyMedium()
{
    set(Fault::None);
}

void FaultyMedium::set(Fault fault, long offset)
{
    const std::lock_guard lock(medium().mutex);
    medium().fault = fault;
    medium().offset = offset;
    medium().changed.notify_all();
}

int FaultyMedium::faults() const
{
    const std::lock_guard lock(medium().mutex);
    return medium().faults;
}
