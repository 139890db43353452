#pragma once

#include <QByteArrayView>

/// Size of an ID3v2 tag's header, which is what id3v2TagSize() needs.
constexpr qsizetype Id3v2HeaderSize = 10;

/// Bytes of the ID3v2 tag that starts with `header`, header and footer included; 0 if none starts there.
/// An OpenMG file's header, which has another mark and is the same otherwise, counts as one.
qint64 id3v2TagSize(QByteArrayView header);

/// Seven bits a byte.
quint32 syncsafeNumber(QByteArrayView bytes);
