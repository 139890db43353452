#include "tests/player/StandardOutput.h"

#include <cstdio>
#include <unistd.h>

QByteArray standardOutputOf(const std::function<void()> &action)
{
    std::fflush(stdout);
    std::FILE *capture = std::tmpfile();
    const int original = dup(STDOUT_FILENO);
    dup2(fileno(capture), STDOUT_FILENO);

    action();

    std::fflush(stdout);
    dup2(original, STDOUT_FILENO);
    close(original);
    QByteArray written(lseek(fileno(capture), 0, SEEK_END), '\0');
    const ssize_t length = pread(fileno(capture), written.data(), static_cast<size_t>(written.size()), 0);
    std::fclose(capture);
    return written.first(length);
}
