#pragma once

#include "files/Result.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <chrono>
#include <map>
#include <unistd.h>
#include <utility>

/// The path of a file URL as the system's calls take it, byte for byte: also if the name is not valid UTF-8 or
/// holds '#', '%' or '?'. Empty if the URL does not name a file of this machine, or names another host.
QByteArray localFilePath(const QUrl &url);

/// localFilePath() with '.', '..' and repeated slashes resolved, without looking at the disk: two URLs of the
/// same file by such spellings have the same. The URL itself if it does not name a file of this machine.
QByteArray standardizedFilePath(const QUrl &url);

/// localFilePath() up to its last slash, which is left out.
QByteArray localFolderPath(const QUrl &url);

/// The last component of the path as text; bytes that are not UTF-8 show as U+FFFD.
QString localFileName(const QUrl &url);

/// The URLs in the order in which a file browser lists their names: natural ("2" before "10"), without regard
/// to case, by the rules of the user's language; of Spanish if the locale has none (C, POSIX). Names that
/// compare equal keep their order.
QList<QUrl> sortedByFileName(const QList<QUrl> &urls);

/// Owns an open file descriptor.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }

    [[nodiscard]] int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// A call that looks for a file in a folder, for as long as this lives.
///
/// If one hangs because the folder's medium does not answer, no other may be made: the system would let it wait for
/// the first one, in a way that not even the end of the process ends. Any thread.
class FolderLookup {
public:
    using Clock = std::chrono::steady_clock;

    explicit FolderLookup(const QByteArray &folder, Clock::time_point now = Clock::now());
    ~FolderLookup();
    FolderLookup(const FolderLookup &) = delete;
    FolderLookup &operator=(const FolderLookup &) = delete;

    /// Whether another one in the folder hung for 2 seconds when this began: then nothing may be looked for.
    [[nodiscard]] bool isBlocked() const { return m_isBlocked; }

private:
    std::multimap<QByteArray, Clock::time_point>::iterator m_entry; ///< among all that go on
    bool m_isBlocked;
};

/// Opens the regular file behind `url` for reading. Never waits for a FIFO's writer, never touches a device's
/// line discipline; fails with a readable description for anything that is not a readable regular file.
Result<FileDescriptor> openRegularFile(const QUrl &url);
