#pragma once

#include "files/DetachedThread.h"
#include "metadata/MediaAsset.h"

#include <memory>
#include <optional>

/// How long a MediaBatch waits for media that do not answer.
struct BatchTimeouts {
    std::chrono::milliseconds file = FileTimeout;
    std::chrono::milliseconds batch{10'000};
};

/// The media containers of many files, opened on a thread of its own, some files ahead of the one that is taken:
/// to wake a thread for every single file may cost more than to read it.
///
/// A file that takes too long is given up: what it holds is missing. The others of its folder come last then. Once
/// the batch has waited too long in all, it gives up what is left. One thread at a time.
class MediaBatch {
public:
    struct File {
        QUrl url;
        MediaAsset asset;
    };

    explicit MediaBatch(const QList<QUrl> &urls, const BatchTimeouts &timeouts = {});
    ~MediaBatch();
    MediaBatch(const MediaBatch &) = delete;
    MediaBatch &operator=(const MediaBatch &) = delete;

    /// The next file; nothing once all are taken. Blocks until it is read or given up.
    [[nodiscard]] std::optional<File> take();

private:
    struct Shared;

    void startReader();
    void giveUp();

    const std::shared_ptr<Shared> m_shared; ///< with every reader, whose file may keep it for good
    bool m_hasReader = false; ///< false if the system has no thread left
};
