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

QByteArray pictureBytes(const QList<QUrl> &files, const Fingerprint &picture, QDeadlineTimer deadline)
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

struct ArtworkLoader::Job {
    Request request; ///< empty pixels if only the bytes are wanted
    QList<QUrl> files;
};

struct ArtworkLoader::Worker {
    explicit Worker(ArtworkLoader &loader)
        : readingLimit(loader.m_limits.reading)
        , receiver(&loader)
    {
    }

    void run(); ///< on the worker's thread
    Job takeNext(); ///< with the mutex locked and a job there

    const std::chrono::milliseconds readingLimit;
    std::mutex mutex; ///< guards all below but the flag
    std::condition_variable changed;
    std::vector<Job> jobs; ///< the most recently asked for last
    std::optional<Fingerprint> held;
    QByteArray heldBytes; ///< empty until they are read
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
        const auto [request, files] = takeNext();
        QByteArray bytes = request.picture == held ? heldBytes : QByteArray();
        lock.unlock();
        if (bytes.isEmpty())
            bytes = pictureBytes(files, request.picture, QDeadlineTimer(readingLimit));
        const QImage image = decodedPicture(bytes, request.pixels, isAbandoned);
        lock.lock();
        if (request.picture == held)
            heldBytes = bytes;
        const auto deliver = [loader = receiver, asked = request, image, isRead = !bytes.isEmpty()] {
            loader->take(asked, image, isRead);
        };
        if (receiver)
            QMetaObject::invokeMethod(receiver, deliver, Qt::QueuedConnection);
    }
}

ArtworkLoader::Job ArtworkLoader::Worker::takeNext()
{
    const auto isHeld = [this](const Job &job) { return job.request.picture == held; };
    const auto urgent = std::find_if(jobs.rbegin(), jobs.rend(), isHeld);
    const auto next = urgent == jobs.rend() ? std::prev(jobs.end()) : std::prev(urgent.base());
    Job job = std::move(*next);
    jobs.erase(next);
    return job;
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
    const bool isNew = !m_awaited.contains(request);
    const std::lock_guard lock(m_worker->mutex);
    std::vector<Job> &jobs = m_worker->jobs;
    if (isNew) {
        const bool isBehindPlaceholder = m_results.contains(request); // of a try before
        if (isBehindPlaceholder)
            m_awaited.insert(request, QDeadlineTimer(0));
        else
            awaitAtMost(m_limits.lateness, request);
        jobs.push_back({request, artwork.files()});
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
    const std::lock_guard lock(m_worker->mutex);
    std::erase_if(m_worker->jobs, [&](const Job &job) {
        const bool isKept = job.request.picture == m_worker->held
            || std::any_of(visible.begin(), visible.end(),
                [&job](const Artwork &artwork) { return artwork.fingerprint() == job.request.picture; });
        if (!isKept)
            m_awaited.remove(job.request);
        return !isKept;
    });
}

void ArtworkLoader::hold(const std::optional<Artwork> &artwork)
{
    const auto picture = artwork ? std::optional(artwork->fingerprint()) : std::nullopt;
    {
        const std::lock_guard lock(m_worker->mutex);
        if (picture == m_worker->held)
            return;
        m_worker->held = picture;
        m_worker->heldBytes.clear();
    }
    if (artwork)
        ask(*artwork, {});
}

void ArtworkLoader::take(const Request &request, const QImage &image, bool isRead)
{
    constexpr qsizetype leastCost = 256; // bytes, of a missing picture
    m_awaited.remove(request);
    m_results.insert(request,
        new Result{
            image, isRead ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(m_limits.nextTry)},
        std::max(image.sizeInBytes(), leastCost));
    Q_EMIT changed(request.picture);
}
