#include "metadata/ArtworkLoader.h"

#include "files/DetachedThread.h"
#include "metadata/MediaReader.h"
#include "metadata/PictureDecoder.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <utility>
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

    // The worker's thread
    void run();
    Job takeNext(); ///< with the mutex locked and a job there
    void deliver(Job job, const QImage &image);

    const std::chrono::milliseconds readingLimit;
    std::mutex mutex; ///< guards all below but the flag
    std::condition_variable changed;
    std::vector<Job> jobs; ///< the most recently asked for last
    std::vector<std::pair<Job, QImage>> done;
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
        deliver(std::move(job), image);
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

void ArtworkLoader::Worker::deliver(Job job, const QImage &image)
{
    if (!receiver)
        return;
    for (Job &other : jobs) {
        if (other.isUrgent && other.request.picture == job.request.picture)
            other.bytes = job.bytes;
    }
    done.emplace_back(std::move(job), image);
    Q_EMIT receiver->delivered({});
}

ArtworkLoader::ArtworkLoader(const ArtworkLimits &limits)
    : m_limits(limits)
    , m_worker(std::make_shared<Worker>(*this))
    , m_results(limits.cache)
{
    m_lateness.setSingleShot(true);
    m_lateness.setTimerType(Qt::PreciseTimer);
    connect(this, &ArtworkLoader::delivered, this, &ArtworkLoader::takeDone, Qt::QueuedConnection);
    connect(&m_lateness, &QTimer::timeout, this, &ArtworkLoader::noteLateness);
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
    return {{}, !m_waiting[request].isLate};
}

/// Puts a job in front of the others, or the one that is there already.
void ArtworkLoader::ask(const Artwork &artwork, QSize pixels)
{
    const Request request{artwork.fingerprint(), pixels};
    const bool isHeld = request.picture == m_held;
    const bool isNew = !m_waiting.contains(request);
    const std::lock_guard lock(m_worker->mutex);
    std::vector<Job> &jobs = m_worker->jobs;
    if (isNew) {
        const bool isAnotherTry = m_results.contains(request); // behind a placeholder
        m_waiting.insert(request, {QDeadlineTimer(m_limits.lateness, Qt::PreciseTimer), isAnotherTry});
        if (!m_lateness.isActive())
            m_lateness.start(m_limits.lateness);
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
            m_waiting.remove(job.request);
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

void ArtworkLoader::takeDone()
{
    std::vector<std::pair<Job, QImage>> done;
    {
        const std::lock_guard lock(m_worker->mutex);
        done.swap(m_worker->done);
    }
    for (const auto &[job, image] : done)
        take(job, image);
}

void ArtworkLoader::take(const Job &job, const QImage &image)
{
    m_waiting.remove(job.request);
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

/// Announces the pictures that have become late: it is time for their placeholders.
void ArtworkLoader::noteLateness()
{
    QList<Fingerprint> late;
    auto next = QDeadlineTimer(QDeadlineTimer::Forever);
    for (auto waiting = m_waiting.begin(); waiting != m_waiting.end(); ++waiting) {
        if (waiting->isLate)
            continue;
        waiting->isLate = waiting->lateness.hasExpired();
        if (waiting->isLate)
            late.append(waiting.key().picture);
        else
            next = std::min(next, waiting->lateness);
    }
    if (!next.isForever())
        m_lateness.start(std::chrono::milliseconds(next.remainingTime() + 1));
    for (const Fingerprint &picture : late)
        Q_EMIT changed(picture);
}
