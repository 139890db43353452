#include "files/StandardStreams.h"

#include <QString>
#include <algorithm>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

/// Whether a write does not wait: there is room, or it fails.
bool answersAtOnce(int descriptor)
{
    pollfd output = {descriptor, POLLOUT, 0};
    return poll(&output, 1, 0) == 1;
}

void writeLine(int descriptor, const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    QByteArrayView rest = bytes;
    while (!rest.isEmpty() && answersAtOnce(descriptor)) {
        // A pipe that takes any bytes has room for this many.
        const auto size = std::min<std::size_t>(static_cast<std::size_t>(rest.size()), PIPE_BUF);
        const ssize_t written = write(descriptor, rest.data(), size);
        if (written <= 0)
            return;
        rest = rest.sliced(written);
    }
}

void printDiagnostic(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    writeLine(STDERR_FILENO, qFormatLogMessage(type, context, message));
}

} // namespace

void guardStandardStreams()
{
    std::signal(SIGPIPE, SIG_IGN);
    qInstallMessageHandler(&printDiagnostic);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0)
            open("/dev/null", O_RDWR); // gets the lowest number that is free: this one
    }
}

void printLine(const QString &line)
{
    writeLine(STDOUT_FILENO, line);
}
