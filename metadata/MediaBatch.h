#pragma once

#include "metadata/MediaAsset.h"

#include <memory>

/// The media containers of many files, opened in their order on a thread of its own, some files ahead of the
/// one that is taken: to wake a thread for every single file may cost more than to read it.
///
/// A file whose medium does not answer is given up after 3 seconds at most (see Patience): what it holds is
/// missing. One thread at a time.
class MediaBatch {
public:
    explicit MediaBatch(const QList<QUrl> &urls);
    ~MediaBatch();
    MediaBatch(const MediaBatch &) = delete;
    MediaBatch &operator=(const MediaBatch &) = delete;

    /// The next file's container; a precondition is that there is one. Blocks until it is read or given up.
    [[nodiscard]] MediaAsset take();

    /// The container of `url`, for which those before it are passed over; one that does not follow is read now.
    [[nodiscard]] MediaAsset take(const QUrl &url);

private:
    struct Shared;

    void startReader();
    MediaAsset giveUp(const QUrl &url);

    const std::shared_ptr<Shared> m_shared; ///< with every reader, whose file may keep it for good
    bool m_hasReader = false; ///< false where the system has no thread left
    qsizetype m_taken = 0;
};
