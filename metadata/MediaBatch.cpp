#include "metadata/MediaBatch.h"

#include "files/LocalFile.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t MostAhead = 8; // files
constexpr qsizetype MostBytesAhead = 16 << 20; // of their covers, but for the last one's
constexpr std::size_t FilesPerWakeup = 4; // that are worth it

qsizetype pictureBytes(const MediaAsset &asset)
{
    qsizetype bytes = 0;
    for (const MetadataItem &item : asset.commonMetadata)
        bytes += item.dataValue ? item.dataValue->size() : 0;
    return bytes;
}

} // namespace

struct MediaBatch::Shared {
    Shared(const QList<QUrl> &files, const BatchTimeouts &timeouts)
        : fileTimeout(timeouts.file)
        , waitLeft(timeouts.batch)
        , unread(files.begin(), files.end())
    {
    }

    [[nodiscard]] bool hasRoom() const { return ready.size() < MostAhead && bytesAhead < MostBytesAhead; }
    [[nodiscard]] bool hasEnough() const
    {
        return ready.size() >= FilesPerWakeup || unread.empty() || !hasRoom();
    }
    [[nodiscard]] std::chrono::milliseconds timeout() const { return std::min(fileTimeout, waitLeft); }

    /// A reader's thread.
    void read(int self)
    {
        std::unique_lock lock(mutex);
        while (self == reader && !unread.empty()) {
            if (hasRoom())
                readNext(self, lock);
            else
                changed.wait(lock);
        }
    }

    void readNext(int self, std::unique_lock<std::mutex> &lock)
    {
        const QUrl url = unread.front();
        begin = Clock::now();
        lock.unlock();
        MediaAsset asset = readMedia(url);
        lock.lock();
        if (self != reader)
            return;
        finishNext(std::move(asset));
        if (hasEnough())
            changed.notify_all();
    }

    void finishNext(MediaAsset asset)
    {
        bytesAhead += pictureBytes(asset);
        ready.push_back({unread.front(), std::move(asset)});
        unread.pop_front();
    }

    /// False if there is no file to take when the time of the one that is being read is up.
    bool waitForNext(std::unique_lock<std::mutex> &lock)
    {
        while (!hasEnough() && Clock::now() < begin + timeout())
            changed.wait_until(lock, begin + timeout());
        return !ready.empty();
    }

    const std::chrono::milliseconds fileTimeout;
    std::mutex mutex; ///< guards all below
    std::condition_variable changed;
    std::chrono::milliseconds waitLeft;
    std::deque<QUrl> unread; ///< the one that is being read in front
    std::deque<File> ready; ///< read or given up, but not taken yet
    qsizetype bytesAhead = 0; ///< of the pictures in those
    Clock::time_point begin; ///< of the file that is being read
    int reader = 0; ///< the number of the one that goes on; others end with the file that they are at
};

MediaBatch::MediaBatch(const QList<QUrl> &urls, const BatchTimeouts &timeouts)
    : m_shared(std::make_shared<Shared>(urls, timeouts))
{
    startReader();
}

MediaBatch::~MediaBatch()
{
    const std::lock_guard lock(m_shared->mutex);
    ++m_shared->reader;
    m_shared->changed.notify_all();
}

std::optional<MediaBatch::File> MediaBatch::take()
{
    Shared &shared = *m_shared;
    std::unique_lock lock(shared.mutex);
    while (shared.ready.empty() && !shared.unread.empty()) {
        if (!m_hasReader)
            shared.readNext(shared.reader, lock);
        else if (!shared.waitForNext(lock))
            giveUp();
    }
    if (shared.ready.empty())
        return std::nullopt;
    if (!shared.hasRoom())
        shared.begin = Clock::now(); // the reader goes on now
    File file = std::move(shared.ready.front());
    shared.ready.pop_front();
    shared.bytesAhead -= pictureBytes(file.asset);
    shared.changed.notify_all();
    return file;
}

void MediaBatch::startReader()
{
    const int number = ++m_shared->reader;
    m_shared->begin = Clock::now();
    m_hasReader = startDetachedThread([shared = m_shared, number] { shared->read(number); });
}

/// Gives up the file that is being read. Another reader goes on with the next one.
void MediaBatch::giveUp()
{
    Shared &shared = *m_shared;
    shared.waitLeft -= shared.timeout();
    const QByteArray folder = localFolderPath(shared.unread.front());
    shared.finishNext({});
    while (shared.waitLeft <= shared.waitLeft.zero() && !shared.unread.empty())
        shared.finishNext({});
    std::stable_partition(shared.unread.begin(), shared.unread.end(),
        [&folder](const QUrl &url) { return localFolderPath(url) != folder; });
    startReader();
}
