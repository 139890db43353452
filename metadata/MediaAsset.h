#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <cstdint>
#include <optional>

struct MediaContents;

/// A rational media time: value / timescale seconds.
struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = -1; ///< units per second; negative where the time is not known

    /// The time nearest to `seconds`, in millionths; not numeric where that is infinite, NaN or beyond
    /// reason.
    [[nodiscard]] static MediaTime fromSeconds(double seconds);

    /// Whether the time is known. A numeric time need not be finite.
    [[nodiscard]] bool isNumeric() const { return timescale >= 0; }

    /// Meaningful only where isNumeric(); infinite or NaN where the timescale is 0.
    [[nodiscard]] double seconds() const { return static_cast<double>(value) / timescale; }
};

/// The keys that all tag formats are mapped to.
enum class CommonIdentifier { Title, Artist, AlbumName, Artwork };

/// One value of a file's metadata: text or raw bytes.
class MetadataItem {
public:
    MetadataItem(CommonIdentifier identifier, QString text);
    MetadataItem(CommonIdentifier identifier, QByteArray data);

    [[nodiscard]] CommonIdentifier identifier() const { return m_identifier; }

    /// The value as text, or nothing where it is of another kind.
    [[nodiscard]] const std::optional<QString> &stringValue() const { return m_text; }

    /// The value as raw bytes, or nothing where it is of another kind.
    [[nodiscard]] const std::optional<QByteArray> &dataValue() const { return m_data; }

private:
    CommonIdentifier m_identifier;
    std::optional<QString> m_text;
    std::optional<QByteArray> m_data;
};

/// The media container behind a file URL, read once, when it is opened.
///
/// Opening never fails: what cannot be read is missing. Only the chosen regular file is opened. Many files are
/// opened by a MediaBatch.
class MediaAsset {
public:
    /// Reads the file on a thread of its own and waits for it: for 3 seconds at most where its medium does
    /// not answer, and for less where that was so a moment ago (see Patience). Any thread.
    explicit MediaAsset(const QUrl &url);

    explicit MediaAsset(MediaContents contents);

    /// Length of the container; not numeric where it is unknown.
    [[nodiscard]] MediaTime duration() const { return m_duration; }

    /// The metadata under the common keys, in the order in which the file stores them.
    [[nodiscard]] const QList<MetadataItem> &commonMetadata() const { return m_commonMetadata; }

    /// The bytes of the first picture; empty if there is none.
    [[nodiscard]] QByteArray firstPicture() const;

    /// Those of `items` that carry `identifier`, in their order.
    [[nodiscard]] static QList<MetadataItem> metadataItems(
        const QList<MetadataItem> &items, CommonIdentifier identifier);

private:
    MediaTime m_duration;
    QList<MetadataItem> m_commonMetadata;
};
