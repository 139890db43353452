#pragma once

#include "metadata/MediaAsset.h"

#include <QByteArrayView>
#include <array>

/// As many items as one tag gives at most; a hostile one could hold millions.
constexpr qsizetype MaxItemsPerTag = 64;

/// Frames, fields or attributes of one tag that are looked at; a hostile one could hold millions.
constexpr int MaxEntriesPerTag = 10'000;

/// What a format of tags calls its fields, in the order of CommonIdentifier; empty for those that it does not have.
using FieldNames = std::array<QByteArrayView, 4>;

std::optional<CommonIdentifier> identifierOf(
    QByteArrayView name, const FieldNames &names, Qt::CaseSensitivity = Qt::CaseSensitive);

/// The first four in the order of ID3v2. Utf16 has a byte order mark, or is little endian without one. Unstated is
/// UTF-8 if the bytes are valid as that, else Latin-1.
enum class TextEncoding { Latin1, Utf16, Utf16BigEndian, Utf8, Unstated };

/// The text in `bytes`, of which 256 KiB are looked at. Wrong bytes show as U+FFFD.
QString decodedText(QByteArrayView bytes, TextEncoding encoding);

/// Appends to `items` the values in the text, which U+0000 separates and may end, one item each, as long as
/// there is room for more.
void appendText(
    QList<MetadataItem> &items, CommonIdentifier identifier, QByteArrayView bytes, TextEncoding encoding);

/// The same with a picture.
void appendPicture(QList<MetadataItem> &items, QByteArrayView picture);

/// The picture in `data`, which starts at `begin` by what stands before it. Some writers end the description
/// with a zero too few or too many: if no picture's mark stands there, the picture starts with the mark near the
/// front of `data`, if there is one.
QByteArrayView pictureFrom(QByteArrayView data, qsizetype begin);

/// The items of several tags of one file, the tag that counts most first: field by field those of the first
/// tag whose first value for it is not empty.
[[nodiscard]] QList<MetadataItem> mergedTags(const QList<QList<MetadataItem>> &tags);
