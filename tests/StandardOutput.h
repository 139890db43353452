#pragma once

#include <QByteArray>
#include <cstdio>
#include <functional>
#include <unistd.h>

/// Runs `action` with `descriptor` as standard output, or with none for -1.
inline void withStandardOutput(int descriptor, const std::function<void()> &action)
{
    std::fflush(stdout);
    const int original = dup(STDOUT_FILENO);
    if (descriptor < 0)
        close(STDOUT_FILENO);
    else
        dup2(descriptor, STDOUT_FILENO);
    action();
    std::fflush(stdout);
    dup2(original, STDOUT_FILENO);
    close(original);
}

/// What `action` writes on standard output.
inline QByteArray standardOutputOf(const std::function<void()> &action)
{
    std::FILE *capture = std::tmpfile();
    withStandardOutput(fileno(capture), action);
    QByteArray written(lseek(fileno(capture), 0, SEEK_END), '\0');
    const ssize_t length = pread(fileno(capture), written.data(), static_cast<size_t>(written.size()), 0);
    std::fclose(capture);
    return written.first(length);
}
