#pragma once

#include "metadata/MediaContents.h"

#include <QByteArrayView>
#include <optional>

/// Title, artist, album and pictures of the Vorbis comment in `block` (xiph.org, "Ogg Vorbis I: comment
/// field"), in stored order.
QList<MetadataItem> vorbisCommentItems(QByteArrayView block);

/// Bytes of the Vorbis comment that `bytes` start with; nothing if they do not hold all of it.
std::optional<qsizetype> vorbisCommentSize(QByteArrayView bytes);

/// The picture in a picture block (xiph.org, "FLAC format"): all that stands behind its description, because
/// writers get the length wrong.
QByteArrayView flacPicture(QByteArrayView block);

/// The two kinds of metadata blocks that hold tags (xiph.org, "FLAC format").
enum class FlacBlock { VorbisComment = 4, Picture = 6 };

/// The length that a stream info block states; not numeric if it does not.
MediaTime flacDuration(QByteArrayView streamInfo);
