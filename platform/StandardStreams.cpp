#include "platform/StandardStreams.h"

#include <QString>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

/// As write(2), but to write to a pipe whose reader is gone only fails and does not end the process.
ssize_t writeUnsignalled(int descriptor, QByteArrayView bytes)
{
    sigset_t brokenPipe, former;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, &former);
    const ssize_t written = write(descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()));
    const timespec atOnce = {};
    if (written < 0 && errno == EPIPE)
        sigtimedwait(&brokenPipe, nullptr, &atOnce);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return written;
}

bool takesBytes(int descriptor)
{
    pollfd output = {descriptor, POLLOUT, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLOUT) != 0;
}

} // namespace

void replaceClosedStandardStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0)
            open("/dev/null", O_RDWR); // gets the lowest number that is free: this one
    }
}

void printLine(const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    QByteArrayView rest = bytes;
    while (!rest.isEmpty() && takesBytes(STDOUT_FILENO)) {
        // A pipe that takes any bytes has room for this many.
        const auto atOnce = rest.first(std::min<qsizetype>(rest.size(), PIPE_BUF));
        const ssize_t written = writeUnsignalled(STDOUT_FILENO, atOnce);
        if (written <= 0)
            return;
        rest = rest.sliced(written);
    }
}
