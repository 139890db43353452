#include "metadata/ArtworkLoader.h"

#include "files/DetachedThread.h"
#include "metadata/MediaAsset.h"
#include "metadata/PictureDecoder.h"

#include <QTimer>
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace {

/// The bytes of the picture, from the first of `files` that still has it; empty if none has.
QByteArray readFrom(const QList<QUrl> &files, const Fingerprint &picture, QDeadlineTimer deadline)
{
    for (const QUrl &file : files) {
        QByteArray bytes = openMedia(file).firstPicture();
        if (!bytes.isEmpty() && Fingerprint(bytes) == picture)
            return bytes;
        if (deadline.hasExpired())
            break;
    }
    return {};
}

} // namespace

struct ArtworkLoader::Job {
    Request request; ///< empty pixels if only the bytes are wanted
    QList<QUrl> files;
    QByteArray bytes; ///< empty until they are read
    bool isUrgent = false;
};

struct ArtworkLoader::Worker {
    explicit Worker(ArtworkLoader &loader)
        : readingLimit(loader.m_limits.reading)
        , receiver(&loader)
    {
    }

    void run(); ///< on the worker's thread

    // With the mutex locked
    Job takeNext(); ///< there has to be one
    void deliver(const Job &job, const QImage &image);

    const std::chrono::milliseconds readingLimit;
    std::mutex mutex; ///< guards all below but the flag
    std::condition_variable changed;
    std::vector<Job> jobs; ///< the most recently asked for last
    ArtworkLoader *receiver; ///< null once that is gone
    std::atomic<bool> isAbandoned = false;
    bool isRunning = false;
};

void ArtworkLoader::Worker::run()
{
    std::unique_lock lock(mutex);
    while (receiver) {
        if (jobs.empty()) {
            changed.wait(lock);
            continue;
        }
        Job job = takeNext();
        lock.unlock();
        if (job.bytes.isEmpty())
            job.bytes = readFrom(job.files, job.request.picture, QDeadlineTimer(readingLimit));
        const QImage image = decodedPicture(job.bytes, job.request.pixels, isAbandoned);
        lock.lock();
        deliver(job, image);
    }
}

ArtworkLoader::Job ArtworkLoader::Worker::takeNext()
{
    const auto urgent = std::find_if(jobs.rbegin(), jobs.rend(), [](const Job &job) { return job.isUrgent; });
    const auto next = urgent == jobs.rend() ? std::prev(jobs.end()) : std::prev(urgent.base());
    Job job = std::move(*next);
    jobs.erase(next);
    return job;
}

void ArtworkLoader::Worker::deliver(const Job &job, const QImage &image)
{
    if (!receiver)
        return;
    for (Job &other : jobs) {
        if (other.isUrgent && other.request.picture == job.request.picture)
            other.bytes = job.bytes;
    }
    QMetaObject::invokeMethod(
        receiver, [loader = receiver, job, image] { loader->take(job, image); }, Qt::QueuedConnection);
}

ArtworkLoader::ArtworkLoader(const ArtworkLimits &limits)
    : m_limits(limits)
    , m_worker(std::make_shared<Worker>(*this))
    , m_results(limits.cache)
{
}

ArtworkLoader::~ArtworkLoader()
{
    m_worker->isAbandoned = true;
    const std::lock_guard lock(m_worker->mutex);
    m_worker->receiver = nullptr;
    m_worker->changed.notify_all();
}

ArtworkLoader::Loaded ArtworkLoader::image(const Artwork &artwork, QSize pixels)
{
    const Request request{artwork.fingerprint(), pixels};
    const Result *result = m_results.object(request);
    if (result && !result->expiry.hasExpired())
        return {result->image};
    ask(artwork, pixels);
    return {{}, !m_awaited[request].hasExpired()};
}

/// Puts a job in front of the others, or the one that is there already.
void ArtworkLoader::ask(const Artwork &artwork, QSize pixels)
{
    const Request request{artwork.fingerprint(), pixels};
    const bool isHeld = request.picture == m_held;
    const bool isNew = !m_awaited.contains(request);
    const std::lock_guard lock(m_worker->mutex);
    std::vector<Job> &jobs = m_worker->jobs;
    if (isNew) {
        const bool isAnotherTry = m_results.contains(request); // behind a placeholder
        awaitAtMost(isAnotherTry ? std::chrono::milliseconds::zero() : m_limits.lateness, request);
        jobs.push_back({request, artwork.files(), isHeld ? m_heldBytes : QByteArray(), isHeld});
    } else {
        const auto known =
            std::find_if(jobs.begin(), jobs.end(), [&](const Job &job) { return job.request == request; });
        if (known != jobs.end())
            std::rotate(known, known + 1, jobs.end());
    }
    if (!m_worker->isRunning)
        m_worker->isRunning = startDetachedThread([worker = m_worker] { worker->run(); });
    m_worker->changed.notify_all();
}

/// Announces a picture that has become late: it is time for its placeholder.
void ArtworkLoader::awaitAtMost(std::chrono::milliseconds time, const Request &request)
{
    m_awaited.insert(request, QDeadlineTimer(time, Qt::PreciseTimer));
    QTimer::singleShot(time + std::chrono::milliseconds(1), Qt::PreciseTimer, this, [this, request] {
        const auto awaited = m_awaited.constFind(request);
        if (awaited != m_awaited.cend() && awaited->hasExpired())
            Q_EMIT changed(request.picture);
    });
}

void ArtworkLoader::keepOnly(const QList<Artwork> &visible)
{
    const auto isKept = [&](const Fingerprint &picture) {
        return picture == m_held || std::any_of(visible.begin(), visible.end(), [&](const Artwork &artwork) {
            return artwork.fingerprint() == picture;
        });
    };
    const std::lock_guard lock(m_worker->mutex);
    std::erase_if(m_worker->jobs, [&](const Job &job) {
        const bool isDropped = !isKept(job.request.picture);
        if (isDropped)
            m_awaited.remove(job.request);
        return isDropped;
    });
}

void ArtworkLoader::hold(const std::optional<Artwork> &artwork)
{
    const auto picture = artwork ? std::optional(artwork->fingerprint()) : std::nullopt;
    if (picture == m_held)
        return;
    m_held = picture;
    m_heldBytes.clear();
    {
        const std::lock_guard lock(m_worker->mutex);
        for (Job &job : m_worker->jobs)
            job.isUrgent = job.request.picture == m_held;
    }
    if (artwork)
        ask(*artwork, {});
}

void ArtworkLoader::take(const Job &job, const QImage &image)
{
    m_awaited.remove(job.request);
    if (job.request.picture == m_held && !job.bytes.isEmpty())
        m_heldBytes = job.bytes;
    constexpr qsizetype leastCost = 256; // bytes, of a missing picture
    const bool isFinal = !job.bytes.isEmpty();
    m_results.insert(job.request,
        new Result{
            image, isFinal ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(m_limits.nextTry)},
        std::max(image.sizeInBytes(), leastCost));
    Q_EMIT changed(job.request.picture);
}
