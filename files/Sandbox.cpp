#include "files/Sandbox.h"

#include <array>
#include <climits>
#include <sys/xattr.h>
#include <unistd.h>

bool isSandboxed()
{
    return access("/.flatpak-info", F_OK) == 0;
}

bool isPortalDocument(const QByteArray &path)
{
    const auto isBelow = [&path](const QByteArray &runtimeFolder) {
        return path.startsWith(runtimeFolder + "/doc/");
    };
    return isBelow("/run/user/" + QByteArray::number(getuid())) || isBelow("/run/flatpak")
        || isBelow(qgetenv("XDG_RUNTIME_DIR"));
}

QByteArray documentHostPath(const QByteArray &path, int descriptor)
{
    if (!isPortalDocument(path) || !isSandboxed())
        return {};
    std::array<char, PATH_MAX> value = {};
    const ssize_t size =
        fgetxattr(descriptor, "user.document-portal.host-path", value.data(), value.size() - 1);
    return size > 0 ? QByteArray(value.data()) : QByteArray(); // with or without a null at its end
}
