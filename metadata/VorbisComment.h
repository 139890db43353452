#pragma once

#include "metadata/MediaAsset.h"

#include <QByteArrayView>
#include <optional>

/// Title, artist, album and pictures of the Vorbis comment in `block` (xiph.org, "Ogg Vorbis I: comment
/// field"), in stored order.
QList<MetadataItem> vorbisCommentItems(QByteArrayView block);

/// Bytes of the Vorbis comment that `bytes` start with; nothing if they do not hold all of it.
std::optional<qsizetype> vorbisCommentSize(QByteArrayView bytes);

/// What the metadata blocks of a FLAC stream say (xiph.org, "FLAC format").
struct FlacMetadata {
    enum BlockType { StreamInfo = 0, Comment = 4, Picture = 6 };

    MediaTime duration; ///< not numeric if it is not stated
    QList<MetadataItem> pictures; ///< count before those of the comment
    QList<MetadataItem> comment;

    void take(int blockType, QByteArrayView content);
};
