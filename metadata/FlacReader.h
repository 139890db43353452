#pragma once

#include "metadata/MediaContents.h"
#include "metadata/MediaSource.h"

#include <QByteArrayView>

/// The two kinds of metadata blocks that hold tags (xiph.org, "FLAC format").
enum class FlacBlock { VorbisComment = 4, Picture = 6 };

/// Reads a FLAC file: length from its stream info, pictures from its picture blocks, before those of its Vorbis
/// comment, all texts from that. A block whose size is wrong is read by the lengths that it holds.
MediaContents readFlac(MediaSource &source);

/// The length that a stream info block states; not numeric if it does not.
MediaTime flacDuration(QByteArrayView streamInfo);
