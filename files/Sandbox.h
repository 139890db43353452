#pragma once

#include <QByteArray>

/// Whether the program runs in a sandbox of Flatpak's. Any thread.
[[nodiscard]] bool isSandboxed();

/// Whether a path leads to what one choice has granted to a sandbox: it says nothing of where that lies. Any thread.
[[nodiscard]] bool isPortalDocument(const QByteArray &path);

/// The path outside the sandbox of the file at `path`, open as `descriptor`; empty if it is no document of a
/// sandbox, or if its portal does not tell. Any thread. See GetHostPaths in
/// https://flatpak.github.io/xdg-desktop-portal/docs/doc-org.freedesktop.portal.Documents.html.
[[nodiscard]] QByteArray documentHostPath(const QByteArray &path, int descriptor);
