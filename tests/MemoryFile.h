#pragma once

#include "files/LocalFile.h"

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <sys/mman.h>
#include <unistd.h>

/// A regular file of given bytes that lies on no disk.
class MemoryFile {
public:
    explicit MemoryFile(const QByteArray &bytes)
        : m_file(memfd_create("media", MFD_CLOEXEC))
    {
        if (write(m_file.get(), bytes.constData(), std::size_t(bytes.size())) != bytes.size())
            qFatal("There is no memory for a file of %lld bytes.", qlonglong(bytes.size()));
    }

    /// Names the file for as long as this object lives.
    [[nodiscard]] QUrl url() const
    {
        return QUrl::fromLocalFile(QStringLiteral("/proc/self/fd/%1").arg(m_file.get()));
    }

    /// Opens it, as a player does.
    [[nodiscard]] FileDescriptor open() const { return openRegularFile(url()).take(); }

private:
    FileDescriptor m_file;
};
