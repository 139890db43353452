#include "metadata/MediaBatch.h"

#include "files/DetachedThread.h"
#include "files/LocalFile.h"
#include "files/Patience.h"
#include "metadata/MediaReader.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t MostAhead = 8; // files
constexpr qsizetype MostBytesAhead = 16 << 20; // of their covers, but for the last one's
constexpr std::size_t Handful = 4; // files that are worth waking somebody for
constexpr auto Glance = 10ms; // how often the deadline is looked at, which moves on with every file

qsizetype pictureBytes(const MediaContents &contents)
{
    qsizetype bytes = 0;
    for (const MetadataItem &item : contents.items)
        bytes += item.dataValue() ? item.dataValue()->size() : 0;
    return bytes;
}

} // namespace

struct MediaBatch::Shared {
    explicit Shared(const QList<QUrl> &files)
        : urls(files)
    {
    }

    // A reader's thread
    void read(int self);
    void readNext(int self, std::unique_lock<std::mutex> &lock);

    [[nodiscard]] bool hasEnough() const
    {
        return ready.size() >= Handful || next == urls.size() || !hasRoom();
    }

    [[nodiscard]] bool hasRoom() const { return ready.size() < MostAhead && bytesAhead < MostBytesAhead; }

    /// False where the deadline passes before there is a file to take.
    bool waitForNext(std::unique_lock<std::mutex> &lock);

    const QList<QUrl> urls;
    std::mutex mutex; ///< guards all below
    std::condition_variable changed;
    std::deque<MediaContents> ready; ///< read, but not taken yet
    qsizetype bytesAhead = 0; ///< of the pictures in those
    qsizetype next = 0; ///< position of the file behind those
    Patience::Moment deadline = Patience::Moment::max(); ///< of that file, while its medium is asked
    int reader = 0; ///< the number of the one that goes on; others end with the file that they are at
};

void MediaBatch::Shared::read(int self)
{
    std::unique_lock lock(mutex);
    while (self == reader && next < urls.size()) {
        if (hasRoom())
            readNext(self, lock);
        else
            changed.wait(lock);
    }
}

void MediaBatch::Shared::readNext(int self, std::unique_lock<std::mutex> &lock)
{
    const QUrl url = urls.at(next);
    const QByteArray folder = localFolderPath(url);
    const auto now = Clock::now();
    const auto limit = Patience::instance().limit(folder, now);
    MediaContents contents;
    if (limit > limit.zero()) {
        deadline = now + limit;
        lock.unlock();
        contents = readMedia(url);
        Patience::instance().noteAnswer(folder);
        lock.lock();
        if (self != reader)
            return;
        deadline = Patience::Moment::max();
    }
    bytesAhead += pictureBytes(contents);
    ready.push_back(std::move(contents));
    ++next;
    if (hasEnough())
        changed.notify_all();
}

bool MediaBatch::Shared::waitForNext(std::unique_lock<std::mutex> &lock)
{
    while (!hasEnough() && Clock::now() < deadline)
        changed.wait_for(lock, Glance);
    return !ready.empty();
}

MediaBatch::MediaBatch(const QList<QUrl> &urls)
    : m_shared(std::make_shared<Shared>(urls))
{
    startReader();
}

MediaBatch::~MediaBatch()
{
    const std::lock_guard lock(m_shared->mutex);
    ++m_shared->reader;
    m_shared->changed.notify_all();
}

MediaAsset MediaBatch::take()
{
    const QUrl url = m_shared->urls.at(m_taken++);
    if (!m_hasReader)
        return MediaAsset(readMedia(url));
    std::unique_lock lock(m_shared->mutex);
    if (m_shared->ready.empty() && !m_shared->waitForNext(lock))
        return giveUp(url);
    m_shared->bytesAhead -= pictureBytes(m_shared->ready.front());
    MediaAsset asset(std::move(m_shared->ready.front()));
    m_shared->ready.pop_front();
    m_shared->changed.notify_all();
    return asset;
}

MediaAsset MediaBatch::take(const QUrl &url)
{
    const qsizetype position = m_shared->urls.indexOf(url, m_taken);
    if (position < 0)
        return MediaAsset(url);
    while (m_taken < position)
        static_cast<void>(take());
    return take();
}

void MediaBatch::startReader()
{
    const int number = ++m_shared->reader;
    m_hasReader = startDetachedThread([shared = m_shared, number] { shared->read(number); });
}

/// Another reader goes on behind the file whose medium does not answer.
MediaAsset MediaBatch::giveUp(const QUrl &url)
{
    Patience::instance().noteSilence(localFolderPath(url), Clock::now());
    m_shared->deadline = Patience::Moment::max();
    ++m_shared->next;
    startReader();
    return MediaAsset(MediaContents());
}
