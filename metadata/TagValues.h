#pragma once

#include "metadata/MediaContents.h"

#include <QByteArrayView>

/// Utf16 has a byte order mark, or is little endian without one. Unstated is UTF-8 if the bytes are valid as
/// that, else Latin-1.
enum class TextEncoding { Latin1, Utf16, Utf16BigEndian, Utf8, Unstated };

/// The text in `bytes`, of which 256 KiB are looked at. Wrong bytes show as U+FFFD.
QString decodedText(QByteArrayView bytes, TextEncoding encoding);

/// Appends to `items` the values in the text, which U+0000 separates and may end, one item each, as long as
/// there is room for more.
void appendTextValues(
    QList<MetadataItem> &items, CommonIdentifier identifier, QByteArrayView bytes, TextEncoding encoding);

/// The picture in `data`, which starts at `begin` by what stands before it. Some writers end the description
/// with a zero too few or too many: if no picture's mark stands there, the picture starts with the mark near the
/// front of `data`, if there is one.
QByteArrayView pictureFrom(QByteArrayView data, qsizetype begin);
