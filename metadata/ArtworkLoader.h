#pragma once

#include "metadata/Artwork.h"

#include <QCache>
#include <QDeadlineTimer>
#include <QHash>
#include <QImage>
#include <QObject>
#include <chrono>
#include <memory>
#include <optional>

/// The bytes of a picture, from the first of `files` that still has it; empty if none has. Once the deadline has passed, no
/// other file is tried. Any thread.
QByteArray pictureBytes(const QList<QUrl> &files, const Fingerprint &picture, QDeadlineTimer deadline);

/// How long an ArtworkLoader waits, and how much it keeps.
struct ArtworkLimits {
    qsizetype cache = 32 << 20; ///< bytes of results
    std::chrono::milliseconds lateness{100}; ///< of what is awaited: then it is time for a placeholder
    std::chrono::milliseconds reading{5000}; ///< then no other file is tried; one may take 3 seconds
    std::chrono::milliseconds nextTry{10'000}; ///< of a picture that no file had
};

/// Covers at the sizes at which they are drawn, read from their files and decoded on a thread of its own.
///
/// A view asks for what it draws whenever it draws, and draws again when that has changed. What was asked for
/// last comes first. Main thread only; nothing blocks, not even the end.
class ArtworkLoader : public QObject {
    Q_OBJECT

public:
    struct Loaded {
        QImage image; ///< null if there is none, or none yet
        bool isAwaited = false; ///< was asked for just now: too early for a placeholder
    };

    explicit ArtworkLoader(const ArtworkLimits &limits = {});
    ~ArtworkLoader() override;

    /// The picture, upright, scaled to cover `pixels`, its overflow cut evenly off both sides. It never comes if
    /// its body is damaged or takes too long to decode, and not before the next try if no file has it any more.
    [[nodiscard]] Loaded image(const Artwork &artwork, QSize pixels);

    /// Drops all requests but those for these pictures and for the one that is held.
    void keepOnly(const QList<Artwork> &visible);

    /// Keeps the bytes of this one picture, so that it outlives its files. It is loaded before all others.
    void hold(const std::optional<Artwork> &artwork);

Q_SIGNALS:
    /// What is to be drawn for a picture has changed, at some size.
    void changed(const Fingerprint &picture);

private:
    struct Request {
        Fingerprint picture;
        QSize pixels;

        friend bool operator==(const Request &a, const Request &b) = default;
        friend std::size_t qHash(const Request &request, std::size_t seed)
        {
            return qHashMulti(seed, request.picture, request.pixels.width(), request.pixels.height());
        }
    };
    struct Result {
        QImage image;
        QDeadlineTimer expiry; ///< when it is worth another try
    };
    struct Job;
    struct Worker;

    void ask(const Artwork &artwork, QSize pixels);
    void awaitAtMost(std::chrono::milliseconds time, const Request &request);
    void take(const Request &request, const QImage &image, bool isRead);

    const ArtworkLimits m_limits;
    std::shared_ptr<Worker> m_worker; ///< with its thread, which may outlive this
    QCache<Request, Result> m_results;
    QHash<Request, QDeadlineTimer> m_awaited; ///< until it is late
};
