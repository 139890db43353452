#pragma once

#include <QByteArrayView>
#include <cstdint>
#include <span>

/// Size of an ID3v2 tag's header, which is what id3v2TagSize() needs.
constexpr qsizetype Id3v2HeaderSize = 10;

/// Bytes of the ID3v2 tag that starts with `header`, header and footer included; 0 if none starts there.
/// An OpenMG file's header, which has another mark and is the same otherwise, counts as one.
qint64 id3v2TagSize(QByteArrayView header);

/// Some numbers have seven bits a byte, the others eight.
quint32 id3v2Number(QByteArrayView bytes, int bitsPerByte);

/// Keeps FFmpeg's reader of ID3v2 tags away from them: it inflates compressed frames without a bound, whatever
/// container they stand in. The tags that a player shows are read by metadata/.
///
/// Gives every tag that FFmpeg would read, wherever its header stands in `bytes`, a version that it does not
/// know: FFmpeg passes over the tag then. Answers how many bytes are ready: the last ones have to be read again
/// with what follows, which tells whether a header starts in them, unless they are all there is.
///
/// In sound, one of 23 thousand million places looks like a header by chance: 34 of its bits are known.
std::size_t hideId3v2Tags(std::span<std::uint8_t> bytes);
