#include "tests/files/FaultyMedium.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdarg>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

struct Medium {
    std::mutex mutex; ///< guards all below
    std::condition_variable changed;
    dev_t device = 0;
    ino_t number = 0; ///< of the file; none has 0
    FaultyMedium::Fault fault = FaultyMedium::Fault::None;
    long offset = 0;
    int faults = 0;
    long interruptedOffset = -1;
};

/// Never destroyed: a thread that waits for a file waits until the process is gone.
Medium &medium()
{
    static Medium *const instance = new Medium;
    return *instance;
}

constexpr int Portion = -1; // in place of an error

/// The error of a call for the file of `status`, 0 if it succeeds; returns once it is known.
int errorOf(const struct stat &status, bool isOpening, long offset)
{
    using Fault = FaultyMedium::Fault;
    Medium &m = medium();
    std::unique_lock lock(m.mutex);
    if (m.number == 0 || status.st_ino != m.number || status.st_dev != m.device || offset < m.offset
        || m.fault == Fault::None || (isOpening && m.fault != Fault::Absence))
        return 0;
    ++m.faults;
    m.changed.wait(lock, [&m] { return m.fault != Fault::Silence && m.fault != Fault::Absence; });
    if (m.fault == Fault::Interruption)
        return std::exchange(m.interruptedOffset, offset) == offset ? 0 : EINTR;
    if (m.fault == Fault::Portions)
        return Portion;
    if (m.fault == Fault::Slowness) {
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return 0;
    }
    return m.fault == Fault::Error ? EIO : 0;
}

} // namespace

extern "C" __attribute__((visibility("default"))) ssize_t pread(
    int descriptor, void *buffer, size_t size, off_t offset)
{
    struct stat status = {};
    const int error = fstat(descriptor, &status) == 0 ? errorOf(status, false, offset) : 0;
    if (error == Portion)
        return syscall(SYS_pread64, descriptor, buffer, std::min(size, size_t(117)), offset);
    if (error != 0) {
        errno = error;
        return -1;
    }
    return syscall(SYS_pread64, descriptor, buffer, size, offset);
}

extern "C" __attribute__((visibility("default"))) int open(const char *path, int flags, ...)
{
    mode_t mode = 0;
    if (flags & O_CREAT) {
        va_list more;
        va_start(more, flags);
        mode = va_arg(more, mode_t);
        va_end(more);
    }
    struct stat status = {};
    if (stat(path, &status) == 0)
        (void)errorOf(status, true, LONG_MAX);
    return int(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
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
