#pragma once

#include "metadata/MediaContents.h"

#include <QUrl>

/// Reads the media file behind `url`, and opens no other. What cannot be read is missing. Any thread; blocks
/// for as long as the file's medium does.
MediaContents readMedia(const QUrl &url);

/// The media container behind a file URL, read once, when it is opened.
///
/// Opening never fails: what cannot be read is missing. Only the chosen regular file is opened. Many files are
/// opened by a MediaBatch.
class MediaAsset {
public:
    /// Reads the file on a thread of its own and waits for it: for 3 seconds at most if its medium does not
    /// answer. Any thread.
    explicit MediaAsset(const QUrl &url);

    explicit MediaAsset(MediaContents contents);

    /// Length of the container; not numeric if it is unknown.
    [[nodiscard]] MediaTime duration() const { return m_duration; }

    /// The metadata under the common keys, in the order in which the file stores them.
    [[nodiscard]] const QList<MetadataItem> &commonMetadata() const { return m_commonMetadata; }

    /// The bytes of the first picture; empty if there is none.
    [[nodiscard]] QByteArray firstPicture() const;

private:
    MediaTime m_duration;
    QList<MetadataItem> m_commonMetadata;
};
