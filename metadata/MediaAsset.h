#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <cstdint>
#include <optional>

/// A rational media time: value / timescale seconds.
struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = -1; ///< units per second; negative if the time is not known

    /// The time nearest to `seconds`, in millionths; not numeric if that is infinite, NaN or beyond reason.
    [[nodiscard]] static MediaTime fromSeconds(double seconds);

    /// Whether the time is known. A numeric time need not be finite.
    [[nodiscard]] bool isNumeric() const { return timescale >= 0; }

    /// Only means something if isNumeric(); infinite or NaN if the timescale is 0.
    [[nodiscard]] double seconds() const { return static_cast<double>(value) / timescale; }
};

/// The keys that all tag formats are mapped to.
enum class CommonIdentifier { Title, Artist, AlbumName, Artwork };

/// One value of a file's metadata: text or raw bytes.
struct MetadataItem {
    CommonIdentifier identifier;
    std::optional<QString> stringValue = {}; ///< nothing if the value is of another kind
    std::optional<QByteArray> dataValue = {}; ///< the same
};

/// Those of `items` that carry `identifier`, in their order.
[[nodiscard]] QList<MetadataItem> metadataItems(
    const QList<MetadataItem> &items, CommonIdentifier identifier);

/// What a media container says of itself. Opening one never fails: what cannot be read is missing.
struct MediaAsset {
    MediaTime duration; ///< not numeric if it is unknown
    QList<MetadataItem> commonMetadata; ///< in stored order
    QByteArray hostPath = {}; ///< documentHostPath() of the file

    /// The bytes of the first picture; empty if there is none.
    [[nodiscard]] QByteArray firstPicture() const;
};

/// Reads the media container behind a file URL, and opens no other file. Any thread; blocks for as long as the
/// file's medium does.
MediaAsset readMedia(const QUrl &url);

/// The same on a thread of its own, which is waited for: for 3 seconds at most if the medium does not answer. Many
/// files are opened by a MediaBatch.
MediaAsset openMedia(const QUrl &url);
