#pragma once

#include <QFile>

/// Whether the program runs in a sandbox of Flatpak's, which puts this file there. Any thread.
[[nodiscard]] inline bool isSandboxed()
{
    return QFile::exists(QStringLiteral("/.flatpak-info"));
}
