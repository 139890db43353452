#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
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
class MetadataItem {
public:
    MetadataItem(CommonIdentifier identifier, QString text);
    MetadataItem(CommonIdentifier identifier, QByteArray data);

    [[nodiscard]] CommonIdentifier identifier() const { return m_identifier; }

    /// The value as text, or nothing if it is of another kind.
    [[nodiscard]] const std::optional<QString> &stringValue() const { return m_text; }

    /// The value as raw bytes, or nothing if it is of another kind.
    [[nodiscard]] const std::optional<QByteArray> &dataValue() const { return m_data; }

private:
    CommonIdentifier m_identifier;
    std::optional<QString> m_text;
    std::optional<QByteArray> m_data;
};

/// What one reader finds in a file.
struct MediaContents {
    MediaTime duration; ///< not numeric if the reader cannot tell
    QList<MetadataItem> items; ///< in stored order
};

/// As many items as one tag gives at most; a hostile one could hold millions.
constexpr qsizetype MaxItemsPerTag = 64;

/// Frames, fields or attributes of one tag that are looked at; a hostile one could hold millions.
constexpr int MaxEntriesPerTag = 10'000;

/// Those of `items` that carry `identifier`, in their order.
[[nodiscard]] QList<MetadataItem> metadataItems(
    const QList<MetadataItem> &items, CommonIdentifier identifier);

/// The items of several tags of one file, the tag that counts most first: field by field those of the first
/// tag whose first value for it is not empty.
[[nodiscard]] QList<MetadataItem> mergedTags(const QList<QList<MetadataItem>> &tags);
